/*
 * Link bitmaps: which links of each chip of a device are valid.
 *
 * A map is one row of whole 32-bit words per chip and one bit per link, a set bit being a valid
 * link: link l of chip c is bit l mod 32 of word c * wordNumPerChip + l / 32. Bits are only ever
 * set. An absolute link number counts links across chips: chip * links per chip + link. Unsigned
 * arithmetic wraps at 2^32.
 *
 * Cost: saving a link touches one word; making, listing and printing a map take all of them.
 *
 * Threads: no lock and no state but the map. Different maps may be used at once, as far as the
 * memory and print hooks may; a map shared between threads is serialised by its users.
 */
#ifndef DXR_UTILS_LINK_BITMAP_H
#define DXR_UTILS_LINK_BITMAP_H

#include "dxr/base.h"

DXR_EXTERN_C_BEGIN

/* Made by DXR_CreateLinkBitMap(), owned by the library until DXR_DestroyLinkBitMap(). */
typedef struct DxrLinkBitMap {
    uint32_t chipNum;        /* rows */
    uint32_t linkNumPerChip; /* as given at creation; later operations do not look at it */
    uint32_t *bitMap;        /* chipNum * wordNumPerChip words, owned by the record */
    uint32_t wordNumPerChip; /* words of a row: linkNumPerChip / 32, rounded up */
} DxrLinkBitMap;

DXR_STATIC_ASSERT(sizeof(DxrLinkBitMap) == DXR_LAYOUT(24, 2), "size of DxrLinkBitMap");
DXR_STATIC_ASSERT(offsetof(DxrLinkBitMap, chipNum) == 0, "DxrLinkBitMap.chipNum");
DXR_STATIC_ASSERT(offsetof(DxrLinkBitMap, linkNumPerChip) == 4, "DxrLinkBitMap.linkNumPerChip");
DXR_STATIC_ASSERT(offsetof(DxrLinkBitMap, bitMap) == 8, "DxrLinkBitMap.bitMap");
DXR_STATIC_ASSERT(offsetof(DxrLinkBitMap, wordNumPerChip) == DXR_LAYOUT(16, 1),
                  "DxrLinkBitMap.wordNumPerChip");

/* absLinkId / linkNumPerChip; a divisor of 0 is taken as 1. */
DXR_API uint32_t DXR_CalcChipIdByAbsoluteLinkId(uint32_t absLinkId, uint32_t linkNumPerChip);

/* absLinkId mod linkNumPerChip; a divisor of 0 is taken as 1, which gives 0. */
DXR_API uint32_t DXR_CalcLinkIdByAbsoluteLinkId(uint32_t absLinkId, uint32_t linkNumPerChip);

/* chipId * linkNumPerChip + linkId, wrapping. */
DXR_API uint32_t DXR_CalcAbsoluteLinkId(uint32_t chipId, uint32_t linkNumPerChip, uint32_t linkId);

/*
 * A new map with all bits clear, or null if the host has no memory for its record or its words; a
 * map of 0 chips or 0 links has no words and is not created. The byte size of the words is their
 * 32-bit product, unchecked. Memory is the default module's; the caller gives the map back with
 * DXR_DestroyLinkBitMap().
 */
DXR_NODISCARD DXR_API DxrLinkBitMap *DXR_CreateLinkBitMap(uint32_t chipNum,
                                                          uint32_t linkNumPerChip);

/*
 * Sets the bit of link `linkId` of chip `chipId`. A null map, a chip beyond the last and a link
 * beyond the row's words are ignored; a link beyond `linkNumPerChip` within them is set.
 */
DXR_API void DXR_SaveLinkToBitMap(DxrLinkBitMap *map, uint32_t chipId, uint32_t linkId);

/*
 * Sets the bit of an absolute link number: link absLinkId mod chipNum of chip absLinkId / chipNum.
 * The divisor is the number of chips, not of links per chip. A null map is ignored.
 */
DXR_API void DXR_SaveLinkToBitMapByAbsLinkId(DxrLinkBitMap *map, uint32_t absLinkId);

/*
 * Writes " Chip<n>: Valid[<set bits>][ <words> ]" for every chip into `buf`, each word as 0x%08x,
 * the highest first. `bufLen` is the size of `buf` in bytes; a longer text is cut and always
 * terminated. A map without chips, a null `buf` and a `bufLen` of 0 write nothing. `map` must not
 * be null. A text of more than INT32_MAX characters ends the process with abort().
 */
DXR_API void DXR_FillLinkBitMapToBuf(const DxrLinkBitMap *map, char *buf, uint32_t bufLen);

/*
 * Prints one line of at most 1023 characters through the print hook, level 6: the caller's text,
 * the number of set bits of the whole map and the text of DXR_FillLinkBitMapToBuf(). Without a map
 * or a text that can be formatted, and without a print hook, nothing is printed.
 */
DXR_API void DXR_PrintLinkToBitMap(const DxrLinkBitMap *map, const char *format, ...)
    DXR_PRINTF(2, 3);

/* Gives the words and the record back to the host. A null map is ignored. */
DXR_API void DXR_DestroyLinkBitMap(DxrLinkBitMap *map);

DXR_EXTERN_C_END

#endif /* DXR_UTILS_LINK_BITMAP_H */
