#include "log_source.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zlib.h>

#ifdef DXRSH_ZSTD
#include <zstd.h>
#endif

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <utility>

#include "errors.h"

namespace dxrsh {
namespace {

constexpr size_t kPackedSize = size_t{256} << 10U;
constexpr std::string_view kGzipHead("\x1f\x8b", 2);
constexpr std::string_view kMark("\xef\xbb\xbf", 3);
constexpr std::string_view kZstdHead("\x28\xb5\x2f\xfd", 4);

// What is no text either, and what makes one of it. Such files lie beside the logs that are read.
struct Foreign {
    std::string_view head;
    const char *what;
    const char *command;
};
constexpr std::array kForeign = {
    Foreign{std::string_view("\xfd"
                             "7zXZ\0",
                             6),
            "compressed with xz", "xz -dc"},
    Foreign{"BZh", "compressed with bzip2", "bzip2 -dc"},
    Foreign{"\x04\x22\x4d\x18", "compressed with lz4", "lz4 -dc"},
    Foreign{"PK\x03\x04", "a zip archive", "unzip -p"},
    Foreign{"LPKSHHRH", "a journal", "journalctl --file"},
    Foreign{"\xff\xfe", "text of UTF-16", "iconv -f UTF-16 -t UTF-8"},
    Foreign{"\xfe\xff", "text of UTF-16", "iconv -f UTF-16 -t UTF-8"},
};
constexpr size_t kMostHead = 10;  // of any of them

// Text may begin with the letters of bzip2, but not go on as its blocks, or the end of none, do.
bool IsBzip2(std::string_view head) {
    constexpr size_t kLevel = 3;
    constexpr size_t kBlock = 4;
    return head.size() == kMostHead && head[kLevel] >= '1' && head[kLevel] <= '9' &&
           (head.substr(kBlock) == "1AY&SY" || head.substr(kBlock) == "\x17\x72\x45\x38\x50\x90");
}

constexpr size_t kUtf16Head = 4;  // the mark and a character

bool HasUtf16Mark(std::string_view head) {
    return head.starts_with("\xff\xfe") || head.starts_with("\xfe\xff");
}

// The first character is one of ASCII: other bytes may begin with these two as well.
bool IsUtf16(std::string_view head) {
    return head.size() >= kUtf16Head &&
           (head[0] == '\xff' ? head[3] == 0 && head[2] != 0 : head[2] == 0 && head[3] != 0);
}

const Foreign *ForeignOf(std::string_view head) {
    for (const Foreign &one : kForeign) {
        if (head.starts_with(one.head) && (one.head != "BZh" || IsBzip2(head)) &&
            (!HasUtf16Mark(head) || IsUtf16(head))) {
            return &one;
        }
    }
    return nullptr;
}

// Whether more bytes have to be seen to know.
bool MayBecomeOther(std::string_view head) {
    const auto goesOn = [head](std::string_view whole) {
        return head.size() < whole.size() ? whole.starts_with(head) : false;
    };
    return goesOn(kGzipHead) || goesOn(kZstdHead) ||
           (head.starts_with("BZh") && head.size() < kMostHead) ||
           (HasUtf16Mark(head) && head.size() < kUtf16Head) ||
           std::any_of(kForeign.begin(), kForeign.end(),
                       [&](const Foreign &one) { return goesOn(one.head); });
}

std::string ErrorOf(int error) {
    return std::strerror(error);  // NOLINT(concurrency-mt-unsafe): dxrsh has one thread
}

}  // namespace

// One way of packing.
class Unpacked::Format {
  public:
    explicit Format(std::string name) : name_(std::move(name)) {}
    virtual ~Format() = default;
    Format(const Format &) = delete;
    Format &operator=(const Format &) = delete;
    Format(Format &&) = delete;
    Format &operator=(Format &&) = delete;

