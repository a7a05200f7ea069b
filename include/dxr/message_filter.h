/* The message filter tree: messages are known by a path of 32-bit message types, one per level. The
 * host describes the tree once, as nested records; each node holds the number of messages still to
 * be filtered, and each query that finds a node with a count left uses up one. Nodes can be counted
 * anew by path and listed as text.
 *
 * A path is matched level by level. Composites take their message type off the path, and what a
 * composite took stays taken when none of its children matches: the siblings after it are asked
 * with the rest. A leaf takes nothing and ignores what lies deeper. Host configurations rely on
 * both.
 *
 * Paths are given in two ways, which differ in where they begin:
 *
 *                          DXR_IsMessageFiltered,          IsFiltered, SetLostCnt, Find
 *                          DXR_SetMessageFilterCount       of a node
 *     given as             a number, then uint32_t ...     a std::list<uint32_t>
 *     begins               below the root: its children    with the node's own type, 0 for the root
 *     the root itself      number 0                        {0}
 *     child 5's child 7    2, 5, 7                         {0, 5, 7} of the root, {5, 7} of child 5
 *     an empty one         is the root                     finds nothing
 *     afterwards           as it was                       consumed, as far as composites matched
 *
 * Memory: the classes use the ordinary allocator, a composite owns its children. std::bad_alloc is
 * the one exception of the library's own that can leave these functions: a query, a setting or a
 * listing has changed nothing then; what is left of a building stands at each function.
 *
 * Cost: a query or a setting asks, on each level, the children in their order until one answers. It
 * allocates for paths of more than 15 types, and where a node is of a host's own class. Building
 * and listing take each node once.
 *
 * Thread safety: none. The calls on one tree must be serialised, listing it included; trees are
 * independent of each other, so that different ones may be used by different threads at once. */
#ifndef DXR_MESSAGE_FILTER_H
#define DXR_MESSAGE_FILTER_H

#include "dxr/base.h"

#ifdef __cplusplus
#include <list>
#include <string>
#include <vector>

namespace Dxr {

class MessageFilterWalk; /* the library's own way down a tree */

/* A node of the tree. It has one owner and one place: nodes cannot be copied. Which virtual
 * operation has which slot is part of the binary interface. The functions below ask nodes of a
 * host's own class by Find, and nodes of the library's two classes as Find would. */
class DXR_API MessageFilterComponent {
  public:
    virtual ~MessageFilterComponent();
    MessageFilterComponent(const MessageFilterComponent &) = delete;
    MessageFilterComponent &operator=(const MessageFilterComponent &) = delete;

    /* A composite takes `child` (not null) as its last one and owns it from the call on; a child
     * for which memory runs out is freed. Here, and so in a leaf, nothing happens: the child is
     * neither kept nor freed. */
    virtual void Add(MessageFilterComponent *child);

    /* Appends the listing of the node and all below it to `out`: one line a node, "\r\n" behind
     * each, indented by 4 spaces a layer. */
    virtual void GetFilterStr(std::string &out) const;

    /* The node that `path` leads to, this one or one below it; null if there is none. `path` begins
     * with this node's own message type and is consumed on the way; an empty one finds nothing. */
    virtual MessageFilterComponent *Find(std::list<uint32_t> &path) = 0;

    /* True if the node has this message type. */
    [[nodiscard]] bool IsSameMsgType(uint32_t type) const;

    /* The depth: 0 for the root. */
    [[nodiscard]] uint32_t GetLayer() const;

    /* True if `path` finds a node with messages left to filter: takes one off its count. */
    bool IsFiltered(std::list<uint32_t> &path);

    /* Sets the count of the node that `path` finds to `count` messages. 0; 1 if it finds none. */
    uint32_t SetLostCnt(std::list<uint32_t> &path, uint32_t count);

  protected:
    MessageFilterComponent(const std::string &nodeName, uint32_t type, uint32_t count,
                           uint32_t depth);

    /* The layout is part of the binary interface. A class that a host derives may read and change
     * what it inherits, between two calls on the tree. */
    std::string name;
    uint32_t msgType;
    uint32_t lostCnt; /* messages still to be filtered */
    uint32_t layer;

  private:
    friend class MessageFilterWalk;
};

/* An inner node, and the root. */
class DXR_API MessageFilterComposite : public MessageFilterComponent {
  public:
    MessageFilterComposite(const std::string &nodeName, uint32_t type, uint32_t count,
                           uint32_t depth);
    ~MessageFilterComposite() override; /* deletes the children */

    void Add(MessageFilterComponent *child) override;
    void GetFilterStr(std::string &out) const override; /* no line for a root */
    MessageFilterComponent *Find(std::list<uint32_t> &path) override;

