/* The host's message service: all eleven slots of the Msg group. Units of the device send records
 * to each other's mailboxes, within this process; between the processes of a chassis chassis.h says
 * what is otherwise.
 *
 * Sending. Each takes a DxrHostMessage and gives 0 or a number of <errno.h>.
 *   DXR_SendMsg(message)         to the unit that the message names
 *   DXR_SendMsgToMpu(message)    to main processing unit 0
 *   DXR_SendMsgToDevm(message)   to device management, number 0
 *   DXR_SendMsgToLpu(message)    to the line processing unit with the number of `to`
 *   DXR_SendMsgToSfu(message)    to the switch fabric unit with that number; these four write the
 *                                unit that they send to into `to`
 *   DXR_SendMsgToNp(kind)        an empty message of that kind from main processing unit 0 to
 *                                network processor 0. Nobody is told when it does not arrive or
 *                                cannot be sent; what was sent is counted
 *   DXR_SendEopEvent(event, data)   to device management: a message of the kind
 *                                DXR_HOST_MESSAGE_EOP with `event` as its code; `data` is a
 *                                DxrHostEopEvent, or null for no sender and no data
 *     EINVAL, reported, for a null pointer, one that is not aligned, a record of another size,
 *     an unknown unit or flag, and bytes without data; EMSGSIZE for more than
 *     DXR_HOST_MESSAGE_BYTES; ENXIO when nobody has a mailbox there; ENOBUFS when the mailbox is
 *     full, and when the message would be late or held while DXR_HOST_MOST_LATE_MESSAGES are;
 *     ENOMEM (point "message.send"); ECANCELED without a host and after the run's end. What fails
 *     has sent nothing, unless it failed while it waited for an acknowledgement. 0 says that the
 *     message is on its way, not that it will arrive.
 *
 * Acknowledgements. A sender that sets DXR_HOST_MESSAGE_ACK waits, in the host's time, until the
 * receiver has acknowledged: with 0 the result that it gave is in `result`; ETIMEDOUT when that
 * does not come within `timeoutMs`. The message may have arrived all the same.
 *
 * What may happen on the way, in this order; senders see 0. Each is counted (DxrHostCountMessages)
 * and said at level 6.
 *   lost    when the table of simulated messages (dxr/simulate_message.h) says so of its kind: the
 *           library's own message. With the real clock several threads that send one kind at once
 *           may lose one more or fewer than set
 *   lost    when the filter tree (DxrHostSetMessageFilter) says so of the path unit, number, kind
 *   lost    by point "message.lose"
 *   twice   by point "message.twice": it arrives two times, with the same sequence; each of the two
 *           may be late or held back
 *   late    by point "message.delay": it arrives after 1 to DXR_HOST_MESSAGE_DELAY_MS
 *           milliseconds, which chance chooses
 *   held    by point "message.reorder": it arrives after the next one for its mailbox, at the
 *           latest after DXR_HOST_MESSAGE_DELAY_MS milliseconds
 * What comes late to a mailbox that is full or closed by then is lost. Without these, messages of
 * one sender to one mailbox arrive in the order of their sending.
 *
 * Events
 *   DXR_GetTriggerTypeByEvent(event)   DXR_HOST_TRIGGER_..., DXR_HOST_ERROR_... of an event, by
 *   DXR_GetErrTypeByEvent(event)       the table below; 0 for one that is not there
 *   DXR_GetTriggerStr(trigger)         its text, "invalid" for one that is not there; it stays as
 *                                      long as the host
 *
 *     event                           trigger                  text        error
 *     DXR_HOST_EVENT_LINK             DXR_HOST_TRIGGER_IRQ     interrupt   DXR_HOST_ERROR_LINK
 *     DXR_HOST_EVENT_MEMORY           DXR_HOST_TRIGGER_IRQ     interrupt   DXR_HOST_ERROR_MEMORY
 *     DXR_HOST_EVENT_QUEUE            DXR_HOST_TRIGGER_POLL    poll        DXR_HOST_ERROR_QUEUE
 *     DXR_HOST_EVENT_ENVIRONMENT      DXR_HOST_TRIGGER_POLL    poll        DXR_HOST_ERROR_BOARD
 *     DXR_HOST_EVENT_HEART_BEAT       DXR_HOST_TRIGGER_TIMER   timer       DXR_HOST_ERROR_PEER
 *     DXR_HOST_EVENT_MESSAGE          DXR_HOST_TRIGGER_PEER    message     DXR_HOST_ERROR_PEER
 *     DXR_HOST_EVENT_COMMAND          DXR_HOST_TRIGGER_USER    command     DXR_HOST_ERROR_NONE
 *
 * The mesh
 *   DXR_SetMeshFd(fd)            keeps the descriptor, which stays the caller's, for
 *                                DxrHostGetMeshFd: a chassis does without it, and nothing is
 *                                read from it or written to it. 0xFFFFFFFF takes it
 *                                back; one that is not open is reported, and not kept
 *
 * Mailboxes that are open at the host's end were left behind, with the number of messages in them
 * that nobody fetched; what is late or held then is lost. Any thread may call any of these
 * functions at any time.
 *
 * Cost: sending copies the message, reads the table of simulated messages up to its kind, asks the
 * filter tree, and takes the logarithm of how many mailboxes are open; while messages are late or
 * held, of which there are at most DXR_HOST_MOST_LATE_MESSAGES, one that joins them and one that
 * arrives look at them all. DxrHostCloseMailbox goes over the messages that wait. */
