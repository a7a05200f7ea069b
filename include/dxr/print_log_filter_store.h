/* Store of the log filter: recognises log lines that were seen within the last hour.
 *
 * A caller files each line under one of 29 log types. For each type the store keeps a ring of the
 * lines last let through, known by a 32-bit hash of their text (or of a key, see
 * print_log_filter.h). The first occurrence of a line is remembered; later ones within an hour of
 * the first are counted as repeats.
 *
 * What a host has to give. Without the mutex hooks (Task slots 4 to 7) the filter locks nothing and
 * is not thread-safe: it is one thread's then (HOST-13). Without the time hooks (Time slots 5 and
 * 8) nothing ages and no interval ends: a line is suppressed until newer ones push it out
 * (HOST-15). Without the memory hooks there is no store, and every line is let through.
 *
 * Texts and keys of one type share its ring: a text of the digits of a key is that key, and many of
 * one kind push the others out (MODULE-14).
 *
 * Threads: DXR_IsRepeatedLog takes the mutex of the log type and may be called from any thread. The
 * record operations (DXR_ResizeLogFilterInfo to DXR_UpdateLogFilterTime) take no lock: their caller
 * holds the type's mutex, and their record pointer must not be null. So does who follows a pointer
 * from DXR_GetLogFilter, which itself, like the hashing functions, may be called from any thread.
 * Initialising and destroying lock no more than each type in turn: no other thread may use the
 * filter meanwhile, nor while a host writes the list of hash functions or the other globals. The
 * switch has no lock, but may be read and turned by its functions at any time: a decision goes by
 * the old or the new value.
 *
 * Hooks: the memory, print (for failures of the ring) and time hooks are called while the mutex of
 * a type is held, the hash function and the print hook for its failures before it is taken. Any of
 * them, and of the mutex hooks, may come back to the filter with another type, and with the same
 * type where the host's mutex can be locked twice by one thread, or is none. Threads that so take
 * two types in opposite orders can block each other. An operation then goes on with the ring as the
 * hook has left it:
 *   - a ring that was grown, shrunk, cleared or added to is the one that is worked on;
 *   - a line that is being added takes the ring position that was next before the time hook was
 *     called: a line that this hook logs under the same type is overwritten by it;
 *   - a position that the ring no longer has is passed over: nothing is written, a line that was to
 *     be added is not remembered, one that was found is let through when its interval is asked for;
 *   - a store that was destroyed takes nothing more, and the line is let through; the mutex hook
 *     is called to unlock all the same. Initialised again, the new store is the one worked on.
 *
 * Cost: one hash of the text, one lock, and one look-up that does not grow with the ring; rings
 * that were resized beyond 2049 entries are walked. Operations on the store's records can be mixed
 * with decisions at no further cost. What they do through another record of the same storage (a
 * copy, or one that is used while g_dxrLogFilterInfo points elsewhere) is found too, at the price
 * of one pass over the ring. What a host writes into the entries itself is found by
 * DXR_FindRepeatedLogInfoIndex, but not necessarily by DXR_IsRepeatedLog.
 */
#ifndef DXR_PRINT_LOG_FILTER_STORE_H
#define DXR_PRINT_LOG_FILTER_STORE_H

#include "dxr/base.h"

DXR_EXTERN_C_BEGIN

/* Number of log types; valid types are 0 to DXR_LOG_FILTER_TYPE_NUM - 1. */
#define DXR_LOG_FILTER_TYPE_NUM 29

/* One remembered line. */
typedef struct DxrLogFilterEntry {
    uint32_t logHashCode; /* hash of the line or key */
    uint32_t beginSec; /* seconds at which the entry was made, as DXR_GetCurrTime reported them */
    uint32_t lastSec;  /* seconds at which the line was last let through */
    uint32_t logCnt;   /* repeats suppressed since */
    uint32_t key1;     /* key1 of the log site that made the entry; kept for the host */
    uint8_t state;     /* 1: current, 0: aged out */
    char logBeginTime[43]; /* the time of making as text, at most 39 bytes of it from
                              DXR_GetCurrTime */
} DxrLogFilterEntry;

DXR_STATIC_ASSERT(sizeof(DxrLogFilterEntry) == 64, "DxrLogFilterEntry layout");
DXR_STATIC_ASSERT(offsetof(DxrLogFilterEntry, logHashCode) == 0, "DxrLogFilterEntry layout");
DXR_STATIC_ASSERT(offsetof(DxrLogFilterEntry, beginSec) == 4, "DxrLogFilterEntry layout");
DXR_STATIC_ASSERT(offsetof(DxrLogFilterEntry, lastSec) == 8, "DxrLogFilterEntry layout");
DXR_STATIC_ASSERT(offsetof(DxrLogFilterEntry, logCnt) == 12, "DxrLogFilterEntry layout");
DXR_STATIC_ASSERT(offsetof(DxrLogFilterEntry, key1) == 16, "DxrLogFilterEntry layout");
DXR_STATIC_ASSERT(offsetof(DxrLogFilterEntry, state) == 20, "DxrLogFilterEntry layout");
DXR_STATIC_ASSERT(offsetof(DxrLogFilterEntry, logBeginTime) == 21, "DxrLogFilterEntry layout");

