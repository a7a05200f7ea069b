#ifndef DXR_BENCH_PEER_TABLE_H
#define DXR_BENCH_PEER_TABLE_H

#include <cstdint>

struct PeerTable {
    uint32_t (*readReg)(uint32_t, uint32_t, uint32_t, void *);
};

extern PeerTable g_peerTable;

uint32_t PeerForward(uint32_t a, uint32_t b, uint32_t c, void *out);
uint32_t PeerZero(uint32_t a, uint32_t b, uint32_t c, void *out);

#endif  // DXR_BENCH_PEER_TABLE_H
