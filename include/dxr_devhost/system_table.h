/* The host's table manager: all eleven slots of the Tblm group. A result is 0 or a number of
 * <errno.h>; ECANCELED without a host. What breaks a rule here is reported and gives EINVAL where
 * nothing else is said: a null pointer where one is needed, a record that is not aligned or has a
 * wrong size, a chip above 65535. Nothing is written and nothing changes after a failure, but for
 * the lengths that ENOSPC tells.
 *
 * A table has entries of any number of chips: a key of 1 to 256 bytes, up to 65536 bytes of data, a
 * mask of as many. A key belongs to one chip; what is set for DXR_TBLM_CHIPID_NOTCARE, chip 65535,
 * holds for each chip that has no entry of that key itself.
 *
 *   DXR_DynamicCreateTable(table)          makes a table as DxrHostDescribeTable has described it,
 *                                          else one that takes any key and data. EEXIST when it is
 *                                          there; ENOMEM without memory and by point "table.create"
 *   DXR_SetChipTblmData(chip, request)     sets `dataLen` bytes of data of a key, and takes its
 *                                          mask away; with `dataValid` 0 an entry of no bytes.
 *                                          EINVAL, reported, when the table has keys or data of
 *                                          another length (no bytes go into every table); ENOSPC
 *                                          when table or pool are full; ENOMEM without memory and
 *                                          by point "table.set"
 *   DXR_SetChipTblmDataAndMask(chip, record)   a DxrHostMaskedData: sets those bits of the data
 *                                          that are 1 in the mask; the others stay, or are 0 where
 *                                          there was nothing. The mask is the entry's from then on.
 *                                          Results as above
 *   DXR_GetChipTblmData(chip, request)     copies an entry's data, and zeros up to `dataLen` bytes;
 *                                          with `dataValid` 0 nothing. Then `dataLen` is the number
 *                                          of the entry's bytes. ENOENT; ENOSPC when there are more
 *                                          than `dataLen`, which then says how many; EIO by point
 *                                          "table.get"
 *   DXR_DeleteChipTblmData(chip, table, key, keyLen)   deletes the chip's own entry; ENOENT
 *   DXR_GetTblmAttr(table, record)         a DxrHostTable gets the table's properties; ENXIO
 *   DXR_GetCstPoolCount(chip, pool, what, count)   a uint32_t gets DXR_HOST_POOL_... of a pool of
 *                                          that chip, from which entries come; others are reported
 *   DXR_ReleaseTblm(table, walk)           walk 0: deletes the table and its entries; a number that
 *                                          is none and a static table are reported. Else ends that
 *                                          walk, whatever the table; a number that is none is
 *                                          reported
 *
 * Walks
 *   DXR_GetLinearTblmFirstData(walk, entry)   a DxrHostTableWalk and a DxrHostTableEntry: begins a
 *                                          walk through a table's entries of a chip, or of every
 *                                          chip one after the other, and gets the first of them
 *   DXR_GetCrossTblmFirstData(walk, tables, entry)   the same through several tables, `tables`: an
 *                                          array of `walk->tables` identifiers (at most 4096), in
 *                                          that order; null: all tables, by their numbers. Those
 *                                          that there are not are left out
 *   DXR_GetTblmNextData(walk, entry)       gets the next one; EBADF, reported, for a number that is
 *                                          none
 *     ENOENT when there is none: no walk has begun then, or it stays where it is, and goes on when
 *     there is one. ENOSPC when `keyRoom` or `dataRoom` are too small: the same, and the lengths
 *     are written. ENOMEM without memory and by point "table.walk".
 *     Entries come in the order of their keys: as memcmp tells it, the shorter of two first when
 *     it begins the other. The next one is the one with the least greater key at that moment, so
 *     entries may be set and deleted meanwhile, and tables created and released.
 *
 * A table that does not exist is reported and gives ENXIO, where nothing else is said. Any thread
 * may call any of these at any time; each is one step to the others. DXR_GetChipTblmData takes no
 * lock unless it meets changes again and again. Request and records may be anywhere in memory but
 * for their alignment (a DxrTblmRequest needs none); keys and data need none.
 *
 * Tables that were created and walks that did not end are reported at the host's end.
 *
 * Cost: an entry is found in the same time whatever there is; setting a new one, deleting, and a
 * step of a walk take the logarithm of the entries, and when the entries outgrow their index a new
 * one is made of all of them. A walk also passes each table that has no more entries. Releasing a
 * table deletes its entries one by one. DxrHostSaveTables and DxrHostLoadTables go over all
 * entries, and changes wait until saving has them in memory; saving then waits until the disk has
 * them. */
#ifndef DXR_DEVHOST_SYSTEM_TABLE_H
#define DXR_DEVHOST_SYSTEM_TABLE_H

#include "dxr_devhost/host.h"

DXR_EXTERN_C_BEGIN

/* ---- Records of the slots --------------------------------------------------------------- */

/* What a table is. */
typedef struct DxrHostTable {
    uint32_t size; /* sizeof(DxrHostTable) */
    uint32_t tableId;
    uint32_t keyBytes;  /* of each key; 0: any number */
    uint32_t dataBytes; /* of each entry's data; 0: any number */
    uint32_t capacity;  /* how many entries a chip may have; 0: any number */
    uint32_t pool;      /* 0 to 65535: from which its entries come */
    uint32_t isStatic;  /* 1: it is there from the beginning and stays */
    uint32_t entries;   /* written by DXR_GetTblmAttr: of all chips together */
} DxrHostTable;