/* The ring of one log type. Live entries stand at positions (curIndex + i) % capacity, i < curSize,
 * the oldest first. */
#pragma pack(push, 1)
typedef struct DxrLogFilterInfo {
    uint32_t curIndex; /* position of the oldest live entry */
    uint32_t curSize;  /* number of live entries */
    uint32_t capacity; /* number of entries allocated; grows by itself 0, 1, 3, 7 ... 2047 */
    DxrLogFilterEntry *entries; /* the storage, owned by the store; null until the first entry */
} DxrLogFilterInfo;
#pragma pack(pop)

DXR_STATIC_ASSERT(sizeof(DxrLogFilterInfo) == DXR_LAYOUT(20, 1), "DxrLogFilterInfo layout");
DXR_STATIC_ASSERT(offsetof(DxrLogFilterInfo, curIndex) == 0, "DxrLogFilterInfo layout");
DXR_STATIC_ASSERT(offsetof(DxrLogFilterInfo, curSize) == 4, "DxrLogFilterInfo layout");
DXR_STATIC_ASSERT(offsetof(DxrLogFilterInfo, capacity) == 8, "DxrLogFilterInfo layout");
DXR_STATIC_ASSERT(offsetof(DxrLogFilterInfo, entries) == 12, "DxrLogFilterInfo layout");

/* One log site, described by its caller. The keys, with the type, make the key of
 * DXR_DiffLogFilter; key1 is also copied into new entries. DXR_ShowLogFilterInfo takes key1 for the
 * first ring position and key2 for the number of rows to show: another meaning, so that a record is
 * needed for each use. */
typedef struct DxrLogFilterCfg {
    uint32_t logType; /* 0 to 28: selects the ring and its mutex */
    uint32_t key1;
    uint32_t key2;
    uint32_t key3;
    uint32_t key4;
    uint32_t interval; /* seconds after which a repeated line is let through once more; 0: never */
} DxrLogFilterCfg;

DXR_STATIC_ASSERT(sizeof(DxrLogFilterCfg) == 24, "DxrLogFilterCfg layout");
DXR_STATIC_ASSERT(offsetof(DxrLogFilterCfg, logType) == 0, "DxrLogFilterCfg layout");
DXR_STATIC_ASSERT(offsetof(DxrLogFilterCfg, key1) == 4, "DxrLogFilterCfg layout");
DXR_STATIC_ASSERT(offsetof(DxrLogFilterCfg, key2) == 8, "DxrLogFilterCfg layout");
DXR_STATIC_ASSERT(offsetof(DxrLogFilterCfg, key3) == 12, "DxrLogFilterCfg layout");
DXR_STATIC_ASSERT(offsetof(DxrLogFilterCfg, key4) == 16, "DxrLogFilterCfg layout");
DXR_STATIC_ASSERT(offsetof(DxrLogFilterCfg, interval) == 20, "DxrLogFilterCfg layout");

/* What a hash function is given: a text of `length` bytes, not necessarily terminated. */
typedef struct DxrLogFilterHashInput {
    const char *text;
    uint32_t length; /* bytes */
} DxrLogFilterHashInput;

DXR_STATIC_ASSERT(sizeof(DxrLogFilterHashInput) == DXR_LAYOUT(16, 2),
                  "DxrLogFilterHashInput layout");
DXR_STATIC_ASSERT(offsetof(DxrLogFilterHashInput, text) == 0, "DxrLogFilterHashInput layout");
DXR_STATIC_ASSERT(offsetof(DxrLogFilterHashInput, length) == DXR_LAYOUT(8, 1),
                  "DxrLogFilterHashInput layout");

/* One row of the list of hash functions. */
typedef struct DxrLogFilterHashFunc {
    uint32_t hashFuncId;
    uint32_t (*func)(const DxrLogFilterHashInput *input, uint32_t *hash); /* 0: ok */
    const char *desc;
} DxrLogFilterHashFunc;

DXR_STATIC_ASSERT(sizeof(DxrLogFilterHashFunc) == DXR_LAYOUT(24, 3), "DxrLogFilterHashFunc layout");
DXR_STATIC_ASSERT(offsetof(DxrLogFilterHashFunc, hashFuncId) == 0, "DxrLogFilterHashFunc layout");
DXR_STATIC_ASSERT(offsetof(DxrLogFilterHashFunc, func) == DXR_LAYOUT(8, 1),
                  "DxrLogFilterHashFunc layout");
DXR_STATIC_ASSERT(offsetof(DxrLogFilterHashFunc, desc) == DXR_LAYOUT(16, 2),
                  "DxrLogFilterHashFunc layout");

