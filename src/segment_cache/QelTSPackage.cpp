#include "segment_cache/QelTSPackage.h"

#include <chrono>

#include "log/QelLog.h"
#include "segment_cache/QelTSGroup.h"
#include "segment_cache/QelVideoFile.h"

QelTSPackage::QelTSPackage(QelVideoFile* pVideoFile, const HWND* pNotifyWnd, int nReserved, long long llUserData)
    : m_pVideoFile(pVideoFile),
      m_hNotifyWnd(pNotifyWnd ? *pNotifyWnd : nullptr),
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
        for (auto* pList : {&m_vecGroups, &m_vecWaitGroups, &m_vecResumedGroups}) {
            vecAll.insert(vecAll.end(), pList->begin(), pList->end());
            pList->clear();
        }
    }
    // Told all at once, the transfers end together; each deletion then waits for its own.
    for (QelTSGroup* pGroup : vecAll)
        pGroup->StopDownload();
    for (QelTSGroup* pGroup : vecAll)
        delete pGroup;
}

void QelTSPackage::SetTSItems(const std::vector<QelTSItem>& vecItems) {
    if (vecItems.empty())
        return;

    std::vector<QelTSItem> vecFirst;
    {
        QelMutexGuard guard(m_mutex);
        m_vecItems = vecItems;
        m_bStop = false;
        m_bGroupFinished = false;
        for (size_t i = 0; i < vecItems.size(); ++i) {
            if (i < 2)
                vecFirst.push_back(vecItems[i]);
            else
                m_vecRestItems.push_back(vecItems[i]);
        }
    }
    m_nFirstGroupSize = static_cast<int>(vecFirst.size());

    QEL_LOG << "Create group(index:" << m_nGroupCounter.load() << ") for ts index 0 and 1";
    QelTSGroup* pGroup = NewGroup(true);
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
        if (nTS < 0 || nTS >= static_cast<int>(m_vecItems.size()) || nTS == m_nLastRequestTS)
            return;
        item = m_vecItems[static_cast<size_t>(nTS)];
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

    QEL_LOG << "Create new group(index:" << m_nGroupCounter.load() << ") for ts index " << nTS;
    QelTSGroup* pGroup = NewGroup(true);
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
    for (QelTSGroup* pGroup : m_vecWaitGroups)
        pGroup->StopDownload();
}

void QelTSPackage::WaitDownloadTS(void*) {
    while (!m_bStop) {
        // A stop alone does not end this wait: only a completion (or the package's end) does.
        while (!m_bGroupFinished) {
            if (!PollPause())
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
        if (!PollPause())
            return;
    }
}

QelTSGroup* QelTSPackage::FindGroup(int nTS) {
    QelMutexGuard guard(m_mutex);
    for (QelTSGroup* pGroup : m_vecGroups) {
        if (pGroup->Contains(nTS))
            return pGroup;
    }
    for (QelTSGroup* pGroup : m_vecWaitGroups) {
        if (pGroup->Contains(nTS))
            return pGroup;
    }
    return nullptr;
}

QelTSGroup* QelTSPackage::NewGroup(bool bAutoStart) {
    return new QelTSGroup(this, &m_hNotifyWnd, m_nGroupCounter++, bAutoStart, m_llUserData);
}

bool QelTSPackage::PollPause() {
    std::unique_lock<std::mutex> lock(m_wakeMutex);
    return !m_wakeCondition.wait_for(lock, std::chrono::milliseconds(100), [this] { return m_bDestroying.load(); });
}

void QelTSPackage::BuildWaitGroups() {
    const int nFirstGroupSize = m_nFirstGroupSize;
    std::vector<QelTSItem> vecCollected;
    int nFullGroups = 0;
    int nLastTS = 0;  // last TS of the previous full group; 0 when there was none
    auto addGroup = [this, &vecCollected](int nFirstTS, int nLast) {
        QelTSGroup* pGroup = NewGroup(false);
        pGroup->SetRange(nFirstTS, nLast);
        pGroup->SetTSItems(vecCollected);
        m_vecWaitGroups.push_back(pGroup);
        vecCollected.clear();
    };
    for (const QelTSItem& item : m_vecRestItems) {
        vecCollected.push_back(item);
        if (vecCollected.size() == 3) {
            const int nFirstTS = nFirstGroupSize + 3 * nFullGroups++;
            nLastTS = nFirstTS + 2;
            addGroup(nFirstTS, nLastTS);
        }
    }
    // The remainder continues from the previous full group, or from 0 when there was none
    // (a video of 3 or 4 segments gets the range 1..1 or 1..2).
    if (!vecCollected.empty())
        addGroup(nLastTS + 1, nLastTS + static_cast<int>(vecCollected.size()));
}

void QelTSPackage::ResumeNextWaitGroup() {
    const int nNext = m_nNextGroupIndex;
    for (auto it = m_vecWaitGroups.begin(); it != m_vecWaitGroups.end(); ++it) {
        if ((*it)->GetGroupIndex() == nNext) {
            QelTSGroup* pGroup = *it;
            pGroup->ResumeDownload();
            m_vecWaitGroups.erase(it);
            m_vecResumedGroups.push_back(pGroup);
            ++m_nNextGroupIndex;
            return;
        }
    }
}
