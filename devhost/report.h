// What the host finds: misuse, leftovers, risks, ends of runs.
#ifndef DXR_DEVHOST_REPORT_H
#define DXR_DEVHOST_REPORT_H

#include <cstdint>
#include <cstdio>
#include <map>
#include <mutex>
#include <string>
#include <tuple>
#include <vector>

#include "dxr_devhost/host.h"
#include "place.h"

namespace devhost {

class Host;

class Reports {
  public:
    explicit Reports(Host &host) : host_(host) {}

    // Reports that have kind, slot, caller and `what` in common are one. `what` is a literal that
    // tells one finding from another; the text is of the first of them. Not while a lock of the
    // host is held: a sink may call it.
    void Add(uint32_t kind, const char *service, const Place &place, const char *what,
             const std::string &text);

    // At the host's end, how many were not kept.
    void TellMore();

    void SetSink(DxrHostReportSink sink, void *user);
    bool HasSinkIn(const CodeRange &code);
    uint32_t Count();
    bool Get(uint32_t index, DxrHostReport &report);
    void WriteAll(std::FILE *out);

  private:
    void Hand(const DxrHostReport &report);

    using Key = std::tuple<uint32_t, std::string, const void *, std::string>;

    Host &host_;
    std::mutex mutex_;
    std::vector<DxrHostReport> reports_;
    std::map<Key, size_t> known_;
    uint32_t more_ = 0;  // that were not kept; stops at UINT32_MAX
    DxrHostReportSink sink_ = nullptr;
    void *user_ = nullptr;
};

// The line that stands for a report in logs and listings.
std::string LineOf(const DxrHostReport &report);

}  // namespace devhost

#endif  // DXR_DEVHOST_REPORT_H
