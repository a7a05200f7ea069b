// Peers that stand in a library of their own where the call into a library is part of the figure.
#ifndef DXR_FIGURES_LIBRARY_PEERS_H
#define DXR_FIGURES_LIBRARY_PEERS_H

#include <cstdint>

// A table of hooks as one would write it for oneself, exported as the library's is.
struct PeerDevHooks {
    uint32_t (*writeReg)(uint32_t, uint32_t, uint32_t, uint32_t);
    uint32_t (*readReg)(uint32_t, uint32_t, uint32_t, void *);
};

struct PeerHooks {
    void *others[22];
    PeerDevHooks dev;
};

extern PeerHooks g_peerHooks;

PeerDevHooks *PeerGetDevHooks();

// Getter, load, test and jump.
uint32_t PeerReadReg(uint32_t a, uint32_t b, uint32_t c, void *out);

uint32_t PeerZero(uint32_t a, uint32_t b, uint32_t c, void *out);

// Called as functions of the library are, and nothing else: what is left of these is the call.
uint32_t PeerNothingOfBytes(const uint8_t *data, uint64_t length);
uint32_t PeerNothingOfWords(const uint32_t *a, const uint32_t *b, uint32_t count);
uint32_t PeerNothingOfText(const void *text, uint32_t *hash);

// The polynomial in 31, byte by byte.
uint32_t PeerHash(const char *text, uint32_t length);

#endif  // DXR_FIGURES_LIBRARY_PEERS_H
