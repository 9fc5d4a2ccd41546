// Carries one response from a worker thread that makes the blocking calls to the thread
// that waits for it, so that the waiting thread can give up at once (abort, cancel, size
// limit) while a blocking call ends in its own time: some WinHTTP versions finish a
// blocked receive only at its time-out, whatever is done to the request meanwhile.
// Both threads hold the pipe (shared_ptr); the worker touches nothing else of the waiting
// thread's. Private to QelHttp.
#pragma once

#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <vector>

#include "http/QelHttpAbort.h"
#include "http/QelHttpTransfer.h"

class QelHttpBodyPipe {
public:
    // ---- the worker's side
    // Raised by Abandon; the worker registers how to cut its blocking call short with a
    // QelHttpAbortScope on it, and stops at its next check.
    QelHttpAbortSignal& Abandoned() { return m_abandoned; }
    // The length the head announced (-1: none).
    void Announce(long long llTotal);
    // Queues body bytes, waiting while much is queued; false once abandoned.
    bool Push(const char* pData, std::size_t nSize);
    void Finish(QelHttpResult result);

    // ---- the waiting side
    enum class Step { Data, Finished, Idle };
    // Waits up to the time-out: Data (moved into vecData), Finished (all data taken), or Idle.
    Step Next(std::vector<char>& vecData, std::chrono::milliseconds timeout);
    long long Total();
    QelHttpResult Result();
    bool IsFinished();
    // Any thread: the worker stops as soon as it can; its blocking call is cut short.
    void Abandon();

private:
    QelHttpAbortSignal m_abandoned;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<std::vector<char>> m_queue;
    std::size_t m_nQueuedBytes = 0;
    long long m_llTotal = -1;
    bool m_bFinished = false;
    QelHttpResult m_result = QelHttpResult::Failed;
};
