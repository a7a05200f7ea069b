// Peers of a dispatcher: a call through a pointer table, and a function that answers 0, in a shared
// object of their own, with nothing else around them.

#include "peer_table.h"

PeerTable g_peerTable = {};

std::uint32_t PeerForward(std::uint32_t a, std::uint32_t b, std::uint32_t c, void *out) {
    return g_peerTable.readReg(a, b, c, out);
}

std::uint32_t PeerZero(std::uint32_t, std::uint32_t, std::uint32_t, void *) {
    return 0;
}
