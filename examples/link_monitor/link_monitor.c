#include "link_monitor.h"

#include <dxr_module.h>
#include <inttypes.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "link_faults.h"
#include "link_platform.h"
#include "link_source.h"

#define LOG_TYPE 3u /* the ring of the log filter that this module's lines go through */
#define LINE_SIZE 256

typedef struct Arguments {
    const char *directory;
    const char *events;
    uint32_t polls;
    uint32_t everyMs;
} Arguments;

/* The module; all zeros while it is not at work. */
typedef struct LinkMonitor {
    bool isRegistered;
    bool hasLogFilter;
    bool hasTable;
    uint32_t count; /* of links */
    const char (*names)[LINK_NAME_SIZE];
    LinkSource source;
    DxrLinkBitMap *up;     /* a link's bit is set while it is up */
    DxrLinkBitMap *before; /* as it was at the last look */
    LinkFaults *faults;
    bool isFaulty[LINK_MOST];
    LinkRow rows[LINK_MOST];
} LinkMonitor;

static LinkMonitor g_monitor;

/* ---- Beginning and end ------------------------------------------------------------------ */

static void Complain(const char *what, const char *name) {
    char text[160];
    (void)snprintf(text, sizeof(text), "link_monitor: %s %s", what, name);
    DXR_DiagLogFilter(text);
}

static bool ReadNumber(const char *text, uint32_t *number) {
    char *end;
    const unsigned long read = strtoul(text, &end, 10);
    *number = (uint32_t)read;
    return *text >= '0' && *text <= '9' && *end == '\0' && read <= UINT32_MAX;
}

static bool ReadArguments(int argc, char **argv, Arguments *arguments) {
    *arguments = (Arguments){.directory = "/sys/class/net", .everyMs = 1000};
    for (int i = 1; i < argc; i += 2) {
        const char *const value = argv[i + 1]; /* null after the last one */
        bool isGood = value != NULL;
        if (isGood && strcmp(argv[i], "--sys") == 0) {
            arguments->directory = value;
        } else if (isGood && strcmp(argv[i], "--replay") == 0) {
            arguments->events = value;
        } else if (isGood && strcmp(argv[i], "--polls") == 0) {
            isGood = ReadNumber(value, &arguments->polls);
        } else if (isGood && strcmp(argv[i], "--every") == 0) {
            isGood = ReadNumber(value, &arguments->everyMs) && arguments->everyMs != 0;
        } else {
            isGood = false;
        }
        if (!isGood) {
            Complain("wrong arguments at", argv[i]);
            return false;
        }
    }
    return true;
}

/* Which links there are: whole records, each with its NUL. */
static bool LoadNames(LinkMonitor *monitor) {
    uint8_t *data;
    uint32_t bytes;
    if (DXR_GetBinFileData(DXR_GetBinFolderName(), LINK_MONITOR_NAMES, &data, &bytes) != 0) {
        return false;
    }
    monitor->names = (const char(*)[LINK_NAME_SIZE])data;
    monitor->count = bytes / LINK_NAME_SIZE;
    bool isGood = bytes % LINK_NAME_SIZE == 0 && monitor->count <= LINK_MOST;
    for (uint32_t link = 0; isGood && link < monitor->count; ++link) {
        isGood = memchr(monitor->names[link], '\0', LINK_NAME_SIZE) != NULL;
    }
    return isGood;
}

