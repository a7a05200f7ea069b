#ifndef DXR_BENCH_PEER_TABLE_H
#define DXR_BENCH_PEER_TABLE_H

#include <cstdint>

struct PeerTable {
    std::uint32_t (*readReg)(std::uint32_t, std::uint32_t, std::uint32_t, void *);
};

extern PeerTable g_peerTable;

std::uint32_t PeerForward(std::uint32_t a, std::uint32_t b, std::uint32_t c, void *out);
std::uint32_t PeerZero(std::uint32_t a, std::uint32_t b, std::uint32_t c, void *out);

#endif  // DXR_BENCH_PEER_TABLE_H
