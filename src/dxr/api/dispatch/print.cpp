#include "dxr/print.h"

#include <cstdarg>

#include "dispatch/call.h"
#include "dxr/hooks.h"
#include "internal/bounds_checked.h"

using dxr::Call;

namespace {

constexpr size_t kFilterLineSize = 1024;  // with the terminator

void FormatAndCall(DxrFilterLogHook hook, void *handle, const char *format, std::va_list args) {
    char line[kFilterLineSize] = {};
    if (dxr::vsnprintf_truncated_s(line, sizeof(line), format, args) >= 0) {
        hook(handle, line);
    }
}

}  // namespace

uint32_t DXR_DiagLogFilter(const char *text) {
    if (text == nullptr) {
        return 0;
    }
    return Call(DXR_GetPrintHooks()->diagLogFilter, 0, text);
}

uint32_t DXR_LOGFILTER_FilterSameLog(void *handle, const char *format, ...) {
    if (const DxrFilterLogHook hook = DXR_GetPrintHooks()->logFilterFilterSameLog) {
        std::va_list args;
        va_start(args, format);
        FormatAndCall(hook, handle, format, args);
        va_end(args);
    }
    return 0;
}

uint32_t DXR_LOGFILTER_FilterDiffKeyLog(void *handle, const char *format, ...) {
    if (const DxrFilterLogHook hook = DXR_GetPrintHooks()->logFilterFilterDiffKeyLog) {
        std::va_list args;
        va_start(args, format);
        FormatAndCall(hook, handle, format, args);
        va_end(args);
    }
    return 0;
}
