#include "dxr/print_log_filter.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdarg>
#include <cstddef>
#include <cstdint>

#include "dxr/print.h"
#include "dxr/print_log_filter_store.h"
#include "dxr/system_time.h"
#include "dxr_print_log_filter_hash.h"
#include "dxr_print_log_filter_lock.h"
#include "dxr_print_log_filter_ring.h"
#include "internal/bounds_checked.h"
#include "internal/text_writer.h"

namespace {

using dxr::LogRing;
using dxr::LogTypeLock;
using dxr::TextWriter;

constexpr uint32_t kMessageSize = 1024;
constexpr uint32_t kKeySize = 128;
// The log type in whose ring DXR_IsSameKey keeps its keys.
constexpr uint32_t kSameKeyLogType = 26;

constexpr char kSeparator[] =
    "------+-------+--------------------------+---------------------------------+----------+"
    "---------------+--------\r\n";

// The key of a log site: the digits of five numbers, joined without separators: 1, 23 and 12, 3 are
// one key, which is accepted. In a zeroed buffer for hosts that get to see it.
class Key {
  public:
    Key(uint32_t logType, uint32_t a, uint32_t b, uint32_t c, uint32_t d) noexcept {
        char *end = text_.data();
        for (const uint32_t number : {logType, a, b, c, d}) {
            end = std::to_chars(end, text_.data() + text_.size(), number).ptr;
        }
        length_ = static_cast<uint32_t>(end - text_.data());
        if (dxr::HostSeesHashInput()) {
            std::fill(end, text_.data() + text_.size(), '\0');
        }
    }
    [[nodiscard]] const char *Text() const noexcept { return text_.data(); }
    [[nodiscard]] uint32_t Length() const noexcept { return length_; }

  private:
    std::array<char, kKeySize> text_;
    uint32_t length_;
};

// A formatted line in a zeroed buffer. What lies after the text is cleared only before somebody
// else gets to see it: most lines are repeats, and the library's own hash goes by the length.
class Message {
  public:
    [[gnu::format(printf, 2, 0)]] Message(const char *format, dxr::Arguments &args,
                                          std::va_list again) noexcept
        : line_(dxr::FormatLine(text_, kMessageSize, format, args, again)) {
        if (Formatted() && dxr::HostSeesHashInput()) {
            ClearTail();
        }
    }

    [[nodiscard]] bool Formatted() const noexcept { return line_.stored >= 0; }
    [[nodiscard]] const char *Text() const noexcept { return text_; }
    // Up to the first NUL, which a formatted character may be.
    [[nodiscard]] uint32_t Length() const noexcept { return static_cast<uint32_t>(line_.length); }
    void HandOn() noexcept {
        ClearTail();
        static_cast<void>(DXR_DiagLogFilter(text_));
    }

  private:
    void ClearTail() noexcept {
        const auto end = static_cast<size_t>(line_.stored);
        static_cast<void>(dxr::memset_s(text_ + end, kMessageSize - end, 0, kMessageSize - end));
    }

    dxr::PlainRoom text_;  // a message is the first kMessageSize bytes
    dxr::FormattedLine line_;
};

void AppendRow(TextWriter &writer, uint32_t position, const DxrLogFilterEntry &entry) {
    writer.Append("  %-3u    %s    %-23s     0x%-11x   %u\r\n", position,
                  entry.state != 0 ? "CUR" : "HIS", entry.logBeginTime, entry.logHashCode,
                  entry.logCnt);
}

}  // namespace

void DXR_SameLogFilter(const DxrLogFilterCfg *cfg, const char *format, ...) {
    if (cfg == nullptr) {
        return;
    }
    dxr::Arguments args;
    std::va_list again;
    va_start(args.list, format);
    va_start(again, format);
    Message message(format, args, again);
    va_end(again);
    va_end(args.list);
    if (message.Formatted() && DXR_IsRepeatedLog(cfg, message.Text(), message.Length()) == 0) {
        message.HandOn();
    }
}

void DXR_DiffLogFilter(const DxrLogFilterCfg *cfg, const char *format, ...) {
    if (cfg == nullptr) {
        return;
    }
    const Key key(cfg->logType, cfg->key1, cfg->key2, cfg->key3, cfg->key4);
    if (DXR_IsRepeatedLog(cfg, key.Text(), key.Length()) == 1) {
        return;
    }
    dxr::Arguments args;
    std::va_list again;
    va_start(args.list, format);
    va_start(again, format);
    Message message(format, args, again);
    va_end(again);
    va_end(args.list);
    if (message.Formatted()) {
        message.HandOn();
    }
}

uint8_t DXR_IsSameKey(uint32_t a, uint32_t b, uint32_t c, uint32_t d) {
    constexpr DxrLogFilterCfg kCfg = {kSameKeyLogType, 0, 0, 0, 0, 0};
    const Key key(kSameKeyLogType, a, b, c, d);
    return DXR_IsRepeatedLog(&kCfg, key.Text(), key.Length());
}

uint32_t DXR_ClearLogFilterInfo(uint32_t logType) {
    if (logType >= dxr::kLogTypeCount) {
        return 0;
    }
    LogTypeLock lock(logType);
    LogRing(logType).Clear();
    return lock.Unlock();
}

uint32_t DXR_ShowLogFilterInfo(const DxrLogFilterCfg *cfg, char *buffer, uint32_t *writtenLength,
                               uint32_t bufferSize) {
    if (cfg == nullptr || buffer == nullptr || writtenLength == nullptr) {
        return 0;
    }
    const uint32_t logType = cfg->logType;
    if (DXR_GetLogFilter(logType) == nullptr) {
        return 0;
    }
    LogTypeLock lock(logType);
    LogRing ring(logType);
    ring.Age(DXR_GetCurrSec());
    // Null, and nothing written, once a hook has destroyed the store.
    DXR_CombineShowLog(cfg, DXR_GetLogFilter(logType), buffer, writtenLength, bufferSize);
    return lock.Unlock();
}

void DXR_CombineShowLog(const DxrLogFilterCfg *cfg, const DxrLogFilterInfo *record, char *buffer,
                        uint32_t *writtenLength, uint32_t bufferSize) {
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
        for (uint32_t i = 0; i < cfg->key2 && !writer.Full(); ++i) {
            const uint32_t position = (cfg->key1 + i) % record->capacity;
            AppendRow(writer, position, record->entries[position]);
        }
    }
    writer.Append("%s", kSeparator);
    *writtenLength = writer.Written();
}
