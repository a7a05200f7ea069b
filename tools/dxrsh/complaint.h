// What is wrong when a command of dxrsh ends, handed to the shell that has started it: that tells
// it with the place of its line.
#ifndef DXRSH_COMPLAINT_H
#define DXRSH_COMPLAINT_H

#include <string>
#include <string_view>

#include "local_socket.h"

namespace dxrsh {

// Of the shell.
class ComplaintPipe {
  public:
    // Throws RunError.
    ComplaintPipe();

    // A program that inherits this descriptor and has this in its environment hands it over.
    [[nodiscard]] int Fd() const { return theirs_.Get(); }
    [[nodiscard]] std::string Variable() const;

    // What it has handed over, once it has ended; empty when that is nothing.
    [[nodiscard]] std::string Take();

  private:
    Descriptor own_;
    Descriptor theirs_;
};

// Of the program, before it starts others, which are to know nothing of it.
void FindStarter();
// False when nobody has asked for it.
[[nodiscard]] bool HandOver(std::string_view complaint);

}  // namespace dxrsh

#endif  // DXRSH_COMPLAINT_H
