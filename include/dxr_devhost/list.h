/* The host's list service: all eight slots of the List group.
 *
 * Lists and nodes are handles: a bad, freed or foreign one is reported, and the call does nothing
 * and gives null, 0 or 1. A list keeps the pointers it is given, any number of times, and never
 * follows them. A null list is empty and keeps nothing; that is not reported.
 *
 *   DXR_CreateSll()                       a new list; null without memory (point "list.create")
 *   DXR_AddSll(list, data, position)      adds at the tail, or at the head: position 1. Without
 *                                         memory (point "list.add") nothing is added, and a report
 *                                         says so
 *   DXR_RemoveSll(list, data)             removes the first node with that data, if there is one
 *   DXR_DestroySll(list)                  releases the list and its nodes
 *   DXR_SslGetCount(list)                 the number of nodes
 *   DXR_SslGetNextNode(list, node)        the node after `node`, the first one for null; null at
 *                                         the end. `node` may have been removed since it was given
 *                                         out, the latest 64 removals of a list are remembered:
 *                                         the walk goes on with what followed it
 *   DXR_SslGetNodeData(node)              its data; null for a null node and a removed one
 *   DXR_SslProcSingleNode(list, data, action)   looks for the first node with that data and does
 *                                         what DXR_HOST_LIST_... says; 0 when it was found, 1 when
 *                                         not or when the action is unknown
 *
 * Any thread may call any of them; a walk by one thread while another one changes the list sees
 * each change or not, but never a wrong node.
 *
 * Cost: DXR_RemoveSll and DXR_SslProcSingleNode look at the nodes from the first one on,
 * DXR_DestroySll at all of them; the others take the same time whatever the list holds. */
#ifndef DXR_DEVHOST_LIST_H
#define DXR_DEVHOST_LIST_H

#include "dxr_devhost/host.h"

/* The last argument of DXR_AddSll. Any other value adds at the tail. */
#define DXR_HOST_LIST_TAIL 0u
#define DXR_HOST_LIST_HEAD 1u

/* The last argument of DXR_SslProcSingleNode. */
#define DXR_HOST_LIST_FIND 0u
#define DXR_HOST_LIST_REMOVE 1u
#define DXR_HOST_LIST_MOVE_TO_HEAD 2u

#endif /* DXR_DEVHOST_LIST_H */
