// Makes the library's formatter fail, which no conversion of the library's own texts does by
// itself. A program that compiles failing_formatter.cpp in place of internal/bounds_checked.cpp,
// together with the sources it tests, has those format through here.
#ifndef DXR_TESTS_SUPPORT_FAILING_FORMATTER_H
#define DXR_TESTS_SUPPORT_FAILING_FORMATTER_H

#include <cstdint>
#include <set>

namespace dxrtest {

// While one is alive, the formatter fails at these calls, the first one being call 1.
class FailingFormatter {
  public:
    explicit FailingFormatter(std::set<uint32_t> calls);
    ~FailingFormatter();
    FailingFormatter(const FailingFormatter &) = delete;
    FailingFormatter &operator=(const FailingFormatter &) = delete;
};

}  // namespace dxrtest

#endif  // DXR_TESTS_SUPPORT_FAILING_FORMATTER_H
