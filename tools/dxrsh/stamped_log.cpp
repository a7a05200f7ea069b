#include "stamped_log.h"

#include <unistd.h>

#include <cerrno>
#include <ctime>

#include "errors.h"
#include "number_option.h"

namespace dxrsh {

StampedLog::StampedLog(LogOptions options) : options_(std::move(options)), clock_(options_.stamps) {
    if (options_.paths.empty()) {
        options_.paths.emplace_back("-");
    }
    // All of them, so that one that is missing is known before anything is done.
    bool sizeKnown = !options_.follow;
    for (const std::string &path : options_.paths) {
        const bool isFollowed = options_.follow && &path == &options_.paths.back();
        if (isFollowed && access(path.c_str(), F_OK) != 0 && errno == ENOENT) {
            continue;
        }
        const uint64_t size = Input(path).Size();
        sizeKnown = sizeKnown && size != 0;
        size_ += size;
    }
    size_ = sizeKnown ? size_ : 0;
    if (options_.follow && options_.paths.back() == "-") {
        throw UsageError("--follow: standard input cannot be followed; name a file");
    }
}

uint64_t StampedLog::BytesRead() const {
    return bytesBefore_ + (log_.input ? log_.input->BytesRead() : 0);
}

void StampedLog::Open() {
    const std::string &path = options_.paths[opened_++];
    const bool last = opened_ == options_.paths.size();
    bytesBefore_ = BytesRead();
    log_ = {};
    ByteSource *source = nullptr;
    if (options_.follow && last) {
        log_.followed = std::make_unique<FollowedFile>(path, *options_.stop);
        log_.followed->OnMissing([this] {
            if (onMissing_) {
                onMissing_(log_.followed->Name());
            }
        });
        source = log_.followed.get();
        live_ = true;
    } else {
        log_.input = std::make_unique<StoppableInput>(path, options_.stop);
        log_.unpacked = std::make_unique<Unpacked>(*log_.input);
        log_.unmarked = std::make_unique<WithoutMark>(*log_.unpacked);
        source = log_.unmarked.get();
        live_ = log_.input->IsLive();
    }
    log_.reader = std::make_unique<LineReader>(*source, options_.longestLine);
    log_.reader->OnRead([this] {
        if (onRead_) {
            onRead_();
        }
    });
    log_.reader->Prime();
    clock_.Start(log_.reader->Ahead());
    if (live_) {
        const auto setClock = [this] {
            clock_.SetUnstamped(static_cast<uint32_t>(std::time(nullptr)));
        };
        setClock();
        log_.reader->AfterRead(setClock);
    }
}

bool StampedLog::NextWhole(Line &line) const {
    try {
        return log_.reader->Next(line);
    } catch (const LineTooLong &error) {
        throw RunError(std::string(error.what()) + "; --longest BYTES allows more");
    }
}

bool StampedLog::Next(StampedLine &line) {
    while (log_.reader == nullptr || !NextWhole(line.whole)) {
        const bool stopped = options_.stop != nullptr && options_.stop->Requested();
        if (opened_ == options_.paths.size() || stopped) {
            return false;
        }
        Open();
    }
    // The next log begins a line of its own.
    line.whole.complete = line.whole.complete || opened_ < options_.paths.size();
    line.text = clock_.Take(line.whole.text);
    ++lines_;
    return true;
}

void AddLogOptions(CLI::App &command, LogOptions &options) {
    command.add_option("FILE", options.paths,
                       "The logs, also .gz and .zst; - or none: standard input");
    AddStampOptions(command, options.stamps);
    command
        .add_option("--longest", options.longestLine,
                    "Give up at a longer line, 1 or more (default 67108864)")
        ->transform(AsWholeNumber(1))
        ->type_name("BYTES");
}

}  // namespace dxrsh
