#include "path_below.h"

namespace devhost {

namespace fs = std::filesystem;

namespace {

constexpr int kMostLinks = 40;  // as many as the machine follows

// The first part of a path that is a link; empty when there is none.
fs::path FirstLink(const fs::path &path, std::error_code &error) {
    fs::path at;
    for (const fs::path &part : path) {
        at /= part;
        const fs::file_type type = fs::symlink_status(at, error).type();
        if (type == fs::file_type::symlink) {
            return at;
        }
        if (type == fs::file_type::not_found) {
            error.clear();
            break;
        }
        if (error) {
            break;
        }
    }
    return {};
}

}  // namespace

fs::path Resolve(const fs::path &path, std::error_code &error) {
    // What is not there has no root otherwise.
    fs::path at = fs::absolute(path, error);
    for (int links = 0; !error && links < kMostLinks; ++links) {
        const fs::path resolved = fs::weakly_canonical(at, error);
        const fs::path link = error ? fs::path() : FirstLink(resolved, error);
        if (error || link.empty()) {
            return error ? fs::path() : resolved;
        }
        // It leads to what is not there, else it would be resolved: who writes there makes it.
        const fs::path target = fs::read_symlink(link, error);
        at = link.parent_path() / target;
        if (resolved != link) {
            at /= resolved.lexically_relative(link);
        }
    }
    if (!error) {
        error = std::make_error_code(std::errc::too_many_symbolic_link_levels);
    }
    return {};
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
