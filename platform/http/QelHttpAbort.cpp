#include "http/QelHttpAbort.h"

void QelHttpAbortSignal::Abort()
{
    std::function<void()> fnWake;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (m_bAborted.exchange(true))
            return;
        fnWake = std::move(m_fnWakeTransfer);
        m_fnWakeTransfer = nullptr;
        // Under the lock: the transfer cannot unregister, and so free what the wake-up
        // touches, while it runs.
        if (fnWake)
            fnWake();
    }
    m_wake.notify_all();
}

bool QelHttpAbortSignal::WaitFor(std::chrono::milliseconds duration)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    return m_wake.wait_for(lock, duration, [this] { return m_bAborted.load(); });
}

QelHttpAbortScope::QelHttpAbortScope(QelHttpAbortSignal& signal, std::function<void()> fnWakeTransfer)
    : m_signal(signal)
{
    std::lock_guard<std::mutex> lock(m_signal.m_mutex);
    // Already aborted: the transfer sees the flag before it waits, so no wake-up is needed.
    if (!m_signal.m_bAborted)
        m_signal.m_fnWakeTransfer = std::move(fnWakeTransfer);
}

QelHttpAbortScope::~QelHttpAbortScope()
{
    std::lock_guard<std::mutex> lock(m_signal.m_mutex);
    m_signal.m_fnWakeTransfer = nullptr;
}
