#include "shell_session.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <iterator>
#include <limits>
#include <system_error>
#include <utility>

#include "devhost/fault_points.h"
#include "dxr_devhost/inspect.h"
#include "errors.h"
#include "nearest.h"
#include "run_host.h"
#include "run_report.h"
#include "say.h"
#include "shell_call.h"
#include "shell_places.h"
#include "shell_words.h"

namespace dxrsh {
namespace {

constexpr size_t kShownWidth = 60;
constexpr size_t kTableRowBytes = 65536;
constexpr size_t kShownHex = 32;
constexpr size_t kMostKeptBytes = size_t{1} << 30U;
constexpr size_t kBesideBlock = 66000;  // what a block takes besides its bytes

std::string ErrorText(uint32_t error) {
    return std::generic_category().message(static_cast<int>(error));
}

std::string MailboxError(const DxrHostUnit &unit, uint32_t error) {
    const bool isNone = error == ENOENT || error == ENXIO;
    return UnitText(unit) + (isNone ? " has no mailbox" : ": " + ErrorText(error));
}

void RequireName(const std::string &word, const char *what) {
    if (word.empty()) {
        throw UsageError(fmt::format("{}: must not be empty", what));
    }
}

void RequireCount(const Session::Words &words, size_t least, size_t most, const char *usage) {
    if (words.size() < least || words.size() > most) {
        throw UsageError(fmt::format("usage: {}", usage));
    }
}

std::string HexText(const std::string &bytes) {
    std::string text;
    for (size_t i = 0; i < std::min(bytes.size(), kShownHex); ++i) {
        text += fmt::format("{:02x}", static_cast<unsigned char>(bytes[i]));
    }
    return bytes.size() > kShownHex ? fmt::format("{}... ({} bytes)", text, bytes.size()) : text;
}

uint32_t ReadCell(DxrHost *host, const Cell &cell) {
    uint32_t value = 0;
    if (!DxrHostPeekCell(host, &cell.Get(), &value)) {
        throw RunError(fmt::format("there is no {}", cell.Name()));
    }
    return value;
}

}  // namespace

Session::Session(const PokedHost &poked, Printer printer)
    : poked_(poked), printer_(std::move(printer)) {
    DxrHostFillHooks(&bare_);
}

void Session::EndModules() {
    std::for_each(modules_.rbegin(), modules_.rend(), [](const auto &each) { each->End(); });
    modules_.clear();
}

// --- Calls, and what is kept of them

// Before they are given to the host.
void Session::RequireRoom() const {
    if (keptBytes_ > kMostKeptBytes) {
        throw RunError(
            fmt::format("the host may have addresses of more than {} bytes that earlier "
                        "lines have made",
                        kMostKeptBytes));
    }
}

void Session::KeepBlocks(const std::vector<std::shared_ptr<Block>> &blocks) {
    for (const auto &block : blocks) {
        keptBytes_ += kBesideBlock + block->size;
    }
    kept_.insert(kept_.end(), blocks.begin(), blocks.end());
}

void Session::CallAs(const Words &words, bool byHook) {
    if (words.empty()) {
        throw UsageError(byHook ? "usage: hook SLOT [ARGUMENTS]" : "usage: call SLOT [ARGUMENTS]");
    }
    RequireRoom();
    const CallOutcome outcome =
        CallSlot(RequireSlot(words[0]), {words.begin() + 1, words.end()}, byHook, values_);
    KeepBlocks(outcome.kept);
    Print(outcome.text);
}

void Session::Call(const Words &words) {
    CallAs(words, false);
}

void Session::CallHook(const Words &words) {
    CallAs(words, true);
}

void Session::Buffer(const Words &words) {
    RequireCount(words, 2, 2, "buffer NAME MEMORY");
    RequireName(words[0], "NAME");
    if (!Blocks::IsMemory(words[1])) {
        throw UsageError(fmt::format("{}: '{}' describes no memory, such as @16 or hex:00ff",
                                     words[0], Printable(words[1], kShownWidth)));
    }
    RequireRoom();
    Blocks blocks;
    (void)blocks.Read(words[0], words[1], values_);
    // The host may have addresses of an earlier one of that name.
    KeepBlocks(blocks.All());
    Value value;
    value.block = blocks.All().front();
    value.number = value.block->Address();
    values_.Set(words[0], value);
}

void Session::Keep(const Words &words) {
    RequireCount(words, 1, 2, "keep NAME [WHAT]");
    RequireName(words[0], "NAME");
    values_.Set(words[0], values_.Get(words.size() > 1 ? words[1] : "result"));
}

void Session::Expect(const Words &words) {
    RequireCount(words, 2, 2, "expect NAME VALUE");
    const Value &value = values_.Get(words[0]);
    if (value.isText) {
        if (value.text != words[1]) {
            throw RunError(fmt::format("{}: expected {}, got {}", words[0], QuotedText(words[1]),
                                       QuotedText(value.text)));
        }
        return;
    }
    const uint64_t expected =
        words[1] == "null"
            ? 0
            : NumberOf(words[1], std::numeric_limits<uint64_t>::max(), words[0], values_);
    if (value.number != expected) {
        throw RunError(fmt::format("{}: expected {}, got {}", words[0], NumberText(expected),
                                   NumberText(value.number)));
    }
}

void Session::ShowValues(const Words &words) {
    std::string text;
    const auto show = [&text](const std::string &name, const Value &value) {
        text += fmt::format("{} = {}\n", name,
                            value.block != nullptr ? BytesText(value.block->Text())
                            : value.isText         ? QuotedText(value.text)
                                                   : NumberText(value.number));
    };
    for (const std::string &name : words) {
        show(name, values_.Get(name));
    }
    if (words.empty()) {
        for (const auto &[name, value] : values_.All()) {
            show(name, value);
        }
    }
    Print(text);
}

// --- The device

void Session::Get(const Words &words) {
    RequireCount(words, 1, 1, "get REGISTER");
    const Cell cell(words[0]);
    Value value;
    value.number = ReadCell(poked_.host, cell);
    values_.Set("result", value);
    Print(fmt::format("{} = {}\n", cell.Name(), NumberText(value.number)));
}

void Session::Set(const Words &words) {
    RequireCount(words, 2, 2, "set REGISTER VALUE");
    const Cell cell(words[0]);
    const auto value = static_cast<uint32_t>(NumberOf(words[1], cell.Most(), cell.Name(), values_));
    if (!DxrHostPokeCell(poked_.host, &cell.Get(), value)) {
        throw RunError(fmt::format("there is no {}", cell.Name()));
    }
}

void Session::Registers(const Words &words) {
    constexpr uint32_t kUsualCount = 8;
    constexpr uint32_t kMostCount = 65536;
    RequireCount(words, 1, 2, "registers REGISTER [COUNT]");
    Cell cell(words[0]);
    const uint64_t count =
        words.size() > 1 ? RequireUpTo(words[1], kMostCount, "COUNT") : kUsualCount;
    std::string text;
    for (uint64_t i = 0; i < count; ++i) {
        uint64_t reads = 0;
        uint64_t writes = 0;
        const uint32_t value = ReadCell(poked_.host, cell);
        (void)DxrHostGetCellCounts(poked_.host, &cell.Get(), &reads, &writes);
        text += fmt::format("{:<20} {:#010x}  read {}, written {}\n", cell.Name(), value, reads,
                            writes);
        cell.Next();
    }
    Print(text);
}

// --- Tables

std::vector<DxrHostTable> Session::AllTables() const {
    std::vector<DxrHostTable> tables(DxrHostGetTables(poked_.host, nullptr, 0));
    const uint32_t count =
        DxrHostGetTables(poked_.host, tables.data(), static_cast<uint32_t>(tables.size()));
    tables.resize(std::min<size_t>(tables.size(), count));
    return tables;
}

void Session::ListTables() const {
    const std::vector<DxrHostTable> tables = AllTables();
    const auto anyOr = [](uint32_t number) {
        return number == 0 ? std::string("any") : std::to_string(number);
    };
    std::string text = "     table  key bytes  data bytes  capacity   pool  entries\n";
    for (const DxrHostTable &table : tables) {
        text += fmt::format("{:>10}  {:>9}  {:>10}  {:>8}  {:>5}  {:>7}{}\n", table.tableId,
                            anyOr(table.keyBytes), anyOr(table.dataBytes), anyOr(table.capacity),
                            table.pool, table.entries, table.isStatic != 0 ? "  static" : "");
    }
    Print(tables.empty() ? "there are no tables\n" : text);
}

void Session::ListTable(uint32_t table) const {
    const std::vector<DxrHostTable> tables = AllTables();
    if (std::none_of(tables.begin(), tables.end(),
                     [table](const DxrHostTable &one) { return one.tableId == table; })) {
        throw RunError(fmt::format("there is no table {}", table));
    }
    std::array<char, 256> key{};
    std::string data(kTableRowBytes, '\0');
    std::string mask(kTableRowBytes, '\0');
    DxrHostTableWalk walk{};
    walk.size = sizeof(walk);
    walk.chip = DXR_HOST_EVERY_CHIP;
    walk.tableId = table;
    DxrHostTableEntry entry{};
    entry.size = sizeof(entry);
    entry.keyRoom = key.size();
    entry.dataRoom = kTableRowBytes;
    entry.key = key.data();
    entry.data = data.data();
    entry.mask = mask.data();
    uint32_t result = bare_.tblm.getLinearTblmFirstData(&walk, &entry);
    std::string text = " chip  key and data\n";
    while (result == 0) {
        const std::string bits = mask.substr(0, entry.dataBytes);
        const bool isMasked = bits.find_first_not_of('\xff') != std::string::npos;
        text += fmt::format(
            "{:>5}  {}: {}{}\n", entry.chip, HexText(std::string(key.data(), entry.keyBytes)),
            HexText(data.substr(0, entry.dataBytes)), isMasked ? " mask " + HexText(bits) : "");
        result = bare_.tblm.getTblmNextData(walk.walk, &entry);
    }
    if (walk.walk != 0) {
        bare_.tblm.releaseTblm(0, walk.walk);
    }
    if (result != ENOENT) {
        throw RunError(fmt::format("table {}: {}", table, ErrorText(result)));
    }
    Print(text);
}

void Session::Tables(const Words &words) {
    RequireCount(words, 0, 1, "tables [TABLE]");
    if (words.empty()) {
        ListTables();
    } else {
        ListTable(Require32(words[0], "TABLE"));
    }
}

void Session::Entry(const Words &words) {
    RequireCount(words, 4, 4, "entry CHIP TABLE KEY DATA");
    const uint32_t chip = Require32(words[0], "CHIP");
    const uint32_t table = Require32(words[1], "TABLE");
    Blocks blocks;
    const Block &key = blocks.Read("KEY", words[2], values_);
    const Block &data = blocks.Read("DATA", words[3], values_);
    const uint32_t result =
        DXR_AddChipTblmData(chip, table, key.Data(), static_cast<uint32_t>(key.size), data.Data(),
                            static_cast<uint32_t>(data.size));
    if (result != 0) {
        throw RunError(fmt::format("table {}: {}", table, ErrorText(result)));
    }
}

// --- Messages

void Session::Drop(const Words &words) {
    RequireCount(words, 0, 3, "drop [[UNIT] KIND COUNT]");
    if (words.empty()) {
        Print(poked_.losses->Listing());
        return;
    }
    RequireCount(words, 2, 3, "drop [[UNIT] KIND COUNT]");
    const uint32_t kind = Require32(words[words.size() - 2], "KIND");
    const uint32_t count = Require32(words.back(), "COUNT");
    if (words.size() == 2) {
        poked_.losses->Drop(kind, count);
    } else {
        poked_.losses->Drop(RequireUnit(words[0]), kind, count);
    }
}

// NOLINTNEXTLINE(readability-make-member-function-const): one of the commands, which are alike
void Session::Fail(const Words &words) {
    RequireCount(words, 1, 2, "fail POINT [N]");
    const uint64_t n =
        words.size() > 1 ? RequireUpTo(words[1], std::numeric_limits<uint64_t>::max(), "N") : 1;
    const auto *const point =
        std::find(std::begin(devhost::kFaultPoints), std::end(devhost::kFaultPoints), words[0]);
    if (point == std::end(devhost::kFaultPoints)) {
        const std::vector<std::string> known(std::begin(devhost::kFaultPoints),
                                             std::end(devhost::kFaultPoints));
        throw UsageError(fmt::format("there is no point '{}'; {}", Printable(words[0], kShownWidth),
                                     Advice(words[0], known, "'help fail' lists them")));
    }
    DxrHostFailNth(poked_.host, words[0].c_str(), n, false);
}

void Session::Send(const Words &words) {
    constexpr const char *kUsage =
        "send UNIT KIND [MEMORY] [from=UNIT] [code=N] [ack=MILLISECONDS]";
    RequireCount(words, 2, 6, kUsage);
    DxrHostMessage message{};
    message.size = sizeof(message);
    message.to = RequireUnit(words[0]);
    message.kind = Require32(words[1], "KIND");
    Blocks blocks;
    for (size_t i = 2; i < words.size(); ++i) {
        const std::string &word = words[i];
        const std::string value = word.substr(word.find('=') + 1);
        if (word.rfind("from=", 0) == 0) {
            message.from = RequireUnit(value);
        } else if (word.rfind("code=", 0) == 0) {
            message.code = Require32(value, "code");
        } else if (word.rfind("ack=", 0) == 0) {
            message.flags = DXR_HOST_MESSAGE_ACK;
            message.timeoutMs = Require32(value, "ack");
        } else if (Blocks::IsMemory(word)) {
            const Block &block = blocks.Read("MEMORY", word, values_);
            message.data = block.Data();
            message.bytes = static_cast<uint32_t>(block.size);
        } else {
            throw UsageError(fmt::format("usage: {}", kUsage));
        }
    }
    const uint32_t result = DXR_SendMsg(&message);
    if (result != 0) {
        throw RunError(MailboxError(message.to, result));
    }
    Value sequence;
    sequence.number = message.sequence;
    values_.Set("sequence", sequence);
    const bool isAcknowledged = message.flags != 0;
    Print(fmt::format("sent message {}{}\n", message.sequence,
                      isAcknowledged ? ", acknowledged with " + NumberText(message.result) : ""));
}

// NOLINTNEXTLINE(readability-make-member-function-const): one of the commands, which are alike
void Session::OpenMailbox(const Words &words) {
    RequireCount(words, 1, 2, "mailbox UNIT [close]");
    const DxrHostUnit unit = RequireUnit(words[0]);
    uint32_t result = 0;
    if (words.size() == 2) {
        if (words[1] != "close") {
            throw UsageError("usage: mailbox UNIT [close]");
        }
        result = DxrHostCloseMailbox(poked_.host, &unit);
    } else {
        DxrHostMailbox mailbox{};
        mailbox.size = sizeof(mailbox);
        mailbox.unit = unit;
        result = DxrHostOpenMailbox(poked_.host, &mailbox);
    }
    if (result != 0) {
        throw RunError(MailboxError(unit, result));
    }
}

void Session::Receive(const Words &words) {
    RequireCount(words, 1, 2, "receive UNIT [MILLISECONDS]");
    const DxrHostUnit unit = RequireUnit(words[0]);
    const uint32_t ms = words.size() > 1 ? Require32(words[1], "MILLISECONDS") : 0;
    DxrHostMessage message{};
    std::string data(DXR_HOST_MESSAGE_BYTES, '\0');
    const uint32_t result = DxrHostReceiveMessage(poked_.host, &unit, &message, data.data(),
                                                  DXR_HOST_MESSAGE_BYTES, ms);
    if (result != 0) {
        throw RunError(MailboxError(unit, result));
    }
    const bool isNamed = message.from.kind != 0;
    Print(fmt::format("message {}, kind {}, code {}{}{}{}\n", message.sequence, message.kind,
                      message.code, isNamed ? ", from " + UnitText(message.from) : "",
                      (message.flags & DXR_HOST_MESSAGE_ACK) != 0 ? ", to be acknowledged" : "",
                      message.bytes != 0 ? ": " + HexText(data.substr(0, message.bytes)) : ""));
}

void Session::Mailboxes(const Words &words) {
    RequireCount(words, 0, 0, "mailboxes");
    std::vector<DxrHostMailboxInfo> boxes(DxrHostGetMailboxes(poked_.host, nullptr, 0));
    const uint32_t count =
        DxrHostGetMailboxes(poked_.host, boxes.data(), static_cast<uint32_t>(boxes.size()));
    boxes.resize(std::min<size_t>(boxes.size(), count));
    std::string text;
    for (const DxrHostMailboxInfo &box : boxes) {
        text += fmt::format("{:<8} {} of {} messages{}\n", UnitText(box.unit), box.waiting,
                            box.most, box.hasHandler != 0 ? ", has a handler" : "");
    }
    DxrHostMessageCounts counts{};
    DxrHostCountMessages(poked_.host, &counts);
    text += fmt::format("sent {}, arrived {}, taken {}, lost {}, refused {}\n", counts.sent,
                        counts.arrived, counts.taken,
                        counts.simulated + counts.filtered + counts.lost, counts.refused);
    Print(text);
}

// --- The run

void Session::Memory(const Words &words) {
    RequireCount(words, 0, 0, "memory");
    RunReport report;
    TakeMemory(poked_.host, ModulesOf(poked_.host), report);
    std::vector<DxrHostMemorySite> sites(DxrHostGetMemorySites(poked_.host, nullptr, 0));
    const uint32_t count =
        DxrHostGetMemorySites(poked_.host, sites.data(), static_cast<uint32_t>(sites.size()));
    sites.resize(std::min<size_t>(sites.size(), count));
    std::string text;
    for (const RunReport::Memory &memory : report.memory) {
        text += MemoryLine(memory);
        for (const DxrHostMemorySite &site : sites) {
            if (site.mid == memory.account.mid && site.blocksLive != 0) {
                text += fmt::format("  {} blocks, {} bytes from {}:{}\n", site.blocksLive,
                                    site.bytesLive, site.file, site.line);
            }
        }
    }
    Print(text.empty() ? "nobody has asked for memory\n" : text);
}

// NOLINTNEXTLINE(readability-make-member-function-const): one of a table of commands
void Session::Wait(const Words &words) {
    RequireCount(words, 1, 1, "wait MILLISECONDS");
    const uint32_t result = bare_.task.delayTask(Require32(words[0], "MILLISECONDS"));
    if (result != 0) {
        throw RunError(ErrorText(result));
    }
}

void Session::Load(const Words &words) {
    if (words.empty()) {
        throw UsageError("usage: load MODULE [ARGUMENTS]");
    }
    RequireName(words[0], "MODULE");
    auto module = std::make_unique<Module>(words[0]);
    const std::string name = module->Name();
    if (!begun_.insert(name).second) {
        throw RunError(name + ": a module begins once in a session");
    }
    modules_.push_back(std::move(module));
    const int result = modules_.back()->Main({words.begin() + 1, words.end()});
    if (result != 0) {
        throw RunError(fmt::format("module {} returned {}", name, result));
    }
    Print(fmt::format("module {} returned 0; it is at work until 'unload'\n", name));
}

void Session::Unload(const Words &words) {
    RequireCount(words, 0, 1, "unload [MODULE]");
    const auto found = std::find_if(modules_.rbegin(), modules_.rend(), [&words](const auto &one) {
        return words.empty() || one->Name() == words[0];
    });
    if (found == modules_.rend()) {
        throw UsageError(
            words.empty() ? "no module is at work"
                          : fmt::format("'{}' is not at work", Printable(words[0], kShownWidth)));
    }
    const std::unique_ptr<Module> module = std::move(*found);
    modules_.erase(std::next(found).base());
    module->End();
}

// NOLINTNEXTLINE(readability-make-member-function-const): one of the commands, which are alike
void Session::Trace(const Words &words) {
    if (words.size() == 2 && words[0] == "on") {
        RequireName(words[1], "FILE");
        poked_.trace->Record(words[1]);
    } else if (words.size() == 1 && words[0] == "off") {
        poked_.trace->StopRecording();
    } else {
        throw UsageError("usage: trace on FILE, trace off");
    }
}

void Session::Report(const Words &words) {
    RequireCount(words, 0, 0, "report");
    RunReport report;
    report.isVirtual = poked_.isVirtual;
    report.counts = poked_.trace->Counts();
    for (size_t i = 0; i < kTableSlots; ++i) {
        report.unfilled[i] = g_askedUnfilled[i].load();
    }
    report.linesLetThrough = poked_.linesLetThrough->load();
    TakeRecords(report);
    TakeSuppressed(report);
    TakeMemory(poked_.host, ModulesOf(poked_.host), report);
    TakeAlarms(poked_.host, report);
    TakeReports(poked_.host, report);
    Print(ReportSoFar(report));
}

}  // namespace dxrsh
