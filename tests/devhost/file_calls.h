// The calls of the C library with which the host works on files, each of which can be made to fail.
// Linked into a program, file_calls.cpp stands in their place.
#ifndef DXR_TESTS_DEVHOST_FILE_CALLS_H
#define DXR_TESTS_DEVHOST_FILE_CALLS_H

#include <cstddef>
#include <cstdint>

namespace dxrtest {

// Not for several threads at once.
class FileCalls {
  public:
    enum class How : uint8_t {
        kOnce,
        kFromThenOn,
        // Those that move bytes are interrupted, or move one byte, once or from then on; others do
        // as always: nothing may fail then.
        kPartOnce,
        kPartFromThenOn,
    };
    static constexpr How kAll[] = {How::kOnce, How::kFromThenOn, How::kPartOnce,
                                   How::kPartFromThenOn};
    static bool IsPart(How how) { return how >= How::kPartOnce; }

    // The n-th call from now on fails, 1 is the next one.
    static void Begin(uint64_t n, How how);
    // None fails any more. Tells whether the n-th came up.
    static bool End();
    // Whether one of them opened a file that programs which the process begins would have too.
    static bool HasLeaked();
};

// How many descriptors the process has.
size_t Descriptors();

}  // namespace dxrtest

#endif  // DXR_TESTS_DEVHOST_FILE_CALLS_H