/* Data and mask of an entry. */
typedef struct DxrHostMaskedData {
    uint32_t size; /* sizeof(DxrHostMaskedData) */
    uint32_t tableId;
    uint32_t keyLen;  /* bytes */
    uint32_t dataLen; /* bytes of data and of mask */
    const void *key;
    const void *data;
    const void *mask;
} DxrHostMaskedData;

/* What DXR_GetCstPoolCount counts. */
#define DXR_HOST_POOL_USED 0u
#define DXR_HOST_POOL_FREE 1u
#define DXR_HOST_POOL_CAPACITY 2u

/* The chip of a walk through the entries of all chips, in the order of their numbers. */
#define DXR_HOST_EVERY_CHIP 0xFFFFFFFFu

/* A walk that begins. */
typedef struct DxrHostTableWalk {
    uint32_t size;    /* sizeof(DxrHostTableWalk) */
    uint32_t chip;    /* or DXR_HOST_EVERY_CHIP */
    uint32_t tableId; /* through several tables: not looked at */
    uint32_t tables;  /* through several tables: how many identifiers are given */
    uint32_t walk;    /* gets its number, from 1, to be released; 0 when it has not begun */
    uint32_t reserved;
} DxrHostTableWalk;

/* An entry that a walk gets. Null for key, data or mask: it is not wanted. */
typedef struct DxrHostTableEntry {
    uint32_t size;      /* sizeof(DxrHostTableEntry) */
    uint32_t keyRoom;   /* bytes at `key` */
    uint32_t dataRoom;  /* bytes at `data`, and at `mask` */
    uint32_t tableId;   /* gets the table */
    uint32_t chip;      /* gets the chip */
    uint32_t keyBytes;  /* gets the bytes of the key */
    uint32_t dataBytes; /* gets the bytes of the data and of the mask */
    uint32_t reserved;
    void *key;
    void *data;
    void *mask; /* all bits are 1 when the entry was set without one */
} DxrHostTableEntry;

DXR_STATIC_ASSERT(sizeof(DxrHostTable) == 32, "DxrHostTable is 32 bytes");
DXR_STATIC_ASSERT(offsetof(DxrHostTable, entries) == 28, "entries");
DXR_STATIC_ASSERT(sizeof(DxrHostMaskedData) == DXR_LAYOUT(40, 3), "DxrHostMaskedData is 40 bytes");
DXR_STATIC_ASSERT(offsetof(DxrHostMaskedData, key) == 16, "key");
DXR_STATIC_ASSERT(offsetof(DxrHostMaskedData, data) == DXR_LAYOUT(24, 1), "data");
DXR_STATIC_ASSERT(offsetof(DxrHostMaskedData, mask) == DXR_LAYOUT(32, 2), "mask");
DXR_STATIC_ASSERT(sizeof(DxrHostTableWalk) == 24, "DxrHostTableWalk is 24 bytes");
DXR_STATIC_ASSERT(offsetof(DxrHostTableWalk, walk) == 16, "walk");
DXR_STATIC_ASSERT(sizeof(DxrHostTableEntry) == DXR_LAYOUT(56, 3), "DxrHostTableEntry is 56 bytes");
DXR_STATIC_ASSERT(offsetof(DxrHostTableEntry, key) == 32, "key");
DXR_STATIC_ASSERT(offsetof(DxrHostTableEntry, data) == DXR_LAYOUT(40, 1), "data");
DXR_STATIC_ASSERT(offsetof(DxrHostTableEntry, mask) == DXR_LAYOUT(48, 2), "mask");

/* ---- What tables there are -------------------------------------------------------------- */

/* Describes the table `table->tableId`, for DXR_DynamicCreateTable; a static one is made at once.
 * Returns 0; EEXIST when it exists already, EINVAL when a number is none, ENOMEM. */
DXR_API uint32_t DxrHostDescribeTable(DxrHost *host, const DxrHostTable *table);

/* How many entries a pool of a chip has; 0xFFFFFFFF at first, which is no limit. Entries that there
 * are stay. Returns false for a chip above 65535 and without memory. */
DXR_API bool DxrHostSetTablePool(DxrHost *host, uint32_t chip, uint16_t pool, uint32_t capacity);

/* ---- Snapshots -------------------------------------------------------------------------- */

/* Writes all tables, pools and entries to a file; `path` null: "tables.bin" below the work path.
 * The file is replaced at once: after a crash it is the old or the new one. A step that fails, by
 * itself or by one of the points "table.open", "table.write", "table.sync" and "table.rename",
 * leaves the old one. Returns false then, and a line that says why is at `error` (at most
 * `errorSize` bytes, terminated; null: nowhere). */
DXR_API bool DxrHostSaveTables(DxrHost *host, const char *path, char *error, uint32_t errorSize);

/* Reads such a file; all tables, pools and entries become those of the file. Static tables stay:
 * one that is not in the file has no entries then, one that is none there takes its properties and
 * is static still. Descriptions of tables that do not exist stay, walks go on at their keys.
 * Returns false, and nothing has changed, when
 * it cannot be read (point "table.read"), is none, is of an unknown version or is torn; that is
 * reported, too, and `error` gets why. */
DXR_API bool DxrHostLoadTables(DxrHost *host, const char *path, char *error, uint32_t errorSize);

DXR_EXTERN_C_END

#endif /* DXR_DEVHOST_SYSTEM_TABLE_H */
