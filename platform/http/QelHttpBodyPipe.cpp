#include "http/QelHttpBodyPipe.h"

namespace {

// How far the worker may run ahead of the file.
constexpr std::size_t kMaxQueuedBytes = 1024 * 1024;

}  // namespace

void QelHttpBodyPipe::Announce(long long llTotal)
{
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_llTotal = llTotal;
    }
    m_changed.notify_all();
}

bool QelHttpBodyPipe::Push(const char* pData, std::size_t nSize)
{
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_changed.wait(lock, [this] { return m_abandoned.IsAborted() || m_nQueuedBytes < kMaxQueuedBytes; });
        if (m_abandoned.IsAborted())
            return false;
        m_queue.emplace_back(pData, pData + nSize);
        m_nQueuedBytes += nSize;
    }
    m_changed.notify_all();
    return true;
}

void QelHttpBodyPipe::Finish(QelHttpResult result)
{
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_result = result;
        m_bFinished = true;
    }
    m_changed.notify_all();
}

QelHttpBodyPipe::Step QelHttpBodyPipe::Next(std::vector<char>& vecData, std::chrono::milliseconds timeout)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    m_changed.wait_for(lock, timeout, [this] { return !m_queue.empty() || m_bFinished; });
    if (!m_queue.empty()) {
        vecData = std::move(m_queue.front());
        m_queue.pop_front();
        m_nQueuedBytes -= vecData.size();
        lock.unlock();
        m_changed.notify_all();
        return Step::Data;
    }
    return m_bFinished ? Step::Finished : Step::Idle;
}

long long QelHttpBodyPipe::Total()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_llTotal;
}

QelHttpResult QelHttpBodyPipe::Result()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_result;
}

bool QelHttpBodyPipe::IsFinished()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_bFinished;
}

void QelHttpBodyPipe::Abandon()
{
    m_abandoned.Abort();
    // Under the lock, so that a Push between its check and its wait cannot miss it.
    { std::lock_guard<std::mutex> lock(m_mutex); }
    m_changed.notify_all();
}
