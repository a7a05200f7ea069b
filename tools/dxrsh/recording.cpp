#include "recording.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>
#include <vector>

#include "dxr_trace.h"
#include "errors.h"
#include "file_io.h"

namespace dxrsh {

Recording::Recording(const std::string &name) : name_(InputName(name)), path_(name) {
    if (name == "-") {
        TakeStandardInput();
    }
}

void Recording::TakeStandardInput() {
    constexpr size_t kPiece = size_t{1} << 16U;
    kept_ = Descriptor(memfd_create("recording", MFD_CLOEXEC));
    if (!kept_) {
        throw RunError("no memory for the recording: " + std::generic_category().message(errno));
    }
    path_ = "/proc/self/fd/" + std::to_string(kept_.Get());
    Input input("-");
    Output output(kept_.Get());
    std::vector<char> piece(kPiece);
    size_t all = 0;
    for (size_t got = 0; (got = input.Read(piece.data(), piece.size())) != 0;) {
        output.Write({piece.data(), got});
        const bool isHead = all < kPiece;
        all += got;
        if (isHead && all >= kPiece) {
            // What is no recording may be endless.
            output.Flush();
            const auto ignore = [](const DxrTraceCall *, void *) {};
            if (DxrTraceRead(path_.c_str(), ignore, nullptr, nullptr, 0) == EINVAL) {
                return;
            }
        }
    }
    output.Flush();
    if (all == 0) {
        throw UsageError(name_ + ": is empty, and no recording");
    }
}

}  // namespace dxrsh
