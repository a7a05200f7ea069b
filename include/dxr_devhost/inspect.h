/* What there is in a host, for programs that show it, as the shell of dxrsh does. Not a part of
 * dxr_devhost.h: modules and most hosts need it not.
 *
 * Any thread may call these functions; what they copy is true of one moment. They take longer the
 * more mailboxes or tables there are. */
#ifndef DXR_DEVHOST_INSPECT_H
#define DXR_DEVHOST_INSPECT_H

#include "dxr_devhost/message.h"
#include "dxr_devhost/system_table.h"

DXR_EXTERN_C_BEGIN

/* What is known of an open mailbox. */
typedef struct DxrHostMailboxInfo {
    DxrHostUnit unit;
    uint32_t most;       /* messages that may wait in it */
    uint32_t waiting;    /* messages that wait in it */
    uint32_t hasHandler; /* 1: a function is called with them */
    uint32_t reserved;
} DxrHostMailboxInfo;

DXR_STATIC_ASSERT(sizeof(DxrHostMailboxInfo) == 24, "fixed layout");

/* Copies what is known of the open mailboxes, in the order of their units, at most `room` of them.
 * Returns how many there are; `mailboxes` may be null when `room` is 0. */
DXR_API uint32_t DxrHostGetMailboxes(DxrHost *host, DxrHostMailboxInfo *mailboxes, uint32_t room);

/* The filter tree that is asked (DxrHostSetMessageFilter), to be compared with one's own: another's
 * is not to be used, as it may be gone at once. Null: none. */
DXR_API DxrMessageFilter *DxrHostGetMessageFilter(DxrHost *host);

/* Copies the properties of all tables of the table manager, in the order of their numbers, at most
 * `room` of them. Returns how many there are; `tables` may be null when `room` is 0. */
DXR_API uint32_t DxrHostGetTables(DxrHost *host, DxrHostTable *tables, uint32_t room);

DXR_EXTERN_C_END

#endif /* DXR_DEVHOST_INSPECT_H */
