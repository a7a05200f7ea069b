// How a command ends: 0 done, 1 could not be done, 2 asked for wrongly. The text is the one line
// that the user sees on standard error.
#ifndef DXRSH_ERRORS_H
#define DXRSH_ERRORS_H

#include <exception>
#include <stdexcept>

namespace dxrsh {

constexpr int kExitFailure = 1;
constexpr int kExitUsage = 2;
constexpr int kExitInterrupted = 130;

// A file is missing, a directory cannot be read, memory ran out ...
class RunError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

// A file cannot be opened or read.
class FileError : public RunError {
  public:
    using RunError::RunError;
};

// Another process that is asked something does not answer.
class NoAnswer : public RunError {
  public:
    using RunError::RunError;
};

// A line is longer than it may be.
class LineTooLong : public RunError {
  public:
    using RunError::RunError;
};

// An argument or an input file does not say what it should.
class UsageError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

// All that is to be said has been said; the command ends with this exit code.
class Ended : public std::exception {
  public:
    explicit Ended(int code) : code_(code) {}
    [[nodiscard]] int Code() const { return code_; }

  private:
    int code_;
};

// Whoever read standard output has left. No failure: the command ends without a word.
class BrokenPipe : public std::exception {};

}  // namespace dxrsh

#endif  // DXRSH_ERRORS_H
