#include "stamped_log.h"

namespace dxrsh {

StampedLog::StampedLog(const std::string &path, std::optional<int> year)
    : input_(path), reader_(input_), clock_(year) {
}

bool StampedLog::Next(StampedLine &line) {
    if (!started_) {
        started_ = true;
        reader_.Prime();
        clock_.Start(reader_.Ahead());
    }
    if (!reader_.Next(line.whole)) {
        return false;
    }
    line.text = clock_.Take(line.whole.text);
    return true;
}

}  // namespace dxrsh
