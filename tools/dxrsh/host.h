// The development host, as the commands use it.
#ifndef DXRSH_HOST_H
#define DXRSH_HOST_H

#include <string>

#include "dxr_devhost.h"

namespace dxrsh {

// A host for the time of a command, registered: a stopped clock, no diagnostic lines, and the
// library's messages of failures on standard error.
class Host {
  public:
    Host();
    ~Host();
    Host(const Host &) = delete;
    Host &operator=(const Host &) = delete;
    Host(Host &&) = delete;
    Host &operator=(Host &&) = delete;

  private:
    DxrHost *host_;
};

// Catches the library's messages instead of writing them.
class MessageCatcher {
  public:
    MessageCatcher();
    ~MessageCatcher();
    MessageCatcher(const MessageCatcher &) = delete;
    MessageCatcher &operator=(const MessageCatcher &) = delete;
    MessageCatcher(MessageCatcher &&) = delete;
    MessageCatcher &operator=(MessageCatcher &&) = delete;

    // The latest message; empty when there was none.
    [[nodiscard]] const std::string &Last() const { return last_; }
    // The number of the error that was known when the first message came.
    [[nodiscard]] int FirstError() const { return firstError_; }

  private:
    std::string last_;
    int firstError_ = 0;
};

// One line for each module identifier: what it holds now and held at most. "none" when nobody
// allocated.
[[nodiscard]] std::string MemoryReport();

}  // namespace dxrsh

#endif  // DXRSH_HOST_H
