/* A task takes what is put on a table. That it does not wait for it shows in some orders alone. */
#include <dxr_devhost_test.h>
#include <stdio.h>

static uint32_t g_table; /* 0: nothing is on it */
static uint32_t g_taken;
static void *g_mutex;

static void Take(void *waits) {
    DXR_LockMutex(g_mutex);
    while (waits != NULL && g_table == 0) {
        DXR_UnlockMutex(g_mutex);
        DXR_DelayTask(1);
        DXR_LockMutex(g_mutex);
    }
    g_taken = g_table;
    DXR_UnlockMutex(g_mutex);
}

static void PutAndTake(void *waits) {
    g_table = 0;
    DXR_InitMutex(&g_mutex, NULL);
    DxrTestStartTask(Take, waits);
    DXR_LockMutex(g_mutex);
    g_table = 7;
    DXR_UnlockMutex(g_mutex);
    DXR_DelayTask(10);
    DXR_TEST_CHECK(g_taken == 7);
    DXR_DestroyMutex(g_mutex);
}

int main(void) {
    char waits = 1;
    printf("waits: %u runs\n", DxrTestExplore(NULL, 100, PutAndTake, &waits, stdout));
    printf("does not wait: %u runs\n", DxrTestExplore(NULL, 100, PutAndTake, NULL, stdout));
    return 0;
}
