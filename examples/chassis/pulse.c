/* A board of a chassis that lives by its pulse: it sends to its peers again and again, waits for
 * their acknowledgements, and acknowledges what it is sent. For `dxrsh chassis`:
 *
 *     pulse.so --unit mpu:0 --peers lpu:1-16 [--every MS] [--wait MS] [--journal FILE]
 *
 * With a journal it writes down each message before it acknowledges it ("taken SEQUENCE"), and each
 * of its own that was acknowledged ("acknowledged SEQUENCE"): whoever compares the journals of all
 * boards sees whether one was lost. */
#define _POSIX_C_SOURCE 200809L

#include <dxr_devhost.h>
#include <dxr_module.h>
#include <errno.h>
#include <fcntl.h>
#include <inttypes.h>
#include <stdatomic.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

#define KIND_PULSE 0x50554Cu
#define PEERS_MOST 1000u

typedef struct Units {
    uint32_t kind;
    uint32_t first;
    uint32_t last;
} Units;

typedef struct Pulse {
    Units own;
    Units peers;
    uint32_t everyMs;
    uint32_t waitMs;
    int journal; /* -1: none */
    uint64_t sent;
    uint64_t acknowledged;
    atomic_uint_fast64_t taken;
} Pulse;

static Pulse g_pulse;

/* ---- Arguments -------------------------------------------------------------------------- */

/* "lpu:3", "lpu:1-16" */
static bool ReadUnits(const char *text, Units *units) {
    static const char *const names[] = {"mpu", "lpu", "sfu", "devm", "np"};
    char name[8];
    int end = 0;
    const int found = sscanf(text, "%7[a-z]:%" SCNu32 "%n-%" SCNu32 "%n", name, &units->first, &end,
                             &units->last, &end);
    if (found == 2) {
        units->last = units->first;
    }
    for (uint32_t i = 0; found >= 2 && i < sizeof(names) / sizeof(names[0]); ++i) {
        if (strcmp(names[i], name) == 0) {
            units->kind = i + 1;
        }
    }
    return units->kind != 0 && text[end] == '\0' && units->first <= units->last &&
           units->last - units->first < PEERS_MOST;
}

static bool ReadArguments(int argc, char **argv, Pulse *pulse) {
    for (int i = 1; i < argc; i += 2) {
        const char *const value = argv[i + 1]; /* null after the last one */
        bool isGood = value != NULL;
        if (isGood && strcmp(argv[i], "--unit") == 0) {
            isGood = ReadUnits(value, &pulse->own);
        } else if (isGood && strcmp(argv[i], "--peers") == 0) {
            isGood = ReadUnits(value, &pulse->peers);
        } else if (isGood && strcmp(argv[i], "--every") == 0) {
            isGood = sscanf(value, "%" SCNu32, &pulse->everyMs) == 1;
        } else if (isGood && strcmp(argv[i], "--wait") == 0) {
            isGood = sscanf(value, "%" SCNu32, &pulse->waitMs) == 1;
        } else if (isGood && strcmp(argv[i], "--journal") == 0) {
            pulse->journal = open(value, O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0644);
            isGood = pulse->journal >= 0;
        } else {
            isGood = false;
        }
        if (!isGood) {
            fprintf(stderr, "pulse: wrong arguments at %s\n", argv[i]);
            return false;
        }
    }
    return pulse->own.kind != 0 && pulse->peers.kind != 0;
}

/* ---- Messages --------------------------------------------------------------------------- */

/* One write a line, which a kill does not tear. */
static bool Note(const Pulse *pulse, const char *what, uint64_t sequence) {
    char line[64];
    if (pulse->journal < 0) {
        return true;
    }
    const int length = snprintf(line, sizeof(line), "%s %" PRIu64 "\n", what, sequence);
    return write(pulse->journal, line, (size_t)length) == length;
}

static uint32_t TakePulse(const DxrHostMessage *message, void *user) {
    Pulse *const pulse = user;
    atomic_fetch_add(&pulse->taken, 1);
    return Note(pulse, "taken", message->sequence) ? 0 : 1;
}

/* False when the run has ended. */
static bool SendPulse(Pulse *pulse, uint32_t number) {
    DxrHostMessage message = {.size = sizeof(message),
                              .kind = KIND_PULSE,
                              .from = {pulse->own.kind, pulse->own.first},
                              .to = {pulse->peers.kind, number},
                              .flags = DXR_HOST_MESSAGE_ACK,
                              .timeoutMs = pulse->waitMs};
    const uint32_t result = DXR_SendMsg(&message);
    if (result == ECANCELED) {
        return false;
    }
    ++pulse->sent;
    if (result == 0 && message.result == 0) {
        ++pulse->acknowledged;
        (void)Note(pulse, "acknowledged", message.sequence);
    }
    return true;
}

/* ---- The module ------------------------------------------------------------------------- */

int DxrModuleMain(int argc, char **argv) {
    Pulse *const pulse = &g_pulse;
    *pulse = (Pulse){.everyMs = 100, .waitMs = 500, .journal = -1};
    if (!ReadArguments(argc, argv, pulse)) {
        return 1;
    }
    const DxrHostMailbox mailbox = {.size = sizeof(mailbox),
                                    .unit = {pulse->own.kind, pulse->own.first},
                                    .handler = TakePulse,
                                    .user = pulse};
    if (DxrHostOpenMailbox(NULL, &mailbox) != 0) {
        return 1;
    }
    bool isRunning = true;
    while (isRunning) {
        for (uint32_t i = pulse->peers.first; isRunning && i <= pulse->peers.last; ++i) {
            isRunning = SendPulse(pulse, i);
        }
        DXR_SleepMs(pulse->everyMs);
    }
    printf("sent %" PRIu64 ", acknowledged %" PRIu64 ", taken %" PRIuFAST64 "\n", pulse->sent,
           pulse->acknowledged, atomic_load(&pulse->taken));
    return 0;
}

void DxrModuleEnd(void) {
    Pulse *const pulse = &g_pulse;
    if (pulse->own.kind != 0) {
        const DxrHostUnit unit = {pulse->own.kind, pulse->own.first};
        (void)DxrHostCloseMailbox(NULL, &unit);
    }
    if (pulse->journal >= 0) {
        (void)close(pulse->journal);
    }
}
