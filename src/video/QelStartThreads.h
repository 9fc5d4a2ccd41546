// Runs the engine opens of the starts the segment scheduler asks for, each on a thread of
// its own: no scheduler thread (and no UI thread that ends a video and so joins its
// scheduler) ever waits in the engine's Open, and no start waits behind another one's.
#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <vector>

#include "utils/QelInstantThread.h"

class QelStartThreads {
public:
    QelStartThreads() = default;
    // Waits for every start still under way (each is bounded by the engine's Open).
    ~QelStartThreads();
    QelStartThreads(const QelStartThreads&) = delete;
    QelStartThreads& operator=(const QelStartThreads&) = delete;

    // Runs fnStart on a new thread, from any thread. Where the system has no thread to
    // give, runs it on the caller's.
    void Run(const std::function<void()>& fnStart);
    // Waits for every start still under way.
    void WaitAll();

private:
    std::mutex m_mutex;
    std::vector<std::unique_ptr<QelInstantThread>> m_vecThreads;
};
