#include "file_io.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <system_error>

#include "errors.h"
#include "say.h"

namespace dxrsh {
namespace {

constexpr size_t kReadSize = size_t{1} << 20U;
constexpr size_t kNextSize = size_t{128} << 10U;
constexpr size_t kWriteSize = size_t{1} << 18U;

std::string LastError() {
    return std::strerror(errno);  // NOLINT(concurrency-mt-unsafe): dxrsh has one thread
}

}  // namespace

std::string InputName(const std::string &path) {
    return path == "-" ? "standard input" : path;
}

Input::Input(const std::string &path)
    : name_(InputName(path)),
      fd_(path == "-" ? STDIN_FILENO : open(path.c_str(), O_RDONLY | O_CLOEXEC)) {
    if (fd_ < 0) {
        throw FileError(fmt::format("cannot open {}: {}", name_, LastError()));
    }
    struct stat status {};
    if (fstat(fd_, &status) == 0 && S_ISREG(status.st_mode)) {
        size_ = static_cast<uint64_t>(status.st_size);
    }
}

Input::~Input() {
    if (fd_ != STDIN_FILENO) {
        close(fd_);
    }
}

size_t Input::Read(char *buffer, size_t room) {
    ssize_t got = 0;
    do {
        got = read(fd_, buffer, room);
    } while (got < 0 && errno == EINTR);
    if (got < 0) {
        throw FileError(fmt::format("cannot read {}: {}", name_, LastError()));
    }
    return static_cast<size_t>(got);
}

std::string ReadWhole(ByteSource &input, size_t limit) {
    std::string whole;
    for (;;) {
        const size_t before = whole.size();
        whole.resize(before + kReadSize);
        const size_t got = input.Read(whole.data() + before, kReadSize);
        whole.resize(before + got);
        if (got == 0) {
            return whole;
        }
        if (whole.size() > limit) {
            throw RunError(fmt::format("{} is longer than {} bytes", input.Name(), limit));
        }
    }
}

LineReader::LineReader(ByteSource &input, uint64_t longest)
    : input_(input), longest_(longest), buffer_(kReadSize + 1) {
}

void LineReader::RefuseLine() const {
    throw LineTooLong(fmt::format("{}: line {} is longer than {} bytes", input_.Name(),
                                  lineNumber_ + 1, longest_));
}

void LineReader::Prime() {
    if (bytesRead_ == 0 && !atEnd_) {
        Fill();
    }
}

std::string_view LineReader::Ahead() const {
    return {buffer_.data() + begin_, end_ - begin_};
}

// Moves what is left to the front, makes room when there is none, and reads once.
bool LineReader::Fill() {
    if (atEnd_) {
        return false;
    }
    if (begin_ > 0) {
        std::memmove(buffer_.data(), buffer_.data() + begin_, end_ - begin_);
        end_ -= begin_;
        begin_ = 0;
    }
    if (end_ + 1 == buffer_.size()) {
        buffer_.resize(2 * buffer_.size());
    }
    if (onRead_) {
        onRead_();
    }
    // The first block is large, since stamps are looked for in it; the others stay in the cache.
    const size_t room = buffer_.size() - 1 - end_;
    const size_t got =
        input_.Read(buffer_.data() + end_, bytesRead_ == 0 ? room : std::min(room, kNextSize));
    end_ += got;
    bytesRead_ += got;
    atEnd_ = got == 0;
    if (afterRead_) {
        afterRead_();
    }
    return !atEnd_;
}

bool LineReader::Next(Line &line) {
    size_t searched = 0;  // bytes after begin_ known to hold no line break
    for (;;) {
        char *const start = buffer_.data() + begin_;
        const size_t known = end_ - begin_;
        void *const found = std::memchr(start + searched, '\n', known - searched);
        if (found != nullptr) {
            char *const lineBreak = static_cast<char *>(found);
            *lineBreak = '\0';
            line = {{start, static_cast<size_t>(lineBreak - start)}, true};
            if (line.text.size() > longest_) {
                RefuseLine();
            }
            begin_ += line.text.size() + 1;
            ++lineNumber_;
            return true;
        }
        if (known > longest_) {
            RefuseLine();
        }
        searched = known;
        if (!Fill()) {
            break;
        }
    }
    if (begin_ == end_) {
        return false;
    }
    buffer_[end_] = '\0';
    line = {{buffer_.data() + begin_, end_ - begin_}, false};
    begin_ = end_;
    ++lineNumber_;
    return true;
}

void Output::Write(std::string_view text) {
    buffer_ += text;
    if (buffer_.size() >= kWriteSize) {
        Flush();
    }
}

void Output::Flush() {
    size_t done = 0;
    while (done < buffer_.size()) {
        const ssize_t put = write(fd_, buffer_.data() + done, buffer_.size() - done);
        if (put >= 0) {
            done += static_cast<size_t>(put);
        } else if (errno != EINTR) {
            const int error = errno;
            buffer_.clear();
            if (error == EPIPE) {
                throw BrokenPipe();
            }
            errno = error;
            throw RunError(fmt::format("cannot write the output: {}", LastError()));
        }
    }
    buffer_.clear();
}

void SayOutputFailed(int error) {
    if (error != EPIPE) {
        Say(stderr, "dxrsh: cannot write the output: {}\n", std::generic_category().message(error));
    }
}

OutputFile::OutputFile(const std::string &path)
    : fd_(open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666)), output_(fd_) {
    if (fd_ < 0) {
        throw RunError(fmt::format("cannot write {}: {}", path, LastError()));
    }
}

OutputFile::~OutputFile() {
    close(fd_);
}

void WriteOut(std::string_view text) {
    Output output(STDOUT_FILENO);
    output.Write(text);
    output.Flush();
}

}  // namespace dxrsh
