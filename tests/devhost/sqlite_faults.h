// Failures within SQLite itself: its memory and its files. Linked into a program, sqlite_faults.cpp
// puts itself between SQLite and both before the first test.
#ifndef DXR_TESTS_DEVHOST_SQLITE_FAULTS_H
#define DXR_TESTS_DEVHOST_SQLITE_FAULTS_H

#include <cstdint>

namespace dxrtest {

// No threads beside it.
class SqliteFaults {
  public:
    enum class Of : uint8_t { kMemory, kFiles };

    // The n-th step from now on fails, 1 is the next one, and all after it if wanted.
    static void FailNth(Of what, uint64_t n, bool fromThenOn = false);
    // None fails any more. Tells whether one did.
    static bool Stop(Of what);
};

}  // namespace dxrtest

#endif  // DXR_TESTS_DEVHOST_SQLITE_FAULTS_H
