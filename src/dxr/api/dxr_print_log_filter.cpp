#include "dxr/print_log_filter.h"

#include <cstdarg>
#include <cstdint>
#include <cstring>

#include "dxr/print.h"
#include "dxr/print_log_filter_store.h"
#include "internal/bounds_checked.h"
#include "internal/log_filter_lock.h"
#include "internal/text_writer.h"

namespace {

using dxr::LogTypeLock;
using dxr::TextWriter;

constexpr std::uint32_t kMessageSize = 1024;
constexpr std::uint32_t kKeySize = 128;
// The log type in whose ring DXR_IsSameKey keeps its keys.
constexpr std::uint32_t kSameKeyLogType = 26;

constexpr char kSeparator[] =
    "------+-------+--------------------------+---------------------------------+----------+"
    "---------------+--------\r\n";

// The digits joined without separators: 1, 23 and 12, 3 are one key, which is accepted.
int FormatKey(char (&key)[kKeySize], std::uint32_t logType, std::uint32_t a, std::uint32_t b,
              std::uint32_t c, std::uint32_t d) {
    return dxr::snprintf_truncated_s(key, kKeySize, "%u%u%u%u%u", logType, a, b, c, d);
}

std::uint32_t LengthOf(const char *text) {
    return static_cast<std::uint32_t>(std::strlen(text));
}

void AppendRow(TextWriter &writer, std::uint32_t position, const DxrLogFilterEntry &entry) {
    writer.Append("  %-3u    %s    %-23s     0x%-11x   %u\r\n", position,
                  entry.state != 0 ? "CUR" : "HIS", entry.logBeginTime, entry.logHashCode,
                  entry.logCnt);
}

}  // namespace

void DXR_SameLogFilter(const DxrLogFilterCfg *cfg, const char *format, ...) {
    if (cfg == nullptr) {
        return;
    }
    char message[kMessageSize] = {};
    std::va_list args;
    va_start(args, format);
    const int stored = dxr::vsnprintf_truncated_s(message, kMessageSize, format, args);
    va_end(args);
    if (stored < 0) {
        return;
    }
    if (DXR_IsRepeatedLog(cfg, message, LengthOf(message)) == 0) {
        static_cast<void>(DXR_DiagLogFilter(message));
    }
}

void DXR_DiffLogFilter(const DxrLogFilterCfg *cfg, const char *format, ...) {
    if (cfg == nullptr) {
        return;
    }
    char key[kKeySize] = {};
    if (FormatKey(key, cfg->logType, cfg->key1, cfg->key2, cfg->key3, cfg->key4) < 0) {
        return;
    }
    if (DXR_IsRepeatedLog(cfg, key, LengthOf(key)) == 1) {
        return;
    }
    char message[kMessageSize] = {};
    std::va_list args;
    va_start(args, format);
    const int stored = dxr::vsnprintf_truncated_s(message, kMessageSize, format, args);
    va_end(args);
    if (stored < 0) {
        return;
    }
    static_cast<void>(DXR_DiagLogFilter(message));
}

std::uint8_t DXR_IsSameKey(std::uint32_t a, std::uint32_t b, std::uint32_t c, std::uint32_t d) {
    constexpr DxrLogFilterCfg kCfg = {kSameKeyLogType, 0, 0, 0, 0, 0};
    char key[kKeySize] = {};
    static_cast<void>(FormatKey(key, kSameKeyLogType, a, b, c, d));
    return DXR_IsRepeatedLog(&kCfg, key, LengthOf(key));
}

std::uint32_t DXR_ClearLogFilterInfo(std::uint32_t logType) {
    if (logType >= dxr::kLogTypeCount) {
        return 0;
    }
    LogTypeLock lock(logType);
    if (DxrLogFilterInfo *record = DXR_GetLogFilter(logType)) {
        record->curIndex = 0;
        record->curSize = 0;
    }
    return lock.Unlock();
}

std::uint32_t DXR_ShowLogFilterInfo(const DxrLogFilterCfg *cfg, char *buffer,
                                    std::uint32_t *writtenLength, std::uint32_t bufferSize) {
    if (cfg == nullptr || buffer == nullptr || writtenLength == nullptr) {
        return 0;
    }
    DxrLogFilterInfo *record = DXR_GetLogFilter(cfg->logType);
    if (record == nullptr) {
        return 0;
    }
    LogTypeLock lock(cfg->logType);
    DXR_RemoveObsoleteLogFilterInfo(record);
    DXR_CombineShowLog(cfg, record, buffer, writtenLength, bufferSize);
    return lock.Unlock();
}

void DXR_CombineShowLog(const DxrLogFilterCfg *cfg, const DxrLogFilterInfo *record, char *buffer,
                        std::uint32_t *writtenLength, std::uint32_t bufferSize) {
    if (cfg == nullptr || record == nullptr || buffer == nullptr || writtenLength == nullptr) {
        return;
    }
    TextWriter writer(buffer, bufferSize);
    writer.Append("logtype[%u], curIndex[%u], curSize[%u], capacity[%u] switchState[%u]\r\n",
                  cfg->logType, record->curIndex, record->curSize, record->capacity,
                  DXR_IsLogFilterEnable());
    writer.Append("%s", kSeparator);
    writer.Append("Index | state |       logBeginTime       |  logHashCode  | logCnt \r\n");
    writer.Append("%s", kSeparator);
    // The caller chooses the rows by position and number, whatever part of the ring is live. A ring
    // without storage has none; a buffer that is full takes no more.
    if (record->capacity != 0 && record->entries != nullptr) {
        for (std::uint32_t i = 0; i < cfg->key2 && !writer.Full(); ++i) {
            const std::uint32_t position = (cfg->key1 + i) % record->capacity;
            AppendRow(writer, position, record->entries[position]);
        }
    }
    writer.Append("%s", kSeparator);
    *writtenLength = writer.Written();
}
