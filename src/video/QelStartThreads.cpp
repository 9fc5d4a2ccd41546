#include "video/QelStartThreads.h"

#include <algorithm>

QelStartThreads::~QelStartThreads() {
    WaitAll();
}

void QelStartThreads::Run(const std::function<void()>& fnStart) {
    auto pThread = std::make_unique<QelInstantThread>();
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        // Ended runs are joined as new ones come, so their number stays small.
        m_vecThreads.erase(std::remove_if(m_vecThreads.begin(), m_vecThreads.end(),
                                          [](const auto& pDone) { return !pDone->IsRunning(); }),
                           m_vecThreads.end());
        if (pThread->Create([fnStart](void*) { fnStart(); }, nullptr, false)) {
            m_vecThreads.push_back(std::move(pThread));
            return;
        }
    }
    fnStart();
}

void QelStartThreads::WaitAll() {
    std::vector<std::unique_ptr<QelInstantThread>> vecThreads;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        vecThreads.swap(m_vecThreads);
    }
    vecThreads.clear();  // each destructor joins its run
}
