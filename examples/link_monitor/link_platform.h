/* What each platform has in a form of its own: how a module registers, how it gets messages, and
 * how alarms are to be raised. This is the development host's; link_platform.c alone knows it. */
#ifndef LINK_PLATFORM_H
#define LINK_PLATFORM_H

#include <dxr_api.h>

/* Registers the module and opens the mailbox of its unit. False when that fails; nothing is left
 * then. */
bool PlatformBegin(const char *name, uint32_t mid, uint32_t unit);
void PlatformEnd(uint32_t unit);

/* A message that has come. */
typedef struct PlatformMessage {
    uint32_t kind;
    uint32_t code;
    uint64_t place[8]; /* the platform's */
} PlatformMessage;

typedef enum PlatformWait {
    PLATFORM_MESSAGE, /* there is one; it is to be answered */
    PLATFORM_TIME,    /* the time is over */
    PLATFORM_END      /* the platform wants no more of the module */
} PlatformWait;

/* Waits for a message, at most so many milliseconds. */
PlatformWait PlatformWaitForMessage(uint32_t unit, uint32_t ms, PlatformMessage *message);

/* Tells the sender, when it waits for that. */
void PlatformAnswer(const PlatformMessage *message, uint32_t result);

/* Raises or clears an alarm of an object. */
void PlatformAlarm(uint32_t alarm, uint32_t object, bool isRaised, char *text);

#endif /* LINK_PLATFORM_H */
