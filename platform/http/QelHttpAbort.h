// How another thread ends a transfer of QelHttp at once. Private to QelHttp.
//
// The transferring thread registers a wake-up for as long as the transfer runs (a
// QelHttpAbortScope); Abort raises the flag and runs the wake-up under the lock, so the
// wake-up never touches a transfer that has already unregistered.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>

class QelHttpAbortSignal {
public:
    // Any thread. The flag stays raised for good.
    void Abort();
    bool IsAborted() const { return m_bAborted.load(); }
    // Sleeps for the duration unless Abort comes first; true when it did.
    bool WaitFor(std::chrono::milliseconds duration);

private:
    friend class QelHttpAbortScope;

    std::mutex m_mutex;
    std::condition_variable m_wake;
    std::atomic<bool> m_bAborted{false};
    std::function<void()> m_fnWakeTransfer;  // set while a transfer runs
};

// Registers the wake-up of one running transfer. It is called at most once, on the
// aborting thread, and never after the scope has ended.
class QelHttpAbortScope {
public:
    QelHttpAbortScope(QelHttpAbortSignal& signal, std::function<void()> fnWakeTransfer);
    ~QelHttpAbortScope();
    QelHttpAbortScope(const QelHttpAbortScope&) = delete;
    QelHttpAbortScope& operator=(const QelHttpAbortScope&) = delete;

    bool IsAborted() const { return m_signal.IsAborted(); }

private:
    QelHttpAbortSignal& m_signal;
};
