#include "test_session.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <filesystem>
#include <memory>
#include <system_error>
#include <utility>

#include "error_text.h"
#include "options.h"
#include "report.h"

namespace devhost {
namespace {

constexpr size_t kMostLines = 32768;
constexpr size_t kMostShown = 20;
constexpr uint32_t kAllLevels = UINT32_MAX;

constinit std::mutex g_mutex;
constinit Session *g_session = nullptr;
constinit uint64_t g_tests = 0;  // that have begun

uint32_t BitOf(uint32_t kind) {
    constexpr uint32_t kBits = 32;
    return kind < kBits ? 1U << kind : 0;
}

void KeepLine(uint32_t kind, const char *text) noexcept {
    const SessionLock session;
    if (!session) {
        return;
    }
    try {
        if (session->lines.size() < kMostLines) {
            session->lines.push_back({kind, text});
            return;
        }
    } catch (const std::exception &) {
        // Counted as well.
    }
    ++session->linesNotKept.at(static_cast<size_t>(std::countr_zero(kind)));
}

void KeepMessage(uint32_t /*level*/, const char *text, void * /*user*/) {
    KeepLine(DXR_TEST_MESSAGES, text);
}

void KeepDiagLine(const char *text, void * /*user*/) {
    KeepLine(DXR_TEST_DIAG, text);
}

void KeepEvent(const DxrHostEvent *event, void * /*user*/) {
    KeepLine(DXR_TEST_EVENTS, event->text != nullptr ? event->text : "");
}

// Without memory for a report the test must not pass.
void KeepReport(const DxrHostReport *report, void * /*user*/) noexcept {
    const SessionLock session;
    if (session) {
        session->reports.push_back(*report);
    }
}

void AddFailure(std::string text) {
    const SessionLock session;
    if (session) {
        session->failures.push_back(std::move(text));
    }
}

// A directory of the test's own; empty when there is none.
std::string MakeDirectory() {
    std::error_code error;
    std::string path = std::filesystem::temp_directory_path(error).string() + "/dxr_test_XXXXXX";
    return !error && mkdtemp(path.data()) != nullptr ? path : std::string();
}

void RemoveDirectory(const Session &session) {
    if (session.ownsDirectory) {
        std::error_code ignored;
        std::filesystem::remove_all(session.directory, ignored);
    }
}

bool Begin(const DxrHostOptions &given) {
    {
        const SessionLock before;
        if (before) {
            return false;
        }
    }
    auto session = std::make_unique<Session>();
    DxrHostOptions options = given;
    session->ownsDirectory = options.workPath == nullptr;
    session->directory = session->ownsDirectory ? MakeDirectory() : options.workPath;
    options.workPath = session->directory.c_str();
    session->host = session->directory.empty() ? nullptr : DxrHostCreate(&options);
    if (session->host == nullptr || DxrHostRegister(session->host) != 0) {
        (void)DxrHostDestroy(session->host, nullptr);
        RemoveDirectory(*session);
        return false;
    }
    DxrHost *const host = session->host;
    {
        const std::lock_guard lock(g_mutex);
        session->number = ++g_tests;
        g_session = session.release();
    }
    DxrHostSetPrintSink(host, KeepMessage, nullptr, kAllLevels);
    DxrHostSetDiagSink(host, KeepDiagLine, nullptr);
    DxrHostSetEventSink(host, KeepEvent, nullptr);
    DxrHostSetReportSink(host, KeepReport, nullptr);
    KeepCalls();
    return true;
}

// The reports that are failures. What the end of a run cuts off is none.
std::vector<const DxrHostReport *> BadReportsOf(const Session &session) {
    const bool isCutOff =
        std::any_of(session.reports.begin(), session.reports.end(),
                    [](const auto &report) { return report.kind == DXR_HOST_REPORT_RUN; });
    const uint32_t allowed = session.allowed | (isCutOff ? BitOf(DXR_HOST_REPORT_LEFTOVER) : 0);
    std::vector<const DxrHostReport *> bad;
    for (const DxrHostReport &report : session.reports) {
        if ((allowed & BitOf(report.kind)) == 0) {
            bad.push_back(&report);
        }
    }
    return bad;
}

// All failures, the noted ones and then the host's reports.
std::vector<std::string> FailuresOf(const Session &session) {
    std::vector<std::string> failures = session.failures;
    for (const DxrHostReport *report : BadReportsOf(session)) {
        failures.push_back(LineOf(*report));
    }
    return failures;
}

std::string Times(uint64_t count) {
    return std::to_string(count) + (count == 1 ? " time" : " times");
}

std::string Wanted(uint32_t least, uint32_t most) {
    if (least == most) {
        return "not " + Times(least);
    }
    return most == UINT32_MAX ? "not at least " + Times(least)
                              : "not " + std::to_string(least) + " to " + Times(most);
}

// Which of `all` there were, the latest ones.
template <typename Items, typename Describe>
std::string Listing(const Items &all, const Describe &describe) {
    std::string text;
    const size_t from = all.size() > kMostShown ? all.size() - kMostShown : 0;
    if (from != 0) {
        text += "\n  (" + std::to_string(from) + " more)";
    }
    for (size_t i = from; i < all.size(); ++i) {
        text += "\n  " + describe(all[i]);
    }
    return text;
}

std::string NotKept(uint64_t count, const char *what) {
    return count == 0 ? std::string()
                      : "\n  (" + std::to_string(count) + " later " + what + " were not kept)";
}

// Whether a count is one of those that are wanted. What was not kept may have been more.
bool IsWanted(uint64_t found, uint64_t notKept, uint32_t least, uint32_t most) {
    return least <= found && found <= most && (notKept == 0 || most == UINT32_MAX);
}

// How often it was, of which IsWanted says that it is not wanted.
std::string Found(uint64_t found, uint32_t least, uint32_t most, const char *what) {
    const bool mayBeMore = least <= found && found <= most;
    return Times(found) + (mayBeMore ? std::string(" among the ") + what + " that were kept"
                                     : ", " + Wanted(least, most));
}

uint64_t LinesNotKept(const Session &session, uint32_t kinds) {
    uint64_t count = 0;
    for (size_t i = 0; i < session.linesNotKept.size(); ++i) {
        count += (kinds >> i & 1) != 0 ? session.linesNotKept[i] : 0;
    }
    return count;
}

std::string WhyNotAsked(const Session &session, const CallPattern &pattern, std::string_view text,
                        uint32_t least, uint32_t most) {
    std::vector<const KeptCall *> ofSlot;
    uint64_t found = 0;
    for (const KeptCall &call : session.calls.All()) {
        if (call.slot == pattern.slot) {
            ofSlot.push_back(&call);
            found += Matches(pattern, call) ? 1 : 0;
        }
    }
    if (IsWanted(found, session.calls.NotKept(pattern.slot), least, most)) {
        return {};
    }
    std::string why = std::string(text) + " was asked " + Found(found, least, most, "calls");
    if (!ofSlot.empty()) {
        why += "; calls of it:";
    } else if (SlotOfTable(pattern.slot) == nullptr) {
        why += "; the slot is empty, of which no call is seen";
    } else {
        why += "; it was never called";
    }
    return why + Listing(ofSlot, [](const KeptCall *call) { return call->Describe(); }) +
           NotKept(session.calls.NotKept(), "calls");
}

std::string WhyNotLogged(const Session &session, uint32_t kinds, std::string_view pattern,
                         uint32_t least, uint32_t most) {
    std::vector<const KeptLine *> lines;
    uint64_t found = 0;
    for (const KeptLine &line : session.lines) {
        if ((line.kind & kinds) != 0) {
            lines.push_back(&line);
            found += MatchesText(pattern, line.text) ? 1 : 0;
        }
    }
    const uint64_t notKept = LinesNotKept(session, kinds);
    if (IsWanted(found, notKept, least, most)) {
        return {};
    }
    return "\"" + std::string(pattern) + "\" was logged " + Found(found, least, most, "lines") +
           (lines.empty() ? "; there is no line" : "; lines:") +
           Listing(lines, [](const KeptLine *line) { return line->text; }) +
           NotKept(notKept, "lines");
}

// Writes why something does not hold; true for an empty text.
bool Holds(const std::string &why, char *text, uint32_t size) {
    WriteError(text, size, why.c_str());
    return why.empty();
}

constexpr const char *kNoTest = "no test has begun";
constexpr const char *kNoMemory = "there is no memory to say why";

// Whether a name leads to a file below a directory.
bool IsBelow(const std::filesystem::path &name) {
    return name.is_relative() && std::find(name.begin(), name.end(), "..") == name.end();
}

bool WriteWhole(const std::string &path, const void *data, uint32_t bytes) {
    std::error_code error;
    std::filesystem::create_directories(std::filesystem::path(path).parent_path(), error);
    std::FILE *const file = std::fopen(path.c_str(), "wb");
    if (file == nullptr) {
        return false;
    }
    const bool isWritten = bytes == 0 || std::fwrite(data, 1, bytes, file) == bytes;
    return std::fclose(file) == 0 && isWritten;
}

}  // namespace

SessionLock::SessionLock() : lock_(g_mutex) {
}

// The lock is what makes it safe to look.
// NOLINTNEXTLINE(readability-convert-member-functions-to-static)
SessionLock::operator bool() const {
    return g_session != nullptr;
}

// NOLINTNEXTLINE(readability-convert-member-functions-to-static)
Session *SessionLock::operator->() const {
    return g_session;
}

// NOLINTNEXTLINE(readability-convert-member-functions-to-static)
Session &SessionLock::operator*() const {
    return *g_session;
}

}  // namespace devhost

