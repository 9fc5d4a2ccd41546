#include "segment_cache/QelTSPackage.h"

#include <algorithm>
#include <chrono>

#include "log/QelLog.h"
#include "segment_cache/QelTSGroup.h"
#include "segment_cache/QelVideoFile.h"

QelTSPackage::QelTSPackage(QelVideoFile* pVideoFile, const HWND* pNotifyWnd, int nReserved, long long llUserData)
    : m_pVideoFile(pVideoFile),
      m_hNotifyWnd(pNotifyWnd ? *pNotifyWnd : nullptr),
      m_vecItems(QelNoSegments()),
      m_http(true, 3, 10),
      m_nReserved(nReserved),
      m_bGroupFinished(false),
      m_nFirstGroupSize(0),
      m_bStop(false),
      m_bGroupsBuilt(false),
      m_nNextGroupIndex(0),
      m_bSeeking(false),
      m_nGroupCounter(0),
      m_nLastRequestTS(-1),
      m_llUserData(llUserData),
      m_bDestroying(false) {}

QelTSPackage::~QelTSPackage() {
    m_bStop = true;
    {
        std::lock_guard<std::mutex> lock(m_wakeMutex);
        m_bDestroying = true;
    }
    m_wakeCondition.notify_all();
    m_thread.Join();

    std::vector<QelTSGroup*> vecAll;
    {
        QelMutexGuard guard(m_mutex);
        for (auto* pList : {&m_vecGroups, &m_vecResumedGroups}) {
            vecAll.insert(vecAll.end(), pList->begin(), pList->end());
            pList->clear();
        }
        for (const WaitGroup& waitGroup : m_vecWaitGroups) {
            if (waitGroup.pGroup && !waitGroup.bTaken)
                vecAll.push_back(waitGroup.pGroup);
        }
        m_vecWaitGroups.clear();
    }
    // Told all at once, the transfers end together; each deletion then waits for its own.
    for (QelTSGroup* pGroup : vecAll)
        pGroup->StopDownload();
    for (QelTSGroup* pGroup : vecAll)
        delete pGroup;
}

void QelTSPackage::SetTSItems(const std::vector<QelTSItem>& vecItems) {
    if (!vecItems.empty())
        SetTSItems(std::make_shared<const std::vector<QelTSItem>>(vecItems));
}

void QelTSPackage::SetTSItems(QelSegmentList pItems) {
    if (!pItems || pItems->empty())
        return;
    std::lock_guard<std::mutex> feeding(m_setItemsMutex);

    const auto itFirstEnd = pItems->begin() + static_cast<std::ptrdiff_t>(std::min<std::size_t>(pItems->size(), 2));
    std::vector<QelTSItem> vecFirst(pItems->begin(), itFirstEnd);
    {
        QelMutexGuard guard(m_mutex);
        m_vecItems = pItems;
        m_bStop = false;
        m_bGroupFinished = false;
        if (pItems->size() > 2)
            m_vecRestItems.push_back(pItems);
    }
    m_nFirstGroupSize = static_cast<int>(vecFirst.size());

    const int nGroupIndex = m_nGroupCounter++;
    QEL_LOG << "Create group(index:" << nGroupIndex << ") for ts index 0 and 1";
    QelTSGroup* pGroup = NewGroup(nGroupIndex, true);
    pGroup->SetRange(0, 1);
    pGroup->SetTSItems(vecFirst);
    {
        QelMutexGuard guard(m_mutex);
        m_vecGroups.push_back(pGroup);
        m_nNextGroupIndex = static_cast<int>(m_vecGroups.size());
    }
    // Still running from an earlier list, the worker simply goes on.
    m_thread.Create([this](void* pArg) { WaitDownloadTS(pArg); }, this, false);
}

void QelTSPackage::CreateTSGroup(int nTS) {
    QelTSItem item;
    {
        QelMutexGuard guard(m_mutex);
        if (nTS < 0 || nTS >= static_cast<int>(m_vecItems->size()) || nTS == m_nLastRequestTS)
            return;
        item = (*m_vecItems)[static_cast<size_t>(nTS)];
    }
    m_nLastRequestTS = nTS;
    m_bSeeking = true;

    if (QelTSGroup* pGroup = FindGroup(nTS)) {
        // The worker continues after this group. Set before the resume: downloaders that
        // find their files cached wake the worker at once, and it must not start its turn
        // with the group it was at before the seek.
        m_nNextGroupIndex = pGroup->GetGroupIndex() + 1;
        // Groups live as long as the package, so the pointer stays good outside the lock.
        pGroup->ResumeDownload();
        return;
    }

    const int nGroupIndex = m_nGroupCounter++;
    QEL_LOG << "Create new group(index:" << nGroupIndex << ") for ts index " << nTS;
    QelTSGroup* pGroup = NewGroup(nGroupIndex, true);
    pGroup->SetRange(nTS, nTS);
    pGroup->SetTSItems(std::vector<QelTSItem>{item});
    QelMutexGuard guard(m_mutex);
    m_vecGroups.push_back(pGroup);
}

void QelTSPackage::StopDownload() {
    m_bStop = true;
    QelMutexGuard guard(m_mutex);
    for (QelTSGroup* pGroup : m_vecGroups)
        pGroup->StopDownload();
    // Groups not needed yet have nothing to stop.
    for (const WaitGroup& waitGroup : m_vecWaitGroups) {
        if (waitGroup.pGroup && !waitGroup.bTaken)
            waitGroup.pGroup->StopDownload();
    }
}

