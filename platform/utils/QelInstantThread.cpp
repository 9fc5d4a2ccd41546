#include "utils/QelInstantThread.h"

#include <atomic>
#include <future>
#include <system_error>

struct QelInstantThread::State {
    std::atomic<bool> bRunning{false};
};

QelInstantThread::QelInstantThread() : m_pState(std::make_shared<State>()) {}

QelInstantThread::~QelInstantThread() {
    if (m_thread.joinable() && m_thread.get_id() == std::this_thread::get_id()) {
        // Destroyed by its own run: the run holds the shared state and ends by itself.
        m_thread.detach();
        return;
    }
    Join();
}

bool QelInstantThread::Create(std::function<void(void*)> fn, void* arg, bool bWaitStarted) {
    if (!fn || m_pState->bRunning.load()) return false;
    Join();  // the previous run has ended; reclaim its thread

    std::promise<void> started;
    std::future<void> startedFuture = started.get_future();
    m_pState->bRunning.store(true);
    try {
        m_thread = std::thread(
            [pState = m_pState, fn = std::move(fn), arg, started = std::move(started)]() mutable {
                started.set_value();
                try {
                    fn(arg);
                } catch (...) {
                    // A run cannot report an exception to anyone; it ends here.
                }
                pState->bRunning.store(false);
            });
    } catch (const std::system_error&) {
        m_pState->bRunning.store(false);
        return false;
    }
    if (bWaitStarted) startedFuture.wait();
    return true;
}

bool QelInstantThread::IsRunning() const { return m_pState->bRunning.load(); }

void QelInstantThread::Join() {
    if (m_thread.joinable() && m_thread.get_id() != std::this_thread::get_id()) m_thread.join();
}
