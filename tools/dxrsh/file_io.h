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

// A file opened for reading, or standard input when the path is "-".
class Input {
  public:
    // Throws RunError when the file cannot be read.
    explicit Input(const std::string &path);
    ~Input();
    Input(const Input &) = delete;
    Input &operator=(const Input &) = delete;
    Input(Input &&) = delete;
    Input &operator=(Input &&) = delete;

    // Reads at most `room` bytes; 0 at the end. Throws RunError.
    [[nodiscard]] size_t Read(char *buffer, size_t room);

    [[nodiscard]] const std::string &Name() const { return name_; }
    // Bytes of a regular file; 0 when that is not known.
    [[nodiscard]] uint64_t Size() const { return size_; }

  private:
    std::string name_;
    int fd_;
    uint64_t size_ = 0;
};

// The whole input. Throws RunError, also when it is longer than `limit`.
[[nodiscard]] std::string ReadWhole(Input &input, size_t limit);

struct Line {
    std::string_view text;  // without its line break; the byte after it is NUL
    bool complete;          // false: the input ended without a line break
};

// Cuts an input into lines. A line may hold any bytes and may be of any length.
class LineReader {
  public:
    explicit LineReader(Input &input);

    // Called before each read, which may block.
    void OnRead(std::function<void()> callback) { onRead_ = std::move(callback); }

    // False at the end. The line stays valid until the next call. Throws RunError.
    [[nodiscard]] bool Next(Line &line);

    // Lines already in memory, without reading: what is known of the log's next lines.
    [[nodiscard]] std::string_view Ahead() const;

    // Reads the first block if nothing has been read yet.
    void Prime();

    [[nodiscard]] uint64_t BytesRead() const { return bytesRead_; }

  private:
    bool Fill();

    Input &input_;
    std::function<void()> onRead_;
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

// Writes a text to standard output. Throws as Output does.
void WriteOut(std::string_view text);

}  // namespace dxrsh

#endif  // DXRSH_FILE_IO_H
