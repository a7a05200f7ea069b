#include "attach_wire.h"

#include <algorithm>

namespace dxrsh::wire {

std::string Marked(char mark, std::string_view text) {
    std::string lines;
    while (!text.empty()) {
        const size_t end = std::min(text.find('\n'), text.size());
        lines += mark;
        lines += text.substr(0, end);
        lines += '\n';
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return lines;
}

}  // namespace dxrsh::wire
