/* The host's hash tables: all eleven slots of the Hash group.
 *
 * Tables and entries are handles: a bad, freed or foreign one, null too, is reported, and the call
 * gives null, 0 or EBADF. A result is 0 or a number of <errno.h> where nothing else is said. A null
 * pointer where one is needed, and a key longer than allowed, are reported and give EINVAL or null.
 *
 *   DXR_HashCreate(options)               a new table, by a DxrHostHashOptions, which is copied;
 *                                         null when one of its numbers is too large (reported),
 *                                         without memory, and by point "hash.create"
 *   DXR_HashFree(table)                   releases it and its entries
 *   DXR_HashInsert(table, key, data, bytes, mode)   adds an entry with a copy of the key and of
 *                                         `bytes` bytes of data, at most 16 MiB. With 0 bytes the
 *                                         entry holds the pointer `data` itself, null too, which is
 *                                         never followed. Mode DXR_HOST_HASH_...: EEXIST or another
 *                                         data when the key is there; others are reported, EINVAL.
 *                                         ENOSPC when the table is full; ENOMEM without memory and
 *                                         by point "hash.insert". After a failure nothing has
 *                                         changed
 *   DXR_HashFindKey(table, key)           the entry of that key; null
 *   DXR_HashRemove(table, key)            removes it; ENOENT
 *   DXR_HashCount(table)                  the number of entries
 *   DXR_HashGetBucketNum(table)           the number of buckets: what was asked for, rounded up to
 *                                         a power of two. It never changes
 *   DXR_HashGetMaxItem(table)             how many entries there may be; 0: any number
 *   DXR_HashGetFirst(table)               the entry that was added first; null
 *   DXR_HashGetNext(table, entry)         the one that was added next; null at the end, and for an
 *                                         entry of another table (reported). `entry` may have been
 *                                         removed since it was given out, the latest 64 removals of
 *                                         a table are remembered: the walk goes on with what
 *                                         followed it
 *   DXR_HashGetFromEntry(entry, what, offset)   where byte `offset` of the entry's key or data is
 *                                         (DXR_HOST_HASH_KEY, DXR_HOST_HASH_DATA); null from its
 *                                         end on, the null byte of a text belongs to it. Of an
 *                                         entry that holds a pointer, that pointer, at offset 0
 *                                         alone. Key and data are aligned for any type
 *
 * What DXR_HashGetFromEntry has given stays until the entry is removed, its data replaced, or its
 * table released; a key must not be changed. Data that is replaced keeps entry and place.
 *
 * Any thread may call any of them. The functions of a table are called while no lock is held, and
 * may call slots themselves; a call starts over when another thread changes the table meanwhile. A
 * walk sees each change made by others or not, but never a wrong entry. What tables are left at the
 * end is reported.
 *
 * Cost: a key takes its number and a comparison with each entry of its bucket, so ask for as many
 * buckets as there will be entries; adding, removing and the next entry the logarithm of how many
 * there are; DXR_HashFree all of them. */
#ifndef DXR_DEVHOST_HASH_H
#define DXR_DEVHOST_HASH_H

#include "dxr_devhost/host.h"

DXR_EXTERN_C_BEGIN

/* The number of a key. Equal keys must have equal numbers. */
typedef uint32_t (*DxrHostHashFunction)(const void *key, void *user);

/* Whether two keys are equal: 0, as memcmp tells it. */
typedef int (*DxrHostHashCompare)(const void *key, const void *other, void *user);

/* What DXR_HashCreate is given. */
typedef struct DxrHostHashOptions {
    uint32_t size;              /* sizeof(DxrHostHashOptions) */
    uint32_t keyBytes;          /* of each key, up to 4096; 0: keys are texts of at most 4095 bytes
                                   and their null byte */
    uint32_t buckets;           /* up to 1048576; 0: 64 */
    uint32_t maxItems;          /* 0: any number */
    DxrHostHashFunction hash;   /* null: of all bytes of a key */
    DxrHostHashCompare compare; /* null: all bytes are compared */
    void *user;                 /* handed to both */
} DxrHostHashOptions;

/* The last argument of DXR_HashInsert. */
#define DXR_HOST_HASH_ADD 0u
#define DXR_HOST_HASH_REPLACE 1u

/* The second argument of DXR_HashGetFromEntry. */
#define DXR_HOST_HASH_KEY 0u
#define DXR_HOST_HASH_DATA 1u

DXR_STATIC_ASSERT(sizeof(DxrHostHashOptions) == DXR_LAYOUT(40, 3),
                  "DxrHostHashOptions is 40 bytes");
DXR_STATIC_ASSERT(offsetof(DxrHostHashOptions, keyBytes) == 4, "keyBytes");
DXR_STATIC_ASSERT(offsetof(DxrHostHashOptions, buckets) == 8, "buckets");
DXR_STATIC_ASSERT(offsetof(DxrHostHashOptions, maxItems) == 12, "maxItems");
DXR_STATIC_ASSERT(offsetof(DxrHostHashOptions, hash) == 16, "hash");
DXR_STATIC_ASSERT(offsetof(DxrHostHashOptions, compare) == DXR_LAYOUT(24, 1), "compare");
DXR_STATIC_ASSERT(offsetof(DxrHostHashOptions, user) == DXR_LAYOUT(32, 2), "user");

DXR_EXTERN_C_END

#endif /* DXR_DEVHOST_HASH_H */
