/* Simulated message loss: the host registers a table of the message kinds that may be dropped on
 * purpose, a diagnostic call sets how many of the next messages of a kind are to be dropped, and
 * the host's messaging code asks, message by message, whether to drop.
 *
 * The table stays the host's: the library keeps its address and length, reads it and writes the
 * loss counts only. It must live, unmoved, as long as it is registered.
 *
 * Cost: who looks for an entry reads the table up to the one that is found; nothing is allocated.
 *
 * Threads: no lock. While a table is registered no other thread may be in these functions. Then
 * asking, setting and displaying may run on any threads at once. A count is read and written whole,
 * but taken down by a read and a write, so that concurrent callers for one message type may drop
 * more or fewer messages than set; the host serialises where that matters. No count passes below 0.
 * What the host itself writes into the table is its to serialise with all of that. */
#ifndef DXR_SIMULATE_MESSAGE_H
#define DXR_SIMULATE_MESSAGE_H

#include "dxr/base.h"

DXR_EXTERN_C_BEGIN

#pragma pack(push, 4)
/* One message kind of the host's table. */
typedef struct DxrSimulateMsg {
    uint32_t simulateId; /* by which the operator addresses the entry */
    uint32_t msgType;    /* which the messaging code asks for */
    uint32_t lostCnt;    /* messages still to drop; 0: none. The only field the library writes */
    const char *name;    /* display name, NUL-terminated; the host's */
} DxrSimulateMsg;
#pragma pack(pop)

DXR_STATIC_ASSERT(sizeof(DxrSimulateMsg) == DXR_LAYOUT(20, 1),
                  "the host builds the table: fixed layout");
DXR_STATIC_ASSERT(offsetof(DxrSimulateMsg, simulateId) == 0, "fixed layout");
DXR_STATIC_ASSERT(offsetof(DxrSimulateMsg, msgType) == 4, "fixed layout");
DXR_STATIC_ASSERT(offsetof(DxrSimulateMsg, lostCnt) == 8, "fixed layout");
DXR_STATIC_ASSERT(offsetof(DxrSimulateMsg, name) == 12, "fixed layout");

/* Tells whether `entry` is the one sought with `key`: non-zero if it is. */
typedef uint8_t (*DxrSimulateMsgCompare)(const DxrSimulateMsg *entry, uint32_t key);

/* Makes the `size` entries at `map` the table, in place of any earlier one. Both values are kept as
 * given, nothing is copied or checked. A null `map` unregisters; its size is kept too. */
DXR_API void DXR_RegisterSimulateMsgMap(DxrSimulateMsg *map, uint32_t size);

/* The registered table; null if there is none. */
DXR_API DxrSimulateMsg *DXR_GetSimulateMsgMap(void);

/* The registered number of entries; 0 before the first registration. */
DXR_API uint32_t DXR_GetSimulateMsgMapSize(void);

/* 1 if the entry's `simulateId` is `id`, else 0. `entry` must not be null. */
DXR_API uint8_t DXR_IsSameSimulateId(const DxrSimulateMsg *entry, uint32_t id);

/* 1 if the entry's `msgType` is `msgType`, else 0. `entry` must not be null. */
DXR_API uint8_t DXR_IsSameMsgType(const DxrSimulateMsg *entry, uint32_t msgType);

/* The first entry, in table order, for which `compare` (not null) answers non-zero; null if there
 * is none or no table is registered. The size is read again before each comparison. */
DXR_API DxrSimulateMsg *DXR_GetSimulateMsg(DxrSimulateMsgCompare compare, uint32_t key);

/* The first entry with this simulate identifier, or null. ("Simluate" is the name's spelling.) */
DXR_API DxrSimulateMsg *DXR_GetSimulateMsgBySimluateId(uint32_t id);

/* The first entry with this message type, or null. */
DXR_API DxrSimulateMsg *DXR_GetSimulateMsgByMsgType(uint32_t msgType);

/* Sets the loss count of the first entry with identifier `id` to `lostCnt` messages (0 ends the
 * loss) and writes the outcome, success or unknown identifier, as a text into `buffer` of
 * `bufferSize` bytes, cut to what fits and terminated. The count is set even if `buffer` is null or
 * its size 0: then no text is. */
DXR_API void DXR_SetSimulateMsgLost(uint32_t id, uint32_t lostCnt, char *buffer,
                                    uint32_t bufferSize);

/* 1 if this message of type `msgType` is to be dropped, else 0. A positive answer takes one off the
 * count of the first entry with this type and reports what remains through the print hook, at level
 * 6; with no print hook the message is dropped all the same. Further entries with the type are
 * never consulted. */
DXR_API uint8_t DXR_IsSimulateMsgLost(uint32_t msgType);

/* Writes the table, or a text saying that none is registered, into `buffer` of `bufferSize` bytes,
 * cut to what fits and terminated; lines end in "\r\n". A null buffer or a size of 0: nothing is
 * written. */
DXR_API void DXR_DisplaySimulateMsgLost(char *buffer, uint32_t bufferSize);

DXR_EXTERN_C_END

#endif /* DXR_SIMULATE_MESSAGE_H */
