// Peers of a dispatcher: a call through a pointer table, and a function that answers 0, in a shared
// object of their own, with nothing else around them.

#include "peer_table.h"

PeerTable g_peerTable = {};

uint32_t PeerForward(uint32_t a, uint32_t b, uint32_t c, void *out) {
    return g_peerTable.readReg(a, b, c, out);
}

uint32_t PeerZero(uint32_t, uint32_t, uint32_t, void *) {
    return 0;
}
