// Input and output in large pieces, straight on file descriptors.
#ifndef DXRSH_FILE_IO_H
#define DXRSH_FILE_IO_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace dxrsh {

// How an input is called in messages: its path, or "standard input" for "-".
[[nodiscard]] std::string InputName(const std::string &path);

// What bytes come from.
class ByteSource {
  public:
    ByteSource() = default;
    virtual ~ByteSource() = default;
    ByteSource(const ByteSource &) = delete;
    ByteSource &operator=(const ByteSource &) = delete;
    ByteSource(ByteSource &&) = delete;
    ByteSource &operator=(ByteSource &&) = delete;

    // Reads at most `room` bytes; 0 at the end. Throws RunError.
    [[nodiscard]] virtual size_t Read(char *buffer, size_t room) = 0;
    // For messages.
    [[nodiscard]] virtual const std::string &Name() const = 0;
};

// A file opened for reading, or standard input when the path is "-".
class Input : public ByteSource {
  public:
    // Throws RunError when the file cannot be read.
    explicit Input(const std::string &path);
    ~Input() override;
    Input(const Input &) = delete;
    Input &operator=(const Input &) = delete;
    Input(Input &&) = delete;
    Input &operator=(Input &&) = delete;

    [[nodiscard]] size_t Read(char *buffer, size_t room) override;
    [[nodiscard]] const std::string &Name() const override { return name_; }
    [[nodiscard]] int Fd() const { return fd_; }
    // Bytes of a regular file; 0 when that is not known.
    [[nodiscard]] uint64_t Size() const { return size_; }

  private:
    std::string name_;
    int fd_;
    uint64_t size_ = 0;
};

// The whole input. Throws RunError, also when it is longer than `limit`.
[[nodiscard]] std::string ReadWhole(ByteSource &input, size_t limit);

struct Line {
    std::string_view text;  // without its line break; the byte after it is NUL
    bool complete;          // false: the input ended without a line break
};

constexpr uint64_t kLongestLine = uint64_t{64} << 20U;

// Cuts an input into lines, which may hold any bytes.
class LineReader {
  public:
    // A line of more than `longest` bytes is a LineTooLong.
    explicit LineReader(ByteSource &input, uint64_t longest = kLongestLine);

    // Called before each read, which may block.
    void OnRead(std::function<void()> callback) { onRead_ = std::move(callback); }
    // Called after each read.
    void AfterRead(std::function<void()> callback) { afterRead_ = std::move(callback); }

    // False at the end. The line stays valid until the next call. Throws RunError.
    [[nodiscard]] bool Next(Line &line);

    // Lines already in memory, without reading: what is known of the log's next lines.
    [[nodiscard]] std::string_view Ahead() const;

    // Reads the first block if nothing has been read yet.
    void Prime();

    [[nodiscard]] uint64_t BytesRead() const { return bytesRead_; }
    // Of the line that was given out last, from 1 on.
    [[nodiscard]] uint64_t LineNumber() const { return lineNumber_; }

  private:
    bool Fill();
    [[noreturn]] void RefuseLine() const;

    ByteSource &input_;
    uint64_t longest_;
    uint64_t lineNumber_ = 0;
    std::function<void()> onRead_;
    std::function<void()> afterRead_;
    std::vector<char> buffer_;
    size_t begin_ = 0;  // first byte not yet given out
    size_t end_ = 0;    // after the last byte read; buffer_ has room for a NUL there
    uint64_t bytesRead_ = 0;
    bool atEnd_ = false;
};

// Collects what goes to a file descriptor.
class Output {
  public:
    explicit Output(int fd) : fd_(fd) {}

    // Throws BrokenPipe when the reader has left, RunError on any other failure.
    void Write(std::string_view text);
    void Flush();

  private:
    int fd_;
    std::string buffer_;
};

// Says that standard output could not be written, unless its reader has left.
void SayOutputFailed(int error);

// The same into a file, which is made or emptied.
class OutputFile {
  public:
    // Throws RunError when it cannot be written.
    explicit OutputFile(const std::string &path);
    ~OutputFile();
    OutputFile(const OutputFile &) = delete;
    OutputFile &operator=(const OutputFile &) = delete;
    OutputFile(OutputFile &&) = delete;
    OutputFile &operator=(OutputFile &&) = delete;

    void Write(std::string_view text) { output_.Write(text); }
    void Flush() { output_.Flush(); }

  private:
    int fd_;
    Output output_;
};

// Writes a text to standard output. Throws as Output does.
void WriteOut(std::string_view text);

}  // namespace dxrsh

#endif  // DXRSH_FILE_IO_H
