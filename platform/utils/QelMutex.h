// A plain (non-recursive) lock and its scope guard.
#pragma once

#include <mutex>

class QelMutex {
public:
    QelMutex() = default;
    QelMutex(const QelMutex&) = delete;
    QelMutex& operator=(const QelMutex&) = delete;

    void Lock() { m_mutex.lock(); }
    void Unlock() { m_mutex.unlock(); }
    // True when the lock was free and is now held.
    bool TryLock() { return m_mutex.try_lock(); }

private:
    std::mutex m_mutex;
};

// Holds the lock for its own lifetime.
class QelMutexGuard {
public:
    explicit QelMutexGuard(QelMutex& mutex) : m_mutex(mutex) { m_mutex.Lock(); }
    ~QelMutexGuard() { m_mutex.Unlock(); }
    QelMutexGuard(const QelMutexGuard&) = delete;
    QelMutexGuard& operator=(const QelMutexGuard&) = delete;

private:
    QelMutex& m_mutex;
};
