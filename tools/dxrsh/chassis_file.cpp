#include "chassis_file.h"

#include <arpa/inet.h>
#include <fmt/format.h>
#include <netinet/in.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <limits>
#include <optional>
#include <set>
#include <string_view>
#include <system_error>
#include <utility>

#include "devhost/json_members.h"
#include "errors.h"

namespace dxrsh {
namespace {

using devhost::JsonValue;
using devhost::Members;

constexpr size_t kLongestName = 32;
constexpr uint64_t kMillion = 1000000;
constexpr uint64_t kMostMs = 3600000;
constexpr uint64_t kMostNumber = 1000000;
constexpr uint64_t kLogBytes = 1048576;
constexpr uint64_t kLeastLogBytes = 4096;
constexpr uint64_t kMostLogBytes = 1ULL << 40;
constexpr uint32_t kLogsKept = 3;
constexpr uint64_t kMostLogsKept = 99;
constexpr uint64_t kMostPort = 65535;
constexpr std::string_view kIpc = "ipc://";
constexpr std::string_view kTcp = "tcp://";

// A part of paths, and of what people type.
bool IsName(std::string_view text) {
    return !text.empty() && text.size() <= kLongestName &&
           std::all_of(text.begin(), text.end(), [](char each) {
               return (each >= 'a' && each <= 'z') || (each >= 'A' && each <= 'Z') ||
                      (each >= '0' && each <= '9') || each == '_' || each == '-';
           });
}

std::string TakeName(Members &members, const char *member, const char *otherwise) {
    std::string name = members.Text(member, otherwise);
    if (!IsName(name) && !(name.empty() && otherwise != nullptr)) {
        members.Blame(member, "must have 1 to 32 letters, digits, - and _");
    }
    return name;
}

uint32_t TakeMs(Members &members, const char *member, uint32_t otherwise, uint32_t least) {
    const auto ms = static_cast<uint32_t>(members.Number(member, kMostMs, otherwise));
    if (ms < least) {
        members.Blame(member, fmt::format("must be at least {}", least).c_str());
    }
    return ms;
}

void Replace(std::string &text, std::string_view name, const std::string &by) {
    for (size_t at = text.find(name); at != std::string::npos; at = text.find(name, at)) {
        text.replace(at, name.size(), by);
        at += by.size();
    }
}

// One text for all spellings of an address.
std::string NormalAddress(const std::string &address) {
    if (address.compare(0, kIpc.size(), kIpc) == 0) {
        std::error_code error;
        const std::filesystem::path given = address.substr(kIpc.size());
        const std::filesystem::path path = std::filesystem::absolute(given, error);
        const std::filesystem::path real = std::filesystem::weakly_canonical(path, error);
        return std::string(kIpc) + (error ? given.lexically_normal() : real).string();
    }
    const size_t colon = address.find_last_of(':');
    if (colon == std::string::npos || address.compare(0, kTcp.size(), kTcp) != 0) {
        return address;
    }
    const std::string number = address.substr(kTcp.size(), colon - kTcp.size());
    in6_addr six{};
    std::array<char, INET6_ADDRSTRLEN> text{};
    const bool isSix = number.size() > 2 && number.front() == '[' && number.back() == ']' &&
                       inet_pton(AF_INET6, number.substr(1, number.size() - 2).c_str(), &six) == 1;
    if (isSix && inet_ntop(AF_INET6, &six, text.data(), text.size()) == nullptr) {
        return address;
    }
    const size_t port = std::min(address.find_first_not_of('0', colon + 1), address.size());
    return fmt::format("{}{}:{}", kTcp, isSix ? text.data() : number, address.substr(port));
}

// Paths of a file are as seen from it.
class Reader {
  public:
    Reader(const std::string &path, std::string modules)
        : directory_(path.substr(0, path.find_last_of('/') + 1)), modules_(std::move(modules)) {}

