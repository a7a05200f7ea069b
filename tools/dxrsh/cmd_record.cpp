// dxrsh record: the events of a log in the information recorder.

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "c_text.h"
#include "commands.h"
#include "dxr_api.h"
#include "file_io.h"
#include "help.h"
#include "host.h"
#include "json_text.h"
#include "line_clock.h"
#include "progress.h"
#include "say.h"
#include "stamp_report.h"
#include "stamped_log.h"

namespace dxrsh {
namespace {

std::string TimeOf(const DxrSysTime &time) {
    return fmt::format("{:04}-{:02}-{:02} {:02}:{:02}:{:02}", time.year, time.month, time.day,
                       time.hour, time.minute, time.second);
}

// The library's recorder, empty again at the end.
class Recorder {
  public:
    Recorder() = default;
    ~Recorder() { DXR_DestroyRecordInfo(); }
    Recorder(const Recorder &) = delete;
    Recorder &operator=(const Recorder &) = delete;
    Recorder(Recorder &&) = delete;
    Recorder &operator=(Recorder &&) = delete;

    void Record(std::string_view text) { DXR_RecordInfo("%s", cText_.Of(text).data()); }

    // In the order of the library's own listing.
    static void ForEachSlot(const std::function<void(uint32_t)> &visit) {
        for (uint32_t slot = 0; slot < DXR_RECORD_COUNT; ++slot) {
            if (DXR_GetRecordEntity()->records[slot] != nullptr) {
                visit(slot);
            }
        }
    }

    // A line as the library lists it, safe for a terminal; a line break in it stood for a NUL byte.
    [[nodiscard]] static std::string RowOf(uint32_t slot) {
        constexpr size_t kLongestEntry = 400;  // 255 characters of text, the rest numbers
        std::array<char, kLongestEntry> text{};
        const uint32_t length =
            DXR_GetRecordStr(DXR_GetRecordEntity(), slot, slot + 1, text.data(), kLongestEntry);
        std::string row(text.data(), length);
        row.erase(0, row.starts_with("\r\n") ? 2 : 0);
        std::replace(row.begin(), row.end(), '\n', '\0');
        return Printable(row, SIZE_MAX) + "\n";
    }

    [[nodiscard]] static std::string JsonOf(uint32_t slot) {
        const DxrRecord &record = *DXR_GetRecordEntity()->records[slot];
        std::string text = record.text;
        std::replace(text.begin(), text.end(), '\n', '\0');
        JsonText json;
        json.BeginObject()
            .Text("text", text)
            .Number("count", record.count)
            .Text("first", TimeOf(record.firstTime))
            .Text("last", TimeOf(record.lastTime))
            .EndObject();
        return json.Line();
    }

  private:
    CText cText_;
};

struct RecordOptions {
    LogOptions log;
    bool quiet = false;
    bool json = false;
};

void RunRecord(const RecordOptions &options) {
    const Host host;
    StampedLog log(options.log);
    Progress progress(log.Size());
    log.OnRead([&] { progress.Update(log.BytesRead()); });
    Recorder recorder;
    StampedLine line{};
    while (log.Next(line)) {
        if (!line.text.empty()) {
            recorder.Record(line.text);
        }
    }
    progress.Clear();
    Output output(STDOUT_FILENO);
    Recorder::ForEachSlot([&](uint32_t slot) {
        output.Write(options.json ? Recorder::JsonOf(slot) : Recorder::RowOf(slot));
    });
    output.Flush();
    if (!options.quiet) {
        SayStamps(log, !options.json);
    }
}

}  // namespace

void AddRecordCommand(CLI::App &program) {
    const auto options = std::make_shared<RecordOptions>();
    CLI::App *const command =
        program.add_subcommand("record", "The events of a log in the information recorder");
    Describe(
        *command,
        std::string("Each line is an event, known by the text without its time stamp; empty "
                    "ones are none. Prints what the recorder holds at the end: at most 1024 "
                    "texts of at most 255 characters, each with its first and its last time "
                    "and its count.\n\n") +
            kStampHelp,
        {"dxrsh record examples/dxrsh/links.log", "dxrsh record --json examples/dxrsh/links.log"});
    AddLogOptions(*command, options->log);
    command->add_flag("--quiet", options->quiet, "Do not say which stamps were recognised");
    AddJsonFlag(*command, options->json);
    command->callback([options] { RunRecord(*options); });
}

}  // namespace dxrsh
