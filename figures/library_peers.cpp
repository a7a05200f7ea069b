#include "library_peers.h"

PeerHooks g_peerHooks = {};

[[gnu::noinline]] PeerDevHooks *PeerGetDevHooks() {
    return &g_peerHooks.dev;
}

uint32_t PeerReadReg(uint32_t a, uint32_t b, uint32_t c, void *out) {
    uint32_t (*const hook)(uint32_t, uint32_t, uint32_t, void *) = PeerGetDevHooks()->readReg;
    return hook != nullptr ? hook(a, b, c, out) : 0;
}

uint32_t PeerZero(uint32_t, uint32_t, uint32_t, void *) {
    return 0;
}

uint32_t PeerNothingOfBytes(const uint8_t *, uint64_t) {
    return 0;
}

uint32_t PeerNothingOfWords(const uint32_t *, const uint32_t *, uint32_t) {
    return 0;
}

uint32_t PeerNothingOfText(const void *, uint32_t *hash) {
    *hash = 0;
    return 0;
}

uint32_t PeerHash(const char *text, uint32_t length) {
    uint32_t hash = 0;
    for (uint32_t i = 0; i < length; ++i) {
        hash = hash * 31 + static_cast<unsigned char>(text[i]);
    }
    return hash;
}
