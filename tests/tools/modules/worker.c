/* A module that uses what a recording has to hold: memory, handles, registers, texts, a task, a
 * timer and an own thread; its arguments make it another one. */
#include <ctype.h>
#include <pthread.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <strings.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include "dxr_api.h"
#include "dxr_devhost/hash.h"
#include "dxr_devhost/system.h"
#include "dxr_devhost/system_task.h"
#include "dxr_module.h"

enum { kMid = 7, kDone = 1, kTick = 2 };

static int g_argc;
static char **g_argv;
static uint32_t g_main; /* the number of the first task */
static uint32_t g_ticks;
static uint32_t g_sum;
static void *g_mutex;

static bool Has(const char *word) {
    for (int i = 1; i < g_argc; ++i) {
        if (strcmp(g_argv[i], word) == 0) {
            return true;
        }
    }
    return false;
}

static void OnTimer(void *argument) {
    uint32_t *const ticks = argument;
    DXR_LockMutex(g_mutex);
    ++*ticks;
    DXR_UnlockMutex(g_mutex);
    DXR_RecordInfo("tick %u", *ticks);
    if (*ticks == 3) {
        DXR_WriteEvent(g_main, kTick);
    }
}

static void Task(void *argument) {
    const uint32_t *const rounds = argument;
    for (uint32_t i = 0; i < *rounds; ++i) {
        uint32_t value = 0;
        DXR_DelayTask(7);
        DXR_ReadReg(0, 0, 0x10 + 4 * i, &value);
        DXR_LockMutex(g_mutex);
        g_sum += value + i;
        DXR_UnlockMutex(g_mutex);
    }
    if (Has("forever")) {
        uint32_t events = 0;
        DXR_ReadEvent(0x80, 0, DXR_HOST_FOREVER, &events);
    }
    DXR_WriteEvent(g_main, kDone);
}

static void *OwnThread(void *argument) {
    (void)argument;
    DXR_RecordWarmRebootMileStone("own thread");
    return NULL;
}

static void Memory(const char *work) {
    char *const block = DXR_Malloc(kMid, 100, __FILE__, __LINE__);
    if (block != NULL) {
        (void)snprintf(block, 100, "block");
        char path[300];
        (void)snprintf(path, sizeof(path), "%s/%s", work, block);
        (void)DXR_FileLength(path);
        if (!Has("leak")) {
            DXR_Free(block, __FILE__, __LINE__);
        }
    }
    void *const list = DXR_CreateSll();
    static int items[3] = {1, 2, 3};
    for (int i = 0; i < 3; ++i) {
        DXR_AddSll(list, &items[i], 0);
    }
    int sum = 0;
    for (void *node = DXR_SslGetNextNode(list, NULL); node != NULL;
         node = DXR_SslGetNextNode(list, node)) {
        sum += *(const int *)DXR_SslGetNodeData(node); /* the module's own address comes back */
    }
    char text[32];
    (void)snprintf(text, sizeof(text), "sum %d", sum);
    DXR_RecordWarmRebootMileStone(text);
    DXR_DestroySll(list);
}

static uint32_t NumberOf(const void *key, void *user) {
    (void)user;
    return (uint32_t)tolower(*(const char *)key);
}

/* As a function that asks the host. */
static int Compare(const void *key, const void *other, void *user) {
    ++*(uint32_t *)user;
    (void)DXR_GetLrId();
    return strcasecmp(key, other);
}

static void Put(void *table, const char *key, const char *data, uint32_t mode) {
    char word[16];
    char text[32];
    (void)snprintf(word, sizeof(word), "%s", key);
    (void)snprintf(text, sizeof(text), "%s", data);
    printf("put %s %u\n", key, DXR_HashInsert(table, word, text, (uint32_t)strlen(text) + 1, mode));
}

static const char *TextAt(void *entry, uint32_t what, uint32_t offset) {
    const char *const text = DXR_HashGetFromEntry(entry, what, offset);
    return text != NULL ? text : "-";
}

