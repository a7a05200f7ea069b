// The regular expressions of options.
#ifndef DXRSH_EXPRESSION_H
#define DXRSH_EXPRESSION_H

#include <regex.h>

#include <string>

namespace dxrsh {

// An extended one, as of grep -E; the caller frees it. Throws UsageError for what is none, and for
// \d and its kin, which other programs know: here they would stand for the letter alone.
[[nodiscard]] regex_t CompileExpression(const std::string &option, const std::string &expression);

}  // namespace dxrsh

#endif  // DXRSH_EXPRESSION_H