using devhost::SessionLock;

void DxrTestInitOptions(DxrHostOptions *options) {
    constexpr uint32_t kHour = 3600;
    DxrHostInitOptions(options);
    options->clock = DXR_HOST_CLOCK_VIRTUAL;
    options->endSec = kHour;
    // NOLINTNEXTLINE(concurrency-mt-unsafe): nobody changes the environment of a test
    const char *const seed = std::getenv("DXR_TEST_SEED");
    if (seed != nullptr) {
        char *end = nullptr;
        const uint64_t number = std::strtoull(seed, &end, 0);
        options->seed = end != seed && *end == '\0' ? number : options->seed;
    }
}

bool DxrTestBegin(const DxrHostOptions *options) {
    DxrHostOptions defaults;
    DxrTestInitOptions(&defaults);
    try {
        return devhost::Begin(devhost::OptionsOr(options, defaults));
    } catch (const std::exception &) {
        return false;
    }
}

uint32_t DxrTestEnd(FILE *out) {
    DxrHost *host = nullptr;
    {
        const SessionLock session;
        if (!session) {
            return 0;
        }
        host = session->host;
    }
    const uint32_t leftovers = DxrHostDestroy(host, nullptr);
    if (leftovers == UINT32_MAX) {
        return leftovers;
    }
    std::unique_ptr<devhost::Session> session;
    {
        const std::lock_guard lock(devhost::g_mutex);
        session.reset(std::exchange(devhost::g_session, nullptr));
    }
    devhost::RemoveDirectory(*session);
    try {
        const std::vector<std::string> failures = devhost::FailuresOf(*session);
        for (const std::string &failure : failures) {
            if (out != nullptr) {
                (void)std::fprintf(out, "%s\n", failure.c_str());
            }
        }
        return static_cast<uint32_t>(failures.size());
    } catch (const std::exception &) {
        return std::max(leftovers, 1U);
    }
}

