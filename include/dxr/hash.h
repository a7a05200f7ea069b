/* Made by hooks/generate.py from hooks/slots.yaml; do not edit. */

/* The host's hash tables. Table, key and entry are the host's; the library never looks inside them.
 *
 * Dispatchers as dxr/hooks.h describes them: no lock, no allocation, as thread-safe as the hook. A
 * result is the hook's; slots count within the Hash group. Parameters named argN are the host's to
 * define and pass through unread; what the development host makes of them is an example. */
#ifndef DXR_HASH_H
#define DXR_HASH_H

#include "dxr/base.h"

DXR_EXTERN_C_BEGIN

/* Gets the number of entries of a table. Slot 0; 0 without a hook. */
DXR_API uint32_t DXR_HashCount(void *table);

/* Creates a table. Slot 1; null without a hook. In the development host: options (in, a record). */
DXR_API void *DXR_HashCreate(void *arg1);

/* Finds the entry of a key. Slot 2; null without a hook. */
DXR_API void *DXR_HashFindKey(void *table, void *key);

/* Releases a table. Slot 3; 0 without a hook. */
DXR_API uint32_t DXR_HashFree(void *table);

/* Gets the number of buckets of a table. Slot 4; 0 without a hook. */
DXR_API uint32_t DXR_HashGetBucketNum(void *table);

/* Gets the first entry of a table. Slot 5; null without a hook. */
DXR_API void *DXR_HashGetFirst(void *table);

/* Gets the entry after the given one. Slot 6; null without a hook. */
DXR_API void *DXR_HashGetNext(void *table, void *entry);

/* Gets the greatest number of items of a table. Slot 7; 0 without a hook. */
DXR_API uint32_t DXR_HashGetMaxItem(void *table);

/* Inserts an entry. Slot 8; 0 without a hook. In the development host: table, key (in), data (in,
 * length: bytes), bytes, mode. */
DXR_API uint32_t DXR_HashInsert(void *table, void *arg2, void *arg3, uint32_t arg4, uint32_t arg5);

/* Removes an entry. Slot 9; 0 without a hook. In the development host: table, key (in). */
DXR_API uint32_t DXR_HashRemove(void *table, void *arg2);

/* Gets what an entry holds. Slot 10; null without a hook. In the development host: entry, what,
 * offset. */
DXR_API void *DXR_HashGetFromEntry(void *entry, uint32_t arg2, uint32_t arg3);

DXR_EXTERN_C_END

#endif /* DXR_HASH_H */
