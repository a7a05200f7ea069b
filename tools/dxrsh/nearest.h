// What was probably meant by a word that is none of those that are known.
#ifndef DXRSH_NEAREST_H
#define DXRSH_NEAREST_H

#include <string>
#include <vector>

namespace dxrsh {

// The one that resembles it most, the first of equals; empty when none does.
[[nodiscard]] std::string Nearest(const std::string &word, const std::vector<std::string> &known);

// "did you mean 'filter'?", or what is told when nothing resembles it.
[[nodiscard]] std::string Advice(const std::string &word, const std::vector<std::string> &known,
                                 const std::string &otherwise);

}  // namespace dxrsh

#endif  // DXRSH_NEAREST_H