void DxrTestAllow(uint32_t kind) {
    const SessionLock session;
    if (session) {
        session->allowed |= devhost::BitOf(kind);
    }
}

void DxrTestNoteFailure(const char *file, uint32_t line, const char *text) {
    try {
        const std::string what = text != nullptr ? text : "";
        devhost::AddFailure(
            file != nullptr ? std::string(file) + ":" + std::to_string(line) + ": " + what : what);
    } catch (const std::exception &) {
        std::abort();  // a failure must not be lost
    }
}

uint32_t DxrTestCountFailures(void) {
    const SessionLock session;
    if (!session) {
        return 0;
    }
    try {
        return static_cast<uint32_t>(session->failures.size() +
                                     devhost::BadReportsOf(*session).size());
    } catch (const std::exception &) {
        return UINT32_MAX;
    }
}

const char *DxrTestGetDirectory(void) {
    const SessionLock session;
    return session ? session->directory.c_str() : nullptr;
}

bool DxrTestWriteFile(const char *name, const void *data, uint32_t bytes) {
    const char *const directory = DxrTestGetDirectory();
    if (directory == nullptr) {
        return false;
    }
    try {
        if (name == nullptr || !devhost::IsBelow(name)) {
            devhost::AddFailure(name == nullptr
                                    ? "a file to be written has no name"
                                    : std::string(name) + " is no file below the work path");
            return false;
        }
        const std::string path = std::string(directory) + "/" + name;
        if (devhost::WriteWhole(path, data, bytes)) {
            return true;
        }
        devhost::AddFailure("cannot write " + path);
    } catch (const std::exception &) {
        DxrTestNoteFailure(nullptr, 0, "a file was not written");
    }
    return false;
}

