// Reads operations from standard input and writes what the library made of each to standard output:
// the half of scripts/real-logs that is in the library's language. It knows nothing of what should
// come out.
//
// An operation is a letter and its fields; numbers are 32 bits, the least significant byte first; a
// text is its length and its bytes.
//
//     T now startup               sets the clock
//     F switch                    turns the log filter on or off
//     S type interval key1 text   DXR_SameLogFilter with "%s"; the text ends at its first NUL
//     R type interval key1 text   DXR_IsRepeatedLog on all bytes          -> a byte
//     D type interval key1 key2 key3 key4 text     DXR_DiffLogFilter with "%s"
//     K a b c d                   DXR_IsSameKey                           -> a byte
//     C type                      DXR_ClearLogFilterInfo
//     L type first rows room      DXR_ShowLogFilterInfo                   -> 'l', a text
//     I text                      DXR_RecordInfo with "%s"
//     A room                      DXR_GetAllRecordStr                     -> 'l', a text
//     X                           DXR_DestroyRecordInfo
//     U count (interval events)*  the rules to judge by; the last pair's interval is a time-out
//     E                           an event, judged before and with it     -> two bytes a rule
//     Y                           resets the counter
//     Z                           -> the number of bytes written since the last Z, and those bytes
//
// A line that reaches the host's log is written as 'd' and a text, a message as 'p', its level and
// a text, in the place where it came.
#include <array>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "dxr_api.h"

namespace {

uint32_t g_now = 0;
uint32_t g_startup = 0;
uint64_t g_blocks = 0;
std::string g_out;

void Put(uint32_t number) {
    for (int shift = 0; shift < 32; shift += 8) {
        g_out += static_cast<char>(number >> shift & 0xFF);
    }
}

void Put(char letter, const char *text, size_t length) {
    g_out += letter;
    Put(static_cast<uint32_t>(length));
    g_out.append(text, length);
}

// --- the host

void *Allocate(uint32_t, uint32_t size, const char *, uint32_t) {
    ++g_blocks;
    return std::malloc(size);
}

void Release(void *block, const char *, uint32_t) {
    g_blocks -= block != nullptr ? 1 : 0;
    std::free(block);
}

DXR_PRINTF(2, 3)
void Print(uint32_t level, const char *format, ...) {
    std::array<char, 2000> text;
    std::va_list args;
    va_start(args, format);
    static_cast<void>(std::vsnprintf(text.data(), text.size(), format, args));
    va_end(args);
    g_out += 'p';
    Put(level);
    Put(static_cast<uint32_t>(std::strlen(text.data())));
    g_out += text.data();
}

uint32_t Diag(const char *text) {
    Put('d', text, std::strlen(text));
    return 0;
}

// Second 0 stands for a host that does not know the time.
void SysTime(DxrSysTime *time) {
    *time = {};
    if (g_now == 0) {
        return;
    }
    const std::time_t now = g_now;
    std::tm parts = {};
    gmtime_r(&now, &parts);
    time->year = static_cast<uint16_t>(parts.tm_year + 1900);
    time->month = static_cast<uint8_t>(parts.tm_mon + 1);
    time->day = static_cast<uint8_t>(parts.tm_mday);
    time->hour = static_cast<uint8_t>(parts.tm_hour);
    time->minute = static_cast<uint8_t>(parts.tm_min);
    time->second = static_cast<uint8_t>(parts.tm_sec);
}

void CurrTime(char *text, uint32_t size, uint32_t *sec) {
    *sec = g_now;
    static_cast<void>(std::snprintf(text, size, "second %u", g_now));
}

void Register() {
    DxrHooks hooks = {};
    hooks.memory.allocate = Allocate;
    hooks.memory.release = Release;
    hooks.print.print = Print;
    hooks.print.diagLogFilter = Diag;
    hooks.time.getSysTime = SysTime;
    hooks.time.getCurrSec = [] { return g_now; };
    hooks.time.getCurrTime = CurrTime;
    hooks.time.getStartupTimeSec = [] { return g_startup; };
    DXR_RegisterHooks(&hooks);
}

// --- the input

void Need(bool condition) {
    if (!condition) {
        static_cast<void>(std::fprintf(stderr, "log_replay: the input is not as it should be\n"));
        std::exit(2);
    }
}

uint32_t Number() {
    std::array<unsigned char, 4> bytes;
    Need(std::fread(bytes.data(), 1, bytes.size(), stdin) == bytes.size());
    return bytes[0] | uint32_t{bytes[1]} << 8U | uint32_t{bytes[2]} << 16U |
           uint32_t{bytes[3]} << 24U;
}

// Read into one buffer, terminated.
std::string &Text() {
    static std::string &text = *new std::string;
    text.resize(Number());
    Need(std::fread(text.data(), 1, text.size(), stdin) == text.size());
    return text;
}

DxrLogFilterCfg Site() {
    DxrLogFilterCfg site = {};
    site.logType = Number();
    site.interval = Number();
    site.key1 = Number();
    return site;
}

void Show() {
    DxrLogFilterCfg rows = {};
    rows.logType = Number();
    rows.key1 = Number();
    rows.key2 = Number();
    std::vector<char> buffer(Number());
    uint32_t length = 0;
    DXR_ShowLogFilterInfo(&rows, buffer.data(), &length, static_cast<uint32_t>(buffer.size()));
    Put('l', buffer.data(), length);
}

void List() {
    std::vector<char> buffer(Number());
    const uint32_t length =
        DXR_GetAllRecordStr(buffer.data(), static_cast<uint32_t>(buffer.size()));
    Put('l', buffer.data(), length);
}

// One rule a pair, one of all pairs, and one of a time-out.
class Judge {
  public:
    Judge() { counter_->ResetCount(); }

