/* Where link_monitor learns how its links are: from the files that Linux keeps of each network
 * interface, or from a file of events that somebody recorded.
 *
 * A line of such a file is an event: milliseconds since the beginning, ascending; a link's name; up
 * or down; how many errors it has counted. Empty lines and those that begin with # say nothing.
 *
 *   1500 eth0 down 3
 */
#ifndef LINK_SOURCE_H
#define LINK_SOURCE_H

#include "link_monitor.h"

typedef struct LinkState {
    bool isUp;
    uint64_t errors;
} LinkState;

typedef struct LinkSource {
    const char *directory; /* with the links' files; null: events are replayed */
    char *events;          /* of the host's memory; ends in NUL */
    const char *next;      /* event */
    uint64_t beginMs;
} LinkSource;

/* The links' files below a directory. `directory` stays the caller's. */
void LinkSourceOpenFiles(LinkSource *source, const char *directory);

/* The events of a file in the folder of binary data. False when it cannot be loaded. */
bool LinkSourceOpenEvents(LinkSource *source, const char *fileName);

/* Gives back what it holds; also of a source that is all zeros. */
void LinkSourceClose(LinkSource *source);

/* Brings the states of all links up to date. A link that the source does not know is down. False
 * when this was the last time that anything can have changed. */
bool LinkSourceRead(LinkSource *source, uint32_t count, const char (*names)[LINK_NAME_SIZE],
                    LinkState *states);

#endif /* LINK_SOURCE_H */
