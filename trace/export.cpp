#include "export.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <memory>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include "dxr_trace.h"
#include "file_writer.h"
#include "format.h"
#include "slots.h"
#include "why.h"

namespace dxr_trace {
namespace {

constexpr std::string_view kHexDigits = "0123456789abcdef";

std::string Hex(std::string_view bytes) {
    std::string text;
    text.reserve(bytes.size() * 2);
    for (const char c : bytes) {
        const auto byte = static_cast<uint8_t>(c);
        text += kHexDigits[byte >> 4];
        text += kHexDigits[byte & 0xF];
    }
    return text;
}

std::string HexNumber(uint64_t value) {
    std::array<char, 24> text{};
    (void)std::snprintf(text.data(), text.size(), "0x%llx", static_cast<unsigned long long>(value));
    return text.data();
}

// Length of the UTF-8 character at the front; 0 when there is none.
size_t CharacterAt(std::string_view text) {
    const auto byte = [text](size_t i) { return static_cast<uint8_t>(text[i]); };
    const uint8_t first = byte(0);
    size_t length = 1;
    uint32_t value = first;
    uint32_t least = 0;
    if (first >= 0xF0 && first < 0xF5) {
        length = 4;
        value = first & 0x7;
        least = 0x10000;
    } else if (first >= 0xE0 && first < 0xF0) {
        length = 3;
        value = first & 0xF;
        least = 0x800;
    } else if (first >= 0xC0 && first < 0xE0) {
        length = 2;
        value = first & 0x1F;
        least = 0x80;
    } else if (first >= 0x80) {
        return 0;
    }
    if (length > text.size()) {
        return 0;
    }
    for (size_t i = 1; i < length; ++i) {
        if ((byte(i) & 0xC0) != 0x80) {
            return 0;
        }
        value = value << 6 | (byte(i) & 0x3F);
    }
    const bool isSurrogate = value >= 0xD800 && value < 0xE000;
    return value < least || value > 0x10FFFF || isSurrogate ? 0 : length;
}

bool IsUtf8(std::string_view text) {
    while (!text.empty()) {
        const size_t length = CharacterAt(text);
        if (length == 0) {
            return false;
        }
        text.remove_prefix(length);
    }
    return true;
}

// Within the width of what is noted.
std::string Number(Width width, uint64_t word) {
    if (width == Width::kPointer) {
        return HexNumber(word);
    }
    return std::to_string(word);
}

}  // namespace

// A callback's first word is the function's address.
Width WidthOf(const TracedCall &call, size_t argument) {
    const SlotInfo &slot = kSlots[call.slot];
    if (call.isCallback) {
        const CallbackRule *const rule = slot.callback;
        return argument == 0 ? Width::kPointer
               : rule != nullptr && argument <= rule->parameterCount
                   ? rule->parameters[argument - 1]
                   : Width::kU64;
    }
    return argument < slot.parameters.size() ? slot.parameters[argument].width : Width::kU64;
}

Width ResultWidth(const TracedCall &call) {
    const SlotInfo &slot = kSlots[call.slot];
    if (call.isCallback) {
        return slot.callback != nullptr ? slot.callback->result : Width::kU64;
    }
    return slot.result;
}

std::string CallName(const TracedCall &call) {
    return std::string(kSlots[call.slot].name) + (call.isCallback ? "'s function" : "");
}

std::string ArgumentName(const TracedCall &call, size_t argument) {
    const SlotInfo &slot = kSlots[call.slot];
    if (call.isCallback) {
        return argument == 0 ? "function" : "arg" + std::to_string(argument);
    }
    return argument < slot.parameters.size() ? slot.parameters[argument].name
                                             : "arg" + std::to_string(argument + 1);
}

namespace {

// --- JSON

std::string JsonNumber(Width width, uint64_t word) {
    if (width != Width::kPointer) {
        return std::to_string(word);
    }
    return word == 0 ? "null" : '"' + HexNumber(word) + '"';
}

// A text that is all there is a JSON text; all else an object.
std::string JsonPiece(const TracedPiece &piece) {
    const bool isCut = piece.whole != piece.bytes.size();
    if (piece.IsText() && IsUtf8(piece.bytes)) {
        const std::string text = JsonText(piece.bytes);
        return isCut ? R"({"text":)" + text + R"(,"cut":true})" : text;
    }
    std::string object = R"({"hex":")" + Hex(piece.bytes) + '"';
    if (isCut) {
        object += R"(,"bytes":)" + std::to_string(piece.whole);
    }
    return object + '}';
}

std::string JsonPieces(const TracedCall &call, const std::vector<TracedPiece> &pieces) {
    std::string object;
    for (const TracedPiece &piece : pieces) {
        object += object.empty() ? "{" : ",";
        object += JsonText(PieceName(kSlots[call.slot], piece)) + ':' + JsonPiece(piece);
    }
    return object + '}';
}

std::string JsonArguments(const TracedCall &call) {
    std::string object = "{";
    for (size_t i = 0; i < call.wordCount; ++i) {
        object += i == 0 ? "" : ",";
        object +=
            JsonText(ArgumentName(call, i)) + ':' + JsonNumber(WidthOf(call, i), call.words[i]);
    }
    return object + '}';
}

// What a call was given and gave: the members of an object, each after a comma.
std::string JsonDetails(const TracedCall &call) {
    std::string members;
    if (!call.in.empty()) {
        members += R"(,"in":)" + JsonPieces(call, call.in);
    }
    if (!call.out.empty()) {
        members += R"(,"out":)" + JsonPieces(call, call.out);
    }
    if (call.hasReturned && call.hasResult) {
        members += R"(,"result":)" + JsonNumber(ResultWidth(call), call.result);
    }
    return members;
}

// Microseconds with the nanoseconds after the point.
std::string Microseconds(uint64_t ns) {
    std::array<char, 40> text{};
    (void)std::snprintf(text.data(), text.size(), "%llu.%03llu",
                        static_cast<unsigned long long>(ns / 1000),
                        static_cast<unsigned long long>(ns % 1000));
    return text.data();
}

// --- for people

// On one line, whatever the bytes are.
std::string Escaped(std::string_view bytes) {
    std::string text;
    while (!bytes.empty()) {
        const size_t length = CharacterAt(bytes);
        const auto byte = static_cast<uint8_t>(bytes.front());
        // Also those of U+0080 to U+009F, which terminals obey.
        const bool isControl =
            length == 0 || byte < 0x20 || byte == 0x7F ||
            (length == 2 && byte == 0xC2 && static_cast<uint8_t>(bytes[1]) < 0xA0);
        if (isControl) {
            text += "\\x" + Hex(bytes.substr(0, 1));
            bytes.remove_prefix(1);
            continue;
        }
        if (byte == '"' || byte == '\\') {
            text += '\\';
        }
        text += bytes.substr(0, length);
        bytes.remove_prefix(length);
    }
    return text;
}

std::string Quoted(std::string_view bytes) {
    return '"' + Escaped(bytes) + '"';
}

std::string Shown(const TracedPiece &piece) {
    const bool isCut = piece.whole != piece.bytes.size();
    if (piece.IsText()) {
        return Quoted(piece.bytes) + (isCut ? "..." : "");
    }
    return '<' + Hex(piece.bytes) + (isCut ? "... " + std::to_string(piece.whole) + " bytes" : "") +
           '>';
}

const TracedPiece *PieceOfArgument(const std::vector<TracedPiece> &pieces, size_t argument) {
    for (const TracedPiece &piece : pieces) {
        if (piece.Parameter() == argument && piece.Offset() == kDirect) {
            return &piece;
        }
    }
    return nullptr;
}

std::string Duration(uint64_t ns) {
    std::array<char, 40> text{};
    constexpr double kNsPerMs = 1e6;
    if (ns < 10'000) {
        (void)std::snprintf(text.data(), text.size(), "%llu ns",
                            static_cast<unsigned long long>(ns));
    } else if (ns < 10'000'000) {
        (void)std::snprintf(text.data(), text.size(), "%.1f us", static_cast<double>(ns) / 1e3);
    } else {
        (void)std::snprintf(text.data(), text.size(), "%.1f ms",
                            static_cast<double>(ns) / kNsPerMs);
    }
    return text.data();
}

}  // namespace

