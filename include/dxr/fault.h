/* Fault detection (C++ only): a counter records when events happened, and a fault specification is
 * a rule that judges from the latest of them whether a fault condition holds. The host makes and
 * keeps both.
 *
 * Times are seconds since system start as DXR_GetStartupTimeSec gives them (0 without its hook);
 * their differences wrap at 32 bits.
 *
 * Memory: the classes use the ordinary allocator. std::bad_alloc is the one exception of the
 * library's own; it can leave where a rule of pairs is made or copied, and the factory. Nothing is
 * lost then, and a rule that was to be assigned to is as it was. Counting and judging allocate
 * nothing.
 *
 * Cost: the same however many events there were; of a rule of pairs, each pair.
 *
 * Thread safety: none. A counter must not be changed while a rule judges it. A rule keeps no
 * counter and judging leaves it as it is: one that nobody assigns to may serve several threads. */
#ifndef DXR_FAULT_H
#define DXR_FAULT_H

#include "dxr/base.h"

#ifdef __cplusplus
#include <array>
#include <memory>
#include <type_traits>
#include <utility>
#include <vector>

/* Counts events and remembers the times of the latest 4096 of them. One fixed block without
 * pointers: no event allocates. A counter starts zeroed: `DxrCounter counter{};`, static storage, a
 * zeroed block, or ResetCount. */
class DXR_API DxrCounter {
  public:
    /* Records an event now. */
    void IncreaseCount();

    /* Forgets all events. */
    void ResetCount();

    /* How many events can be looked back over: all since the reset, at most 4096. */
    [[nodiscard]] uint32_t GetCount() const;

    /* The time of the event `n` before the latest (0: the latest itself); 0 if it is not known.
     * 0xFFFFFFFF answers with what stands where the next event will go. */
    [[nodiscard]] uint32_t BacktraceTimestamp(uint32_t n) const;

  private:
    uint32_t count_;                        /* events since the reset; wraps */
    std::array<uint32_t, 4096> timestamps_; /* event k (from 0) at k modulo 4096 */
};

DXR_STATIC_ASSERT(sizeof(DxrCounter) == 4 + 4 * 4096, "the host places counters: fixed layout");
DXR_STATIC_ASSERT(std::is_trivially_default_constructible<DxrCounter>::value,
                  "a zeroed block is a counter");
DXR_STATIC_ASSERT(std::is_trivially_copyable<DxrCounter>::value, "a zeroed block is a counter");
DXR_STATIC_ASSERT(std::is_standard_layout<DxrCounter>::value,
                  "the host places counters: fixed layout");

/* A rule over a counter, immutable but for assignment. The rules below are plain values: they can
 * be copied, moved, assigned and kept in containers. The order of the virtual operations is part of
 * the binary interface. */
class DXR_API DxrFaultSpec {
  public:
    virtual ~DxrFaultSpec();

    /* True if the fault condition holds now. `counter` must not be null; without events nothing
     * holds. */
    [[nodiscard]] virtual bool IsSatisfied(const DxrCounter *counter) const = 0;

  protected:
    DxrFaultSpec() = default;
    /* For the rules: copied through the base, one would be cut. */
    DxrFaultSpec(const DxrFaultSpec &) = default;
    DxrFaultSpec(DxrFaultSpec &&) = default;
    DxrFaultSpec &operator=(const DxrFaultSpec &) = default;
    DxrFaultSpec &operator=(DxrFaultSpec &&) = default;
};

/* Burst: the latest `threshold` events (1 to 4096; more never holds) all lie within the last
 * `interval` seconds, the boundary included. With threshold 0 silence: the latest event is more
 * than `interval` seconds old. Interval 0 never holds. */
class DXR_API DxrFaultAccumulatedSpec : public DxrFaultSpec {
  public:
    DxrFaultAccumulatedSpec(uint32_t interval, uint32_t threshold);
    DxrFaultAccumulatedSpec(const DxrFaultAccumulatedSpec &) = default;
    DxrFaultAccumulatedSpec(DxrFaultAccumulatedSpec &&) = default;
    DxrFaultAccumulatedSpec &operator=(const DxrFaultAccumulatedSpec &) = default;
    DxrFaultAccumulatedSpec &operator=(DxrFaultAccumulatedSpec &&) = default;
    ~DxrFaultAccumulatedSpec() override;

    [[nodiscard]] bool IsSatisfied(const DxrCounter *counter) const override;

  private:
    uint32_t interval_;  /* seconds */
    uint32_t threshold_; /* events */
};

/* Several such rules, as pairs of interval and threshold, of which any one suffices. Every pair is
 * judged, each with the time read anew. An empty list never holds. */
class DXR_API DxrFaultMultiAccumulatedSpec : public DxrFaultSpec {
  public:
    /* `specs` is copied. */
    explicit DxrFaultMultiAccumulatedSpec(const std::vector<std::pair<uint32_t, uint32_t>> &specs);
    DxrFaultMultiAccumulatedSpec(const DxrFaultMultiAccumulatedSpec &) = default;
    DxrFaultMultiAccumulatedSpec(DxrFaultMultiAccumulatedSpec &&) = default;
    DxrFaultMultiAccumulatedSpec &operator=(const DxrFaultMultiAccumulatedSpec &) = default;
    DxrFaultMultiAccumulatedSpec &operator=(DxrFaultMultiAccumulatedSpec &&) = default;
    ~DxrFaultMultiAccumulatedSpec() override;

    [[nodiscard]] bool IsSatisfied(const DxrCounter *counter) const override;

  private:
    std::vector<std::pair<uint32_t, uint32_t>> specs_;
};

/* Time-out: there was an event, and the system has been up for more than `interval` seconds,
 * whenever the event was. Interval 0 never holds. */
class DXR_API DxrFaultTimeoutSpec : public DxrFaultSpec {
  public:
    explicit DxrFaultTimeoutSpec(uint32_t interval);
    DxrFaultTimeoutSpec(const DxrFaultTimeoutSpec &) = default;
    DxrFaultTimeoutSpec(DxrFaultTimeoutSpec &&) = default;
    DxrFaultTimeoutSpec &operator=(const DxrFaultTimeoutSpec &) = default;
    DxrFaultTimeoutSpec &operator=(DxrFaultTimeoutSpec &&) = default;
    ~DxrFaultTimeoutSpec() override;

    [[nodiscard]] bool IsSatisfied(const DxrCounter *counter) const override;

  private:
    uint32_t interval_; /* seconds */
};

/* Makes the rule for configured numbers. What it returns is the caller's, never null. It keeps
 * nothing: one factory may serve several threads. */
class DXR_API DxrFaultSpecFactory {
  public:
    /* A DxrFaultAccumulatedSpec of `interval` seconds and `threshold` events. */
    [[nodiscard]] std::unique_ptr<DxrFaultSpec> CreateSpec(uint32_t interval,
                                                           uint32_t threshold) const;

    /* A DxrFaultMultiAccumulatedSpec with a copy of `specs`, which stays as it is. */
    [[nodiscard]] std::unique_ptr<DxrFaultSpec> CreateSpec(
        std::vector<std::pair<uint32_t, uint32_t>> &specs) const;
};
#endif /* __cplusplus */

#endif /* DXR_FAULT_H */
