// Colours for terminals.
#ifndef DXRSH_COLOR_H
#define DXRSH_COLOR_H

#include <CLI/CLI.hpp>

#include <string>
#include <string_view>

namespace dxrsh {

// Adds --color=auto|always|never.
void AddColorOption(CLI::App &command, std::string &when);

class Colors {
  public:
    // "auto" is for a terminal at `fd`, unless NO_COLOR is set or TERM is dumb.
    Colors(const std::string &when, int fd);

    [[nodiscard]] std::string Strong(std::string_view text) const { return Wrap("1", text); }
    [[nodiscard]] std::string Good(std::string_view text) const { return Wrap("32", text); }
    [[nodiscard]] std::string Bad(std::string_view text) const { return Wrap("31", text); }
    [[nodiscard]] std::string Faint(std::string_view text) const { return Wrap("2", text); }

  private:
    [[nodiscard]] std::string Wrap(std::string_view code, std::string_view text) const;

    bool on_;
};

}  // namespace dxrsh

#endif  // DXRSH_COLOR_H