/* What entries hold is the host's. */
static void Tables(void) {
    uint32_t compared = 0;
    DxrHostHashOptions texts = {sizeof(texts), 0, 0, 0, NumberOf, Compare, &compared};
    DxrHostHashOptions numbers = {sizeof(numbers), 4, 0, 0, NULL, NULL, NULL};
    void *const table = DXR_HashCreate(&texts);
    void *const other = DXR_HashCreate(&numbers);
    Put(table, "one", "first", DXR_HOST_HASH_ADD);
    Put(table, "two", "second", DXR_HOST_HASH_ADD);
    Put(table, "three", "third", DXR_HOST_HASH_ADD);
    Put(table, "TWO", "a longer second", DXR_HOST_HASH_REPLACE);
    char word[] = "Two";
    for (void *entry = DXR_HashGetFirst(table); entry != NULL;
         entry = DXR_HashGetNext(table, entry)) {
        printf("%s %s %s %s\n", TextAt(entry, DXR_HOST_HASH_KEY, 0),
               TextAt(entry, DXR_HOST_HASH_KEY, 1), TextAt(entry, DXR_HOST_HASH_DATA, 0),
               TextAt(entry, DXR_HOST_HASH_DATA, 8));
        if (strcmp(TextAt(entry, DXR_HOST_HASH_KEY, 0), "two") == 0) {
            (void)DXR_HashRemove(table, word); /* the walk goes on */
        }
    }
    char three[] = "THREE";
    void *const found = DXR_HashFindKey(table, three);
    printf("%s %d\n", TextAt(found, DXR_HOST_HASH_DATA, 0), DXR_HashFindKey(table, word) == NULL);
    uint32_t keys[] = {1, 2, 3};
    int own = 5;
    DXR_HashInsert(other, &keys[0], NULL, 0, DXR_HOST_HASH_ADD);
    DXR_HashInsert(other, &keys[1], &own, 0, DXR_HOST_HASH_ADD);
    DXR_HashInsert(other, &keys[2], &keys[2], 4, DXR_HOST_HASH_ADD);
    DXR_HashRemove(other, &keys[0]);
    void *const pointer = DXR_HashFindKey(other, &keys[1]);
    const uint32_t *const copy =
        DXR_HashGetFromEntry(DXR_HashGetNext(other, pointer), DXR_HOST_HASH_DATA, 0);
    printf("%d %u %u %u %d\n", DXR_HashGetFromEntry(pointer, DXR_HOST_HASH_DATA, 0) == &own,
           copy != NULL && copy != &keys[2] ? *copy : 0, DXR_HashCount(table), DXR_HashCount(other),
           compared != 0);
    DXR_HashFree(table);
    DXR_HashFree(other);
}

static void Logs(void) {
    DXR_InitLogFilter(kMid);
    const DxrLogFilterCfg site = {0, 1, 2, 3, 4, 0};
    for (int i = 0; i < 4; ++i) {
        DXR_SameLogFilter(&site, "port %d is <up> & \"well\"", 3);
    }
    if (Has("unfiltered")) {
        DXR_DestroyLogFilter();
    }
    if (Has("words")) { /* that are no ASCII, and what is none at all */
        const DxrLogFilterCfg other = {0, 1, 2, 3, 5, 0};
        DXR_SameLogFilter(&other,
                          "Gr\xC3\xB6\xC3\x9F"
                          "e \xFF \xE2\x82\xAC");
    }
    if (Has("red")) {
        const DxrLogFilterCfg other = {0, 1, 2, 3, 6, 0};
        DXR_SameLogFilter(&other, "\033[31mred");
    }
    if (!Has("keep")) {
        return;
    }
    DXR_DiagLogFilter("kept");
}

static int RunOwnThread(void) {
    pthread_t thread;
    if (pthread_create(&thread, NULL, OwnThread, NULL) != 0) {
        return 1;
    }
    return pthread_join(thread, NULL);
}

static void EndThread(int status) {
    (void)status;
    pthread_exit(NULL);
}

/* That end as processes do: what is the parent's stays. */
static void HaveChildren(void) {
    void (*const ends[])(int) = {EndThread, exit, quick_exit, _exit};
    for (int i = 0; i < 4; ++i) {
        const pid_t child = fork();
        if (child == 0) {
            ends[i](i);
        }
        int status = 0;
        (void)waitpid(child, &status, 0);
        printf("child %d ended with %d, the socket is %s\n", i, WEXITSTATUS(status),
               access(g_argv[g_argc - 1], F_OK) == 0 ? "there" : "gone");
    }
    const pid_t child = fork();
    if (child == 0) {
        raise(SIGTERM);
    }
    int status = 0;
    (void)waitpid(child, &status, 0);
    printf("child 4 died by %d, the socket is %s\n", WIFSIGNALED(status) ? WTERMSIG(status) : 0,
           access(g_argv[g_argc - 1], F_OK) == 0 ? "there" : "gone");
}

