/* A board that does not end at once when it is stopped: it uses so many milliseconds of processor
 * time, as one that has much to put away, or with "stuck" it waits for ever. With "noisy" it prints
 * 4000 lines of 50 bytes, half of them to standard error, and then dies. With "forks" it has a
 * child that tells how many descriptors it may open, and stays for ever. With "tree" it has a
 * message filter tree of its own, by which two messages of kind 19 to it are lost. With "reset" it
 * is reset at once, but once only, and its log would turn a terminal red. With "mute" it fails at
 * once: with a line the first time, in the middle of one the second time, then without a word.
 * With "leaves" it ends at once and leaves memory behind, with "elsewhere" once it has printed to a
 * full device instead of its log, with "passing" once it could not print for a while, with
 * "reports" as a program in which a sanitizer has found something. With "torn" it dies in the
 * middle of putting its log aside, with "early" once the next one is there. */
#define _POSIX_C_SOURCE 200809L

#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/resource.h>
#include <time.h>
#include <unistd.h>

#include "dxr_api.h"
#include "dxr_devhost.h"
#include "dxr_module.h"

static void PrintAndDie(void) {
    const struct timespec pause = {0, 10000000};
    for (int i = 0; i < 4000; ++i) {
        fprintf(i % 2 == 0 ? stdout : stderr, "line %-44d\n", i);
        if (i % 40 == 39) {
            (void)nanosleep(&pause, NULL);
        }
    }
    abort();
}

static void DieWithNextLog(int isPutAside) {
    printf("why it dies\n");
    (void)fflush(stdout);
    FILE *const next = chdir("work/main") != 0 ? NULL : fopen("board.log.next", "w");
    if (next != NULL && fclose(next) == 0 &&
        (!isPutAside || rename("board.log", "board.log.1") == 0)) {
        abort();
    }
}

static int PrintElsewhere(void) {
    if (freopen("/dev/full", "w", stdout) == NULL) {
        return 1;
    }
    printf("a line\n");
    return fflush(stdout) != 0 ? 0 : 1;
}

static int PrintNowhere(void) {
    const int log = dup(STDOUT_FILENO);
    (void)close(STDOUT_FILENO);
    printf("a line\n");
    const int hasFailed = fflush(stdout) != 0 || ferror(stdout);
    (void)dup2(log, STDOUT_FILENO);
    (void)close(log);
    return hasFailed ? 0 : 1;
}

static void HaveChild(void) {
    if (fork() == 0) {
        struct rlimit limit;
        (void)getrlimit(RLIMIT_NOFILE, &limit);
        printf("child %d may open %d\n", (int)getpid(), (int)limit.rlim_cur);
        for (;;) {
            (void)pause();
        }
    }
}

static DxrMessageFilter *MakeTree(void) {
    const DxrMessageFilterInfo kind = {.msgType = 19, .lostCnt = 2, .name = "own"};
    const DxrMessageFilterInfo unit = {.name = "mpu:0", .subFilters = &kind, .subFilterNum = 1};
    const DxrMessageFilterInfo whole = {
        .msgType = DXR_HOST_UNIT_MPU, .name = "mpu", .subFilters = &unit, .subFilterNum = 1};
    return DXR_CreateMessageFilter(&whole, 1);
}

static void BeResetOnce(void) {
    const DxrLogFilterCfg site = {0, 1, 2, 3, 4, 0};
    DXR_InitLogFilter(7);
    DXR_SameLogFilter(&site, "\033[31mred");
    DXR_DestroyLogFilter();
    FILE *const mark = fopen("was_reset", "wx");
    if (mark != NULL) {
        (void)fclose(mark);
        DXR_ResetBoard(0);
    }
}

static int Fail(void) {
    FILE *const starts = fopen("starts", "a");
    if (starts != NULL) {
        (void)fputc('.', starts);
        const long now = fflush(starts) == 0 ? ftell(starts) : 0;
        (void)fclose(starts);
        if (now < 3) {
            printf("%s", now == 1 ? "why it fails\n" : "and so");
        }
    }
    return 1;
}

int DxrModuleMain(int argc, char **argv) {
    const char *const word = argc > 1 ? argv[1] : "0";
    if (strcmp(word, "mute") == 0) {
        return Fail();
    }
    if (strcmp(word, "noisy") == 0) {
        PrintAndDie();
    }
    if (strcmp(word, "torn") == 0 || strcmp(word, "early") == 0) {
        DieWithNextLog(word[0] == 't');
        return 1;
    }
    if (strcmp(word, "leaves") == 0) {
        return DXR_Malloc(7, 100, __FILE__, __LINE__) != NULL ? 0 : 1;
    }
    if (strcmp(word, "reports") == 0) {
        printf("SUMMARY: why it ends\n==%d==ABORTING\n", (int)getpid());
        return 1;
    }
    if (strcmp(word, "elsewhere") == 0) {
        return PrintElsewhere();
    }
    if (strcmp(word, "passing") == 0) {
        return PrintNowhere();
    }
    if (strcmp(word, "forks") == 0) {
        HaveChild();
    }
    if (strcmp(word, "reset") == 0) {
        BeResetOnce();
    }
    DxrMessageFilter *tree = NULL;
    if (strcmp(word, "tree") == 0) {
        tree = MakeTree();
        DxrHostSetMessageFilter(NULL, tree);
    }
    const DxrHostUnit unit = {DXR_HOST_UNIT_MPU, 0};
    const DxrHostMailbox mailbox = {.size = sizeof(mailbox), .unit = unit};
    DxrHostMessage message;
    (void)DxrHostOpenMailbox(NULL, &mailbox);
    (void)DxrHostReceiveMessage(NULL, &unit, &message, NULL, 0, DXR_HOST_FOREVER);
    while (strcmp(word, "stuck") == 0) {
        (void)pause();
    }
    const clock_t until = clock() + strtol(word, NULL, 10) * (CLOCKS_PER_SEC / 1000);
    while (clock() < until) {
    }
    (void)DxrHostCloseMailbox(NULL, &unit);
    if (tree != NULL) {
        DxrHostSetMessageFilter(NULL, NULL);
        DXR_DestroyMessageFilter(&tree);
    }
    return 0;
}
