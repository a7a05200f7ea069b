#include "color.h"

#include <fmt/format.h>
#include <unistd.h>

#include <cstdlib>
#include <vector>

#include "help.h"
#include "number_option.h"

namespace dxrsh {
namespace {

// NOLINTNEXTLINE(concurrency-mt-unsafe): dxrsh has one thread
std::string_view Variable(const char *name) {
    const char *const value = std::getenv(name);  // NOLINT(concurrency-mt-unsafe)
    return value != nullptr ? value : "";
}

}  // namespace

void AddColorOption(CLI::App &command, std::string &when) {
    const std::vector<std::string> words{"auto", "always", "never"};
    Offer(*command.add_option("--color", when, "auto (default), always or never")
               ->check(OneOf(words))
               ->type_name("WHEN"),
          words);
}

Colors::Colors(const std::string &when, int fd)
    : on_(when == "always" || (when == "auto" && isatty(fd) == 1 && Variable("NO_COLOR").empty() &&
                               Variable("TERM") != "dumb")) {
}

std::string Colors::Wrap(std::string_view code, std::string_view text) const {
    return on_ ? fmt::format("\x1b[{}m{}\x1b[0m", code, text) : std::string(text);
}

}  // namespace dxrsh
