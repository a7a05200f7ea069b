// Fast paths give exactly what the plain code beside them gives, sooner. A build with DXR_PLAIN
// leaves all of them out, and the same tests run on both.
#ifndef DXR_INTERNAL_FAST_PATHS_H
#define DXR_INTERNAL_FAST_PATHS_H

namespace dxr {

#ifdef DXR_PLAIN
inline constexpr bool kFastPaths = false;
#else
inline constexpr bool kFastPaths = true;
#endif

}  // namespace dxr

#endif  // DXR_INTERNAL_FAST_PATHS_H
