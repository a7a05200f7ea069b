#include "complaint.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <system_error>

#include "errors.h"
#include "numbers.h"

namespace dxrsh {
namespace {

constexpr const char *kVariable = "DXRSH_COMPLAINT_FD";

int g_starter = -1;

}  // namespace

ComplaintPipe::ComplaintPipe() {
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC | O_NONBLOCK) != 0) {
        throw RunError("no pipe for a command: " + std::generic_category().message(errno));
    }
    own_ = Descriptor(ends[0]);
    theirs_ = Descriptor(ends[1]);
}

std::string ComplaintPipe::Variable() const {
    return std::string(kVariable) + "=" + std::to_string(theirs_.Get());
}

std::string ComplaintPipe::Take() {
    std::string complaint;
    std::array<char, 4096> part{};
    for (ssize_t got = 0; (got = read(own_.Get(), part.data(), part.size())) > 0;) {
        complaint.append(part.data(), static_cast<size_t>(got));
    }
    return complaint;
}

void FindStarter() {
    const char *const told = std::getenv(kVariable);  // NOLINT(concurrency-mt-unsafe): the only one
    const auto fd = told != nullptr ? WholeNumber(told) : std::nullopt;
    (void)unsetenv(kVariable);  // NOLINT(concurrency-mt-unsafe): the only one
    struct stat found {};
    const bool isPipe = fd && *fd > STDERR_FILENO && fstat(static_cast<int>(*fd), &found) == 0 &&
                        S_ISFIFO(found.st_mode);
    if (isPipe) {
        g_starter = static_cast<int>(*fd);
        (void)fcntl(g_starter, F_SETFD, FD_CLOEXEC);
    }
}

bool HandOver(std::string_view complaint) {
    return g_starter >= 0 && write(g_starter, complaint.data(), complaint.size()) ==
                                 static_cast<ssize_t>(complaint.size());
}

}  // namespace dxrsh
