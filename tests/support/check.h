/* Checks for the test programs written in plain C: a failed one prints its place and ends the
 * program. */
#ifndef DXR_TESTS_SUPPORT_CHECK_H
#define DXR_TESTS_SUPPORT_CHECK_H

#include <stdio.h>
#include <stdlib.h>

static inline void CheckThat(int holds, const char *condition, const char *file, int line) {
    if (!holds) {
        fprintf(stderr, "%s:%d: does not hold: %s\n", file, line, condition);
        exit(1);
    }
}

#define CHECK(condition) CheckThat((condition) ? 1 : 0, #condition, __FILE__, __LINE__)

#endif /* DXR_TESTS_SUPPORT_CHECK_H */
