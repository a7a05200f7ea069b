#include "filter_run.h"

#include <fmt/format.h>
#include <unistd.h>

#include <limits>
#include <utility>

#include "dxr_devhost.h"
#include "errors.h"
#include "json_text.h"
#include "say.h"
#include "time_stamp.h"

namespace dxrsh {
namespace {

constexpr size_t kComparedCharacters = 1023;  // of a message; the library's buffer holds no more

uint32_t FilterHashOf(std::string_view text) {
    DxrLogFilterHashInput input{};
    input.text = text.data();
    input.length = static_cast<uint32_t>(text.size());
    uint32_t hash = 0;
    DXR_SimpleHash(&input, &hash);
    return hash;
}

LogOptions WithStop(LogOptions options, StopSignals &stop) {
    options.stop = &stop;
    return options;
}

}  // namespace

LogFilter::LogFilter() {
    if (DXR_InitLogFilter(DXR_GetDefaultMid()) != 0) {
        throw RunError("not enough memory for the log filter");
    }
    DxrHostSetDiagSink(
        nullptr, [](const char *, void *passed) { *static_cast<bool *>(passed) = true; }, &passed_);
}

LogFilter::~LogFilter() {
    DxrHostSetDiagFile(nullptr, nullptr);
    DXR_DestroyLogFilter();
}

FilterRun::FilterRun(const FilterOptions &options)
    : options_(options),
      log_(WithStop(options.log, stop_)),
      output_(STDOUT_FILENO),
      progress_(log_.Size()),
      // A line that is let through again makes no other one be forgotten.
      remembered_(options.interval != 0) {
    site_.logType = options.logType;
    site_.interval = options.interval;
    if (options.key) {
        key_ = std::make_unique<LineKey>(*options.key);
    }
    if (!options.masks.empty()) {
        mask_ = std::make_unique<LineMask>(options.masks);
    }
    if (!options.doubtfulPath.empty()) {
        doubtful_ = std::make_unique<OutputFile>(options.doubtfulPath);
    }
}

void FilterRun::Run() {
    log_.OnRead([this] { BeforeRead(); });
    log_.OnMissing([this](const std::string &path) { TellMissing(path); });
    StampedLine line{};
    while (log_.Next(line)) {
        ++counts_.lines;
        const bool passed = Passes(line);
        if (passed) {
            ++counts_.passed;
            WritePassed(line);
        }
        if (options_.histogram) {
            histogram_.Add(log_.Clock().Now(), passed);
        }
    }
    progress_.Clear();
    ClearStatus();
    output_.Flush();
    if (doubtful_) {
        doubtful_->Flush();
    }
}

void FilterRun::WritePassed(const StampedLine &line) {
    if (options_.json) {
        JsonText json;
        json.BeginObject()
            .Number("line", counts_.lines)
            .Text("time", FormatTime(log_.Clock().Now()))
            .Text("text", line.whole.text)
            .EndObject();
        output_.Write(json.Line());
        return;
    }
    output_.Write(line.whole.text);
    if (line.whole.complete) {
        output_.Write("\n");
    }
}

// What has been let through is seen before the next read, which may wait for a writer.
void FilterRun::BeforeRead() {
    ClearStatus();
    output_.Flush();
    if (options_.log.follow) {
        ShowStatus();
    } else {
        progress_.Update(log_.BytesRead());
    }
}

void FilterRun::ShowStatus() {
    if (options_.quiet || isatty(STDERR_FILENO) != 1) {
        return;
    }
    const std::string status =
        fmt::format("{} lines, {} suppressed, {} (Ctrl-C ends)", counts_.lines,
                    counts_.lines - counts_.passed, FormatTime(log_.Clock().Now()));
    statusWidth_ = status.size();
    Say(stderr, "{}", status);
}

void FilterRun::ClearStatus() {
    if (statusWidth_ != 0) {
        Say(stderr, "\r{:{}}\r", "", statusWidth_);
        statusWidth_ = 0;
    }
}

// Also when nothing else is said: a name that is mistyped would be waited for in silence.
void FilterRun::TellMissing(const std::string &path) {
    constexpr size_t kNoLimit = std::numeric_limits<size_t>::max();
    ClearStatus();
    Say(stderr, "dxrsh: waiting for {}, which is not there\n", Printable(path, kNoLimit));
    ShowStatus();
}

bool FilterRun::Passes(const StampedLine &line) {
    if (line.text.empty()) {
        ++counts_.unasked;
        return true;
    }
    std::string_view asked = cText_.Of(line.text);
    if (mask_) {
        asked = mask_->Of(asked, kComparedCharacters + 1);
    }
    return key_ ? PassesByKey(line, asked) : PassesByText(line, asked);
}

void FilterRun::Doubt(const char *why, const StampedLine &line) {
    if (doubtful_) {
        doubtful_->Write(fmt::format("{}: {}: ", counts_.lines, why));
        doubtful_->Write(line.whole.text);
        doubtful_->Write("\n");
    }
}

bool FilterRun::PassesByText(const StampedLine &line, std::string_view text) {
    const std::string_view compared = text.substr(0, kComparedCharacters);
    // Most repeats follow each other at once. What is known of the others comes from memory while
    // the filter works.
    const bool isLatest = suppressed_.IsLatest(compared);
    const uint64_t wide = isLatest ? 0 : WideHashOf(compared);
    if (!isLatest) {
        suppressed_.Expect(wide);
    }
    const bool passed = LogFilter::PassesByText(site_, compared);
    if (passed) {
        const uint64_t known = isLatest ? WideHashOf(compared) : wide;
        remembered_.Add(FilterHashOf(compared), static_cast<uint32_t>(known >> 32U));
    } else if (IsOther(suppressed_.Add(compared, compared, wide), compared)) {
        ++counts_.otherText;
        Doubt("other text", line);
    } else if (compared.size() != text.size()) {
        ++counts_.inPart;
        Doubt("in part", line);
    }
    return passed;
}

// Whether only the hash of `asked` is that of a line let through.
bool FilterRun::IsOther(SuppressedLines::Entry &line, std::string_view asked) {
    const uint32_t generation = remembered_.Generation();
    if (line.mark == generation) {
        return false;
    }
    if (remembered_.IsOther(FilterHashOf(asked), line.Check())) {
        return true;
    }
    line.mark = generation;
    return false;
}

bool FilterRun::PassesByKey(const StampedLine &line, std::string_view text) {
    Keys keys{};
    if (!key_->Find(text.data(), keys)) {
        ++counts_.unasked;
        return true;
    }
    DxrLogFilterCfg site = site_;
    site.key1 = keys[0];
    site.key2 = keys[1];
    site.key3 = keys[2];
    site.key4 = keys[3];
    const bool passed = filter_.PassesByKey(site, text.data());
    // The type and the digits follow each other without a mark between them, as in the library.
    const std::string digits =
        fmt::format("{}{}{}{}{}", site_.logType, keys[0], keys[1], keys[2], keys[3]);
    if (passed) {
        remembered_.Add(FilterHashOf(digits), static_cast<uint32_t>(WideHashOf(digits) >> 32U));
    } else if (IsOther(suppressed_.Add(digits, text), digits)) {
        ++counts_.otherText;
        Doubt("other key", line);
    }
    return passed;
}

}  // namespace dxrsh
