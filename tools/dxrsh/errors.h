// How a command ends: 0 done, 1 could not be done, 2 asked for wrongly. The text is the one line
// that the user sees on standard error.
#ifndef DXRSH_ERRORS_H
#define DXRSH_ERRORS_H

#include <exception>
#include <stdexcept>

namespace dxrsh {

constexpr int kExitFailure = 1;
constexpr int kExitUsage = 2;

// A file is missing, a directory cannot be read, memory ran out ...
class RunError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

// An argument or an input file does not say what it should.
class UsageError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

// Whoever read standard output has left. No failure: the command ends without a word.
class BrokenPipe : public std::exception {};

}  // namespace dxrsh

#endif  // DXRSH_ERRORS_H
