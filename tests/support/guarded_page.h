// Memory that begins and ends where no further byte can be touched.
#ifndef DXR_TESTS_SUPPORT_GUARDED_PAGE_H
#define DXR_TESTS_SUPPORT_GUARDED_PAGE_H

#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <new>

namespace dxrtest {

class GuardedPage {
  public:
    GuardedPage()
        : page_(static_cast<size_t>(sysconf(_SC_PAGESIZE))),
          base_(mmap(nullptr, 3 * page_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1,
                     0)) {
        if (base_ == MAP_FAILED || mprotect(base_, page_, PROT_NONE) != 0 ||
            mprotect(End(), page_, PROT_NONE) != 0) {
            throw std::bad_alloc();
        }
    }
    ~GuardedPage() { munmap(base_, 3 * page_); }
    GuardedPage(const GuardedPage &) = delete;
    GuardedPage &operator=(const GuardedPage &) = delete;

    // The address after the last byte that can be touched.
    [[nodiscard]] void *End() const { return static_cast<char *>(base_) + 2 * page_; }
    // That of the first one.
    [[nodiscard]] void *Begin() const { return static_cast<char *>(base_) + page_; }

  private:
    size_t page_;
    void *base_;
};

}  // namespace dxrtest

#endif  // DXR_TESTS_SUPPORT_GUARDED_PAGE_H
