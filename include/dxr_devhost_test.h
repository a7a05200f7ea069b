/* A kit for the tests of modules: a development host for each test, what the module asked of it and
 * what it said, slots that are replaced for a test, each step made to fail in turn, many seeds.
 *
 * It belongs to the development host and knows no test framework: what does not hold is a failure,
 * a text that DxrTestEnd writes. With GoogleTest, dxr_devhost/gtest.h makes expectations of all
 * this. docs/guide-test.md leads through both.
 *
 * There is one test at a time, as there is one table of hooks. Outside of DxrTestBegin and
 * DxrTestEnd the other functions do nothing and give 0, false or null. They may be called from any
 * thread; slots are replaced while no other thread calls them.
 *
 * Cost: each call of a slot is kept with copies of what its pointers lead to. DxrTestAsked,
 * DxrTestGetCall and DxrTestLogged go over all calls or lines that are kept, so forget those that
 * no longer matter; DxrTestCountFailures goes over all reports. DxrTestBegin and DxrTestEnd make
 * and end a host, DxrTestFailEach one for each step of the point, and DxrTestExplore one for each
 * seed. */
#ifndef DXR_DEVHOST_TEST_H
#define DXR_DEVHOST_TEST_H

#include "dxr_devhost.h"

DXR_EXTERN_C_BEGIN

/* ---- A test ----------------------------------------------------------------------------- */

/* The defaults of a host (DxrHostInitOptions), but with the virtual clock, an end after one hour of
 * it, and the seed of the environment variable DXR_TEST_SEED where that is a number. */
DXR_API void DxrTestInitOptions(DxrHostOptions *options);

/* Begins a test: makes a host and registers it. From now on calls of slots, messages, lines and
 * reports are kept. `options` null stands for the defaults above. Without a work path the host gets
 * a new directory of its own, which DxrTestEnd removes. Returns false when a test has begun
 * already, for wrong options, without memory and without that directory.
 *
 * The kit takes the host's sinks for messages, diagnostic lines, events and reports. */
DXR_API bool DxrTestBegin(const DxrHostOptions *options);

/* Ends it, and the host. Failures are what was noted by the functions below, and each report of the
 * host: what was left behind, misuse of a slot, risks, and a run that the host had to end; what
 * that cuts off is not left behind. Writes them to `out`, one after the other; null: nowhere.
 * Returns how many there are. Not from a task or a function that the host called: then it gives
 * UINT32_MAX, and the test goes on. */
DXR_API uint32_t DxrTestEnd(FILE *out);

/* Reports of a kind, DXR_HOST_REPORT_..., are no failures in this test. */
DXR_API void DxrTestAllow(uint32_t kind);

/* Notes a failure. `file` null: it has no place. Without memory for it the program ends. */
DXR_API void DxrTestNoteFailure(const char *file, uint32_t line, const char *text);

/* How many failures there are so far; UINT32_MAX without the memory to tell. */
DXR_API uint32_t DxrTestCountFailures(void);

/* The host's work path. */
DXR_API const char *DxrTestGetDirectory(void);

/* Writes `bytes` bytes at `data` to the file `name` below the work path, and makes the directories
 * on the way. Returns false, and notes a failure, when that does not go, and for a name that is
 * absolute or has a part "..". */
DXR_API bool DxrTestWriteFile(const char *name, const void *data, uint32_t bytes);

/* Starts a task of the test's own, for what happens while the module runs; it is none of the calls
 * that the module made. Returns its number; 0, and notes a failure, when that does not go. */
DXR_API uint32_t DxrTestStartTask(DxrHostTaskEntry entry, void *argument);

/* ---- What the module asked -------------------------------------------------------------- */

/* Calls are named by the function that reads the slot (docs/slots.md): a call of
 * DXR_AddChipTblmData is one of DXR_SetChipTblmData. Slots without a function bear group and
 * member, as Print.print. Calls of empty slots do not reach the host and are not seen.
 *
 * A pattern is a name alone, or with patterns of all arguments, or also of the result:
 *
 *   DXR_StartTimer
 *   DXR_Malloc(9, 100, "*link_monitor.c", *)
 *   DXR_SetChipTblmData(3, *) = 0
 *
 * of which each is * for any value, a number as in C, null, or in quotes a text in which * stands
 * for any characters. Print.print and DXR_WritePrivateLog have the finished text as their second
 * argument. A result is there when the call has returned; 0 of functions without one. */

