/* Linkage, visibility and format checking of the interface; included by every other header. */
#ifndef DXR_BASE_H
#define DXR_BASE_H

#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>

#if defined(__cplusplus) && __cplusplus < 201703L
#error "libdxr_api needs C++17 or later (-std=c++17)"
#endif

#ifdef __cplusplus
#define DXR_EXTERN_C_BEGIN extern "C" {
#define DXR_EXTERN_C_END }
#define DXR_STATIC_ASSERT(condition, text) static_assert(condition, text)
#else
#define DXR_EXTERN_C_BEGIN
#define DXR_EXTERN_C_END
#define DXR_STATIC_ASSERT(condition, text) _Static_assert(condition, text)
#endif

/* Attributes by their names with underscores: a host's macros of the plain names do no harm. */
#if defined(__GNUC__)
/* Marks what the shared library exports; everything else in it is hidden. */
#define DXR_API __attribute__((__visibility__("default")))
/* printf-style checking: numbers of the format argument and of the first variable one (0: none). */
#define DXR_PRINTF(text, first) __attribute__((__format__(__printf__, text, first)))
#else
#define DXR_API
#define DXR_PRINTF(text, first)
#endif

/* A result that nobody else keeps: the compiler warns where it is dropped. Comes before DXR_API. */
#if defined(__cplusplus)
#define DXR_NODISCARD [[__nodiscard__]]
#elif defined(__GNUC__)
#define DXR_NODISCARD __attribute__((__warn_unused_result__))
#else
#define DXR_NODISCARD
#endif

/* The binary interface (record offsets, the 1808-byte hook table) is that of 64-bit targets. With
   smaller pointers a record is shorter by what its pointers, and what is padded to their size, are
   smaller: `bytes` as they are with 64-bit pointers, of which `cells` are as wide as a pointer. */
#define DXR_LAYOUT(bytes, cells) ((bytes) - (cells) * (8 - sizeof(void *)))
DXR_STATIC_ASSERT(sizeof(void *) == 8 || sizeof(void *) == 4, "no such pointers are known");

#endif /* DXR_BASE_H */