#ifndef DXR_DEVHOST_MESSAGE_H
#define DXR_DEVHOST_MESSAGE_H

#include "dxr_devhost/host.h"

DXR_EXTERN_C_BEGIN

/* ---- Messages --------------------------------------------------------------------------- */

/* Kinds of units. Names in messages and reports: "mpu 0", "lpu 3", "sfu 1", "devm 0", "np 2". */
#define DXR_HOST_UNIT_MPU 1u  /* main processing unit */
#define DXR_HOST_UNIT_LPU 2u  /* line processing unit */
#define DXR_HOST_UNIT_SFU 3u  /* switch fabric unit */
#define DXR_HOST_UNIT_DEVM 4u /* device management */
#define DXR_HOST_UNIT_NP 5u   /* network processor */

/* One unit of the device. */
typedef struct DxrHostUnit {
    uint32_t kind;   /* DXR_HOST_UNIT_...; 0 where a sender wants no name */
    uint32_t number; /* its slot or number, any */
} DxrHostUnit;

/* At most: bytes of a message, milliseconds of its delay, messages that are late or held. */
#define DXR_HOST_MESSAGE_BYTES 65536u
#define DXR_HOST_MESSAGE_DELAY_MS 100u
#define DXR_HOST_MOST_LATE_MESSAGES 1024u

/* DxrHostMessage::flags */
#define DXR_HOST_MESSAGE_ACK 1u /* the sender waits for an acknowledgement */

/* A message. Modules fill it to send; handlers and receivers get one. */
typedef struct DxrHostMessage {
    uint32_t size; /* sizeof(DxrHostMessage) */
    uint32_t kind; /* any number: the type that loss tables and filters know */
    DxrHostUnit from;
    DxrHostUnit to;
    uint32_t flags;     /* DXR_HOST_MESSAGE_... */
    uint32_t timeoutMs; /* how long to wait for an acknowledgement; DXR_HOST_FOREVER: without end;
                           0: only for that of a handler that is called at once */
    uint64_t sequence;  /* given by the host, from 1; written into the sender's record, too;
                           in a chassis it begins with the board */
    uint32_t code;      /* any number, handed on */
    uint32_t result;    /* gets the acknowledgement's result */
    const void *data;   /* copied when it is sent; may be null with 0 bytes */
    uint32_t bytes;     /* at `data`, at most DXR_HOST_MESSAGE_BYTES */
    uint32_t reserved;
} DxrHostMessage;

DXR_STATIC_ASSERT(offsetof(DxrHostMessage, from) == 8, "modules build the record: fixed layout");
DXR_STATIC_ASSERT(offsetof(DxrHostMessage, sequence) == 32, "fixed layout");
DXR_STATIC_ASSERT(offsetof(DxrHostMessage, data) == 48, "fixed layout");
DXR_STATIC_ASSERT(sizeof(DxrHostMessage) == DXR_LAYOUT(64, 1) ||
                      sizeof(DxrHostMessage) == DXR_LAYOUT(68, 1),
                  "fixed layout");

