#include "link_source.h"

#include <errno.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#define PATH_SIZE 256
#define TEXT_SIZE 32
#define LINE_SIZE 80

/* Reads a file with a number in it; false when there is none. Linux tells of an interface that is
 * switched off by a carrier that cannot be read. */
static bool ReadNumber(const char *path, uint64_t *number) {
    void *const file = DXR_FOpen(path, "r");
    if (file == NULL) {
        return false;
    }
    char text[TEXT_SIZE];
    const uint32_t bytes = DXR_FRead(text, 1, sizeof(text) - 1, file);
    DXR_FClose(file);
    text[bytes] = '\0';
    char *end;
    *number = strtoull(text, &end, 10);
    return end != text;
}

static uint64_t ReadErrors(const char *directory, const char *name, const char *way) {
    char path[PATH_SIZE];
    uint64_t errors = 0;
    snprintf(path, sizeof(path), "%s/%s/statistics/%s_errors", directory, name, way);
    return ReadNumber(path, &errors) ? errors : 0;
}

static void ReadFiles(const char *directory, const char *name, LinkState *state) {
    char path[PATH_SIZE];
    uint64_t carrier = 0;
    snprintf(path, sizeof(path), "%s/%s/carrier", directory, name);
    state->isUp = ReadNumber(path, &carrier) && carrier != 0;
    state->errors = ReadErrors(directory, name, "rx") + ReadErrors(directory, name, "tx");
}

/* Copies a line, cut to the room for it. Returns where the next one begins. */
static const char *CopyLine(const char *from, char *line) {
    const size_t length = strcspn(from, "\n");
    const size_t copied = length < LINE_SIZE - 1 ? length : LINE_SIZE - 1;
    memcpy(line, from, copied);
    line[copied] = '\0';
    return from[length] == '\n' ? from + length + 1 : from + length;
}

typedef struct Event {
    uint64_t ms;
    char name[LINK_NAME_SIZE];
    LinkState state;
} Event;

/* Moves on behind digits that make a number; false when there are none, or too many. */
static bool TakeNumber(const char **text, uint64_t *number) {
    const char *const begin = *text + strspn(*text, " \t");
    if (*begin < '0' || *begin > '9') {
        return false;
    }
    char *end;
    errno = 0;
    *number = strtoull(begin, &end, 10);
    *text = end;
    return errno == 0;
}

static bool ReadEvent(const char *line, Event *event) {
    char state[5];
    int read = 0;
    if (!TakeNumber(&line, &event->ms) ||
        sscanf(line, " %15s %4s%n", event->name, state, &read) != 2) {
        return false;
    }
    line += read;
    event->state.isUp = strcmp(state, "up") == 0;
    return TakeNumber(&line, &event->state.errors);
}

/* Takes the events that are due; a line that is none is passed over. True when there are more. */
static bool TakeEvents(LinkSource *source, uint32_t count, const char (*names)[LINK_NAME_SIZE],
                       LinkState *states) {
    const uint64_t nowMs = DXR_GetCurrMs() - source->beginMs;
    while (*source->next != '\0') {
        char line[LINE_SIZE];
        const char *const next = CopyLine(source->next, line);
        Event event;
        const bool isEvent = ReadEvent(line, &event);
        if (isEvent && event.ms > nowMs) {
            return true;
        }
        for (uint32_t link = 0; isEvent && link < count; ++link) {
            if (strcmp(names[link], event.name) == 0) {
                states[link] = event.state;
            }
        }
        source->next = next;
    }
    return false;
}

void LinkSourceOpenFiles(LinkSource *source, const char *directory) {
    *source = (LinkSource){.directory = directory};
}

bool LinkSourceOpenEvents(LinkSource *source, const char *fileName) {
    *source = (LinkSource){0};
    uint8_t *data;
    uint32_t bytes;
    if (DXR_GetBinFileData(DXR_GetBinFolderName(), fileName, &data, &bytes) != 0) {
        return false;
    }
    source->events = DXR_Malloc(LINK_MONITOR_MID, bytes + 1, __FILE__, __LINE__);
    if (source->events != NULL) {
        memcpy(source->events, data, bytes);
        source->events[bytes] = '\0';
    }
    DXR_Free(data, __FILE__, __LINE__);
    source->next = source->events;
    source->beginMs = DXR_GetCurrMs();
    return source->events != NULL;
}

void LinkSourceClose(LinkSource *source) {
    DXR_Free(source->events, __FILE__, __LINE__);
    *source = (LinkSource){0};
}

bool LinkSourceRead(LinkSource *source, uint32_t count, const char (*names)[LINK_NAME_SIZE],
                    LinkState *states) {
    if (source->directory == NULL) {
        return TakeEvents(source, count, names, states);
    }
    for (uint32_t link = 0; link < count; ++link) {
        ReadFiles(source->directory, names[link], &states[link]);
    }
    return true;
}
