// Limits of 32-bit counts, met with gigabytes of address space and little memory: large ranges are
// one small piece of memory, mapped over and over, or zero pages.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/mman.h>
#include <unistd.h>

#include <csignal>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <new>

#include "dxr/print_private_log.h"
#include "dxr/utils_link_bitmap.h"
#include "dxr/utils_numeric.h"
#include "support/sanitizers.h"

namespace {

constexpr size_t kPiece = size_t{4} << 20;

// `size` bytes of zeros that can be read; those that are written take memory.
class ZeroRange {
  public:
    explicit ZeroRange(size_t size)
        : size_(size),
          base_(mmap(nullptr, size, PROT_READ | PROT_WRITE,
                     MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0)) {
        if (base_ == MAP_FAILED) {
            throw std::bad_alloc();
        }
    }
    ~ZeroRange() { munmap(base_, size_); }
    ZeroRange(const ZeroRange &) = delete;
    ZeroRange &operator=(const ZeroRange &) = delete;

    [[nodiscard]] void *Data() const { return base_; }
    [[nodiscard]] size_t Size() const { return size_; }

  private:
    size_t size_;
    void *base_;
};

// Writable bytes that all fall on the same kPiece of memory.
class RepeatedRange {
  public:
    explicit RepeatedRange(size_t pieces) : range_(pieces * kPiece) {
        const int file = memfd_create("piece", MFD_CLOEXEC);
        bool mapped = file >= 0 && ftruncate(file, kPiece) == 0;
        for (size_t i = 0; mapped && i < pieces; ++i) {
            void *at = static_cast<char *>(range_.Data()) + i * kPiece;
            mapped =
                mmap(at, kPiece, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_FIXED, file, 0) == at;
        }
        close(file);
        if (!mapped) {
            throw std::bad_alloc();
        }
    }

    [[nodiscard]] char *Data() const { return static_cast<char *>(range_.Data()); }

  private:
    ZeroRange range_;
};

TEST(Limits, AverageOverTwoToThe31DividesByANegativeCount) {
    constexpr uint32_t kCount = 0x80000000;
    const ZeroRange range(size_t{kCount} * sizeof(int32_t));
    auto *const values = static_cast<int32_t *>(range.Data());
    values[0] = std::numeric_limits<int32_t>::min();
    EXPECT_EQ(DXR_Avg(values, kCount), 1);
}

// A text of 2^31 characters: one more than the signed length can count.
TEST(Limits, ALinkTextBeyondTwoGibibytesAborts) {
    constexpr uint32_t kCharactersPerWord = 11;
    constexpr uint32_t kWords = 0x80000000 / kCharactersPerWord;
    constexpr size_t kPieces = (size_t{0x80000000} + kPiece) / kPiece;
    const ZeroRange words(size_t{kWords} * sizeof(uint32_t));
    DxrLinkBitMap map = {1, 0, static_cast<uint32_t *>(words.Data()), kWords};
    const RepeatedRange text(kPieces);
    const auto room = static_cast<uint32_t>(kPieces * kPiece);
    EXPECT_EXIT(DXR_FillLinkBitMapToBuf(&map, text.Data(), room), testing::KilledBySignal(SIGABRT),
                "");
}

#if !DXRTEST_FORMATTED_LENGTHS_ARE_CHECKED
// The formatter cannot count what the path would have.
TEST(Limits, ALogNameBeyondTwoGibibytesIsAFailure) {
    constexpr size_t kPieces = size_t{0x80000000} / kPiece + 1;
    const RepeatedRange name(kPieces);
    std::memset(name.Data(), 'n', kPiece);
    // Over the last piece, which stays without a terminator otherwise.
    char *const last = name.Data() + (kPieces - 1) * kPiece;
    ASSERT_EQ(mmap(last, kPiece, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED, -1, 0), last);
    char path[DXR_PRIVATE_LOG_PATH_SIZE] = {};
    EXPECT_EQ(DXR_GetPrivateLogPath(name.Data(), path, sizeof(path)), 1U);
    EXPECT_STREQ(path, "");
}
#endif

}  // namespace