    void ReadRules() {
        specs_.clear();
        std::vector<std::pair<uint32_t, uint32_t>> pairs(Number());
        const DxrFaultSpecFactory factory;
        for (auto &[interval, events] : pairs) {
            interval = Number();
            events = Number();
            specs_.push_back(factory.CreateSpec(interval, events));
        }
        specs_.push_back(factory.CreateSpec(pairs));
        specs_.push_back(std::make_unique<DxrFaultTimeoutSpec>(pairs.back().first));
    }
    void Event() {
        PutVerdicts();
        counter_->IncreaseCount();
        PutVerdicts();
    }
    void Reset() { counter_->ResetCount(); }

  private:
    void PutVerdicts() {
        for (const auto &spec : specs_) {
            g_out += static_cast<char>(spec->IsSatisfied(counter_.get()) ? 1 : 0);
        }
    }

    std::unique_ptr<DxrCounter> counter_ = std::make_unique<DxrCounter>();
    std::vector<std::unique_ptr<DxrFaultSpec>> specs_;
};

void Filter(int letter) {
    DxrLogFilterCfg site = Site();
    if (letter == 'D') {
        site.key2 = Number();
        site.key3 = Number();
        site.key4 = Number();
        DXR_DiffLogFilter(&site, "%s", Text().c_str());
    } else if (letter == 'S') {
        DXR_SameLogFilter(&site, "%s", Text().c_str());
    } else {
        const std::string &text = Text();
        g_out += static_cast<char>(
            DXR_IsRepeatedLog(&site, text.data(), static_cast<uint32_t>(text.size())));
    }
}

void Flush() {
    const std::string out = std::exchange(g_out, {});
    Put(static_cast<uint32_t>(out.size()));
    Need(std::fwrite(g_out.data(), 1, g_out.size(), stdout) == g_out.size());
    Need(std::fwrite(out.data(), 1, out.size(), stdout) == out.size());
    Need(std::fflush(stdout) == 0);
    g_out.clear();
}

void Do(int letter, Judge &judge) {
    switch (letter) {
        case 'T':
            g_now = Number();
            g_startup = Number();
            break;
        case 'F':
            DXR_EnableLogFilter(static_cast<uint8_t>(Number()));
            break;
        case 'S':
        case 'R':
        case 'D':
            Filter(letter);
            break;
        case 'K': {
            std::array<uint32_t, 4> keys;
            for (uint32_t &key : keys) {
                key = Number();
            }
            g_out += static_cast<char>(DXR_IsSameKey(keys[0], keys[1], keys[2], keys[3]));
            break;
        }
        case 'C':
            DXR_ClearLogFilterInfo(Number());
            break;
        case 'L':
            Show();
            break;
        case 'I':
            DXR_RecordInfo("%s", Text().c_str());
            break;
        case 'A':
            List();
            break;
        case 'X':
            DXR_DestroyRecordInfo();
            break;
        case 'U':
            judge.ReadRules();
            break;
        case 'E':
            judge.Event();
            break;
        case 'Y':
            judge.Reset();
            break;
        case 'Z':
            Flush();
            break;
        default:
            Need(false);
    }
}

}  // namespace

int main() {
    Register();
    Judge judge;
    DXR_InitLogFilter(9);
    g_out.clear();
    for (int letter = std::getchar(); letter != EOF; letter = std::getchar()) {
        Do(letter, judge);
    }
    DXR_DestroyLogFilter();
    DXR_DestroyRecordInfo();
    if (g_blocks != 0) {
        static_cast<void>(std::fprintf(stderr, "log_replay: blocks are left\n"));
        return 1;
    }
    return 0;
}
