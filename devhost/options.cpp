#include "options.h"

#include <algorithm>
#include <array>
#include <deque>
#include <limits>

#include "json_members.h"

namespace devhost {
namespace {

constexpr uint32_t kDefaultStart = 946684800;  // 2000-01-01
constexpr uint32_t kDefaultLogBytes = 1024 * 1024;
constexpr uint32_t kDefaultLogCount = 4;
constexpr uint32_t kDefaultPrintLevel = 2;

std::string TextOr(const char *text, const std::string &otherwise) {
    return text != nullptr ? text : otherwise;
}

// The members of a file, each into its field. Texts are kept by somebody else.
class Reader {
  public:
    Reader(Members &from, std::deque<std::string> &texts) : from_(from), texts_(texts) {}

    template <typename Number>
    void Take(const char *name, Number &to) {
        to = static_cast<Number>(from_.Number(name, std::numeric_limits<Number>::max(), to));
    }

    void Take(const char *name, const char *&to) {
        if (from_.Find(name) != nullptr) {
            to = texts_.emplace_back(from_.Text(name, "")).c_str();
        }
    }

    void TakeClock(uint32_t &to) {
        if (from_.Find("clock") == nullptr) {
            return;
        }
        constexpr std::array<const char *, 3> kClocks = {"real", "stepped", "virtual"};
        const std::string clock = from_.Text("clock", "");
        const auto *const found = std::find(kClocks.begin(), kClocks.end(), clock);
        if (found == kClocks.end()) {
            from_.Blame("clock", R"(must be "real", "stepped" or "virtual")");
        }
        to = static_cast<uint32_t>(found - kClocks.begin());
    }

  private:
    Members &from_;
    std::deque<std::string> &texts_;
};

static_assert(DXR_HOST_CLOCK_REAL == 0 && DXR_HOST_CLOCK_STEPPED == 1 &&
              DXR_HOST_CLOCK_VIRTUAL == 2);

void TakeAll(Members &members, std::deque<std::string> &texts, DxrHostOptions &plain) {
    Reader reader(members, texts);
    reader.TakeClock(plain.clock);
    reader.Take("seed", plain.seed);
    reader.Take("startSec", plain.startSec);
    reader.Take("endSec", plain.endSec);
    reader.Take("memoryLimit", plain.memoryLimit);
    reader.Take("workPath", plain.workPath);
    reader.Take("binFolder", plain.binFolder);
    reader.Take("configPath", plain.configPath);
    reader.Take("logDirectory", plain.logDirectory);
    reader.Take("logFile", plain.logFile);
    reader.Take("logFileBytes", plain.logFileBytes);
    reader.Take("logFileCount", plain.logFileCount);
    reader.Take("printLevel", plain.printLevel);
    reader.Take("database", plain.database);
    reader.Take("board", plain.board);
    reader.Take("allowOutside", plain.allowOutside);
    reader.Take("switchAtCalls", plain.switchAtCalls);
    reader.Take("pluginPath", plain.pluginPath);
}

}  // namespace

DxrHostOptions OptionsOr(const DxrHostOptions *given, const DxrHostOptions &others) {
    if (given == nullptr || given->size == sizeof(DxrHostOptions)) {
        return given != nullptr ? *given : others;
    }
    DxrHostOptions wrong{};
    wrong.size = given->size;
    return wrong;
}

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
    DxrHostOptions plain;
    DxrHostInitOptions(&plain);
    std::deque<std::string> texts;
    const auto take = [&](Members &members) { TakeAll(members, texts, plain); };
    return ReadMembers(path, take, error) && ReadOptions(plain, options);
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