    struct Step {
        size_t taken;
        size_t given;
    };
    // Unpacks as much as fits.
    virtual Step Unpack(std::string_view packed, char *buffer, size_t room) = 0;
    // Whether the packed data may end here.
    [[nodiscard]] bool IsWhole() const { return isWhole_; }

  protected:
    [[noreturn]] void Refuse(const char *what) const {
        throw RunError(fmt::format("{}: damaged {} data", name_, what));
    }

    std::string name_;      // NOLINT(cppcoreguidelines-non-private-member-variables-in-classes)
    bool isWhole_ = false;  // NOLINT(cppcoreguidelines-non-private-member-variables-in-classes)
};

class Unpacked::Gzip : public Format {
  public:
    explicit Gzip(const std::string &name) : Format(name) {
        constexpr int kGzipWindow = 15 + 16;
        if (inflateInit2(&stream_, kGzipWindow) != Z_OK) {
            throw RunError("not enough memory");
        }
    }
    ~Gzip() override { inflateEnd(&stream_); }
    Gzip(const Gzip &) = delete;
    Gzip &operator=(const Gzip &) = delete;
    Gzip(Gzip &&) = delete;
    Gzip &operator=(Gzip &&) = delete;

    Step Unpack(std::string_view packed, char *buffer, size_t room) override {
        if (isWhole_) {  // another part follows
            inflateReset(&stream_);
        }
        stream_.next_in = reinterpret_cast<Bytef *>(const_cast<char *>(packed.data()));
        stream_.avail_in = static_cast<uInt>(packed.size());
        stream_.next_out = reinterpret_cast<Bytef *>(buffer);
        stream_.avail_out = static_cast<uInt>(room);
        const int result = inflate(&stream_, Z_NO_FLUSH);
        if (result != Z_OK && result != Z_STREAM_END && result != Z_BUF_ERROR) {
            Refuse("gzip");
        }
        isWhole_ = result == Z_STREAM_END;
        return {packed.size() - stream_.avail_in, room - stream_.avail_out};
    }

  private:
    z_stream stream_{};
};

#ifdef DXRSH_ZSTD
class Unpacked::Zstd : public Format {
  public:
    explicit Zstd(const std::string &name) : Format(name), stream_(ZSTD_createDStream()) {
        if (stream_ == nullptr) {
            throw RunError("not enough memory");
        }
    }
    ~Zstd() override { ZSTD_freeDStream(stream_); }
    Zstd(const Zstd &) = delete;
    Zstd &operator=(const Zstd &) = delete;
    Zstd(Zstd &&) = delete;
    Zstd &operator=(Zstd &&) = delete;

    Step Unpack(std::string_view packed, char *buffer, size_t room) override {
        ZSTD_inBuffer in{packed.data(), packed.size(), 0};
        ZSTD_outBuffer out{buffer, room, 0};
        const size_t result = ZSTD_decompressStream(stream_, &out, &in);
        if (ZSTD_isError(result) != 0) {
            Refuse("zstd");
        }
        isWhole_ = result == 0;
        return {in.pos, out.pos};
    }