    void Take(Members &members) {
        chassis_.name = TakeName(members, "name", nullptr);
        chassis_.work = FromHere(members.Text("work", "."));
        const std::string keys = members.Text("keys", "");
        chassis_.keys = keys.empty() ? keys : FromHere(keys);
        if (members.Text("clock", "real") != "real") {
            members.Blame("clock", "must be \"real\": boards are processes of their own");
        }
        chassis_.beatMs = TakeMs(members, "heartBeatMs", 200, 10);
        chassis_.silentMs = TakeMs(members, "silentMs", 10000, 0);
        if (chassis_.silentMs != 0 && chassis_.silentMs < 3 * chassis_.beatMs) {
            members.Blame("silentMs", "must be at least three times heartBeatMs, or 0");
        }
        chassis_.restartMs = TakeMs(members, "restartMs", 100, 1);
        chassis_.mostRestartMs =
            TakeMs(members, "mostRestartMs", std::max(5000U, chassis_.restartMs), 1);
        if (chassis_.mostRestartMs < chassis_.restartMs) {
            members.Blame("mostRestartMs", "must be at least restartMs");
        }
        chassis_.stopMs = TakeMs(members, "stopMs", 5000, 1);
        TakeLog(members);
        members.ForEach("boards", [this](Members &board) { TakeBoards(board); });
        if (chassis_.boards.empty()) {
            members.Blame("boards", "must be a list of boards");
        }
    }

    Chassis &Result() { return chassis_; }

  private:
    [[nodiscard]] std::string FromHere(const std::string &path) const {
        return path.empty() || path[0] == '/' ? path : directory_ + path;
    }

    [[nodiscard]] std::string ModulePath(const std::string &name) const {
        const bool isElsewhere = name.find('/') == std::string::npos && !modules_.empty();
        return isElsewhere ? modules_ + "/" + name : FromHere(name);
    }

    void TakeLog(Members &members) {
        chassis_.log.mostBytes = members.Number("logBytes", kMostLogBytes, kLogBytes);
        if (chassis_.log.mostBytes < kLeastLogBytes) {
            members.Blame("logBytes", "must be at least 4096");
        }
        chassis_.log.kept =
            static_cast<uint32_t>(members.Number("logsKept", kMostLogsKept, kLogsKept));
        if (chassis_.log.kept == 0) {
            members.Blame("logsKept", "must be at least 1");
        }
    }

    // One board, or `count` of them with numbers one after the other.
    void TakeBoards(Members &members) {
        ChassisBoard board;
        board.name = TakeName(members, "name", nullptr);
        board.kind = members.Text("kind", nullptr);
        const bool isMain = board.kind == "main";
        if (!isMain && board.kind != "line" && board.kind != "fabric") {
            members.Blame("kind", R"(must be "main", "line" or "fabric")");
        }
        board.number = static_cast<uint32_t>(members.Number("number", kMostNumber, isMain ? 0 : 1));
        const bool isOne = members.Find("count") == nullptr;
        const auto count = static_cast<uint32_t>(members.Number("count", DXR_HOST_MOST_BOARDS, 1));
        if (count == 0) {
            members.Blame("count", "must be at least 1");
        }
        board.machine = TakeName(members, "machine", "");
        board.address = members.Text("address", "");
        const std::string module = members.Text("module", nullptr);
        if (module.empty()) {
            members.Blame("module", "must name a module");
        }
        board.module = ModulePath(module);
        board.arguments = TakeTexts(members, "arguments");
        const std::string device = members.Text("board", "");
        board.device = FromHere(device);
        board.seed = members.Number("seed", std::numeric_limits<uint64_t>::max(), 1);
        board.lose = TakeShare(members, "lose");
        board.twice = TakeShare(members, "twice");
        board.delay = TakeShare(members, "delay");
        board.reorder = TakeShare(members, "reorder");
        members.ForEach("simulate", [&board](Members &each) {
            DxrSimulateMsg entry{};
            entry.simulateId = static_cast<uint32_t>(board.simulated.size()) + 1;
            entry.msgType = each.Number32("kind");
            entry.lostCnt = each.Number32("lost");
            board.simulated.push_back(entry);
        });
        board.filter = FromHere(members.Text("filter", ""));
        for (uint32_t i = 0; i < count; ++i) {
            AddBoard(members, board, i, isOne);
        }
    }

