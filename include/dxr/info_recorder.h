/* Information recorder: a bounded history of distinct diagnostic texts in memory, each with its
 * first time, its last time and a count.
 *
 * The store is a ring of 1024 records. Records come from DXR_Malloc under module identifier 0 and
 * belong to the store until DXR_DestroyRecordInfo; times come from DXR_GetSysTime. Without the
 * memory hooks nothing is recorded; without the time hook records are kept and counted, but no
 * listing shows them.
 *
 * Cost: DXR_RecordInfo formats its text and costs the same whatever the store holds, as long as the
 * store is changed through these functions. A change in place that it notices makes the next call
 * read all records once.
 *
 * Changes in place: hosts read the store and its records, and change them through these functions.
 * A slot that is emptied nevertheless (its record released, the slot set to null) ends every
 * search. In a store of up to 8 records all functions see whatever a host writes in place. In a
 * larger one DXR_UpdateExistingRecord does; DXR_RecordInfo may miss texts overwritten, records
 * exchanged and slots emptied in place, but touches no record that no slot holds. A record that
 * also stands in a store of the host's own and is rewritten there by DXR_AddNewRecord is found
 * under its new text.
 *
 * Hooks that come back: the allocation, release and time hooks may call all of these functions and
 * change the store. No record is touched after such a call that is no longer in its slot. The slot
 * of a new record is the one at the next index when the allocation has returned; a block that is
 * not needed any more is given back. The time hook gets a copy of the old time; when it has taken
 * the record out of its slot, an addition ends there, while a refresh counts as a match and goes on
 * with the next slot. A text that the time hook adds during an addition goes to the same slot, is
 * then overwritten, and leaves an empty slot after it. Records are out of the store when they are
 * released.
 *
 * Threads: no lock, and listing reads what recording writes; callers on several threads serialise
 * their calls, whatever store they pass. */
#ifndef DXR_INFO_RECORDER_H
#define DXR_INFO_RECORDER_H

#include "dxr/base.h"
#include "dxr/types.h"

DXR_EXTERN_C_BEGIN

/* Slots of the store; a power of two. */
#define DXR_RECORD_COUNT 1024u

/* Bytes of a record's text, its terminator included. */
#define DXR_RECORD_TEXT_SIZE 256u

/* One distinct text. */
typedef struct DxrRecord {
    char text[DXR_RECORD_TEXT_SIZE];
    uint32_t count;       /* how often it was recorded; wraps at 32 bits */
    DxrSysTime firstTime; /* year 0: the time is unknown, listings leave the record out */
    DxrSysTime lastTime;
} DxrRecord;

/* From an empty store the slots fill in the order 0, 1, 2, ...; once all are occupied, the next new
 * text takes over the record at `nextIndex`. */
typedef struct DxrRecordStore {
    DxrRecord *records[DXR_RECORD_COUNT]; /* null: empty slot */
    uint32_t nextIndex;                   /* the slot written next, below DXR_RECORD_COUNT */
} DxrRecordStore;

DXR_STATIC_ASSERT(sizeof(DxrRecord) == 284, "DxrRecord");
DXR_STATIC_ASSERT(offsetof(DxrRecord, text) == 0, "DxrRecord.text");
DXR_STATIC_ASSERT(offsetof(DxrRecord, count) == 256, "DxrRecord.count");
DXR_STATIC_ASSERT(offsetof(DxrRecord, firstTime) == 260, "DxrRecord.firstTime");
DXR_STATIC_ASSERT(offsetof(DxrRecord, lastTime) == 272, "DxrRecord.lastTime");
DXR_STATIC_ASSERT(sizeof(DxrRecordStore) == DXR_LAYOUT(8200, 1025), "DxrRecordStore");
DXR_STATIC_ASSERT(offsetof(DxrRecordStore, records) == 0, "DxrRecordStore.records");
DXR_STATIC_ASSERT(offsetof(DxrRecordStore, nextIndex) == DXR_LAYOUT(8192, 1024),
                  "DxrRecordStore.nextIndex");

/* The one store of the process. */
extern DXR_API DxrRecordStore g_dxrRecord;

/* Formats a text of at most 255 characters and records it: every record with this very text gets
 * the present time as its last and 1 more in its count; if there is none, the text becomes a new
 * record. A text of 255 characters, cut or not, ends in "...". A format that fails is told through
 * the print hook and nothing is recorded. */
DXR_API void DXR_RecordInfo(const char *format, ...) DXR_PRINTF(1, 2);

/* Refreshes every record of `store`, up to the first empty slot, whose text equals `text`: last
 * time and count. 1 when there was one, else 0; also 0 for a null argument. Reads every record. */
DXR_API uint8_t DXR_UpdateExistingRecord(const char *text, DxrRecordStore *store);

/* Puts `text`, cut to 255 characters, into the slot at the next index with count 1 and the present
 * time as its first and last, and moves the index on. The record of an empty slot is allocated,
 * that of an occupied one is overwritten, and keeps its times when there is no time hook. A failed
 * allocation, a null argument or an index outside the store changes nothing. */
DXR_API void DXR_AddNewRecord(const char *text, DxrRecordStore *store);

/* Frees all records and empties the store. Recording may go on afterwards. */
DXR_API void DXR_DestroyRecordInfo(void);

/* The store, &g_dxrRecord. */
DXR_API DxrRecordStore *DXR_GetRecordEntity(void);

/* Lists slots `start` to `end` - 1 into `buffer` of `bufferSize` bytes, one line a record with
 * "\r\n" in front, up to the first empty slot or the end of the store. What does not fit is cut;
 * the text is terminated. A null argument or a `bufferSize` of 0 gives 0.
 * Returns the characters written, without the terminator; when nothing is listed, nothing is
 * written. */
DXR_API uint32_t DXR_GetRecordStr(const DxrRecordStore *store, uint32_t start, uint32_t end,
                                  char *buffer, uint32_t bufferSize);

/* Lists the whole store likewise: first the slots below the next index, then those from it on. Once
 * the ring has wrapped, the newest records thus come first. */
DXR_API uint32_t DXR_GetAllRecordStr(char *buffer, uint32_t bufferSize);

DXR_EXTERN_C_END

#endif /* DXR_INFO_RECORDER_H */
