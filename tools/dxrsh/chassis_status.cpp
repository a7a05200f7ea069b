#include "chassis_status.h"

#include <fmt/format.h>

namespace dxrsh {
namespace {

constexpr uint64_t kMsPerSec = 1000;

std::string Pid(const BoardStatus &board) {
    return board.pid != 0 ? std::to_string(board.pid) : "-";
}

std::string State(const BoardStatus &board) {
    return board.isCutOff ? board.state + ", cut" : board.state;
}

}  // namespace

std::string StatusTable(const ChassisStatus &status) {
    std::string text = fmt::format(
        "{:<16} {:<6} {:>8} {:<13} {:>6} {:>6} {:>6} {:>7} {:>10} {:>10} {:>10} {:>9} {:>8}\n",
        "board", "kind", "pid", "state", "up s", "starts", "deaths", "beat ms", "sent", "taken",
        "acked", "timed out", "lost");
    for (const BoardStatus &board : status.boards) {
        const ChassisBeat &beat = board.beat;
        text += fmt::format(
            "{:<16} {:<6} {:>8} {:<13} {:>6} {:>6} {:>6} {:>7} {:>10} {:>10} {:>10} {:>9} {:>8}\n",
            board.name, board.kind, Pid(board), State(board), board.upMs / kMsPerSec, board.starts,
            board.deaths, board.hasBeat ? std::to_string(board.beatAgoMs) : "-", beat.sent,
            beat.taken, beat.acknowledged, beat.timedOut,
            beat.lost + beat.refused + beat.unreached + beat.cutOff);
    }
    return text + fmt::format("chassis {}: {} boards, up {} s, pid {}\n", status.name,
                              status.boards.size(), status.upMs / kMsPerSec, status.pid);
}

std::string StatusJson(const ChassisStatus &status) {
    // Names hold nothing that a text of JSON must not.
    std::string text = fmt::format(R"({{"chassis":"{}","pid":{},"up_ms":{},"boards":[)",
                                   status.name, status.pid, status.upMs);
    const char *separator = "";
    for (const BoardStatus &board : status.boards) {
        const ChassisBeat &beat = board.beat;
        text += fmt::format(
            R"({}{{"board":"{}","kind":"{}","pid":{},"state":"{}","cut_off":{},"up_ms":{},)"
            R"("starts":{},"deaths":{},"beat_ms":{},"sent":{},"arrived":{},"taken":{},)"
            R"("acknowledged":{},"timed_out":{},"lost":{},"refused":{},"unreached":{},)"
            R"("lost_cut_off":{}}})",
            separator, board.name, board.kind, board.pid, board.state, board.isCutOff, board.upMs,
            board.starts, board.deaths,
            board.hasBeat ? std::to_string(board.beatAgoMs) : std::string("null"), beat.sent,
            beat.arrived, beat.taken, beat.acknowledged, beat.timedOut, beat.lost, beat.refused,
            beat.unreached, beat.cutOff);
        separator = ",";
    }
    return text + "]}\n";
}

}  // namespace dxrsh