std::string JsonText(std::string_view text) {
    std::string quoted = "\"";
    while (!text.empty()) {
        const size_t length = CharacterAt(text);
        const auto byte = static_cast<uint8_t>(text.front());
        if (length == 0) {
            quoted += "\\ufffd";
        } else if (byte < 0x20 || byte == 0x7F) {
            quoted += "\\u00" + Hex(text.substr(0, 1));
        } else {
            quoted += byte == '"' || byte == '\\' ? "\\" : "";
            quoted += text.substr(0, length);
        }
        text.remove_prefix(std::max<size_t>(length, 1));
    }
    return quoted + '"';
}

std::string JsonLine(const TracedCall &call) {
    std::string line = R"({"ns":)" + std::to_string(call.beginNs);
    line += R"(,"thread":)" + std::to_string(call.thread);
    line += R"(,"call":)" + std::to_string(call.sequence);
    line += R"(,"slot":)" + std::to_string(call.slot);
    line += R"(,"group":)" + JsonText(kSlots[call.slot].group);
    line += R"(,"function":)" + JsonText(kSlots[call.slot].name);
    if (call.isCallback) {
        line += R"(,"callback":true)";
    }
    line += R"(,"args":)" + JsonArguments(call) + JsonDetails(call);
    if (call.hasReturned) {
        line += R"(,"duration_ns":)" + std::to_string(call.durationNs);
    }
    return line + "}\n";
}

