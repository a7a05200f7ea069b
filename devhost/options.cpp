#include "options.h"

#include <cstdio>
#include <fstream>
#include <limits>
#include <map>
#include <sstream>

#include "json_file.h"

namespace devhost {
namespace {

constexpr uint32_t kDefaultStart = 946684800;  // 2000-01-01
constexpr uint32_t kDefaultLogBytes = 1024 * 1024;
constexpr uint32_t kDefaultLogCount = 4;
constexpr uint32_t kDefaultPrintLevel = 2;

std::string TextOr(const char *text, const std::string &otherwise) {
    return text != nullptr ? text : otherwise;
}

// The members of the file, each into its field.
class Reader {
  public:
    Reader(const JsonValue &from, std::string &error) : from_(from), error_(error) {}

    template <typename Number>
    void Take(const char *name, Number &to) {
        ++known_[name];
        const JsonValue *const found = from_.Find(name);
        if (found == nullptr) {
            return;
        }
        if (!found->IsNumber() || found->number > std::numeric_limits<Number>::max()) {
            error_ = std::string("\"") + name + "\" must be a whole number within its range";
            return;
        }
        to = static_cast<Number>(found->number);
    }

    void Take(const char *name, const char *&to, std::string &keeper) {
        ++known_[name];
        const JsonValue *const found = from_.Find(name);
        if (found == nullptr) {
            return;
        }
        if (!found->IsText()) {
            error_ = std::string("\"") + name + "\" must be a text";
            return;
        }
        keeper = found->text;
        to = keeper.c_str();
    }

    void TakeClock(uint32_t &to) {
        ++known_["clock"];
        const JsonValue *const found = from_.Find("clock");
        if (found == nullptr) {
            return;
        }
        const std::map<std::string, uint32_t> clocks = {{"real", DXR_HOST_CLOCK_REAL},
                                                        {"stepped", DXR_HOST_CLOCK_STEPPED},
                                                        {"virtual", DXR_HOST_CLOCK_VIRTUAL}};
        const auto clock = found->IsText() ? clocks.find(found->text) : clocks.end();
        if (clock == clocks.end()) {
            error_ = R"("clock" must be "real", "stepped" or "virtual")";
            return;
        }
        to = clock->second;
    }

    void RefuseOthers() {
        for (const auto &[name, value] : from_.members) {
            if (!known_.contains(name)) {
                error_ = "there is no option \"" + name + "\"";
            }
        }
    }

  private:
    const JsonValue &from_;
    std::string &error_;
    std::map<std::string, int> known_;
};

}  // namespace

bool ReadOptions(const DxrHostOptions &from, Options &options) {
    if (from.size != sizeof(DxrHostOptions) || from.clock > DXR_HOST_CLOCK_VIRTUAL) {
        return false;
    }
    const std::string workPath = TextOr(from.workPath, ".");
    options = {.clock = from.clock,
               .seed = from.seed,
               .startSec = from.startSec,
               .endSec = from.endSec,
               .memoryLimit = from.memoryLimit,
               .workPath = workPath,
               .binFolder = TextOr(from.binFolder, "bin"),
               .configPath = TextOr(from.configPath, workPath + "/conf"),
               .logDirectory = TextOr(from.logDirectory, DXR_PRIVATE_LOG_DIRECTORY),
               .logFile = TextOr(from.logFile, ""),
               .logFileBytes = from.logFileBytes,
               .logFileCount = from.logFileCount,
               .printLevel = from.printLevel,
               .database = TextOr(from.database, workPath + "/chassis.db"),
               .board = TextOr(from.board, ""),
               .allowOutside = from.allowOutside != 0,
               .switchAtCalls = from.switchAtCalls != 0,
               .pluginPath = TextOr(from.pluginPath, workPath + "/plugin")};
    return true;
}

bool ReadOptionsFile(const char *path, Options &options, std::string &error) {
    JsonFile file;
    if (!file.Read(path, error)) {
        return false;
    }
    if (!file.Value().IsObject()) {
        error = std::string(path) + ": the options are no object";
        return false;
    }
    DxrHostOptions plain;
    DxrHostInitOptions(&plain);
    std::map<const char **, std::string> keeper;
    Reader reader(file.Value(), error);
    reader.TakeClock(plain.clock);
    reader.Take("seed", plain.seed);
    reader.Take("startSec", plain.startSec);
    reader.Take("endSec", plain.endSec);
    reader.Take("memoryLimit", plain.memoryLimit);
    reader.Take("workPath", plain.workPath, keeper[&plain.workPath]);
    reader.Take("binFolder", plain.binFolder, keeper[&plain.binFolder]);
    reader.Take("configPath", plain.configPath, keeper[&plain.configPath]);
    reader.Take("logDirectory", plain.logDirectory, keeper[&plain.logDirectory]);
    reader.Take("logFile", plain.logFile, keeper[&plain.logFile]);
    reader.Take("logFileBytes", plain.logFileBytes);
    reader.Take("logFileCount", plain.logFileCount);
    reader.Take("printLevel", plain.printLevel);
    reader.Take("database", plain.database, keeper[&plain.database]);
    reader.Take("board", plain.board, keeper[&plain.board]);
    reader.Take("allowOutside", plain.allowOutside);
    reader.Take("switchAtCalls", plain.switchAtCalls);
    reader.Take("pluginPath", plain.pluginPath, keeper[&plain.pluginPath]);
    reader.RefuseOthers();
    if (!error.empty()) {
        error = std::string(path) + ": " + error;
        return false;
    }
    return ReadOptions(plain, options);
}

}  // namespace devhost

void DxrHostInitOptions(DxrHostOptions *options) {
    *options = {};
    options->size = sizeof(DxrHostOptions);
    options->clock = DXR_HOST_CLOCK_REAL;
    options->seed = 1;
    options->startSec = devhost::kDefaultStart;
    options->logFileBytes = devhost::kDefaultLogBytes;
    options->logFileCount = devhost::kDefaultLogCount;
    options->printLevel = devhost::kDefaultPrintLevel;
}