/* Tells whether the calls that match the pattern are at least `least` and at most `most`. If not,
 * writes why, with the calls that there were, to `why` (at most `size` bytes, terminated; null:
 * nowhere). False also for a pattern that is none, as null, or that no call can match, as a text
 * for a number; and with a `most` below UINT32_MAX when calls of the slot were not kept. */
DXR_API bool DxrTestAsked(const char *pattern, uint32_t least, uint32_t most, char *why,
                          uint32_t size);

/* Arguments of a call at most. */
#define DXR_TEST_MOST_ARGUMENTS 7

/* A call. What pointers lead to are the kit's copies, made when the call began and kept until the
 * calls are forgotten, as far as the list of slots says what is there; else null. */
typedef struct DxrTestCall {
    const char *function;
    uint32_t arguments;   /* how many there are */
    uint32_t hasReturned; /* 1: `result` is there */
    uint64_t argument[DXR_TEST_MOST_ARGUMENTS];
    uint64_t result;
    const void *data[DXR_TEST_MOST_ARGUMENTS]; /* that the argument led to; a text ends in NUL */
    uint32_t bytes[DXR_TEST_MOST_ARGUMENTS];   /* at `data` */
} DxrTestCall;

/* Copies the call that is `index` among those that match, in the order of their beginnings. Returns
 * false when there is none. */
DXR_API bool DxrTestGetCall(const char *pattern, uint32_t index, DxrTestCall *call);

/* Forgets calls and lines. The first 32768 of either that come after that are kept; why a pattern
 * did not match says how many were not. */
DXR_API void DxrTestForget(void);

/* ---- What it said ----------------------------------------------------------------------- */

/* Where a line came from. */
#define DXR_TEST_MESSAGES 1u /* messages of the host and of the library, all levels */
#define DXR_TEST_DIAG 2u     /* what DXR_DiagLogFilter got: what the log filter lets through */
#define DXR_TEST_EVENTS 4u   /* texts of DXR_WriteEventLog */
#define DXR_TEST_LINES 7u    /* any of these */

/* As DxrTestAsked, for lines of these kinds whose whole text matches: * stands for any characters.
 * With a `most` below UINT32_MAX, lines of these kinds that were not kept make it false. False also
 * for a null pattern, for no kind and for kinds that there are not. */
DXR_API bool DxrTestLogged(uint32_t kinds, const char *pattern, uint32_t least, uint32_t most,
                           char *why, uint32_t size);

/* ---- Slots of a test's own -------------------------------------------------------------- */

/* Puts a function into a slot, or null to empty it, until DXR_TEST_RESTORE or the test's end. Calls
 * of it are kept as well. The compiler checks its type:
 *
 *   DXR_TEST_FAKE(g_dxrHooks.time.getCurrSec, AlwaysNoon); */
#define DXR_TEST_FAKE(slot, function) \
    (DxrTestBeginFake(&(slot)), (void)((slot) = (function)), DxrTestEndFake(&(slot)))

/* Puts back what the latest DXR_TEST_FAKE has replaced in the slot. */
#define DXR_TEST_RESTORE(slot) DxrTestRestore(&(slot))

/* The parts of the above; `slot` is the address of a slot of g_dxrHooks. What is none is noted as a
 * failure. */
DXR_API void DxrTestBeginFake(void *slot);
DXR_API void DxrTestEndFake(void *slot);
DXR_API void DxrTestRestore(void *slot);

/* How many tests have begun in this program, this one included; 0 while none has. */
DXR_API uint64_t DxrTestGetNumber(void);

/* What is called behind a slot: the host's function, or a fake; to be cast to the slot's type. */
typedef void (*DxrTestFunction)(void);
DXR_API DxrTestFunction DxrTestGetReal(void *slot);

/* ---- Many runs -------------------------------------------------------------------------- */

/* What is run: uses the library as in a test that has begun, and notes what is wrong. With the
 * virtual clock it runs as a task. */
typedef void (*DxrTestBody)(void *user);

/* The point of all allocations. */
#define DXR_TEST_ALLOCATIONS "memory.allocate"

