// dxrsh simulate: simulated message loss on a table from a file.

#include <fmt/format.h>
#include <unistd.h>

#include <cstdint>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "commands.h"
#include "dxr_api.h"
#include "errors.h"
#include "file_io.h"
#include "help.h"
#include "host.h"
#include "json_input.h"
#include "json_text.h"
#include "number_option.h"
#include "numbers.h"
#include "replay.h"
#include "say.h"

namespace dxrsh {
namespace {

constexpr size_t kLongestName = 255;
constexpr size_t kLongestNumber = 10;

struct SimulateOptions {
    std::string path;
    uint32_t id = 0;
    uint32_t count = 0;
    ReplayOptions replay;
    bool json = false;
};

// The table of a file, registered with the library for as long as it lives.
class SimulateTable {
  public:
    explicit SimulateTable(const std::string &path) : name_(InputName(path)) {
        const nlohmann::json document = LoadJson(path);
        JsonObject top(document, InputName(path));
        std::vector<JsonObject> rows = top.Objects("messages");
        top.RefuseOtherKeys();
        names_.reserve(rows.size());
        entries_.reserve(rows.size() + 1);  // a table without entries has an address, too
        for (JsonObject &row : rows) {
            names_.push_back(row.Text("name", kLongestName));
            entries_.push_back({row.Number("id"), row.Number("type"), row.Number("lost", 0),
                                names_.back().c_str()});
            row.RefuseOtherKeys();
        }
        DXR_RegisterSimulateMsgMap(entries_.data(), static_cast<uint32_t>(entries_.size()));
    }
    ~SimulateTable() { DXR_RegisterSimulateMsgMap(nullptr, 0); }
    SimulateTable(const SimulateTable &) = delete;
    SimulateTable &operator=(const SimulateTable &) = delete;
    SimulateTable(SimulateTable &&) = delete;
    SimulateTable &operator=(SimulateTable &&) = delete;

    // What the library answers; throws UsageError when the table has no such entry.
    [[nodiscard]] std::string Set(uint32_t id, uint32_t count) const {
        std::vector<char> text(kLongestName + 200);
        DXR_SetSimulateMsgLost(id, count, text.data(), static_cast<uint32_t>(text.size()));
        if (DXR_GetSimulateMsgBySimluateId(id) == nullptr) {
            throw UsageError(fmt::format("{}: there is no message with the id {}", name_, id));
        }
        return text.data();
    }

    [[nodiscard]] std::string Listing() const {
        constexpr size_t kHeading = 100;
        constexpr size_t kRow = 60 + 3 * kLongestNumber;
        size_t room = kHeading;
        for (const std::string &name : names_) {
            room += kRow + name.size();
        }
        std::vector<char> text(room);
        DXR_DisplaySimulateMsgLost(text.data(), static_cast<uint32_t>(text.size()));
        return PlainLines(text.data());
    }

    void AddTo(JsonText &json) const {
        json.BeginList("messages");
        for (const DxrSimulateMsg &entry : entries_) {
            json.BeginObject()
                .Number("id", entry.simulateId)
                .Number("type", entry.msgType)
                .Text("name", entry.name)
                .Number("lost", entry.lostCnt)
                .EndObject();
        }
        json.EndList();
    }

  private:
    std::string name_;
    std::vector<std::string> names_;
    std::vector<DxrSimulateMsg> entries_;
};

// The table alone, as a JSON object.
void WriteJson(const SimulateTable &table) {
    JsonText json;
    json.BeginObject();
    table.AddTo(json);
    json.EndObject();
    WriteOut(json.Line());
}

void Show(const SimulateOptions &options) {
    const Host host;
    const SimulateTable table(options.path);
    if (options.json) {
        WriteJson(table);
        return;
    }
    WriteOut(table.Listing());
}

void Set(const SimulateOptions &options) {
    const Host host;
    const SimulateTable table(options.path);
    const std::string answer = table.Set(options.id, options.count);
    if (options.json) {
        WriteJson(table);
        return;
    }
    WriteOut(answer + "\n" + table.Listing());
}

void Replay(const SimulateOptions &options) {
    const Host host;
    const SimulateTable table(options.path);
    ForEachSetting(options.replay, [&table](const std::string &id, uint32_t count) {
        (void)table.Set(RequireNumber(id, "--set"), count);
    });
    Output output(STDOUT_FILENO);
    const MessageCatcher catcher;
    ForEachMessage(options.replay, [&](const std::string &message) {
        const bool lost = DXR_IsSimulateMsgLost(RequireNumber(message, "message type")) != 0;
        if (options.json) {
            JsonText json;
            json.BeginObject().Text("message", message).Flag("dropped", lost).EndObject();
            output.Write(json.Line());
            return;
        }
        output.Write(lost ? fmt::format("{:>10}  dropped  {}\n", message, catcher.Last())
                          : fmt::format("{:>10}  passed\n", message));
    });
    if (options.json) {
        output.Flush();
        WriteJson(table);
        return;
    }
    output.Write(table.Listing());
    output.Flush();
}

}  // namespace

void AddSimulateCommand(CLI::App &program) {
    const auto options = std::make_shared<SimulateOptions>();
    CLI::App *const command =
        program.add_subcommand("simulate", "Simulated message loss on a table from a file");
    command->require_subcommand(1);
    const std::vector<std::string> examples = {
        "dxrsh simulate show examples/dxrsh/messages.json",
        "dxrsh simulate replay examples/dxrsh/messages.json 17 17 18 --set 2=1"};
    Describe(*command,
             "TABLE is a JSON file of the message kinds that may be dropped:\n"
             "{\"messages\": [{\"id\": 1, \"type\": 17, \"name\": \"hello\", \"lost\": 2}]}\n"
             "\"lost\" is the number of messages to drop, 0 when it is left out.",
             examples);
    const auto addAction = [&](const char *name, const char *about) {
        CLI::App *const action = command->add_subcommand(name, about);
        action->add_option("TABLE", options->path, "The table, JSON")->required();
        AddJsonFlag(*action, options->json);
        Describe(*action, "", examples);
        return action;
    };

    addAction("show", "Prints the table")->callback([options] { Show(*options); });

    CLI::App *const set = addAction("set", "Sets one count and prints the table");
    set->add_option("ID", options->id, "Identifier of the entry")
        ->transform(AsWholeNumber())
        ->required();
    set->add_option("COUNT", options->count, "Messages to drop")
        ->transform(AsWholeNumber())
        ->required();
    set->callback([options] { Set(*options); });

    CLI::App *const replay =
        addAction("replay", "Tells of each message whether it is dropped; then the table");
    AddReplayOptions(*replay, options->replay, "ID", "TYPE");
    replay->callback([options] { Replay(*options); });
}

}  // namespace dxrsh