/* Takes what it needs of the platform. What is missing then, DxrModuleEnd leaves out. */
static bool Begin(LinkMonitor *monitor, const Arguments *arguments) {
    monitor->isRegistered = PlatformBegin("link_monitor", LINK_MONITOR_MID, LINK_MONITOR_UNIT);
    monitor->hasLogFilter = monitor->isRegistered && DXR_InitLogFilter(LINK_MONITOR_MID) == 0;
    if (!monitor->hasLogFilter) {
        return false;
    }
    if (!LoadNames(monitor)) {
        Complain("there are no links in", LINK_MONITOR_NAMES);
        return false;
    }
    if (arguments->events == NULL) {
        LinkSourceOpenFiles(&monitor->source, arguments->directory);
    } else if (!LinkSourceOpenEvents(&monitor->source, arguments->events)) {
        Complain("there are no events in", arguments->events);
        return false;
    }
    monitor->hasTable = DXR_DynamicCreateTable(LINK_TABLE) == 0;
    monitor->up = DXR_CreateLinkBitMap(1, monitor->count);
    monitor->before = DXR_CreateLinkBitMap(1, monitor->count);
    monitor->faults =
        LinkFaultsCreate(LINK_MONITOR_MID, monitor->count, LINK_FAULT_LOSSES, LINK_FAULT_SEC);
    return monitor->hasTable && monitor->up != NULL && monitor->before != NULL &&
           monitor->faults != NULL;
}

void DxrModuleEnd(void) {
    LinkMonitor *const monitor = &g_monitor;
    LinkFaultsDestroy(monitor->faults);
    DXR_DestroyLinkBitMap(monitor->before);
    DXR_DestroyLinkBitMap(monitor->up);
    if (monitor->hasTable) {
        DXR_ReleaseTblm(LINK_TABLE, 0);
    }
    LinkSourceClose(&monitor->source);
    DXR_Free((void *)monitor->names, __FILE__, __LINE__);
    DXR_DestroyRecordInfo();
    if (monitor->hasLogFilter) {
        DXR_DestroyLogFilter();
    }
    if (monitor->isRegistered) {
        PlatformEnd(LINK_MONITOR_UNIT);
    }
    *monitor = (LinkMonitor){0};
}

/* ---- Looking ---------------------------------------------------------------------------- */

static uint32_t WordsOf(const DxrLinkBitMap *map) {
    return map->chipNum * map->wordNumPerChip;
}

/* A link that comes and goes again and again is one line an hour, and one record that counts. */
static void TellChange(const char *name, bool isUp) {
    const DxrLogFilterCfg site = {.logType = LOG_TYPE};
    const char *const state = isUp ? "up" : "down";
    DXR_SameLogFilter(&site, "link %s is %s", name, state);
    DXR_RecordInfo("link %s went %s", name, state);
}

/* The numbers differ, the matter does not: one line for each link. */
static void TellErrors(uint32_t link, const char *name, uint64_t errors) {
    const DxrLogFilterCfg site = {.logType = LOG_TYPE, .key1 = link + 1};
    DXR_DiffLogFilter(&site, "link %s has errors: %" PRIu64, name, errors);
    DXR_RecordInfo("link %s has errors", name);
}

static void JudgeFaults(LinkMonitor *monitor, uint32_t link) {
    const bool isFaulty = LinkFaultsIsFaulty(monitor->faults, link);
    if (isFaulty != monitor->isFaulty[link]) {
        char text[LINE_SIZE];
        monitor->isFaulty[link] = isFaulty;
        snprintf(text, sizeof(text), "link %s goes down too often", monitor->names[link]);
        PlatformAlarm(LINK_ALARM, link, isFaulty, text);
    }
}

static void TakeState(LinkMonitor *monitor, uint32_t link, const LinkState *state, bool isFirst) {
    LinkRow *const row = &monitor->rows[link];
    const bool hasChanged = isFirst || state->isUp != (row->isUp != 0);
    const bool hasErred = !isFirst && state->errors > row->errors;
    if (hasChanged) {
        if (!isFirst && !state->isUp) {
            ++row->losses;
            LinkFaultsCount(monitor->faults, link);
        }
        row->isUp = state->isUp ? 1 : 0;
        row->changedSec = DXR_GetCurrSec();
        TellChange(monitor->names[link], state->isUp);
    }
    if (hasErred) {
        TellErrors(link, monitor->names[link], state->errors);
    }
    if (hasChanged || state->errors != row->errors) {
        row->errors = state->errors;
        DXR_AddTblmData(LINK_TABLE, &link, sizeof(link), row, sizeof(*row));
    }
    JudgeFaults(monitor, link);
}

