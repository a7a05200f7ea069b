#include "line_key.h"

#include <fmt/format.h>

#include "dxr_api.h"
#include "errors.h"
#include "expression.h"
#include "numbers.h"

namespace dxrsh {

LineKey::LineKey(const std::string &expression) : regex_(CompileExpression("--key", expression)) {
    if (regex_.re_nsub > kKeyCount) {
        regfree(&regex_);
        throw UsageError(fmt::format("--key: '{}' has more than {} groups", expression, kKeyCount));
    }
}

LineKey::~LineKey() {
    regfree(&regex_);
}

bool LineKey::Find(const char *text, Keys &keys) const {
    std::array<regmatch_t, kKeyCount + 1> matches{};  // the whole match, then the groups
    if (regexec(&regex_, text, matches.size(), matches.data(), 0) != 0) {
        return false;
    }
    keys = {};
    const size_t first = regex_.re_nsub == 0 ? 0 : 1;
    const size_t count = regex_.re_nsub == 0 ? 1 : regex_.re_nsub;
    for (size_t i = 0; i < count; ++i) {
        const regmatch_t &match = matches[first + i];
        if (match.rm_so >= 0) {
            keys[i] =
                KeyValue({text + match.rm_so, static_cast<size_t>(match.rm_eo - match.rm_so)});
        }
    }
    return true;
}

uint32_t KeyValue(std::string_view text) {
    if (const auto number = WholeNumber(text)) {
        return *number;
    }
    uint32_t hash = 0;
    DxrLogFilterHashInput input{};
    input.text = text.data();
    input.length = static_cast<uint32_t>(text.size());
    DXR_SimpleHash(&input, &hash);
    return hash;
}

}  // namespace dxrsh
