// What the build's sanitizers forbid the tests to do.
#ifndef DXR_TESTS_SUPPORT_SANITIZERS_H
#define DXR_TESTS_SUPPORT_SANITIZERS_H

// Clang's undefined-behaviour sanitizer stops a call of a function whose type is not the pointer's.
// Elsewhere a test may stand in for a host that was built with other headers and put in hooks of
// another type.
#if defined(__has_feature)
#if __has_feature(undefined_behavior_sanitizer)
#define DXRTEST_FUNCTION_TYPES_ARE_CHECKED 1
#endif
#endif
#ifndef DXRTEST_FUNCTION_TYPES_ARE_CHECKED
#define DXRTEST_FUNCTION_TYPES_ARE_CHECKED 0
#endif

// In front of a function that calls others by a type that fits all of them.
#if DXRTEST_FUNCTION_TYPES_ARE_CHECKED
#define DXRTEST_CALLS_BY_ANY_TYPE [[clang::no_sanitize("function")]]
#else
#define DXRTEST_CALLS_BY_ANY_TYPE
#endif

// The address sanitizer takes a formatted text of 2 GiB for one of a negative size.
#if defined(__SANITIZE_ADDRESS__)
#define DXRTEST_FORMATTED_LENGTHS_ARE_CHECKED 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define DXRTEST_FORMATTED_LENGTHS_ARE_CHECKED 1
#endif
#endif
#ifndef DXRTEST_FORMATTED_LENGTHS_ARE_CHECKED
#define DXRTEST_FORMATTED_LENGTHS_ARE_CHECKED 0
#endif

#if defined(__SANITIZE_THREAD__)
#define DXRTEST_THREADS_ARE_WATCHED 1
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define DXRTEST_THREADS_ARE_WATCHED 1
#endif
#endif
#ifndef DXRTEST_THREADS_ARE_WATCHED
#define DXRTEST_THREADS_ARE_WATCHED 0
#endif

// The thread sanitizer reads formats too, and knows fewer than the C library.
#define DXRTEST_FORMATS_ARE_READ DXRTEST_THREADS_ARE_WATCHED

// The address and thread sanitizers keep shadows of all memory, far beyond any limit of a process.
#define DXRTEST_MEMORY_IS_SHADOWED \
    (DXRTEST_FORMATTED_LENGTHS_ARE_CHECKED || DXRTEST_FORMATS_ARE_READ)

#endif  // DXR_TESTS_SUPPORT_SANITIZERS_H
