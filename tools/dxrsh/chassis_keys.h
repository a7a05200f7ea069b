// Keys of boards: BOARD.public and BOARD.secret in a directory.
#ifndef DXRSH_CHASSIS_KEYS_H
#define DXRSH_CHASSIS_KEYS_H

#include <string>

namespace dxrsh {

// Throw UsageError when there is no key, or others can read the secret one, or it does not fit the
// public one.
[[nodiscard]] std::string ReadPublicKey(const std::string &directory, const std::string &board);
[[nodiscard]] std::string ReadSecretKey(const std::string &directory, const std::string &board);

// With the directories above it, each for the user alone unless it is there. Throws RunError.
void MakeKeyDirectory(const std::string &directory);

// False when the board has keys already, which stay. Throws RunError.
bool MakeKeys(const std::string &directory, const std::string &board);

}  // namespace dxrsh

#endif  // DXRSH_CHASSIS_KEYS_H
