// dxrsh record: the events of a log in the information recorder.

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "c_text.h"
#include "commands.h"
#include "dxr_api.h"
#include "file_io.h"
#include "host.h"
#include "line_clock.h"
#include "progress.h"
#include "say.h"
#include "stamped_log.h"

namespace dxrsh {
namespace {

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

    [[nodiscard]] static std::string Listing() {
        constexpr size_t kRecords = 1024;
        constexpr size_t kLongestEntry = 400;  // 255 characters of text, the rest numbers
        std::vector<char> text(kRecords * kLongestEntry);
        const uint32_t length =
            DXR_GetAllRecordStr(text.data(), static_cast<uint32_t>(text.size()));
        return PlainLines({text.data(), length});
    }

  private:
    CText cText_;
};

void RunRecord(const LogOptions &options) {
    const Host host;
    StampedLog log(options);
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
    // Each entry of the listing begins with a line break and none ends with one.
    const std::string listing = Recorder::Listing();
    if (!listing.empty()) {
        WriteOut(listing.substr(1) + "\n");
    }
}

}  // namespace

void AddRecordCommand(CLI::App &program) {
    const auto options = std::make_shared<LogOptions>();
    CLI::App *const command =
        program.add_subcommand("record", "The events of a log in the information recorder");
    command->footer(std::string("Each line is an event, known by the text after its time stamp; "
                                "empty ones are none. Prints\n"
                                "what the recorder holds at the end: at most 1024 texts of at most "
                                "255 characters, each with\n"
                                "its first and its last time and its count.\n"
                                "\n") +
                    kStampHelp);
    AddLogOptions(*command, *options);
    command->callback([options] { RunRecord(*options); });
}

}  // namespace dxrsh
