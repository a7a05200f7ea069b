/* Boards of a chassis: hosts of several processes, whose units send messages to each other with the
 * slots of message.h. `dxrsh chassis` starts such boards; a program of its own joins its host as it
 * does.
 *
 * Who is reached. A chassis is a list of boards, the same one in each of its processes. Each board
 * has an address, which it listens at, and the units that are on it. A message goes
 *   - into the mailbox of this process, when its unit has one here;
 *   - else to the board that has the unit;
 *   - else nowhere: ENXIO.
 * Addresses are those of ZeroMQ: "ipc://PATH", "tcp://ADDRESS:PORT" with a number as the address
 * ("127.0.0.1", "[::1]").
 *
 * What the sender is told. 0 says, as within one process, that the message is on its way, not that
 * it will arrive: a board that has just started waits for nobody, and a mailbox there may be closed
 * or full, which that board counts as `refused`. ENOBUFS when DXR_HOST_MOST_OUTGOING_MESSAGES or
 * DXR_HOST_MOST_OUTGOING_BYTES wait to leave the board.
 *   An acknowledgement comes from the module that took the message: from its handler's result, or
 * from DxrHostAcknowledge, which gives 0 for a message of another board when that wanted an
 * acknowledgement, whether its sender still waits or not. What was acknowledged was taken; what was
 * not, ETIMEDOUT, may have been taken all the same.
 *   A board that is not there, or stopped, gets nothing: what is sent to it waits as long as its
 * sender waits for the acknowledgement, at most DXR_HOST_PATIENCE_MS milliseconds after it was sent
 * and after its board took something last, and is lost then. What was on its way to a board that
 * dies is lost. A board that is started again gets what waits, and is told nothing else of its
 * former life; an acknowledgement for that reaches nobody.
 *
 * Losses, doubles, delays and another order happen at the sender, as message.h says, before a
 * message leaves the board. Messages of one sender to one mailbox arrive in the order of their
 * sending.
 *
 * Sequences begin with the board (10 bits, from 1) and its incarnation (14 bits), the other 40 bits
 * count from 1: no two messages of a chassis have the same one.
 *
 * Handlers are called for messages of other boards on the task "timer": one after the other, and
 * timers wait meanwhile.
 *
 * Keys. With keys, each board proves that it has its secret key, boards take messages of boards of
 * the list alone, and nobody else can read or change what they say (CURVE). An address beyond this
 * machine needs them. Whoever has a key is trusted: a board may send in the name of any unit. Files
 * of "ipc" addresses are as safe as their directory.
 *
 * The clock is the machine's: hosts with another one cannot join. A build without libzmq has no
 * chassis. Any thread may call any of these functions at any time.
 *
 * Cost: DxrHostJoinChassis goes over the plan's boards and units, of which it has a copy, and makes
 * the thread of the connection; a message to another board is copied, and waits for nobody. */
#ifndef DXR_DEVHOST_CHASSIS_H
#define DXR_DEVHOST_CHASSIS_H

#include "dxr_devhost/message.h"

DXR_EXTERN_C_BEGIN

/* At most: boards of a chassis; the incarnation of a board; what waits to leave a board; and how
 * long a message waits for a board that takes nothing, in milliseconds. */
#define DXR_HOST_MOST_BOARDS 1000u
#define DXR_HOST_MOST_INCARNATION 16383u
#define DXR_HOST_MOST_OUTGOING_MESSAGES 65536u
#define DXR_HOST_MOST_OUTGOING_BYTES 67108864u
#define DXR_HOST_PATIENCE_MS 1000u

/* Bytes of a key as a text, with its end. */
#define DXR_HOST_KEY_BYTES 41u

/* A board, as all boards know it. */
typedef struct DxrHostChassisBoard {
    const char *address;
    const char *publicKey; /* null: no keys in this chassis */
    const DxrHostUnit *units;
    uint32_t unitCount; /* at `units`; each unit of a chassis is on one board */
    uint32_t reserved;
} DxrHostChassisBoard;