    /* True if the depth is 0. */
    [[nodiscard]] bool IsFilterRoot() const;

  private:
    friend class MessageFilterWalk;

    uint32_t hasForeignChild_ = 0; /* one of a host's class; lies where padding would be */

  protected:
    std::vector<MessageFilterComponent *> children; /* owned; none is null */
};

/* A node without children. */
class DXR_API MessageFilterLeaf : public MessageFilterComponent {
  public:
    MessageFilterLeaf(const std::string &nodeName, uint32_t type, uint32_t count, uint32_t depth);
    ~MessageFilterLeaf() override;

    MessageFilterComponent *Find(std::list<uint32_t> &path) override;
};

}  // namespace Dxr

/* The handle: the root of a tree. */
using DxrMessageFilter = Dxr::MessageFilterComponent;
#else
/* The handle: the root of a tree; opaque in C. */
typedef struct DxrMessageFilter DxrMessageFilter;
#endif

DXR_EXTERN_C_BEGIN

/* Bytes of a node's name. */
#define DXR_MESSAGE_FILTER_NAME_SIZE 32

#pragma pack(push, 4)
/* One node as the host describes it, with everything below it. */
typedef struct DxrMessageFilterInfo {
    uint32_t msgType;
    uint32_t lostCnt;                              /* messages to filter from the start */
    char name[DXR_MESSAGE_FILTER_NAME_SIZE];       /* ends at its first NUL or at its size */
    const struct DxrMessageFilterInfo *subFilters; /* not read when `subFilterNum` is 0 */
    uint32_t subFilterNum;                         /* 0: a leaf; else a composite */
} DxrMessageFilterInfo;
#pragma pack(pop)

DXR_STATIC_ASSERT(sizeof(DxrMessageFilterInfo) == DXR_LAYOUT(52, 1),
                  "the host builds the records: fixed layout");
DXR_STATIC_ASSERT(offsetof(DxrMessageFilterInfo, msgType) == 0, "fixed layout");
DXR_STATIC_ASSERT(offsetof(DxrMessageFilterInfo, lostCnt) == 4, "fixed layout");
DXR_STATIC_ASSERT(offsetof(DxrMessageFilterInfo, name) == 8, "fixed layout");
DXR_STATIC_ASSERT(offsetof(DxrMessageFilterInfo, subFilters) == 40, "fixed layout");
DXR_STATIC_ASSERT(offsetof(DxrMessageFilterInfo, subFilterNum) == DXR_LAYOUT(48, 1),
                  "fixed layout");

/* Builds the tree of the `num` records at `info` under a root named "root" with message type 0 and
 * count 0. The records are copied and may go afterwards. Null if `info` is null; else the tree, the
 * caller's until DXR_DestroyMessageFilter. When memory runs out std::bad_alloc leaves the function:
 * the node under construction is freed then, what stands of the tree is not. */
DXR_NODISCARD DXR_API DxrMessageFilter *DXR_CreateMessageFilter(const DxrMessageFilterInfo *info,
                                                                uint32_t num);

/* Frees the whole tree and sets the handle to null. A null `filter` or a null handle: nothing
 * happens. */
DXR_API void DXR_DestroyMessageFilter(DxrMessageFilter **filter);

/* Writes the listing of the tree into `buffer` of `bufferSize` bytes. It is never cut: if it does
 * not fit with its terminator, a text with the error code of the copy stands there instead (cut to
 * what fits). A null handle, a null buffer or a size of 0: nothing is written. */
DXR_API void DXR_GetMessageFilterStr(const DxrMessageFilter *filter, char *buffer,
                                     uint32_t bufferSize);

/* Sets the count of the node at a path of `num` message types, each passed as uint32_t, to
 * `lostCnt` messages. The path begins below the root; `num` 0 means the root itself. A path that
 * leads nowhere or a null handle: nothing happens. */
DXR_API void DXR_SetMessageFilterCount(DxrMessageFilter *filter, uint32_t lostCnt, uint32_t num,
                                       ...);

/* 1 if the message with this path (as above) is to be filtered, which takes one off the node's
 * count; 0 if not, or for a null handle. */
DXR_API uint8_t DXR_IsMessageFiltered(DxrMessageFilter *filter, uint32_t num, ...);

/* Builds the node of `info` and all below it, depth first, one layer under `parent`, and hands each
 * node to its parent's Add. Neither may be null. Memory running out: as for
 * DXR_CreateMessageFilter. */
DXR_API void DxrAddMessageFilterToComposite(DxrMessageFilter *parent,
                                            const DxrMessageFilterInfo *info);

DXR_EXTERN_C_END

#endif /* DXR_MESSAGE_FILTER_H */