  private:
    ZSTD_DStream *stream_;
};
#endif

Unpacked::Unpacked(ByteSource &source) : source_(source) {
}

Unpacked::~Unpacked() = default;

std::unique_ptr<Unpacked::Format> Unpacked::FormatOf(const std::string &head,
                                                     const std::string &name) {
    if (head.starts_with(kGzipHead)) {
        return std::make_unique<Gzip>(name);
    }
    if (const Foreign *foreign = ForeignOf(head); foreign != nullptr) {
        throw RunError(fmt::format("{} is {}; '{} FILE' gives what can be read through a pipe",
                                   name, foreign->what, foreign->command));
    }
    if (!head.starts_with(kZstdHead)) {
        return nullptr;
    }
#ifdef DXRSH_ZSTD
    return std::make_unique<Zstd>(name);
#else
    throw RunError(
        fmt::format("{}: is compressed with zstd, which this dxrsh was built without", name));
#endif
}

// A pipe may give the first bytes one by one.
size_t Unpacked::ReadFirst(char *buffer, size_t room) {
    size_t got = source_.Read(buffer, room);
    while (got > 0 && got < room && MayBecomeOther(std::string_view(buffer, got))) {
        const size_t more = source_.Read(buffer + got, room - got);
        got += more;
        if (more == 0) {
            break;
        }
    }
    format_ = FormatOf(std::string(buffer, std::min(got, kMostHead)), source_.Name());
    if (format_ == nullptr) {
        return got;
    }
    packed_.assign(buffer, got);
    return Read(buffer, room);
}

size_t Unpacked::Read(char *buffer, size_t room) {
    if (!started_) {
        started_ = true;
        return ReadFirst(buffer, room);
    }
    if (format_ == nullptr) {
        return source_.Read(buffer, room);
    }
    for (;;) {
        if (packedAt_ < packed_.size()) {
            const std::string_view rest = std::string_view(packed_).substr(packedAt_);
            const Format::Step step = format_->Unpack(rest, buffer, room);
            packedAt_ += step.taken;
            if (step.given > 0) {
                return step.given;
            }
            if (step.taken > 0) {
                continue;
            }
        }
        // What is left over is less than one step; it stays in front of what follows.
        packed_.erase(0, packedAt_);
        packedAt_ = 0;
        const size_t before = packed_.size();
        packed_.resize(before + kPackedSize);
        const size_t got = source_.Read(packed_.data() + before, kPackedSize);
        packed_.resize(before + got);
        if (got == 0) {
            if (!format_->IsWhole() || before != 0) {
                throw RunError(fmt::format("{}: ends within its compressed data", Name()));
            }
            return 0;
        }
    }
}

// A pipe may give its bytes one by one.
size_t WithoutMark::Read(char *buffer, size_t room) {
    size_t got = source_.Read(buffer, room);
    if (started_) {
        return got;
    }
    started_ = true;
    size_t more = got;
    while (more > 0 && got < room && got < kMark.size() &&
           kMark.starts_with(std::string_view(buffer, got))) {
        more = source_.Read(buffer + got, room - got);
        got += more;
    }
    if (!std::string_view(buffer, got).starts_with(kMark)) {
        return got;
    }
    if (got == kMark.size()) {
        return source_.Read(buffer, room);
    }
    std::memmove(buffer, buffer + kMark.size(), got - kMark.size());
    return got - kMark.size();
}

bool StoppableInput::IsLive() const {
    struct stat status {};
    return fstat(input_.Fd(), &status) == 0 && !S_ISREG(status.st_mode) && !S_ISDIR(status.st_mode);
}

size_t StoppableInput::Read(char *buffer, size_t room) {
    if (stop_ != nullptr && !stop_->WaitToRead(input_.Fd(), -1)) {
        return 0;
    }
    const size_t got = input_.Read(buffer, room);
    bytesRead_ += got;
    return got;
}

FollowedFile::FollowedFile(std::string path, StopSignals &stop)
    : path_(std::move(path)), stop_(stop) {
    (void)Open();
}

FollowedFile::~FollowedFile() {
    if (fd_ >= 0) {
        close(fd_);
    }
}

// The first file of that name; false when there is none yet.
bool FollowedFile::Open() {
    fd_ = open(path_.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd_ < 0 && errno == ENOENT) {
        return false;
    }
    if (fd_ < 0) {
        throw RunError(fmt::format("cannot open {}: {}", path_, ErrorOf(errno)));
    }
    std::array<char, kMostHead> begin{};
    const ssize_t count = pread(fd_, begin.data(), begin.size(), 0);
    const std::string_view head(begin.data(), static_cast<size_t>(std::max<ssize_t>(count, 0)));
    const Foreign *const foreign = ForeignOf(head);
    if (head.starts_with(kGzipHead) || head.starts_with(kZstdHead) || foreign != nullptr) {
        (void)close(std::exchange(fd_, -1));
        throw UsageError(fmt::format("--follow: {} is {} and cannot be followed", path_,
                                     foreign != nullptr ? foreign->what : "compressed"));
    }
    missing_ = 0;  // it may be gone again before the next look
    return true;
}

// A rotation leaves no file of the name for a moment: one look that does not find it is none.
void FollowedFile::LookForMissing() {
    constexpr unsigned kLooks = 2;
    struct stat byName {};
    if (stat(path_.c_str(), &byName) == 0 || errno != ENOENT) {
        missing_ = 0;
        return;
    }
    missing_ = std::min(missing_ + 1, kLooks + 1);
    if (missing_ == kLooks && onMissing_) {
        onMissing_();
    }
}

// At a beginning. False while what is there may be a part of the mark.
bool FollowedFile::PassMark() {
    std::array<char, kMark.size()> begin{};
    const ssize_t count = pread(fd_, begin.data(), begin.size(), 0);
    const std::string_view head(begin.data(), static_cast<size_t>(std::max<ssize_t>(count, 0)));
    if (head == kMark) {
        position_ = kMark.size();
        (void)lseek(fd_, static_cast<off_t>(position_), SEEK_SET);
    }
    return head.empty() || head == kMark || !kMark.starts_with(head);
}

size_t FollowedFile::ReadOpen(char *buffer, size_t room) {
    if (position_ == 0 && !PassMark()) {
        return 0;
    }
    ssize_t got = 0;
    do {
        got = read(fd_, buffer, room);
    } while (got < 0 && errno == EINTR);
    if (got < 0) {
        throw RunError(fmt::format("cannot read {}: {}", path_, ErrorOf(errno)));
    }
    const auto count = static_cast<size_t>(got);
    position_ += count;
    bytesRead_ += count;
    if (count > 0) {
        inLine_ = buffer[count - 1] != '\n';
    }
    return count;
}

bool FollowedFile::IsReplaced() const {
    struct stat byName {};
    struct stat opened {};
    return stat(path_.c_str(), &byName) == 0 && fstat(fd_, &opened) == 0 &&
           (byName.st_ino != opened.st_ino || byName.st_dev != opened.st_dev);
}

bool FollowedFile::IsCut() const {
    struct stat opened {};
    return fstat(fd_, &opened) == 0 && S_ISREG(opened.st_mode) &&
           static_cast<uint64_t>(opened.st_size) < position_;
}

size_t FollowedFile::Read(char *buffer, size_t room) {
    constexpr int kPauseMs = 200;
    for (;;) {
        if (stop_.Requested()) {
            return 0;
        }
        if (fd_ < 0 && !Open()) {
            LookForMissing();
            (void)stop_.WaitToRead(-1, kPauseMs);
            continue;
        }
        // Asked first: what was written before the other file came is read in between.
        const bool replaced = IsReplaced();
        if (const size_t got = ReadOpen(buffer, room); got != 0) {
            return got;
        }
        const bool cut = !replaced && IsCut();
        if (!replaced && !cut) {
            LookForMissing();
            (void)stop_.WaitToRead(-1, kPauseMs);
            continue;
        }
        if (replaced) {
            const int next = open(path_.c_str(), O_RDONLY | O_CLOEXEC);
            if (next < 0) {
                (void)stop_.WaitToRead(-1, kPauseMs);
                continue;
            }
            close(fd_);
            fd_ = next;
            missing_ = 0;
        } else {
            lseek(fd_, 0, SEEK_SET);
        }
        position_ = 0;
        if (inLine_) {  // a line that was broken off is not joined with the first of the new file
            inLine_ = false;
            buffer[0] = '\n';
            return 1;
        }
    }
}

}  // namespace dxrsh