/* A chassis, as one of its boards knows it. */
typedef struct DxrHostChassisPlan {
    uint32_t size;                     /* sizeof(DxrHostChassisPlan) */
    uint32_t boardCount;               /* at `boards` */
    const DxrHostChassisBoard *boards; /* in the same order for all of them */
    const char *secretKey;             /* of this board; null: no keys */
    uint32_t self;                     /* which of the boards this one is */
    uint32_t incarnation;              /* another one each time that the board is started, at most
                             DXR_HOST_MOST_INCARNATION; then they begin again */
} DxrHostChassisPlan;

DXR_STATIC_ASSERT(sizeof(DxrHostChassisBoard) == DXR_LAYOUT(32, 3), "fixed layout");
DXR_STATIC_ASSERT(sizeof(DxrHostChassisPlan) == DXR_LAYOUT(32, 2), "fixed layout");

/* Makes the host a board of a chassis, until its end. Everything is copied. 0; EINVAL for a null
 * pointer, another size, a host whose clock is not the real one, too many boards, a number that is
 * none of them, an address or a unit that is none or on two boards, and a key that is none or
 * missing; EACCES for an address beyond this machine without keys; EEXIST when the host is a board
 * already; ENOTSUP in a build without libzmq; what keeps it from listening, as EADDRINUSE; ENOMEM;
 * ECANCELED without a host. */
DXR_API uint32_t DxrHostJoinChassis(DxrHost *host, const DxrHostChassisPlan *chassis);

/* Cuts the board off, or joins it again: while it is cut off, what it sends to others and what they
 * send to it is lost. 0; ENOENT for a host that is no board; ECANCELED without a host. */
DXR_API uint32_t DxrHostCutOff(DxrHost *host, bool isCutOff);

/* What a board's connection has done since it joined. */
typedef struct DxrHostChassisCounts {
    uint64_t sent;         /* messages that left the board */
    uint64_t received;     /* messages of other boards; DxrHostCountMessages tells where to */
    uint64_t unreached;    /* waited for their board in vain */
    uint64_t cutOff;       /* lost while the board was cut off */
    uint64_t acknowledged; /* acknowledgements that came from other boards */
    uint64_t malformed;    /* messages of others that were none, or for units elsewhere */
    uint64_t waiting;      /* wait now to leave the board */
} DxrHostChassisCounts;

DXR_STATIC_ASSERT(sizeof(DxrHostChassisCounts) == 56, "fixed layout");

/* `counts` must not be null; zeros without a host, and for one that is no board. */
DXR_API void DxrHostCountChassis(DxrHost *host, DxrHostChassisCounts *counts);

/* Ends the run of a host with the real clock, as a reset does, but without a report: every wait
 * ends with its failure value, and no timer runs any more. Its module then returns from
 * DxrModuleMain. 0; EINVAL for another clock; ECANCELED without a host. */
DXR_API uint32_t DxrHostStop(DxrHost *host);

/* What is at an address. */
#define DXR_HOST_ADDRESS_NONE 0u  /* it is no address */
#define DXR_HOST_ADDRESS_HERE 1u  /* this machine: "ipc", and "tcp" with a loopback address */
#define DXR_HOST_ADDRESS_THERE 2u /* other machines may reach it, or are reached */
DXR_API uint32_t DxrHostGetAddressKind(const char *address);

/* Makes a pair of keys, as texts of DXR_HOST_KEY_BYTES bytes. 0; EINVAL for a null pointer; ENOTSUP
 * in a build without libzmq, or with one without keys. */
DXR_API uint32_t DxrHostMakeKeys(char *publicKey, char *secretKey);

/* Writes the public key that belongs to a secret one, as a text of DXR_HOST_KEY_BYTES bytes. 0;
 * EINVAL for a null pointer and for a text that is no key; ENOTSUP as above. */
DXR_API uint32_t DxrHostGetPublicKey(const char *secretKey, char *publicKey);

DXR_EXTERN_C_END

#endif /* DXR_DEVHOST_CHASSIS_H */
