#include "chassis_keys.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <filesystem>
#include <system_error>

#include "chassis_place.h"
#include "dxr_devhost.h"
#include "errors.h"

namespace dxrsh {
namespace {

constexpr size_t kLength = DXR_HOST_KEY_BYTES - 1;
constexpr size_t kMostRead = kLength + 2;

std::string PathOf(const std::string &directory, const std::string &board, const char *which) {
    return directory + "/" + board + which;
}

std::string ErrorText(int error) {
    return std::generic_category().message(error);
}

// What is read is a key, and perhaps the end of its line.
std::string ReadKey(const std::string &path, bool isSecret) {
    const Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (!file) {
        throw UsageError(path + ": " + ErrorText(errno));
    }
    struct stat found {};
    if (fstat(file.Get(), &found) == 0 && isSecret && (found.st_mode & (S_IRWXG | S_IRWXO)) != 0) {
        throw UsageError(path + ": others can read it (it must have mode 0600)");
    }
    std::array<char, kMostRead> text{};
    const ssize_t bytes = read(file.Get(), text.data(), text.size());
    const bool isKey = bytes == kLength || (bytes == kLength + 1 && text[kLength] == '\n');
    if (!isKey) {
        throw UsageError(path + ": is no key of 40 characters");
    }
    return {text.data(), kLength};
}

// Never over another file. What fails leaves none.
void WriteKey(const std::string &path, const std::string &key, mode_t mode) {
    const Descriptor file(open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode));
    if (!file) {
        throw RunError(path + ": " + ErrorText(errno));
    }
    const std::string line = key + "\n";
    errno = ENOSPC;  // of a write that is cut short
    if (write(file.Get(), line.data(), line.size()) != static_cast<ssize_t>(line.size()) ||
        fsync(file.Get()) != 0) {
        const int error = errno;
        (void)unlink(path.c_str());
        throw RunError(path + ": " + ErrorText(error));
    }
}

}  // namespace

std::string ReadPublicKey(const std::string &directory, const std::string &board) {
    return ReadKey(PathOf(directory, board, ".public"), false);
}

std::string ReadSecretKey(const std::string &directory, const std::string &board) {
    const std::string path = PathOf(directory, board, ".secret");
    std::string secret = ReadKey(path, true);
    std::array<char, DXR_HOST_KEY_BYTES> fitting{};
    const uint32_t error = DxrHostGetPublicKey(secret.c_str(), fitting.data());
    if (error != 0) {
        throw UsageError(path + ": is no key: " + ErrorText(static_cast<int>(error)));
    }
    if (ReadPublicKey(directory, board) != fitting.data()) {
        throw UsageError(PathOf(directory, board, ".public") + ": does not fit " + board +
                         ".secret, so nobody would reach board " + board);
    }
    return secret;
}

void MakeKeyDirectory(const std::string &directory) {
    // Each end of a part, the last one's too.
    for (size_t end = 0; end != std::string::npos;) {
        end = directory.find('/', end + 1);
        const std::string upper = directory.substr(0, end);
        if (mkdir(upper.c_str(), S_IRWXU) != 0 && errno != EEXIST) {
            const int error = errno;
            std::error_code none;
            if (!std::filesystem::is_directory(upper, none)) {
                throw RunError(upper + ": " + ErrorText(error));
            }
        }
    }
}

bool MakeKeys(const std::string &directory, const std::string &board) {
    const std::string secretPath = PathOf(directory, board, ".secret");
    const std::string publicPath = PathOf(directory, board, ".public");
    const bool hasSecret = access(secretPath.c_str(), F_OK) == 0;
    if (access(publicPath.c_str(), F_OK) == 0) {
        return false;  // the secret one may be on the board's own machine
    }
    if (hasSecret) {
        throw RunError(publicPath + ": is missing, and " + board +
                       ".secret is there: remove that to get new ones");
    }
    std::array<char, DXR_HOST_KEY_BYTES> publicKey{};
    std::array<char, DXR_HOST_KEY_BYTES> secretKey{};
    const uint32_t error = DxrHostMakeKeys(publicKey.data(), secretKey.data());
    if (error != 0) {
        throw RunError("no keys can be made: " + ErrorText(static_cast<int>(error)));
    }
    WriteKey(secretPath, secretKey.data(), S_IRUSR | S_IWUSR);
    try {
        WriteKey(publicPath, publicKey.data(), S_IRUSR | S_IWUSR | S_IRGRP | S_IROTH);
    } catch (const RunError &) {
        (void)unlink(secretPath.c_str());
        throw;
    }
    return true;
}

}  // namespace dxrsh
