#include "path_below.h"

namespace devhost {

namespace fs = std::filesystem;

fs::path Resolve(const fs::path &path, std::error_code &error) {
    // What is not there has no root otherwise.
    const fs::path absolute = fs::absolute(path, error);
    return error ? fs::path() : fs::weakly_canonical(absolute, error);
}

bool IsBelow(const fs::path &resolved, const fs::path &directory, std::error_code &error) {
    const fs::path above = Resolve(directory, error);
    auto part = resolved.begin();
    for (const fs::path &wanted : above) {
        // A slash at its end would be a part of its own.
        if (!wanted.empty() && (part == resolved.end() || *part++ != wanted)) {
            return false;
        }
    }
    return !error;
}

std::string WhyUnknown(const Call &call, const std::string &path, const std::error_code &error) {
    return std::string(call.At().slot) + ": " + path + " cannot be looked up: " + error.message();
}

}  // namespace devhost