bool DxrTestAsked(const char *pattern, uint32_t least, uint32_t most, char *why, uint32_t size) {
    try {
        devhost::CallPattern read;
        std::string error;
        const std::string text = pattern != nullptr ? pattern : "";
        if (!devhost::ReadPattern(text, read, error)) {
            return devhost::Holds(text + ": " + error, why, size);
        }
        const SessionLock session;
        return devhost::Holds(
            session ? devhost::WhyNotAsked(*session, read, text, least, most) : devhost::kNoTest,
            why, size);
    } catch (const std::exception &) {
        devhost::WriteError(why, size, devhost::kNoMemory);
        return false;
    }
}

bool DxrTestGetCall(const char *pattern, uint32_t index, DxrTestCall *call) {
    try {
        devhost::CallPattern read;
        std::string error;
        if (pattern == nullptr || call == nullptr || !devhost::ReadPattern(pattern, read, error)) {
            return false;
        }
        const SessionLock session;
        if (!session) {
            return false;
        }
        for (const devhost::KeptCall &kept : session->calls.All()) {
            if (!devhost::Matches(read, kept) || index-- != 0) {
                continue;
            }
            const dxr_trace::SlotInfo &info = dxr_trace::kSlots[kept.slot];
            *call = {};
            call->function = info.name;
            call->arguments = static_cast<uint32_t>(info.parameters.size());
            call->hasReturned = kept.hasReturned ? 1 : 0;
            std::copy(kept.words.begin(), kept.words.end(), std::begin(call->argument));
            call->result = kept.result;
            for (const devhost::Pointee &pointee : kept.pointees) {
                call->data[pointee.argument] = pointee.bytes.data();
                call->bytes[pointee.argument] = static_cast<uint32_t>(pointee.bytes.size());
            }
            return true;
        }
        return false;
    } catch (const std::exception &) {
        return false;
    }
}

void DxrTestForget(void) {
    const SessionLock session;
    if (session) {
        session->calls.Forget();
        session->lines.clear();
        session->linesNotKept = {};
    }
}

bool DxrTestLogged(uint32_t kinds, const char *pattern, uint32_t least, uint32_t most, char *why,
                   uint32_t size) {
    try {
        const SessionLock session;
        std::string reason = devhost::kNoTest;
        if (session && pattern == nullptr) {
            reason = "there is no pattern";
        } else if (session && (kinds == 0 || (kinds & ~DXR_TEST_LINES) != 0)) {
            reason = "there are no lines of kinds " + std::to_string(kinds);
        } else if (session) {
            reason = devhost::WhyNotLogged(*session, kinds, pattern, least, most);
        }
        return devhost::Holds(reason, why, size);
    } catch (const std::exception &) {
        devhost::WriteError(why, size, devhost::kNoMemory);
        return false;
    }
}

// --- Slots of a test's own

void DxrTestBeginFake(void *slot) {
    const size_t index = devhost::SlotAt(slot);
    if (index == devhost::kSlotCount) {
        DxrTestNoteFailure(nullptr, 0, "what is to be replaced is no slot of g_dxrHooks");
        return;
    }
    const SessionLock session;
    if (session) {
        session->fakes.push_back({index, devhost::SlotOfTable(index), devhost::HookBehind(index)});
    }
}

void DxrTestEndFake(void *slot) {
    const size_t index = devhost::SlotAt(slot);
    const SessionLock session;
    if (!session || index == devhost::kSlotCount) {
        return;
    }
    devhost::AnyHook &hook = devhost::SlotOfTable(index);
    devhost::SetHookBehind(index, hook);
    if (hook != nullptr && devhost::KeeperOf(index) != nullptr) {
        hook = devhost::KeeperOf(index);
    }
}

void DxrTestRestore(void *slot) {
    const size_t index = devhost::SlotAt(slot);
    const SessionLock session;
    if (!session) {
        return;
    }
    const auto found =
        std::find_if(session->fakes.rbegin(), session->fakes.rend(),
                     [index](const devhost::KeptFake &fake) { return fake.slot == index; });
    if (found != session->fakes.rend()) {
        devhost::SetHookBehind(index, found->behind);
        devhost::SlotOfTable(index) = found->table;
        session->fakes.erase(std::next(found).base());
    }
}

uint64_t DxrTestGetNumber(void) {
    const SessionLock session;
    return session ? session->number : 0;
}

DxrTestFunction DxrTestGetReal(void *slot) {
    const size_t index = devhost::SlotAt(slot);
    const SessionLock session;
    return session && index != devhost::kSlotCount ? devhost::HookBehind(index) : nullptr;
}
