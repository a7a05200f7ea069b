// Whether files are where modules may have them.
#ifndef DXR_DEVHOST_PATH_BELOW_H
#define DXR_DEVHOST_PATH_BELOW_H

#include <filesystem>
#include <string>
#include <system_error>

#include "host.h"

namespace devhost {

// The path of a file, which need not be there: from the root, without links, also such as lead
// nowhere, and without dots. Empty with an error.
std::filesystem::path Resolve(const std::filesystem::path &path, std::error_code &error);

// Whether a resolved path is that of the directory or of something in it. False with an error.
bool IsBelow(const std::filesystem::path &resolved, const std::filesystem::path &directory,
             std::error_code &error);

// "DXR_FOpen: a/b cannot be looked up: Too many levels of symbolic links"
std::string WhyUnknown(const Call &call, const std::string &path, const std::error_code &error);

}  // namespace devhost

#endif  // DXR_DEVHOST_PATH_BELOW_H