std::string ChromeBegin(const TraceFile &file) {
    const std::string pid = std::to_string(file.processId);
    std::string text = R"({"displayTimeUnit":"ns","otherData":{"dropped":)" +
                       std::to_string(file.dropped) + R"(,"version":)" + JsonText(file.version) +
                       "},\"traceEvents\":[\n";
    text += R"({"name":"process_name","ph":"M","pid":)" + pid +
            R"(,"tid":0,"args":{"name":"hook calls"}})";
    for (const TracedThread &thread : file.threads) {
        text +=
            ",\n"
            R"({"name":"thread_name","ph":"M","pid":)" +
            pid + R"(,"tid":)" + std::to_string(thread.systemId) + R"(,"args":{"name":)" +
            JsonText(thread.name) + "}}";
    }
    return text;
}

// A call that did not come back lasts until the end of the picture.
std::string ChromeEvent(const TraceFile &file, const TracedCall &call) {
    const TracedThread *const thread = file.FindThread(call.thread);
    std::string event =
        ",\n"
        R"({"name":)" +
        JsonText(CallName(call));
    event += R"(,"cat":)" + JsonText(kSlots[call.slot].group);
    event += call.hasReturned ? R"(,"ph":"X","dur":)" + Microseconds(call.durationNs)
                              : std::string(R"(,"ph":"B")");
    event += R"(,"ts":)" + Microseconds(call.beginNs);
    event += R"(,"pid":)" + std::to_string(file.processId);
    event += R"(,"tid":)" + std::to_string(thread != nullptr ? thread->systemId : 0);
    return event + R"(,"args":{"arguments":)" + JsonArguments(call) + JsonDetails(call) + "}}";
}

std::string ChromeEnd() {
    return "\n]}\n";
}

std::string CallText(const TracedCall &call) {
    std::string line = CallName(call) + '(';
    for (size_t i = 0; i < call.wordCount; ++i) {
        const TracedPiece *const piece = PieceOfArgument(call.in, i);
        line += i == 0 ? "" : ", ";
        line += ArgumentName(call, i) + '=';
        line += piece != nullptr ? Shown(*piece) : Number(WidthOf(call, i), call.words[i]);
    }
    return line + ')';
}

std::string ForeignText(const TraceFile &file) {
    uint64_t calls = 0;
    std::string name;
    for (const ForeignSlot &slot : file.foreign) {
        calls += slot.calls;
        name = slot.calls != 0 && name.empty() ? slot.name : name;
    }
    return calls == 0 ? std::string()
                      : std::to_string(calls) + " calls of functions that this release does not " +
                            "have are left out, of " + Escaped(name) + " first";
}

std::string ShownWord(const TracedCall &call, size_t argument) {
    return Number(WidthOf(call, argument), call.words[argument]);
}

std::string ShownPiece(const TracedPiece &piece) {
    return Shown(piece);
}

std::string ShownResult(const TracedCall &call) {
    return Number(ResultWidth(call), call.result);
}

