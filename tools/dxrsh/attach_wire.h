// What a host and those attached to it say to each other, in lines that end with a line feed.
//
// The host begins with a greeting. Then it is sent lines of the shell, one after the other, as they
// are typed; each is answered by any number of lines and a last one:
//
//     " TEXT"        the line prints this
//     "!TEXT"        what the host has to say meanwhile, for standard error
//     "ok"           it is done
//     "error TEXT"   it is not, and why
//
// In the place of an answer, and at any time, the host may say "end TEXT", and closes the
// connection: it has ended, or takes nobody more.
#ifndef DXRSH_ATTACH_WIRE_H
#define DXRSH_ATTACH_WIRE_H

#include <cstddef>
#include <string>
#include <string_view>

namespace dxrsh::wire {

// Changes when what stands above does.
constexpr std::string_view kGreeting = "dxrsh 1";

constexpr char kPrinted = ' ';
constexpr char kSaid = '!';
constexpr std::string_view kDone = "ok";
constexpr std::string_view kError = "error ";
constexpr std::string_view kEnd = "end ";

// Bytes of a line that is sent to the host, and of a whole answer.
constexpr size_t kLongestLine = 65536;
constexpr size_t kLongestAnswer = size_t{16} << 20U;

// Why lines are taken no more, in the usual case.
constexpr std::string_view kHostEnded = "the host has ended";

// Each line of the text with the mark in front.
[[nodiscard]] std::string Marked(char mark, std::string_view text);

}  // namespace dxrsh::wire

#endif  // DXRSH_ATTACH_WIRE_H
