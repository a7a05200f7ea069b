#include "dxr/print.h"

#include <algorithm>
#include <cstdarg>
#include <cstdint>
#include <cstring>

#include "dispatch/call.h"
#include "dxr/hooks.h"
#include "internal/bounds_checked.h"
#include "internal/host_services.h"

using dxr::Call;

namespace {

constexpr size_t kFilterLineSize = 1024;  // with the terminator
constexpr uint32_t kPieceLength = 480;    // characters of one printed piece

void FormatAndCall(DxrFilterLogHook hook, void *handle, const char *format, std::va_list args) {
    char line[kFilterLineSize] = {};
    if (dxr::vsnprintf_truncated_s(line, sizeof(line), format, args) >= 0) {
        hook(handle, line);
    }
}

// "$$$$" stands at every edge where the text was cut.
const char *PieceFormat(uint32_t total, uint32_t remaining) {
    const bool isFirst = remaining == total;
    const bool isLast = remaining <= kPieceLength;
    if (isFirst) {
        return isLast ? "%s" : "%s$$$$";
    }
    return isLast ? "$$$$%s" : "$$$$%s$$$$";
}

}  // namespace

// generated: begin (by hooks/generate.py from hooks/slots.yaml)

uint32_t DXR_Assert(void *value, uint32_t arg2) {
    return Call(DXR_GetPrintHooks()->reportAssert, 0, value, arg2);
}

uint32_t DXR_EnableLogOutput(uint32_t arg1, uint32_t arg2) {
    return Call(DXR_GetPrintHooks()->enableLogOutput, 0, arg1, arg2);
}

uint32_t DXR_WriteEventLog(void *event) {
    return Call(DXR_GetPrintHooks()->writeEventLog, 0, event);
}

uint32_t DXR_GetDbgLevel() {
    return Call(DXR_GetPrintHooks()->getDbgLevel, 0);
}

uint32_t DXR_SetDbgLevel(uint32_t level) {
    return Call(DXR_GetPrintHooks()->setDbgLevel, 0, level);
}

uint32_t DXR_LOGFILTER_Destroy(void *arg1) {
    return Call(DXR_GetPrintHooks()->logFilterDestroy, 0, arg1);
}

const char *DXR_LOGFILTER_GetFileName(void *arg1) {
    return Call(DXR_GetPrintHooks()->logFilterGetFileName, nullptr, arg1);
}

uint32_t DXR_LOGFILTER_FilterLargeDiffKeyLog(void *arg1, void *arg2, uint32_t arg3) {
    return Call(DXR_GetPrintHooks()->logFilterFilterLargeDiffKeyLog, 0, arg1, arg2, arg3);
}

uint32_t DXR_LOGFILTER_Register(void *arg1) {
    return Call(DXR_GetPrintHooks()->logFilterRegister, 0, arg1);
}

uint32_t DXR_LOGFILTER_RegisterDiffLogForFramework(uint32_t arg1, void *arg2, void *arg3,
                                                   void *arg4) {
    return Call(DXR_GetPrintHooks()->logFilterRegisterDiffLogForFramework, 0, arg1, arg2, arg3,
                arg4);
}

uint32_t DXR_LOGFILTER_ShowCurInfo(uint32_t arg1, void *arg2, void *arg3, uint32_t arg4) {
    return Call(DXR_GetPrintHooks()->logFilterShowCurInfo, 0, arg1, arg2, arg3, arg4);
}

uint32_t DXR_LOGFILTER_ShowHisInfo(void *arg1) {
    return Call(DXR_GetPrintHooks()->logFilterShowHisInfo, 0, arg1);
}

uint32_t DXR_RecordWarmRebootMileStone(void *arg1) {
    return Call(DXR_GetPrintHooks()->recordWarmRebootMileStone, 0, arg1);
}

// generated: end

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

uint32_t DXR_PrintLargeBuffer(const char *text) {
    if (text == nullptr) {
        return 0;
    }
    // Without a bound: strnlen is needed elsewhere, and strlen would be one more import.
    const auto total = static_cast<uint32_t>(strnlen(text, PTRDIFF_MAX));
    uint32_t remaining = total;
    char piece[kPieceLength + 1] = {};
    while (remaining != 0) {
        const uint32_t length = std::min(remaining, kPieceLength);
        dxr::memset_s(piece, sizeof(piece), 0, sizeof(piece));
        if (dxr::strncpy_s(piece, sizeof(piece), text, length) != 0) {
            return 0;
        }
        if (const DxrPrintHook print = dxr::PrintHook()) {
            print(dxr::kLevelInfo, PieceFormat(total, remaining), piece);
        }
        remaining -= length;
        text += length;
    }
    return 0;
}
