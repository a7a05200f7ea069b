#include "kernels/crc8.h"

#include "kernels/cpu_features.h"

namespace dxr::crc8 {

uint32_t OfLong(const uint8_t *table, const uint8_t *data, uint64_t length) noexcept {
    if constexpr (kVectorVersions) {
        if (HasAvx2()) {
            return avx2::Crc8(table, data, length);
        }
    }
    return Crc8ByBytes(table, data, length);
}

}  // namespace dxr::crc8
