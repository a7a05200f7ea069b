/* The host's alarm service: both slots of the Alarm group that are used.
 *
 *   DXR_Alarm(alarm, object, severity, state, text)   raises or clears an alarm
 *       alarm     what is wrong: any number
 *       object    where: any number, of a chip, a port or a board
 *       severity  DXR_HOST_ALARM_CRITICAL to DXR_HOST_ALARM_WARNING
 *       state     DXR_HOST_ALARM_RAISED or DXR_HOST_ALARM_CLEARED
 *       text      further words, copied; may be null
 *   DXR_FmAlarm(alarm)                      the same for an alarm of fault management, by a
 *                                           DxrHostFmAlarm
 *
 * Results are 0 or a number of <errno.h>: EINVAL, reported, for another severity or state, a null
 * record, one that is not aligned and one of another size; ENOENT for clearing what is not raised;
 * ENOMEM without memory (point "alarm.raise"); ENOSPC, reported, for another alarm when
 * DXR_HOST_MOST_ALARMS are known, raised or cleared; ECANCELED without a host. What fails changes
 * nothing.
 *
 * Alarms are known by alarm and object, those of fault management, which are kept apart, by alarm,
 * object and part. One that is raised again is counted, and severity, cause and text become the
 * later ones; a text of null leaves the text. Raising is a message of level 2, the first time and
 * whenever the severity changes; clearing is one of level 6. Messages come in the order of what
 * happened: what happens while one is being said, on another thread or in the sink itself, is said
 * by that thread afterwards. Both name the alarm:
 *
 *   alarm 7 of object 3 is raised, major: no light
 *   fault alarm 7 of object 3, part 2, is cleared
 *
 * An alarm that is still raised at the host's end is nothing that was left behind: it tells how the
 * device was. Any thread may call any of these functions at any time.
 *
 * Cost: the logarithm of how many alarms are known; DxrHostCountAlarms looks at all of them, and
 * DxrHostGetAlarm looks up the caller's name. */
#ifndef DXR_DEVHOST_ALARM_H
#define DXR_DEVHOST_ALARM_H

#include "dxr_devhost/host.h"

DXR_EXTERN_C_BEGIN

/* Severities, the worst first. */
#define DXR_HOST_ALARM_CRITICAL 1u
#define DXR_HOST_ALARM_MAJOR 2u
#define DXR_HOST_ALARM_MINOR 3u
#define DXR_HOST_ALARM_WARNING 4u

/* States. */
#define DXR_HOST_ALARM_CLEARED 0u
#define DXR_HOST_ALARM_RAISED 1u

/* Bytes of a text, its terminator included; and how many alarms are kept. */
#define DXR_HOST_ALARM_TEXT_SIZE 128
#define DXR_HOST_MOST_ALARMS 10000u

/* An alarm of fault management. */
typedef struct DxrHostFmAlarm {
    uint32_t size; /* sizeof(DxrHostFmAlarm) */
    uint32_t alarm;
    uint32_t object;
    uint32_t part;     /* of the object */
    uint32_t severity; /* DXR_HOST_ALARM_CRITICAL ... */
    uint32_t state;    /* DXR_HOST_ALARM_RAISED or DXR_HOST_ALARM_CLEARED */
    uint32_t cause;    /* any number */
    uint32_t reserved;
    char text[DXR_HOST_ALARM_TEXT_SIZE]; /* ends at its first NUL or at its size */
} DxrHostFmAlarm;

DXR_STATIC_ASSERT(sizeof(DxrHostFmAlarm) == 160, "modules build the record: fixed layout");
DXR_STATIC_ASSERT(offsetof(DxrHostFmAlarm, text) == 32, "fixed layout");

/* By which function an alarm came: DXR_Alarm or DXR_FmAlarm. */
#define DXR_HOST_ALARM_PLAIN 0u
#define DXR_HOST_ALARM_FM 1u

/* What is known of an alarm. Times are milliseconds since 1970, of the host's clock. */
typedef struct DxrHostAlarm {
    uint32_t kind; /* DXR_HOST_ALARM_PLAIN or DXR_HOST_ALARM_FM */
    uint32_t alarm;
    uint32_t object;
    uint32_t part;     /* 0 for a plain one */
    uint32_t severity; /* the latest */
    uint32_t state;
    uint32_t cause;   /* 0 for a plain one */
    uint32_t raised;  /* how often; stops at 0xFFFFFFFF */
    uint32_t cleared; /* likewise */
    uint32_t reserved;
    uint64_t firstMs;                    /* when it was raised for the first time */
    uint64_t raisedMs;                   /* for the latest time */
    uint64_t clearedMs;                  /* when it was cleared for the latest time; 0: never */
    char text[DXR_HOST_ALARM_TEXT_SIZE]; /* cut to what fits */
    char caller[128]; /* who raised it for the latest time: "function in program+0x1234" */
} DxrHostAlarm;

DXR_STATIC_ASSERT(sizeof(DxrHostAlarm) == 320, "fixed layout");
DXR_STATIC_ASSERT(offsetof(DxrHostAlarm, firstMs) == 40, "fixed layout");

/* How many alarms are known, and how many of them are raised; either may be null. */
DXR_API void DxrHostCountAlarms(DxrHost *host, uint32_t *known, uint32_t *raised);

/* Copies alarm `index`, in the order in which they were first raised. Returns false when there is
 * none. */
DXR_API bool DxrHostGetAlarm(DxrHost *host, uint32_t index, DxrHostAlarm *alarm);

/* Forgets all alarms, as if none had ever been raised. */
DXR_API void DxrHostForgetAlarms(DxrHost *host);

DXR_EXTERN_C_END

#endif /* DXR_DEVHOST_ALARM_H */