void QelTSPackage::WaitDownloadTS(void*) {
    while (!m_bStop) {
        // A stop alone does not end this wait: only a completion (or the package's end) does.
        while (!m_bGroupFinished) {
            if (!PollPause(true))
                return;
        }
        if (m_bStop)
            break;

        if (!m_bGroupsBuilt) {
            {
                QelMutexGuard guard(m_mutex);
                BuildWaitGroups();
            }
            m_bGroupsBuilt = true;
            QEL_LOG << "TS group finished";
            if (m_pVideoFile)
                m_pVideoFile->OnFirstGroupReady();
            // m_bGroupFinished stays raised: the next turn starts the first waiting group.
        } else {
            {
                QelMutexGuard guard(m_mutex);
                ResumeNextWaitGroup();
            }
            m_bGroupFinished = false;
            m_bSeeking = false;
        }
        // A whole turn, whatever happens meanwhile: a stop or a seek that comes within it
        // is seen before the next group starts.
        if (!PollPause(false))
            return;
    }
}

QelTSGroup* QelTSPackage::FindGroup(int nTS) {
    QelMutexGuard guard(m_mutex);
    for (QelTSGroup* pGroup : m_vecGroups) {
        if (pGroup->Contains(nTS))
            return pGroup;
    }
    for (WaitGroup& waitGroup : m_vecWaitGroups) {
        if (!waitGroup.bTaken && waitGroup.nFirstTS <= nTS && nTS <= waitGroup.nLastTS)
            return GroupOf(waitGroup);
    }
    return nullptr;
}

QelTSGroup* QelTSPackage::NewGroup(int nGroupIndex, bool bAutoStart) {
    return new QelTSGroup(this, &m_hNotifyWnd, nGroupIndex, bAutoStart, m_llUserData);
}

void QelTSPackage::SetGroupFinished(bool bFinished) {
    {
        // Under the lock, so that a worker between its test and its wait cannot miss it.
        std::lock_guard<std::mutex> lock(m_wakeMutex);
        m_bGroupFinished = bFinished;
    }
    if (bFinished)
        m_wakeCondition.notify_all();
}

bool QelTSPackage::PollPause(bool bUntilGroupFinished) {
    std::unique_lock<std::mutex> lock(m_wakeMutex);
    m_wakeCondition.wait_for(lock, std::chrono::milliseconds(100), [this, bUntilGroupFinished] {
        return m_bDestroying.load() || (bUntilGroupFinished && m_bGroupFinished.load());
    });
    return !m_bDestroying;
}

void QelTSPackage::BuildWaitGroups() {
    std::size_t nRest = 0;
    for (const QelSegmentList& pItems : m_vecRestItems)
        nRest += pItems->size() - 2;
    const std::size_t nGroups = (nRest + 2) / 3;
    // The numbers are handed out now, in order, as if every group were made here.
    int nGroupIndex = m_nGroupCounter.fetch_add(static_cast<int>(nGroups));
    const int nFirstGroupSize = m_nFirstGroupSize;
    m_vecWaitGroups.reserve(nGroups);
    int nLastTS = 0;  // last TS of the previous full group; 0 when there was none
    for (std::size_t nFirstRest = 0; nFirstRest < nRest; nFirstRest += 3) {
        const int nCount = static_cast<int>(std::min<std::size_t>(3, nRest - nFirstRest));
        int nFirstTS = 0;
        if (nCount == 3) {
            nFirstTS = nFirstGroupSize + static_cast<int>(nFirstRest);
        } else {
            // The remainder continues from the previous full group, or from 0 when there was
            // none (a video of 3 or 4 segments gets the range 1..1 or 1..2).
            nFirstTS = nLastTS + 1;
        }
        nLastTS = nFirstTS + nCount - 1;
        m_vecWaitGroups.push_back(WaitGroup{nGroupIndex++, nFirstTS, nLastTS, nFirstRest, nCount, nullptr, false});
    }
}

void QelTSPackage::ResumeNextWaitGroup() {
    if (m_vecWaitGroups.empty())
        return;
    const long long llPosition =
        static_cast<long long>(m_nNextGroupIndex) - m_vecWaitGroups.front().nGroupIndex;
    if (llPosition < 0 || llPosition >= static_cast<long long>(m_vecWaitGroups.size()))
        return;
    WaitGroup& waitGroup = m_vecWaitGroups[static_cast<std::size_t>(llPosition)];
    if (waitGroup.bTaken)
        return;
    QelTSGroup* pGroup = GroupOf(waitGroup);
    pGroup->ResumeDownload();
    waitGroup.bTaken = true;
    m_vecResumedGroups.push_back(pGroup);
    ++m_nNextGroupIndex;
}

QelTSGroup* QelTSPackage::GroupOf(WaitGroup& waitGroup) {
    if (!waitGroup.pGroup) {
        std::vector<QelTSItem> vecItems;
        vecItems.reserve(static_cast<std::size_t>(waitGroup.nCount));
        for (int i = 0; i < waitGroup.nCount; ++i)
            vecItems.push_back(RestItem(waitGroup.nFirstRest + static_cast<std::size_t>(i)));
        waitGroup.pGroup = NewGroup(waitGroup.nGroupIndex, false);
        waitGroup.pGroup->SetRange(waitGroup.nFirstTS, waitGroup.nLastTS);
        waitGroup.pGroup->SetTSItems(vecItems);
    }
    return waitGroup.pGroup;
}

const QelTSItem& QelTSPackage::RestItem(std::size_t nPosition) const {
    for (const QelSegmentList& pItems : m_vecRestItems) {
        const std::size_t nHere = pItems->size() - 2;
        if (nPosition < nHere)
            return (*pItems)[2 + nPosition];
        nPosition -= nHere;
    }
    return m_vecRestItems.back()->back();  // not reached: positions come from BuildWaitGroups
}
