// Threads that begin together.
#ifndef DXR_TESTS_THREADS_TOGETHER_H
#define DXR_TESTS_THREADS_TOGETHER_H

#include <atomic>
#include <cstdint>
#include <thread>
#include <vector>

namespace dxrtest {

constexpr uint32_t kThreads = 8;

// Runs the body on all threads at once, with the number of its thread, and waits for them.
template <typename Body>
void Together(uint32_t count, Body body) {
    std::atomic<uint32_t> waiting = count;
    std::vector<std::thread> threads;
    for (uint32_t thread = 0; thread < count; ++thread) {
        threads.emplace_back([&waiting, &body, thread] {
            --waiting;
            while (waiting != 0) {
                std::this_thread::yield();
            }
            body(thread);
        });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
}

template <typename Body>
void Together(Body body) {
    Together(kThreads, body);
}

}  // namespace dxrtest

#endif  // DXR_TESTS_THREADS_TOGETHER_H
