#include "shell_session.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <limits>
#include <list>
#include <system_error>
#include <utility>

#include "dxr_devhost/inspect.h"
#include "errors.h"
#include "say.h"
#include "shell_call.h"
#include "shell_words.h"

namespace dxrsh {
namespace {

constexpr size_t kShownWidth = 60;
constexpr size_t kMostSimulated = 1024;
constexpr size_t kTableRowBytes = 65536;
constexpr size_t kShownHex = 32;

std::string ErrorText(uint32_t error) {
    return std::generic_category().message(static_cast<int>(error));
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

// --- Units, such as lpu:3

constexpr std::array<std::pair<const char *, uint32_t>, 5> kUnits = {{
    {"mpu", DXR_HOST_UNIT_MPU},
    {"lpu", DXR_HOST_UNIT_LPU},
    {"sfu", DXR_HOST_UNIT_SFU},
    {"devm", DXR_HOST_UNIT_DEVM},
    {"np", DXR_HOST_UNIT_NP},
}};

std::string UnitKind(uint32_t kind) {
    for (const auto &[name, number] : kUnits) {
        if (number == kind) {
            return name;
        }
    }
    return fmt::format("unit {}", kind);
}

std::string UnitText(const DxrHostUnit &unit) {
    return fmt::format("{}:{}", UnitKind(unit.kind), unit.number);
}

DxrHostUnit RequireUnit(const std::string &word) {
    const size_t colon = word.find(':');
    for (const auto &[name, number] : kUnits) {
        if (colon != std::string::npos && word.substr(0, colon) == name) {
            return {number, Require32(word.substr(colon + 1), word)};
        }
    }
    throw UsageError(fmt::format("'{}' is no unit, such as mpu:0, lpu:3, sfu:1, devm:0, np:2",
                                 Printable(word, kShownWidth)));
}

// --- Cells, such as 0:1:0x40

constexpr const char *kCellForms =
    "UNIT:CHIP:ADDRESS, i2c:BUS:DEVICE:OFFSET, mdio:UNIT:BUS:PHY:DEVICE:REGISTER, "
    "pcie:DEVICE:OFFSET or bar:DEVICE:BAR:OFFSET";

class Cell {
  public:
    explicit Cell(const std::string &word) : word_(word) {
        const std::vector<std::string> pieces = Cut();
        const auto is = [&pieces](const char *space, size_t count) {
            return pieces[0] == space && pieces.size() == count;
        };
        const auto number = [&pieces, this](size_t i) { return Require32(pieces[i], word_); };
        if (is("i2c", 4)) {
            cell_ = {DXR_HOST_I2C, number(1), number(2), 0, number(3)};
        } else if (is("mdio", 6)) {
            cell_ = {DXR_HOST_MDIO, number(1), number(2), number(3),
                     uint64_t{number(4)} * 65536 + number(5)};
        } else if (is("pcie", 3)) {
            cell_ = {DXR_HOST_PCIE_CONFIG, 0, number(1), 0, number(2)};
        } else if (is("bar", 4)) {
            cell_ = {DXR_HOST_PCIE_MEMORY, 0, number(1), number(2), number(3)};
        } else if (pieces.size() == 3 && LongNumber(pieces[0])) {
            cell_ = {DXR_HOST_REGISTERS, number(0), number(1), 0, number(2)};
        } else {
            throw UsageError(
                fmt::format("'{}' is none of {}", Printable(word, kShownWidth), kCellForms));
        }
        head_ = word.substr(0, word.rfind(':') + 1);
        if (cell_.space == DXR_HOST_MDIO) {
            // The last two numbers make the address.
            head_ = word.substr(0, word.rfind(':', word.rfind(':') - 1) + 1);
        }
    }

    [[nodiscard]] const DxrHostCell &Get() const { return cell_; }

    [[nodiscard]] std::string Name() const {
        if (cell_.space == DXR_HOST_MDIO) {
            return fmt::format("{}{}:{:#x}", head_, cell_.address / 65536, cell_.address % 65536);
        }
        return fmt::format("{}{:#x}", head_, cell_.address);
    }

    void Next() {
        const bool isByteOrWord = cell_.space == DXR_HOST_I2C || cell_.space == DXR_HOST_MDIO;
        cell_.address += isByteOrWord ? 1 : 4;
    }

    [[nodiscard]] uint32_t Most() const {
        return cell_.space == DXR_HOST_I2C    ? 0xFF
               : cell_.space == DXR_HOST_MDIO ? 0xFFFF
                                              : std::numeric_limits<uint32_t>::max();
    }

  private:
    [[nodiscard]] std::vector<std::string> Cut() const {
        std::vector<std::string> pieces(1);
        for (const char c : word_) {
            if (c == ':') {
                pieces.emplace_back();
            } else {
                pieces.back() += c;
            }
        }
        return pieces;
    }

    std::string word_;
    std::string head_;
    DxrHostCell cell_{};
};

uint32_t ReadCell(DxrHost *host, const Cell &cell) {
    uint32_t value = 0;
    if (!DxrHostPeekCell(host, &cell.Get(), &value)) {
        throw RunError(fmt::format("there is no {}", cell.Name()));
    }
    return value;
}

void SayReport(const DxrHostReport *report, void * /*user*/) {
    Say(stderr, "host: {}\n", ReportLine(*report));
}

}  // namespace

void Put(const std::string &text) {
    const bool isWritten = std::fwrite(text.data(), 1, text.size(), stdout) == text.size();
    if (std::fflush(stdout) != 0 || !isWritten) {
        if (errno == EPIPE) {
            throw BrokenPipe();
        }
        throw RunError("standard output: " + ErrorText(static_cast<uint32_t>(errno)));
    }
}

Session::Session(const RunHostOptions &options)
    : isVirtual_(options.IsVirtual()), host_(MakeRunHost(options)) {
    DxrHostFillHooks(&bare_);
    DxrHostSetReportSink(host_.get(), SayReport, nullptr);
    DxrHostSetDiagSink(host_.get(), TakeLine, this);
    simulated_.reserve(kMostSimulated);  // the library keeps its address
    StartTrace({});
}

Session::~Session() {
    std::for_each(modules_.rbegin(), modules_.rend(), [](const auto &each) { each->End(); });
    StopCountingUnfilled();
    (void)DxrTraceStop();
    (void)std::fflush(stdout);
    host_.reset();
    if (DXR_GetSimulateMsgMap() == simulated_.data()) {
        DXR_RegisterSimulateMsgMap(nullptr, 0);
    }
    DXR_DestroyMessageFilter(&filter_);
}

void Session::TakeLine(const char *line, void *session) {
    ++static_cast<Session *>(session)->linesLetThrough_;
    Say(stdout, "{}\n", line);
    (void)std::fflush(stdout);
}

// --- Calls, and what is kept of them

void Session::CallAs(const Words &words, bool byHook) {
    if (words.empty()) {
        throw UsageError(byHook ? "usage: hook SLOT [ARGUMENTS]" : "usage: call SLOT [ARGUMENTS]");
    }
    CallOutcome outcome =
        CallSlot(RequireSlot(words[0]), {words.begin() + 1, words.end()}, byHook, values_);
    kept_.insert(kept_.end(), outcome.kept.begin(), outcome.kept.end());
    Put(outcome.text);
}

void Session::Call(const Words &words) {
    CallAs(words, false);
}

void Session::CallHook(const Words &words) {
    CallAs(words, true);
}

void Session::Buffer(const Words &words) {
    RequireCount(words, 2, 2, "buffer NAME MEMORY");
    if (!Blocks::IsMemory(words[1])) {
        throw UsageError(fmt::format("{}: '{}' describes no memory, such as @16 or hex:00ff",
                                     words[0], Printable(words[1], kShownWidth)));
    }
    Blocks blocks;
    (void)blocks.Read(words[0], words[1], values_);
    // The host may have addresses of an earlier one of that name.
    kept_.insert(kept_.end(), blocks.All().begin(), blocks.All().end());
    Value value;
    value.block = blocks.All().front();
    value.number = value.block->Address();
    values_.Set(words[0], value);
}

void Session::Keep(const Words &words) {
    RequireCount(words, 1, 2, "keep NAME [WHAT]");
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
    Put(text);
}

// --- The device

void Session::Get(const Words &words) {
    RequireCount(words, 1, 1, "get REGISTER");
    const Cell cell(words[0]);
    Value value;
    value.number = ReadCell(host_.get(), cell);
    values_.Set("result", value);
    Put(fmt::format("{} = {}\n", cell.Name(), NumberText(value.number)));
}

void Session::Set(const Words &words) {
    RequireCount(words, 2, 2, "set REGISTER VALUE");
    const Cell cell(words[0]);
    const auto value = static_cast<uint32_t>(NumberOf(words[1], cell.Most(), cell.Name(), values_));
    if (!DxrHostPokeCell(host_.get(), &cell.Get(), value)) {
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
        const uint32_t value = ReadCell(host_.get(), cell);
        (void)DxrHostGetCellCounts(host_.get(), &cell.Get(), &reads, &writes);
        text += fmt::format("{:<20} {:#010x}  read {}, written {}\n", cell.Name(), value, reads,
                            writes);
        cell.Next();
    }
    Put(text);
}

// --- Tables

std::vector<DxrHostTable> Session::AllTables() const {
    std::vector<DxrHostTable> tables(DxrHostGetTables(host_.get(), nullptr, 0));
    const uint32_t count =
        DxrHostGetTables(host_.get(), tables.data(), static_cast<uint32_t>(tables.size()));
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
    Put(tables.empty() ? "there are no tables\n" : text);
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
    Put(text);
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

void Session::DropSimulated(uint32_t kind, uint32_t count) {
    DxrSimulateMsg *entry = DXR_GetSimulateMsgByMsgType(kind);
    if (entry == nullptr) {
        const DxrSimulateMsg *const registered = DXR_GetSimulateMsgMap();
        if (registered != nullptr && registered != simulated_.data()) {
            throw RunError(
                fmt::format("the module's table of simulated messages has no kind {}", kind));
        }
        if (simulated_.size() == kMostSimulated) {
            throw RunError(fmt::format("at most {} kinds can be dropped", kMostSimulated));
        }
        const std::string &name =
            simulatedNames_.emplace(kind, fmt::format("kind {}", kind)).first->second;
        const auto number = static_cast<uint32_t>(simulated_.size() + 1);
        simulated_.push_back({number, kind, 0, name.c_str()});
        DXR_RegisterSimulateMsgMap(simulated_.data(), number);
        entry = &simulated_.back();
    }
    DXR_SetSimulateMsgLost(entry->simulateId, count, nullptr, 0);
}

void Session::DropFiltered(const DxrHostUnit &unit, uint32_t kind, uint32_t count) {
    const auto info = [](uint32_t type, const std::string &name,
                         const DxrMessageFilterInfo *child) {
        DxrMessageFilterInfo made{};
        made.msgType = type;
        (void)name.copy(made.name, sizeof(made.name) - 1);
        made.subFilters = child;
        made.subFilterNum = child != nullptr ? 1 : 0;
        return made;
    };
    const DxrMessageFilterInfo leaf = info(kind, fmt::format("kind {}", kind), nullptr);
    const DxrMessageFilterInfo number = info(unit.number, UnitText(unit), &leaf);
    const DxrMessageFilterInfo whole = info(unit.kind, UnitKind(unit.kind), &number);
    // Nobody asks the tree while it grows.
    DxrHostSetMessageFilter(host_.get(), nullptr);
    if (filter_ == nullptr) {
        filter_ = DXR_CreateMessageFilter(&whole, 0);
    }
    const auto find = [this](std::list<uint32_t> path) { return filter_->Find(path); };
    if (DxrMessageFilter *const units = find({0, unit.kind}); units == nullptr) {
        DxrAddMessageFilterToComposite(filter_, &whole);
    } else if (DxrMessageFilter *const one = find({0, unit.kind, unit.number}); one == nullptr) {
        DxrAddMessageFilterToComposite(units, &number);
    } else if (find({0, unit.kind, unit.number, kind}) == nullptr) {
        DxrAddMessageFilterToComposite(one, &leaf);
    }
    DxrHostSetMessageFilter(host_.get(), filter_);
    const std::array<uint32_t, 3> path = {unit.kind, unit.number, kind};
    DxrHostSetMessageFilterCount(host_.get(), count, path.size(), path.data());
}

void Session::Drop(const Words &words) {
    RequireCount(words, 0, 3, "drop [[UNIT] KIND COUNT]");
    if (words.empty()) {
        std::vector<char> text(kTableRowBytes * 4);
        DXR_DisplaySimulateMsgLost(text.data(), static_cast<uint32_t>(text.size()));
        std::string listing = PlainLines(text.data());
        text.front() = '\0';
        DxrHostGetMessageFilterText(host_.get(), text.data(), static_cast<uint32_t>(text.size()));
        listing += PlainLines(text.data());
        Put(listing + (listing.empty() || listing.back() == '\n' ? "" : "\n"));
        return;
    }
    RequireCount(words, 2, 3, "drop [[UNIT] KIND COUNT]");
    const uint32_t kind = Require32(words[words.size() - 2], "KIND");
    const uint32_t count = Require32(words.back(), "COUNT");
    if (words.size() == 2) {
        DropSimulated(kind, count);
    } else {
        DropFiltered(RequireUnit(words[0]), kind, count);
    }
}

void Session::Fail(const Words &words) {
    RequireCount(words, 1, 2, "fail POINT [N]");
    const uint64_t n =
        words.size() > 1 ? RequireUpTo(words[1], std::numeric_limits<uint64_t>::max(), "N") : 1;
    DxrHostFailNth(host_.get(), words[0].c_str(), n, false);
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
        throw RunError(fmt::format("{}: {}", UnitText(message.to), ErrorText(result)));
    }
    Value sequence;
    sequence.number = message.sequence;
    values_.Set("sequence", sequence);
    const bool isAcknowledged = message.flags != 0;
    Put(fmt::format("sent message {}{}\n", message.sequence,
                    isAcknowledged ? ", acknowledged with " + NumberText(message.result) : ""));
}

void Session::OpenMailbox(const Words &words) {
    RequireCount(words, 1, 2, "mailbox UNIT [close]");
    const DxrHostUnit unit = RequireUnit(words[0]);
    uint32_t result = 0;
    if (words.size() == 2) {
        if (words[1] != "close") {
            throw UsageError("usage: mailbox UNIT [close]");
        }
        result = DxrHostCloseMailbox(host_.get(), &unit);
    } else {
        DxrHostMailbox mailbox{};
        mailbox.size = sizeof(mailbox);
        mailbox.unit = unit;
        result = DxrHostOpenMailbox(host_.get(), &mailbox);
    }
    if (result != 0) {
        throw RunError(fmt::format("{}: {}", UnitText(unit), ErrorText(result)));
    }
}

void Session::Receive(const Words &words) {
    RequireCount(words, 1, 2, "receive UNIT [MILLISECONDS]");
    const DxrHostUnit unit = RequireUnit(words[0]);
    const uint32_t ms = words.size() > 1 ? Require32(words[1], "MILLISECONDS") : 0;
    DxrHostMessage message{};
    std::string data(DXR_HOST_MESSAGE_BYTES, '\0');
    const uint32_t result = DxrHostReceiveMessage(host_.get(), &unit, &message, data.data(),
                                                  DXR_HOST_MESSAGE_BYTES, ms);
    if (result != 0) {
        throw RunError(fmt::format("{}: {}", UnitText(unit), ErrorText(result)));
    }
    const bool isNamed = message.from.kind != 0;
    Put(fmt::format("message {}, kind {}, code {}{}{}{}\n", message.sequence, message.kind,
                    message.code, isNamed ? ", from " + UnitText(message.from) : "",
                    (message.flags & DXR_HOST_MESSAGE_ACK) != 0 ? ", to be acknowledged" : "",
                    message.bytes != 0 ? ": " + HexText(data.substr(0, message.bytes)) : ""));
}

void Session::Mailboxes(const Words &words) {
    RequireCount(words, 0, 0, "mailboxes");
    std::vector<DxrHostMailboxInfo> boxes(DxrHostGetMailboxes(host_.get(), nullptr, 0));
    const uint32_t count =
        DxrHostGetMailboxes(host_.get(), boxes.data(), static_cast<uint32_t>(boxes.size()));
    boxes.resize(std::min<size_t>(boxes.size(), count));
    std::string text;
    for (const DxrHostMailboxInfo &box : boxes) {
        text += fmt::format("{:<8} {} of {} messages{}\n", UnitText(box.unit), box.waiting,
                            box.most, box.hasHandler != 0 ? ", has a handler" : "");
    }
    DxrHostMessageCounts counts{};
    DxrHostCountMessages(host_.get(), &counts);
    text += fmt::format("sent {}, arrived {}, taken {}, lost {}, refused {}\n", counts.sent,
                        counts.arrived, counts.taken,
                        counts.simulated + counts.filtered + counts.lost, counts.refused);
    Put(text);
}

// --- The run

void Session::Memory(const Words &words) {
    RequireCount(words, 0, 0, "memory");
    RunReport report;
    TakeMemory(host_.get(), ModulesOf(host_.get()), report);
    std::vector<DxrHostMemorySite> sites(DxrHostGetMemorySites(host_.get(), nullptr, 0));
    const uint32_t count =
        DxrHostGetMemorySites(host_.get(), sites.data(), static_cast<uint32_t>(sites.size()));
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
    Put(text.empty() ? "nobody has asked for memory\n" : text);
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
    Put(fmt::format("module {} returned 0; it is at work until 'unload'\n", name));
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

void Session::StartTrace(const std::string &file) {
    const uint32_t error = StartRunTrace(file);
    if (error != 0) {
        throw RunError(fmt::format("{}: {}", file, ErrorText(error)));
    }
    CountUnfilled();
    traceFile_ = file;
}

void Session::StopTrace() {
    std::array<DxrTraceCount, kTableSlots> counts{};
    (void)DxrTraceGetCounts(counts.data(), kTableSlots);
    for (size_t i = 0; i < kTableSlots; ++i) {
        counts_[i].calls += counts[i].calls;
    }
    StopCountingUnfilled();
    const std::string file = std::exchange(traceFile_, {});
    const uint32_t error = DxrTraceStop();
    if (error != 0) {
        StartTrace({});
        throw RunError(fmt::format("{}: {}", file, ErrorText(error)));
    }
}

void Session::Trace(const Words &words) {
    const bool isOn = words.size() == 2 && words[0] == "on";
    if (!isOn && !(words.size() == 1 && words[0] == "off")) {
        throw UsageError("usage: trace on FILE, trace off");
    }
    if (!isOn && traceFile_.empty()) {
        throw RunError("no trace is on");
    }
    StopTrace();
    try {
        StartTrace(isOn ? words[1] : std::string());
    } catch (const RunError &) {
        StartTrace({});
        throw;
    }
}

void Session::Report(const Words &words) {
    RequireCount(words, 0, 0, "report");
    RunReport report;
    report.isVirtual = isVirtual_;
    (void)DxrTraceGetCounts(report.counts.data(), kTableSlots);
    for (size_t i = 0; i < kTableSlots; ++i) {
        report.counts[i].calls += counts_[i].calls;
        report.unfilled[i] = g_askedUnfilled[i].load();
    }
    report.linesLetThrough = linesLetThrough_.load();
    TakeRecords(report);
    TakeSuppressed(report);
    TakeMemory(host_.get(), ModulesOf(host_.get()), report);
    TakeAlarms(host_.get(), report);
    TakeReports(host_.get(), report);
    Put(ReportSoFar(report));
}

}  // namespace dxrsh