/* Runs the body again and again, each time in a test of its own: first the first step of `point`
 * fails, then the second, and so on, until a run was over before its step came. The points are
 * those of the host's services (docs/devhost.md); null: DXR_TEST_ALLOCATIONS. With `onwards` all
 * later steps fail, too. A run with a failure is the last one: the step and the failures are
 * written to `out` (null: nowhere). Returns how many runs there were; 0 when one failed, when the
 * body takes no step of the point, when a test has begun already, and after 100000 runs.
 *
 * When the program dies in a run of SIGSEGV, SIGBUS, SIGFPE, SIGILL or SIGABRT, a line tells which
 * run it was, "when step 1 of memory.allocate is to fail: signal 11": on `out`, or on stderr when
 * that has no descriptor; null: nowhere. What the program had for that signal before the run goes
 * on then. It may go on with the run, and so the line adds ", for which the program has a handler"
 * (one of a sanitizer, say) or ", which the program ignores"; the run has not failed by that. Once
 * a run; not of a thread whose stack is full, nor when the module has set a handler in the run:
 * that one gets the signal alone. Where the program ends, the test's own directory goes if it is
 * empty, and else stays. */
DXR_API uint32_t DxrTestFailEach(const DxrHostOptions *options, const char *point, bool onwards,
                                 DxrTestBody body, void *user, FILE *out);

/* Runs the body with the virtual clock in a test of its own for each of `seeds` seeds, from that of
 * the options on. As DxrHostExplore, it fails a run that the host had to end, and besides that one
 * with a failure of any other kind, as something left behind. That run is the last one: its seed
 * and the failures are written to `out` (null: nowhere). Returns how many runs there were; 0 when
 * one failed and when a test has begun already. When the program dies in a run, its seed is told as
 * by DxrTestFailEach, "seed 7: signal 11". */
DXR_API uint32_t DxrTestExplore(const DxrHostOptions *options, uint32_t seeds, DxrTestBody body,
                                void *user, FILE *out);

/* ---- Checks for plain C ----------------------------------------------------------------- */

/* Each is true when it holds, and else notes a failure with the place where it stands. */
#define DXR_TEST_CHECK(condition) DxrTestCheck((condition), #condition, __FILE__, __LINE__)
#define DXR_TEST_ASKED(pattern) DXR_TEST_ASKED_TIMES(pattern, 1, UINT32_MAX)
#define DXR_TEST_NOT_ASKED(pattern) DXR_TEST_ASKED_TIMES(pattern, 0, 0)
#define DXR_TEST_ASKED_TIMES(pattern, least, most) \
    DxrTestCheckAsked((pattern), (least), (most), __FILE__, __LINE__)
#define DXR_TEST_LOGGED(pattern) DXR_TEST_LOGGED_TIMES(pattern, 1, UINT32_MAX)
#define DXR_TEST_NOT_LOGGED(pattern) DXR_TEST_LOGGED_TIMES(pattern, 0, 0)
#define DXR_TEST_LOGGED_TIMES(pattern, least, most) \
    DxrTestCheckLogged((pattern), (least), (most), __FILE__, __LINE__)

/* Bytes of a reason, its terminator included. */
#define DXR_TEST_TEXT_SIZE 4096

/* The parts of the above, which give what they were told: notes a failure unless it holds. */
static inline bool DxrTestCheck(bool holds, const char *text, const char *file, uint32_t line) {
    if (!holds) {
        DxrTestNoteFailure(file, line, text);
    }
    return holds;
}

/* DxrTestAsked, with a failure noted. */
static inline bool DxrTestCheckAsked(const char *pattern, uint32_t least, uint32_t most,
                                     const char *file, uint32_t line) {
    char why[DXR_TEST_TEXT_SIZE];
    return DxrTestCheck(DxrTestAsked(pattern, least, most, why, sizeof(why)), why, file, line);
}

/* DxrTestLogged for lines of all kinds, with a failure noted. */
static inline bool DxrTestCheckLogged(const char *pattern, uint32_t least, uint32_t most,
                                      const char *file, uint32_t line) {
    char why[DXR_TEST_TEXT_SIZE];
    return DxrTestCheck(DxrTestLogged(DXR_TEST_LINES, pattern, least, most, why, sizeof(why)), why,
                        file, line);
}

DXR_EXTERN_C_END

#endif /* DXR_DEVHOST_TEST_H */
