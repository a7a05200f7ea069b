// Made by hooks/generate.py from hooks/slots.yaml; do not edit.
#ifndef DXR_TRACE_CALLBACK_TYPES_H
#define DXR_TRACE_CALLBACK_TYPES_H

#include <cstddef>
#include <cstdint>

namespace dxr_trace {

// The type of the function that the host is given in a slot's call; void where it is given none.
template <size_t kSlot>
struct CallbackOf {
    using Type = void;
    static constexpr bool kHasArgument = false;
};

template <>
struct CallbackOf<73> {
    using Type = void (*)(uint32_t, void *);
    static constexpr bool kHasArgument = true;
};

template <>
struct CallbackOf<85> {
    using Type = void (*)(uint32_t, uint32_t, void *);
    static constexpr bool kHasArgument = true;
};

template <>
struct CallbackOf<138> {
    using Type = void (*)(void *);
    static constexpr bool kHasArgument = true;
};

template <>
struct CallbackOf<148> {
    using Type = void (*)(void *);
    static constexpr bool kHasArgument = true;
};

template <>
struct CallbackOf<153> {
    using Type = void (*)(void *);
    static constexpr bool kHasArgument = true;
};

template <>
struct CallbackOf<225> {
    using Type = uint32_t (*)(uint32_t, int32_t *);
    static constexpr bool kHasArgument = false;
};

}  // namespace dxr_trace

#endif  // DXR_TRACE_CALLBACK_TYPES_H
