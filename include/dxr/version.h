/* The version of the library that a program is compiled for. The numbers stand here and nowhere
 * else: the build takes them from this file into the library's name, its packages and dxrsh.
 *
 * MAJOR changes when programs have to be compiled anew, MINOR when something is added that they may
 * use, PATCH when neither. docs/compatibility.md says what stays between them. */
#ifndef DXR_VERSION_H
#define DXR_VERSION_H

/* MAJOR.MINOR.PATCH. */
#define DXR_API_VERSION_MAJOR 1
#define DXR_API_VERSION_MINOR 0
#define DXR_API_VERSION_PATCH 0

/* One number for a version, to be compared, also by the preprocessor. Minor and patch are below
 * 1000. */
#define DXR_API_VERSION_OF(major, minor, patch) (((major)*1000 + (minor)) * 1000 + (patch))

/* #if DXR_API_VERSION >= DXR_API_VERSION_OF(1, 2, 0) */
#define DXR_API_VERSION \
    DXR_API_VERSION_OF(DXR_API_VERSION_MAJOR, DXR_API_VERSION_MINOR, DXR_API_VERSION_PATCH)

#endif /* DXR_VERSION_H */