/* Waits for a child; in it, true. */
static bool IsReturningChild(const char *where) {
    const pid_t child = fork();
    if (child == 0) {
        printf("child at %s, ", where); /* in its buffer until its end */
        return true;
    }
    int status = 0;
    (void)waitpid(child, &status, 0);
    printf("ended with %d, the socket is %s\n", WIFEXITED(status) ? WEXITSTATUS(status) : -1,
           access(g_argv[g_argc - 1], F_OK) == 0 ? "there" : "gone");
    return false;
}

/* Until there is no stack any more. */
static int Overflow(volatile int *before) {
    volatile int room[1000];
    room[0] = *before + 1;
    return room[0] < 0 ? 0 : Overflow(room) + room[0];
}

int DxrModuleMain(int argc, char **argv) {
    g_argc = argc;
    g_argv = argv;
    if (Has("fail")) {
        return 3;
    }
    if (Has("exit")) {
        exit(0);
    }
    if (Has("quick_exit")) {
        quick_exit(0);
    }
    if (Has("_exit")) {
        _exit(0);
    }
    if (Has("_Exit")) {
        _Exit(0);
    }
    if (Has("pthread_exit")) {
        pthread_exit(NULL);
    }
    if (Has("kill")) {
        raise(SIGKILL);
    }
    if (Has("raise")) {
        raise(atoi(g_argv[g_argc - 1]));
    }
    if (Has("overflow")) {
        struct rlimit stack;
        (void)getrlimit(RLIMIT_STACK, &stack);
        stack.rlim_cur = 8 << 20; /* where there is no limit, memory would go first */
        (void)setrlimit(RLIMIT_STACK, &stack);
        volatile int first = 0;
        return Overflow(&first);
    }
    if (Has("chdir") && chdir("/") != 0) {
        return 1;
    }
    if (Has("fork")) {
        HaveChildren();
    }
    if (Has("fork_return") && IsReturningChild("main")) {
        return 5;
    }
    if (Has("alone")) { /* the thread, which makes all calls */
        return RunOwnThread();
    }
    char path[256];
    DXR_GetSysWorkPath(path, sizeof(path));
    DXR_InitMutex(&g_mutex, NULL);
    Memory(path);
    if (Has("tables")) {
        Tables();
    }
    Logs();
    if (Has("die")) {
        raise(SIGKILL);
    }
    while (Has("deaf")) {
        (void)pause();
    }
    DXR_InitSafeIo(); /* empty in the development host */

    uint32_t events = 0;
    DXR_ReadEvent(0x40, 0, 0, &events); /* makes this thread a task */
    DxrHostTimer timer = {sizeof(timer), 10, 1, 0, OnTimer, &g_ticks, NULL};
    static uint32_t rounds = 4;
    uint32_t task = 0;
    const DxrHostTaskOptions options = {sizeof(options), 0};
    g_main = 1;
    DXR_StartTimer(&timer);
    const DxrHostTaskEntry entry = Task;
    void *code = NULL;
    memcpy(&code, &entry, sizeof(code));
    DXR_CreateTask("worker", code, &rounds, 10, (void *)&options, 0, &task);
    if (Has("other")) {
        DXR_WriteReg(0, 0, 4, 1);
    } else if (!Has("skip")) {
        DXR_WriteReg(0, 0, 4, 0);
    }
    if (Has("more")) {
        DXR_GetLrId();
    }
    if (!Has("forever")) {
        DXR_ReadEvent(kDone, 0, 10000, &events);
    }
    DXR_ReadEvent(kTick, 0, 10000, &events);
    DXR_StopTimer(&timer);
    if (Has("thread")) {
        (void)RunOwnThread();
    }
    if (Has("misuse")) {
        DXR_UnlockMutex(g_mutex);
    }
    if (Has("linger")) { /* until somebody sets a register */
        uint32_t value = 0;
        while (DXR_ReadReg(0, 0, 0x20, &value) == 0 && value == 0) {
            DXR_DelayTask(5);
        }
    }
    if (Has("stuck")) {
        DXR_ReadEvent(0x20, 0, DXR_HOST_FOREVER, &events);
    }
    printf("sum %u, ticks %u\n", g_sum, g_ticks >= 3 ? 3U : 0U);
    fflush(stdout);
    return 0;
}

void DxrModuleEnd(void) {
    if (Has("fork_return") && IsReturningChild("end")) {
        return;
    }
    if (Has("alone")) {
        return;
    }
    if (!Has("unfiltered")) {
        DXR_DestroyLogFilter();
    }
    DXR_DestroyRecordInfo();
    if (g_mutex != NULL) {
        DXR_DestroyMutex(g_mutex);
    }
}
