// A process that writes is killed at any moment, again and again; each time, what was there before
// or what it was writing must be there, whole.
#ifndef DXR_TESTS_DEVHOST_KILLED_H
#define DXR_TESTS_DEVHOST_KILLED_H

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <random>

#include "dxr_devhost/host.h"

namespace dxrtest {

// DXR_TEST_KILLS sets how many times; 10 without it.
inline int Kills() {
    const char *const wanted = std::getenv("DXR_TEST_KILLS");
    return wanted != nullptr ? std::atoi(wanted) : 10;
}

// The number that was saved last, which the writer tells its parent.
class SavedNumber {
  public:
    SavedNumber()
        : number_(static_cast<volatile uint32_t *>(mmap(nullptr, sizeof(uint32_t),
                                                        PROT_READ | PROT_WRITE,
                                                        MAP_SHARED | MAP_ANONYMOUS, -1, 0))) {}
    ~SavedNumber() { (void)munmap(const_cast<uint32_t *>(number_), sizeof(uint32_t)); }
    SavedNumber(const SavedNumber &) = delete;
    SavedNumber &operator=(const SavedNumber &) = delete;
    SavedNumber(SavedNumber &&) = delete;
    SavedNumber &operator=(SavedNumber &&) = delete;

    [[nodiscard]] bool IsThere() const { return number_ != MAP_FAILED; }
    [[nodiscard]] uint32_t Get() const { return *number_; }
    void Set(uint32_t number) { *number_ = number; }

  private:
    volatile uint32_t *const number_;
};

// `write`, given a number, writes it in as many places as it likes and makes it last; it gives
// false on failure. `begin` makes a `write` in each child process. `read` gives the number that is
// there, after it has seen that it is in all places.
template <typename Begin, typename Read>
void KillAtAnyMoment(Begin begin, Read read) {
    SavedNumber saved;
    ASSERT_TRUE(saved.IsThere());
    std::mt19937 random(7);
    const int kills = Kills();
    for (int kill = 0; kill < kills; ++kill) {
        std::array<int, 2> ends{};
        ASSERT_EQ(pipe(ends.data()), 0);
        const pid_t child = fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            auto write = begin();
            (void)close(ends[0]);
            for (uint32_t number = saved.Get() + 1; write(number); ++number) {
                saved.Set(number);
                if (ends[1] >= 0) {
                    (void)close(ends[1]);  // tells the parent
                    ends[1] = -1;
                }
            }
            _exit(1);
        }
        (void)close(ends[1]);
        const uint32_t before = saved.Get();
        char nothing = 0;
        EXPECT_EQ(::read(ends[0], &nothing, 1), 0);
        (void)close(ends[0]);
        (void)usleep(static_cast<useconds_t>(random() % 3000));
        ASSERT_EQ(::kill(child, SIGKILL), 0);
        int status = 0;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        ASSERT_TRUE(WIFSIGNALED(status)) << "the writer has failed after " << before;

        const uint32_t number = read();
        ASSERT_FALSE(testing::Test::HasFailure()) << "kill " << kill;
        ASSERT_GE(number, saved.Get()) << "what was saved is there";
        ASSERT_LE(number, saved.Get() + 1);
        saved.Set(number);
    }
}

// A host of the caller's own with that work path, registered.
inline DxrHost *HostAt(const char *workPath) {
    DxrHostOptions options;
    DxrHostInitOptions(&options);
    options.workPath = workPath;
    DxrHost *const host = DxrHostCreate(&options);
    EXPECT_NE(host, nullptr);
    EXPECT_EQ(DxrHostRegister(host), 0U);
    return host;
}

}  // namespace dxrtest

#endif  // DXR_TESTS_DEVHOST_KILLED_H