    void AddBoard(Members &members, ChassisBoard board, uint32_t index, bool isOne) {
        board.number += index;
        board.seed += index;
        const std::string number = std::to_string(board.number);
        board.name += isOne ? "" : number;
        if (board.name.size() > kLongestName || !names_.insert(board.name).second) {
            members.Blame("name", "must be the only one of its kind, and short");
        }
        if (chassis_.boards.size() >= DXR_HOST_MOST_BOARDS) {
            members.Blame("count", "makes more boards than a chassis can have");
        }
        if (board.kind == "main") {
            board.units = {{DXR_HOST_UNIT_MPU, board.number}, {DXR_HOST_UNIT_DEVM, board.number}};
        } else if (board.kind == "line") {
            board.units = {{DXR_HOST_UNIT_LPU, board.number}, {DXR_HOST_UNIT_NP, board.number}};
        } else {
            board.units = {{DXR_HOST_UNIT_SFU, board.number}};
        }
        if (!units_.emplace(board.units[0].kind, board.number).second) {
            members.Blame(members.Find("number") != nullptr ? "number" : "kind",
                          "must not be that of another board of the kind");
        }
        TakeAddress(members, board, index);
        for (std::string &argument : board.arguments) {
            Replace(argument, "{name}", board.name);
            Replace(argument, "{number}", number);
        }
        chassis_.boards.push_back(std::move(board));
    }

    // The boards of one entry listen at ports one after the other.
    void TakeAddress(const Members &members, ChassisBoard &board, uint32_t index) {
        if (board.address.empty()) {
            if (!board.machine.empty()) {
                members.Blame("machine", "needs an address that others reach");
            }
            return;
        }
        if (index != 0) {
            const size_t colon = board.address.find_last_of(':');
            const std::string port = board.address.substr(colon + 1);
            const bool isPort = board.address.compare(0, kTcp.size(), kTcp) == 0 && !port.empty() &&
                                port.size() < 6 &&
                                port.find_first_not_of("0123456789") == std::string::npos &&
                                std::stoul(port) + index <= kMostPort;
            if (!isPort) {
                members.Blame("address", "must have a port to count from");
            }
            board.address.replace(colon + 1, std::string::npos,
                                  std::to_string(std::stoul(port) + index));
        }
        uint32_t kind = DxrHostGetAddressKind(board.address.c_str());
        if (kind != DXR_HOST_ADDRESS_NONE && board.address.compare(0, kIpc.size(), kIpc) == 0) {
            board.address = std::string(kIpc) + FromHere(board.address.substr(kIpc.size()));
            kind = DxrHostGetAddressKind(board.address.c_str());  // it may be too long now
        }
        if (!addresses_.insert(NormalAddress(board.address)).second) {
            members.Blame("address", "must not be that of another board");
        }
        switch (kind) {
            case DXR_HOST_ADDRESS_NONE:
                members.Blame("address",
                              "must be ipc://PATH with a short path, or tcp://NUMBER:PORT with the "
                              "number of one machine");
            case DXR_HOST_ADDRESS_THERE:
                if (chassis_.keys.empty()) {
                    members.Blame("address", "is not local, and the chassis has no keys");
                }
                break;
            default:
                break;
        }
    }

    static uint32_t TakeShare(Members &members, const char *member) {
        return static_cast<uint32_t>(members.Number(member, kMillion, 0));
    }

    static std::vector<std::string> TakeTexts(Members &members, const char *member) {
        std::vector<std::string> texts;
        const JsonValue *const list = members.Find(member);
        if (list == nullptr) {
            return texts;
        }
        const bool areTexts =
            list->IsList() && std::all_of(list->list.begin(), list->list.end(),
                                          [](const JsonValue &each) { return each.IsText(); });
        if (!areTexts) {
            members.Blame(member, "must be a list of texts");
        }
        for (const JsonValue &each : list->list) {
            texts.push_back(each.text);
        }
        return texts;
    }

    const std::string directory_;
    const std::string modules_;
    Chassis chassis_;
    std::set<std::string> names_;
    std::set<std::string> addresses_;
    std::set<std::pair<uint32_t, uint32_t>> units_;
};

}  // namespace

Chassis ReadChassisFile(const std::string &path, const std::string &modules,
                        const std::string &read) {
    Reader reader(path, modules);
    std::string error;
    const bool isWell = devhost::ReadMembers(
        read.empty() ? path : read, [&reader](Members &members) { reader.Take(members); }, error);
    if (!isWell) {
        if (!read.empty() && error.compare(0, read.size(), read) == 0) {
            error.replace(0, read.size(), path);
        }
        throw UsageError(error);
    }
    return std::move(reader.Result());
}

}  // namespace dxrsh
