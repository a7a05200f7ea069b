// Text into a file of the caller's, up to the first failure.
#ifndef DXR_TRACE_FILE_WRITER_H
#define DXR_TRACE_FILE_WRITER_H

#include <cerrno>
#include <cstdio>
#include <string>

namespace dxr_trace {

class FileWriter {
  public:
    explicit FileWriter(FILE *out) : out_(out) {}

    void Put(const std::string &text) {
        if (error_ == 0 && std::fwrite(text.data(), 1, text.size(), out_) != text.size()) {
            error_ = errno != 0 ? errno : EIO;
        }
    }

    // 0, or why not all could be written.
    int Flush() {
        if (error_ == 0 && std::fflush(out_) != 0) {
            error_ = errno != 0 ? errno : EIO;
        }
        return error_;
    }

  private:
    FILE *const out_;
    int error_ = 0;
};

}  // namespace dxr_trace

#endif  // DXR_TRACE_FILE_WRITER_H