/* The kind of the messages of DXR_SendEopEvent. */
#define DXR_HOST_MESSAGE_EOP 0x454F50u

/* What DXR_SendEopEvent is given. */
typedef struct DxrHostEopEvent {
    uint32_t size; /* sizeof(DxrHostEopEvent) */
    uint32_t bytes;
    DxrHostUnit from;
    const void *data; /* may be null with 0 bytes */
} DxrHostEopEvent;

DXR_STATIC_ASSERT(sizeof(DxrHostEopEvent) == DXR_LAYOUT(24, 1), "fixed layout");

/* ---- Mailboxes -------------------------------------------------------------------------- */

/* Called with a message for its mailbox: on the thread that sent it, or for what was late on the
 * task "timer" or, with the stepped clock, on the thread that moves it. A mailbox's handler is
 * called for one message after the other: what is sent meanwhile, also by the handler itself,
 * waits, and the thread that is in the handler takes it next. No lock of the host is held. The
 * message and its data stay until the handler returns, or the host has ended. Its result
 * acknowledges the message when the sender waits; DXR_HOST_ACK_LATER: DxrHostAcknowledge will.
 * An exception that leaves it is reported, and its result then is ECANCELED. One that ends its
 * thread acknowledges nothing; what waits behind its message is handled on the task "timer". */
typedef uint32_t (*DxrHostMessageHandler)(const DxrHostMessage *message, void *user);
#define DXR_HOST_ACK_LATER 0xFFFFFFFFu

/* A mailbox that is opened. */
typedef struct DxrHostMailbox {
    uint32_t size; /* sizeof(DxrHostMailbox) */
    uint32_t most; /* messages that may wait in it; 0: 1024 */
    DxrHostUnit unit;
    DxrHostMessageHandler handler; /* null: messages wait for DxrHostReceiveMessage */
    void *user;
} DxrHostMailbox;

/* Opens the mailbox of a unit. 0; EINVAL for a null pointer, another size and an unknown unit;
 * EEXIST when the unit has one; ENOMEM (point "mailbox.open"); ECANCELED without a host. */
DXR_API uint32_t DxrHostOpenMailbox(DxrHost *host, const DxrHostMailbox *mailbox);

/* Closes it. Messages that wait in it are lost, receivers that wait for some give up (ENOENT). When
 * it returns the handler does not run, unless it is the caller, and will not. 0; ENOENT when it is
 * not open; EINVAL for a null pointer; ENOMEM: it is open still; ECANCELED without a host. */
DXR_API uint32_t DxrHostCloseMailbox(DxrHost *host, const DxrHostUnit *unit);

/* Waits for a message in a mailbox without a handler and takes it: into `message`, whose `data` is
 * then `buffer`. `size` are the bytes at `buffer`, which may be null with 0. `ms` are milliseconds
 * of the host's clock: 0 looks without waiting, DXR_HOST_FOREVER waits without end. One of those
 * who wait gets a message. Returns 0; ETIMEDOUT; ENOENT when no such mailbox is open, or no longer;
 * EINVAL for a null pointer and a mailbox with a handler; ENOMEM; ECANCELED without a host, and
 * when host or run end or have ended and no message waits; EMSGSIZE when the buffer does not
 * suffice: the message stays the next one, and `message` says how many bytes it has. */
DXR_API uint32_t DxrHostReceiveMessage(DxrHost *host, const DxrHostUnit *unit,
                                       DxrHostMessage *message, void *buffer, uint32_t size,
                                       uint32_t ms);

/* Acknowledges a message to the sender that waits for that, with a result. 0; ENOENT when nobody
 * waits: it was not wanted, it was given before, or the time was over; EINVAL for a null pointer;
 * ECANCELED without a host. */
DXR_API uint32_t DxrHostAcknowledge(DxrHost *host, const DxrHostMessage *message, uint32_t result);

/* How many messages wait in a unit's mailbox; 0 when it is not open. */
DXR_API uint32_t DxrHostGetWaitingMessages(DxrHost *host, const DxrHostUnit *unit);

