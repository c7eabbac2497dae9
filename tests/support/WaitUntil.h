#pragma once

#include <chrono>
#include <thread>

namespace kasto::test {

// Waits for what another thread is about to do; false if it has not come about within a time that only a
// hanging program needs.
template <class Condition>
bool waitUntil(Condition&& condition) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

}  // namespace kasto::test
