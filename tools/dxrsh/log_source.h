// Where the bytes of a log come from: a file or standard input, as it is or compressed, once or
// for as long as it grows.
#ifndef DXRSH_LOG_SOURCE_H
#define DXRSH_LOG_SOURCE_H

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <utility>

#include "file_io.h"
#include "stop_signals.h"

namespace dxrsh {

// Bytes as they are, unless they begin as those of gzip or zstd do: then what these hold, all parts
// of it. Throws RunError, also for data that are damaged or end too early, and for those that begin
// as other compressed files or a journal do.
class Unpacked : public ByteSource {
  public:
    // `source` must outlive it.
    explicit Unpacked(ByteSource &source);
    ~Unpacked() override;
    Unpacked(const Unpacked &) = delete;
    Unpacked &operator=(const Unpacked &) = delete;
    Unpacked(Unpacked &&) = delete;
    Unpacked &operator=(Unpacked &&) = delete;

    [[nodiscard]] size_t Read(char *buffer, size_t room) override;
    [[nodiscard]] const std::string &Name() const override { return source_.Name(); }

  private:
    class Format;
    class Gzip;
    class Zstd;

    [[nodiscard]] size_t ReadFirst(char *buffer, size_t room);
    [[nodiscard]] static std::unique_ptr<Format> FormatOf(const std::string &head,
                                                          const std::string &name);

    ByteSource &source_;
    bool started_ = false;
    std::unique_ptr<Format> format_;
    std::string packed_;   // read, and not yet unpacked
    size_t packedAt_ = 0;  // of which the rest is left
};

// Bytes without the mark of UTF-8 (EF BB BF) at their beginning, which is no part of the first
// line.
class WithoutMark : public ByteSource {
  public:
    // `source` must outlive it.
    explicit WithoutMark(ByteSource &source) : source_(source) {}

    [[nodiscard]] size_t Read(char *buffer, size_t room) override;
    [[nodiscard]] const std::string &Name() const override { return source_.Name(); }

  private:
    ByteSource &source_;
    bool started_ = false;
};

// Counts what is read, and ends when the user interrupts it.
class StoppableInput : public ByteSource {
  public:
    StoppableInput(const std::string &path, StopSignals *stop) : input_(path), stop_(stop) {}

    [[nodiscard]] size_t Read(char *buffer, size_t room) override;
    [[nodiscard]] const std::string &Name() const override { return input_.Name(); }
    [[nodiscard]] uint64_t BytesRead() const { return bytesRead_; }
    // No file, but a pipe, a terminal, a socket: what is read is being written now.
    [[nodiscard]] bool IsLive() const;

  private:
    Input input_;
    StopSignals *stop_;
    uint64_t bytesRead_ = 0;
};

// A file, read on as it grows until the user interrupts it. When another file takes its name, the
// old one is read to its end and then the new one from its beginning; a file that is cut is read
// from its beginning again. A mark of UTF-8 at a beginning is passed over. A file that is not there
// is waited for.
class FollowedFile : public ByteSource {
  public:
    FollowedFile(std::string path, StopSignals &stop);
    ~FollowedFile() override;
    FollowedFile(const FollowedFile &) = delete;
    FollowedFile &operator=(const FollowedFile &) = delete;
    FollowedFile(FollowedFile &&) = delete;
    FollowedFile &operator=(FollowedFile &&) = delete;

    [[nodiscard]] size_t Read(char *buffer, size_t room) override;
    [[nodiscard]] const std::string &Name() const override { return path_; }
    [[nodiscard]] uint64_t BytesRead() const { return bytesRead_; }
    // Called once when it begins to wait for a file that is not there.
    void OnMissing(std::function<void()> callback) { onMissing_ = std::move(callback); }

  private:
    [[nodiscard]] bool Open();
    void LookForMissing();
    [[nodiscard]] size_t ReadOpen(char *buffer, size_t room);
    [[nodiscard]] bool PassMark();
    [[nodiscard]] bool IsReplaced() const;
    [[nodiscard]] bool IsCut() const;

    std::string path_;
    StopSignals &stop_;
    std::function<void()> onMissing_;
    int fd_ = -1;  // none: it has not been there yet
    uint64_t position_ = 0;
    uint64_t bytesRead_ = 0;
    unsigned missing_ = 0;  // looks in a row that did not find it
    bool inLine_ = false;   // the last byte was no line break
};

}  // namespace dxrsh

#endif  // DXRSH_LOG_SOURCE_H
