// Lines as modules log them.
#ifndef DXR_BENCH_LOG_LINES_H
#define DXR_BENCH_LOG_LINES_H

#include <cstdint>
#include <vector>

#include "dxr_api.h"

namespace bench {

// 80 characters behind DXR_BENCH_LINE_ARGUMENTS of a line's number.
#define DXR_BENCH_LINE_FORMAT \
    "fic %04u link %06u: serdes lost lock on lane %02u, bit errors %08x, training restarted"
#define DXR_BENCH_LINE_ARGUMENTS(n) 7U, (n), (n)&15U, (n)*2654435761U

inline DxrLogFilterCfg SiteOf(uint32_t logType) {
    return {logType, 1, 2, 3, 4, 0};
}

inline void Log(const DxrLogFilterCfg &site, uint32_t n) {
    DXR_SameLogFilter(&site, DXR_BENCH_LINE_FORMAT, DXR_BENCH_LINE_ARGUMENTS(n));
}

// A log type that no figure uses yet.
[[nodiscard]] uint32_t NewLogType();

// The same with the lines 0 to `live` - 1 in its ring.
[[nodiscard]] uint32_t NewFilledLogType(uint32_t live);

// Numbers below `limit`, enough of them that no processor learns their order.
[[nodiscard]] std::vector<uint32_t> RandomNumbers(uint32_t limit);

}  // namespace bench

#endif  // DXR_BENCH_LOG_LINES_H
