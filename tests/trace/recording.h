// A recording in a temporary directory, and what it says.
#ifndef DXR_TESTS_TRACE_RECORDING_H
#define DXR_TESTS_TRACE_RECORDING_H

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "dxr_trace.h"
#include "support/test_host.h"

namespace dxrtest {

class Recording {
  public:
    Recording() {
        std::string pattern =
            (std::filesystem::temp_directory_path() / "dxr_trace_XXXXXX").string();
        EXPECT_NE(nullptr, mkdtemp(pattern.data()));
        directory_ = pattern;
        path_ = pattern + "/recording";
    }
    ~Recording() {
        DxrTraceStop();
        std::filesystem::remove_all(directory_);
    }
    Recording(const Recording &) = delete;
    Recording &operator=(const Recording &) = delete;
    Recording(Recording &&) = delete;
    Recording &operator=(Recording &&) = delete;

    // To be changed before Start.
    [[nodiscard]] DxrTraceOptions Options() const {
        DxrTraceOptions options;
        DxrTraceInitOptions(&options);
        options.mode = DXR_TRACE_CALLS;
        options.whenFull = DXR_TRACE_WAIT;
        options.file = path_.c_str();
        return options;
    }

    void Start() const {
        const DxrTraceOptions options = Options();
        ASSERT_EQ(0U, DxrTraceStart(&options));
    }

    [[nodiscard]] const std::string &Path() const { return path_; }

    [[nodiscard]] std::string Bytes() const {
        std::ifstream file(path_, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    void Write(const std::string &bytes) const { std::ofstream(path_, std::ios::binary) << bytes; }

    // As DxrTraceExport writes it.
    [[nodiscard]] std::string Text(uint32_t format, uint32_t expected = 0) {
        std::array<char, 256> error{};
        const std::string out = directory_ + "/text";
        FILE *const file = std::fopen(out.c_str(), "w");
        EXPECT_EQ(expected,
                  DxrTraceExport(path_.c_str(), format, file, error.data(), error.size()));
        (void)std::fclose(file);
        problem = error.data();
        std::ifstream text(out, std::ios::binary);
        return {std::istreambuf_iterator<char>(text), {}};
    }

    std::string problem;  // what the latest export said

  private:
    std::string directory_;
    std::string path_;
};

}  // namespace dxrtest

#endif  // DXR_TESTS_TRACE_RECORDING_H
