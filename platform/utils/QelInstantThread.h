// Runs one function once on a thread of its own; the object can run again after each run.
#pragma once

#include <functional>
#include <memory>
#include <thread>

class QelInstantThread {
public:
    QelInstantThread();
    // Joins a run still going (from the run itself it lets the thread finish alone).
    ~QelInstantThread();
    QelInstantThread(const QelInstantThread&) = delete;
    QelInstantThread& operator=(const QelInstantThread&) = delete;

    // Starts fn(arg) on a new thread. False, with nothing started, while the previous run
    // is still going, when fn is empty or when the system has no thread to give. A run that
    // has ended is joined first, so the same object can be created again.
    // bWaitStarted true: returns only once the new thread is running and entering fn
    // (so the run is under way, not merely scheduled); false: returns at once.
    // An exception escaping fn ends the run; it is not passed on.
    // Create, Join and the destructor are for the owner's thread; IsRunning for any thread.
    bool Create(std::function<void(void*)> fn, void* arg, bool bWaitStarted);

    // True from a successful Create until fn has returned.
    bool IsRunning() const;

    // Waits until the current run has ended; returns at once when there is none or when
    // called from the run itself.
    void Join();

private:
    struct State;
    // Shared with the running thread, so that a run may outlive the object that started it.
    std::shared_ptr<State> m_pState;
    std::thread m_thread;
};