std::string TextLine(const TracedCall &call) {
    std::array<char, 64> head{};
    (void)std::snprintf(head.data(), head.size(), "%5llu.%09llu %3u  ",
                        static_cast<unsigned long long>(call.beginNs / 1'000'000'000),
                        static_cast<unsigned long long>(call.beginNs % 1'000'000'000), call.thread);
    std::string line = head.data();
    line += CallText(call);
    if (!call.hasReturned) {
        line += " has not returned";
    } else {
        if (call.hasResult) {
            line += " = " + Number(ResultWidth(call), call.result);
        }
        line += "  " + Duration(call.durationNs);
    }
    const auto add = [&](const TracedPiece &piece, const char *how) {
        line += "  " + PieceName(kSlots[call.slot], piece) + how + Shown(piece);
    };
    for (const TracedPiece &piece : call.in) {
        if (piece.Offset() != kDirect || piece.Parameter() >= call.wordCount) {
            add(piece, "=");
        }
    }
    for (const TracedPiece &piece : call.out) {
        add(piece, "->");
    }
    return line + '\n';
}

namespace {

// The calls of a slot, and how long those took that have returned, the shortest first.
struct SlotCount {
    size_t slot = 0;
    uint64_t calls = 0;
    std::vector<uint64_t> times{};

    // As much as so many of a hundred calls took at most; there are times.
    [[nodiscard]] uint64_t Percentile(size_t percent) const {
        return times[(times.size() * percent + 99) / 100 - 1];
    }
};

// Of the slots that were called.
std::vector<SlotCount> CountsOf(const TraceFile &file) {
    std::vector<SlotCount> counts(kSlotCount);
    for (const TracedCall &call : file.calls) {
        if (call.isCallback) {
            continue;
        }
        counts[call.slot].slot = call.slot;
        ++counts[call.slot].calls;
        if (call.hasReturned) {
            counts[call.slot].times.push_back(call.durationNs);
        }
    }
    std::erase_if(counts, [](const SlotCount &count) { return count.calls == 0; });
    for (SlotCount &count : counts) {
        std::sort(count.times.begin(), count.times.end());
    }
    return counts;
}

}  // namespace

std::string CountsTable(const TraceFile &file) {
    std::array<char, 160> row{};
    (void)std::snprintf(row.data(), row.size(), "%-44s %9s %10s %10s %10s %10s\n", "function",
                        "calls", "p50", "p90", "p99", "most");
    std::string table = row.data();
    for (const SlotCount &count : CountsOf(file)) {
        const auto percentile = [&count](size_t percent) {
            return count.times.empty() ? std::string("-") : Duration(count.Percentile(percent));
        };
        (void)std::snprintf(row.data(), row.size(), "%-44s %9llu %10s %10s %10s %10s\n",
                            kSlots[count.slot].name, static_cast<unsigned long long>(count.calls),
                            percentile(50).c_str(), percentile(90).c_str(), percentile(99).c_str(),
                            percentile(100).c_str());
        table += row.data();
    }
    return table;
}

std::string CountsLines(const TraceFile &file) {
    std::string lines;
    for (const SlotCount &count : CountsOf(file)) {
        lines += R"({"slot":)" + std::to_string(count.slot);
        lines += R"(,"group":)" + JsonText(kSlots[count.slot].group);
        lines += R"(,"function":)" + JsonText(kSlots[count.slot].name);
        lines += R"(,"calls":)" + std::to_string(count.calls);
        if (!count.times.empty()) {
            lines += R"(,"p50_ns":)" + std::to_string(count.Percentile(50));
            lines += R"(,"p90_ns":)" + std::to_string(count.Percentile(90));
            lines += R"(,"p99_ns":)" + std::to_string(count.Percentile(99));
            lines += R"(,"most_ns":)" + std::to_string(count.Percentile(100));
        }
        lines += "}\n";
    }
    return lines;
}

}  // namespace dxr_trace

namespace {

using dxr_trace::FileState;
using dxr_trace::TracedCall;
using dxr_trace::TraceFile;

struct Closer {
    void operator()(FILE *file) const { (void)std::fclose(file); }
};
using OpenFile = std::unique_ptr<FILE, Closer>;

}  // namespace

// Returns 0 or a number of <errno.h>.
int dxr_trace::ReadWholeFile(const char *path, std::string &bytes) {
    constexpr size_t kPiece = 65536;
    const OpenFile file(std::fopen(path, "rb"));
    if (file == nullptr) {
        return errno;
    }
    size_t size = 0;
    while (true) {
        bytes.resize(size + kPiece);
        errno = 0;
        const size_t got = std::fread(bytes.data() + size, 1, kPiece, file.get());
        size += got;
        if (got < kPiece) {
            bytes.resize(size);
            return std::ferror(file.get()) == 0 ? 0 : (errno != 0 ? errno : EIO);
        }
        // What is no recording may be endless.
        if (std::string_view(bytes).substr(0, kFileMark.size()) != kFileMark) {
            return 0;
        }
    }
}

namespace {

int WriteAs(const TraceFile &file, uint32_t format, FILE *out) {
    dxr_trace::FileWriter writer(out);
    switch (format) {
        case DXR_TRACE_JSON_LINES:
            for (const TracedCall &call : file.calls) {
                writer.Put(dxr_trace::JsonLine(call));
            }
            break;
        case DXR_TRACE_CHROME:
            writer.Put(dxr_trace::ChromeBegin(file));
            for (const TracedCall &call : file.calls) {
                writer.Put(dxr_trace::ChromeEvent(file, call));
            }
            writer.Put(dxr_trace::ChromeEnd());
            break;
        case DXR_TRACE_COUNTS:
            writer.Put(dxr_trace::CountsTable(file));
            break;
        case DXR_TRACE_COUNTS_JSON:
            writer.Put(dxr_trace::CountsLines(file));
            break;
        default:
            for (const TracedCall &call : file.calls) {
                writer.Put(dxr_trace::TextLine(call));
            }
            break;
    }
    return writer.Flush();
}

int CodeOf(FileState state) {
    switch (state) {
        case FileState::kWhole:
            return 0;
        case FileState::kCut:
            return ENODATA;
        case FileState::kDamaged:
            return EBADMSG;
        case FileState::kForeign:
            return EINVAL;
    }
    return EINVAL;
}

// The gravest of what is wrong with it.
std::string ProblemOf(const TraceFile &file) {
    std::string problem = file.problem;
    if (problem.empty()) {
        problem = dxr_trace::ForeignText(file);
    }
    if (problem.empty() && file.dropped != 0) {
        problem = std::to_string(file.dropped) + " records were dropped";
    }
    return problem;
}

int Export(const char *path, uint32_t format, FILE *out, std::string &problem) {
    if (format > DXR_TRACE_COUNTS_JSON) {
        problem = "there is no such format";
        return EINVAL;
    }
    std::string bytes;
    int error = dxr_trace::ReadWholeFile(path, bytes);
    if (error != 0) {
        problem = std::generic_category().message(error);
        return error;
    }
    const TraceFile file = dxr_trace::ReadTraceFile(bytes);
    if (file.state == FileState::kForeign) {
        problem = file.problem;
        return EINVAL;
    }
    error = WriteAs(file, format, out);
    if (error != 0) {
        problem = "cannot be written: " + std::generic_category().message(error);
        return error;
    }
    problem = ProblemOf(file);
    return CodeOf(file.state);
}

int Read(const char *path, DxrTraceVisit visit, void *user, std::string &problem) {
    std::string bytes;
    const int error = dxr_trace::ReadWholeFile(path, bytes);
    if (error != 0) {
        problem = std::generic_category().message(error);
        return error;
    }
    const TraceFile file = dxr_trace::ReadTraceFile(bytes);
    problem = ProblemOf(file);
    for (const TracedCall &call : file.calls) {
        const DxrTraceCall told = {
            call.slot,    call.thread,    call.isCallback ? 1U : 0U, call.hasReturned ? 1U : 0U,
            call.beginNs, call.durationNs};
        visit(&told, user);
    }
    return CodeOf(file.state);
}

}  // namespace

uint32_t DxrTraceRead(const char *file, DxrTraceVisit visit, void *user, char *error,
                      uint32_t errorSize) {
    return dxr_trace::Telling(error, errorSize, ENOMEM, [&](std::string &problem) {
        return Read(file, visit, user, problem);
    });
}

uint32_t DxrTraceExport(const char *file, uint32_t format, FILE *out, char *error,
                        uint32_t errorSize) {
    return dxr_trace::Telling(error, errorSize, ENOMEM, [&](std::string &problem) {
        return Export(file, format, out, problem);
    });
}
