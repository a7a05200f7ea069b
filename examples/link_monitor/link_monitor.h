/* link_monitor: a module that watches links and tells when they come and go. What others need to
 * know of it: its arguments, messages, table and alarm.
 *
 * Arguments, in any order
 *   --sys DIR       where the links' files are; default /sys/class/net, the machine's own
 *   --replay FILE   a file of events instead, in the folder of binary data; see link_source.h
 *   --polls N       ends after so many looks; default 0: runs until a message or the events end it
 *   --every MS      milliseconds between two looks; default 1000
 *
 * DxrModuleMain returns 0, 1 when the platform did not give what it needs, 2 for wrong arguments.
 *
 * Which links there are says the file "links.bin" in the folder of binary data: a record of
 * LINK_NAME_SIZE bytes for each, its name, filled up with NUL. A link's number is its place there.
 */
#ifndef LINK_MONITOR_H
#define LINK_MONITOR_H

#include <dxr_api.h>

#define LINK_MONITOR_MID 40u
#define LINK_MONITOR_NAMES "links.bin"
#define LINK_NAME_SIZE 16u
#define LINK_MOST 64u

/* Messages to line processing unit LINK_MONITOR_UNIT. The acknowledgement's result: */
#define LINK_MONITOR_UNIT 1u
#define LINK_MESSAGE_QUERY 1u  /* 1 when link `code` is up, 0 when not, LINK_NONE: no such link */
#define LINK_MESSAGE_REPORT 2u /* how many links are up; they are also logged */
#define LINK_MESSAGE_STOP 3u   /* 0; the module ends */
#define LINK_NONE 0xFFFFu      /* also for other kinds of messages */

/* The table, by link number (uint32_t), while the module is at work. */
#define LINK_TABLE 300u
typedef struct LinkRow {
    uint32_t isUp;
    uint32_t losses;     /* how often it went down */
    uint32_t changedSec; /* when it came or went, in seconds since 1970 */
    uint32_t reserved;
    uint64_t errors; /* as the link counts them */
} LinkRow;

/* Raised for a link (the object) that goes down too often: LINK_FAULT_LOSSES times within
 * LINK_FAULT_SEC seconds; cleared when that is over. */
#define LINK_ALARM 1u
#define LINK_FAULT_LOSSES 3u
#define LINK_FAULT_SEC 60u

#endif /* LINK_MONITOR_H */
