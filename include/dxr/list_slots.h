/* Made by hooks/generate.py from hooks/slots.yaml; do not edit. */

/* The functions of the List group that only hand a call to its slot. Included by dxr/list.h, which
 * says what they are and holds the others. */
#ifndef DXR_LIST_SLOTS_H
#define DXR_LIST_SLOTS_H

#include "dxr/base.h"

DXR_EXTERN_C_BEGIN

/* Creates a list. Slot 0; null without a hook. */
DXR_API void *DXR_CreateSll(void);

/* Adds data to a list. Slot 1; does nothing without a hook. In the development host: list, data,
 * position. */
DXR_API void DXR_AddSll(void *list, void *data, uint32_t arg3);

/* Removes data from a list. Slot 2; does nothing without a hook. In the development host: list,
 * data. */
DXR_API void DXR_RemoveSll(void *list, void *arg2);

/* Destroys a list. Slot 3; does nothing without a hook. */
DXR_API void DXR_DestroySll(void *list);

/* Gets the number of nodes of a list. Slot 4; 0 without a hook. */
DXR_API uint32_t DXR_SslGetCount(void *list);

/* Gets the node after the given one, the first for a null node. Slot 5; null without a hook. */
DXR_API void *DXR_SslGetNextNode(void *list, void *node);

/* Gets the data of a node. Slot 6; null without a hook. */
DXR_API void *DXR_SslGetNodeData(void *node);

/* Processes a single node of a list. Slot 7; 1 without a hook. In the development host: list, data,
 * action. */
DXR_API uint32_t DXR_SslProcSingleNode(void *list, void *arg2, uint32_t arg3);

DXR_EXTERN_C_END

#endif /* DXR_LIST_SLOTS_H */