/* ---- Losses ----------------------------------------------------------------------------- */

/* The filter tree that is asked from now on, with the path unit kind, unit number, message kind;
 * null: none. It stays the caller's, who takes it back before its end. The host asks for one
 * message at a time; others use the tree by the two functions below, or while nobody sends. Classes
 * of the caller's own in it must not call the host. */
DXR_API void DxrHostSetMessageFilter(DxrHost *host, DxrMessageFilter *filter);

/* DXR_SetMessageFilterCount for the path of the first `num` numbers at `path`, at most 3;
 * DXR_GetMessageFilterStr. Nothing happens without a tree. */
DXR_API void DxrHostSetMessageFilterCount(DxrHost *host, uint32_t lostCnt, uint32_t num,
                                          const uint32_t *path);
DXR_API void DxrHostGetMessageFilterText(DxrHost *host, char *buffer, uint32_t bufferSize);

/* What has happened to messages since the host was made. */
typedef struct DxrHostMessageCounts {
    uint64_t sent;      /* with 0, or with a wait for an acknowledgement */
    uint64_t arrived;   /* in mailboxes, also for the second time */
    uint64_t taken;     /* by receivers and handlers */
    uint64_t simulated; /* lost by the table of simulated messages */
    uint64_t filtered;  /* lost by the filter tree */
    uint64_t lost;      /* by point "message.lose" */
    uint64_t twice;
    uint64_t late;
    uint64_t held;
    uint64_t refused;  /* nobody was there, or the mailbox was full */
    uint64_t dropped;  /* with a mailbox that was closed */
    uint64_t timedOut; /* acknowledgements that did not come in time */
} DxrHostMessageCounts;

DXR_STATIC_ASSERT(sizeof(DxrHostMessageCounts) == 96, "fixed layout");

/* `counts` must not be null; zeros without a host. */
DXR_API void DxrHostCountMessages(DxrHost *host, DxrHostMessageCounts *counts);

/* ---- Events and the mesh ---------------------------------------------------------------- */

/* The events of the table above. */
#define DXR_HOST_EVENT_LINK 1u
#define DXR_HOST_EVENT_MEMORY 2u
#define DXR_HOST_EVENT_QUEUE 3u
#define DXR_HOST_EVENT_ENVIRONMENT 4u
#define DXR_HOST_EVENT_HEART_BEAT 5u
#define DXR_HOST_EVENT_MESSAGE 6u
#define DXR_HOST_EVENT_COMMAND 7u

/* What an event comes from. */
#define DXR_HOST_TRIGGER_IRQ 1u
#define DXR_HOST_TRIGGER_POLL 2u
#define DXR_HOST_TRIGGER_TIMER 3u
#define DXR_HOST_TRIGGER_PEER 4u
#define DXR_HOST_TRIGGER_USER 5u

/* Errors that an event tells of. */
#define DXR_HOST_ERROR_NONE 0u
#define DXR_HOST_ERROR_LINK 1u
#define DXR_HOST_ERROR_MEMORY 2u
#define DXR_HOST_ERROR_QUEUE 3u
#define DXR_HOST_ERROR_BOARD 4u
#define DXR_HOST_ERROR_PEER 5u

/* Sets an event's trigger and error, and a trigger's text, which is copied; null takes the text
 * away. Any numbers. Texts stay as long as the host, since modules may have their addresses; a text
 * that was there before is the same one. Return false without memory, and, reported, for another
 * event or text when there are DXR_HOST_MOST_EVENTS events or triggers with a text, or
 * DXR_HOST_MOST_TRIGGER_TEXTS texts. */
#define DXR_HOST_MOST_EVENTS 10000u
#define DXR_HOST_MOST_TRIGGER_TEXTS 1000u
DXR_API bool DxrHostSetEvent(DxrHost *host, uint32_t event, uint32_t trigger, uint32_t error);
DXR_API bool DxrHostSetTriggerText(DxrHost *host, uint32_t trigger, const char *text);

/* What DXR_SetMeshFd gave; -1 without one. */
DXR_API int DxrHostGetMeshFd(DxrHost *host);

DXR_EXTERN_C_END

#endif /* DXR_DEVHOST_MESSAGE_H */