/* All links that are up, as the map has them. */
static void TellLinks(const LinkMonitor *monitor) {
    char map[LINE_SIZE / 2];
    char line[LINE_SIZE];
    DXR_FillLinkBitMapToBuf(monitor->up, map, sizeof(map));
    snprintf(line, sizeof(line), "links that are up:%s", map);
    DXR_DiagLogFilter(line);
}

/* False when nothing can change any more. */
static bool Look(LinkMonitor *monitor, LinkState *states, bool isFirst) {
    const bool goesOn = LinkSourceRead(&monitor->source, monitor->count, monitor->names, states);
    /* Bits of a link bitmap are only ever set: it is made anew. */
    DXR_BitmapCopy(monitor->before->bitMap, monitor->up->bitMap, WordsOf(monitor->up));
    DXR_BitmapZero(monitor->up->bitMap, WordsOf(monitor->up));
    for (uint32_t link = 0; link < monitor->count; ++link) {
        if (states[link].isUp) {
            DXR_SaveLinkToBitMap(monitor->up, 0, link);
        }
        TakeState(monitor, link, &states[link], isFirst);
    }
    if (isFirst ||
        !DXR_IsSameBitMap(monitor->before->bitMap, monitor->up->bitMap, WordsOf(monitor->up))) {
        DXR_PrintLinkToBitMap(monitor->up, "links");
    }
    return goesOn;
}

/* ---- Messages --------------------------------------------------------------------------- */

/* False when the module is to end. */
static bool TakeMessage(const LinkMonitor *monitor, const PlatformMessage *message) {
    uint32_t answer = LINK_NONE;
    if (message->kind == LINK_MESSAGE_QUERY && message->code < monitor->count) {
        answer = DXR_IsSetBmp(monitor->up->bitMap, WordsOf(monitor->up), message->code);
    } else if (message->kind == LINK_MESSAGE_REPORT) {
        answer = DXR_CountValidBitOfArray(monitor->up->bitMap, WordsOf(monitor->up));
        TellLinks(monitor);
    } else if (message->kind == LINK_MESSAGE_STOP) {
        answer = 0;
    }
    PlatformAnswer(message, answer);
    return message->kind != LINK_MESSAGE_STOP;
}

/* Serves messages until it is time for the next look. False when the module is to end. */
static bool WaitForLook(const LinkMonitor *monitor, uint64_t lookMs) {
    for (;;) {
        PlatformMessage message;
        const uint64_t nowMs = DXR_GetCurrMs();
        const uint32_t restMs = nowMs < lookMs ? (uint32_t)(lookMs - nowMs) : 0;
        switch (PlatformWaitForMessage(LINK_MONITOR_UNIT, restMs, &message)) {
            case PLATFORM_MESSAGE:
                if (!TakeMessage(monitor, &message)) {
                    return false;
                }
                break;
            case PLATFORM_TIME:
                return true;
            case PLATFORM_END:
                return false;
        }
    }
}

int DxrModuleMain(int argc, char **argv) {
    Arguments arguments;
    if (!ReadArguments(argc, argv, &arguments)) {
        return 2;
    }
    LinkMonitor *const monitor = &g_monitor;
    if (!Begin(monitor, &arguments)) {
        return 1;
    }
    LinkState states[LINK_MOST] = {0};
    uint64_t lookMs = DXR_GetCurrMs();
    uint32_t polls = 1;
    while (Look(monitor, states, polls == 1) && polls++ != arguments.polls) {
        lookMs += arguments.everyMs;
        if (!WaitForLook(monitor, lookMs)) {
            break;
        }
    }
    TellLinks(monitor);
    return 0;
}