/* The store: 29 records, one per log type; null until DXR_InitLogFilter succeeds. */
extern DXR_API DxrLogFilterInfo *g_dxrLogFilterInfo;
/* The mutex of each log type, as DXR_InitMutex stored it. */
extern DXR_API void *g_dxrLogFilterMutex[DXR_LOG_FILTER_TYPE_NUM];
/* The filter is on (not 0, initially 1) or off (0): read it with DXR_IsLogFilterEnable. */
extern DXR_API uint8_t g_dxrLogFilterSwitch;
/* Module identifier of the ring allocations; initially 9, then that of DXR_InitLogFilter. */
extern DXR_API uint32_t g_dxrLogFilterMid;
/* The hash functions; the filter uses row 0, whose function is DXR_SimpleHash unless the host puts
 * in another one. */
extern DXR_API DxrLogFilterHashFunc g_dxrLogFilterHashFuncList[1];

/* Makes the store: allocates the 29 records under `mid` and creates the 29 mutexes with
 * DXR_InitMutex. A second call while the store exists changes nothing. Prints the outcome. Returns
 * 0, or 1 when the records cannot be allocated (as without memory hooks); the store then stays
 * absent. */
DXR_API uint32_t DXR_InitLogFilter(uint32_t mid);

/* Frees rings and records and destroys the mutexes; every line is let through from then on. What a
 * hook logs meanwhile goes too. The switch and the module identifier keep their values. Prints that
 * it is done. Without a store it makes the same calls: the mutex hooks get the handles as they
 * stand (HOST-14), the release hook null (HOST-11). */
DXR_API void DXR_DestroyLogFilter(void);

/* The record of a log type; null for a type above 28 or without a store. Owned by the store. */
DXR_API DxrLogFilterInfo *DXR_GetLogFilter(uint32_t logType);

/* The switch as it was given to DXR_EnableLogFilter: not 0 is on. */
DXR_API uint8_t DXR_IsLogFilterEnable(void);

/* Turns the filter on (not 0) or off (0); kept as given. */
DXR_API void DXR_EnableLogFilter(uint8_t on);

/* Hashes exactly input->length bytes: h = h * 31 + byte, modulo 2^32. Returns 0 and stores the
 * hash, or returns 1 for a length of 0 or a null text and leaves *hash alone. `input` and `hash`
 * must not be null. */
DXR_API uint32_t DXR_SimpleHash(const DxrLogFilterHashInput *input, uint32_t *hash);

/* Hash of `length` bytes of `text` by the hash function of that identifier (0 is the only one).
 * Returns 0 for an unknown identifier or a failing hash function, and prints a line at level 1. */
DXR_API uint32_t DXR_GetHashCode(uint32_t hashFuncId, const char *text, uint32_t length);

/* Gives the ring a storage of `newCapacity` entries, zeroed, and copies the old entries to the same
 * positions as far as they fit: a ring that wraps is not straightened, curIndex and curSize are
 * kept. When the storage cannot be allocated, prints a line at level 1 and changes nothing. */
DXR_API void DXR_ResizeLogFilterInfo(DxrLogFilterInfo *record, uint32_t newCapacity);

/* Grows the ring to capacity * 2 + 1 when at most one entry is free and the capacity is at most
 * 1024. */
DXR_API void DXR_UpdateLogFilterCapacity(DxrLogFilterInfo *record);

/* Takes entries made an hour ago or earlier out of the ring, oldest first, up to the first younger
 * one. Their state becomes 0; their content stays readable. */
DXR_API void DXR_RemoveObsoleteLogFilterInfo(DxrLogFilterInfo *record);

/* Remembers a line after the newest one, growing the ring where needed; in a ring that is full and
 * does not grow it takes the place of the oldest. Without any storage nothing is remembered. The
 * time hook is given a copy of the entry's old text, which stays where the hook writes nothing. */
DXR_API void DXR_AddLogFilterInfo(DxrLogFilterInfo *record, uint32_t hash, uint32_t key1);

/* Ring position of the oldest live entry with this hash; the record's capacity when there is none.
 */
DXR_API uint32_t DXR_FindRepeatedLogInfoIndex(const DxrLogFilterInfo *record, uint32_t hash);

/* Counts one repeat at a ring position; nothing for a position outside the ring. */
DXR_API void DXR_UpdateLogFilterInfo(uint32_t position, DxrLogFilterInfo *record);

/* Sets the time at which the line was last let through to now (DXR_GetCurrSec); nothing for a
 * position outside the ring. */
DXR_API void DXR_UpdateLogFilterTime(uint32_t position, DxrLogFilterInfo *record);

/* The decision on one line of `length` bytes: 1 when it repeats a line of its type and is to be
 * suppressed, else 0. A repeat is let through once more, and not counted, cfg->interval seconds
 * after the line was last let through, if that is not 0. Lets everything through while the filter
 * is off or absent, for a null `cfg`, a log type above 28, and a text whose hash is 0 or fails. */
DXR_API uint8_t DXR_IsRepeatedLog(const DxrLogFilterCfg *cfg, const char *text, uint32_t length);

DXR_EXTERN_C_END

#endif /* DXR_PRINT_LOG_FILTER_STORE_H */
