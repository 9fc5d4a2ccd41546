// Polls until a condition holds or the time-out passes; tests wait for states, never for
// speed.
#pragma once

#include <chrono>
#include <thread>

namespace qel::test {

template <typename Predicate>
bool Eventually(Predicate predicate, std::chrono::milliseconds timeout = std::chrono::seconds(15)) {
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    while (std::chrono::steady_clock::now() < deadline) {
        if (predicate())
            return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    return predicate();
}

}  // namespace qel::test
