#include "segment_cache/QelTSGroup.h"

#include "log/QelLog.h"

QelTSGroup::QelTSGroup(QelTSPackage* pPackage, const HWND* pNotifyWnd, int nGroupIndex, bool bAutoStart,
                       long long llUserData)
    : QelTS(this, pPackage, pNotifyWnd, nGroupIndex == 0, llUserData),
      m_nGroupIndex(nGroupIndex),
      m_nResumeCount(0),
      m_bAutoStart(bAutoStart),
      m_nFirstTS(0),
      m_nLastTS(0),
      m_bResumed(false) {}

QelTSGroup::~QelTSGroup() {
    // Every transfer is told first, so that they end together rather than one by one.
    StopDownload();
    QelMutexGuard guard(m_tsMutex);
    for (QelTS* pTS : m_vecTS)
        delete pTS;
    m_vecTS.clear();
}

void QelTSGroup::SetTSItems(const std::vector<QelTSItem>& vecItems) {
    if (vecItems.empty())
        return;
    m_vecItems = vecItems;
    if (m_bAutoStart)
        StartDownloaders();
}

void QelTSGroup::ResumeDownload() {
    m_bPaused = false;
    if (m_bResumed.exchange(true))
        return;
    m_nResumeCount = 0;
    QEL_LOG << "Resume download for group index " << m_nGroupIndex << ", include ts " << m_nFirstTS << " to "
            << m_nLastTS;
    StartDownloaders();
}

void QelTSGroup::StopDownload() {
    m_bStop = true;
    QelMutexGuard guard(m_tsMutex);
    for (QelTS* pTS : m_vecTS)
        pTS->Stop();
}

void QelTSGroup::StartDownloaders() {
    QelMutexGuard guard(m_tsMutex);
    for (size_t i = 0; i < m_vecItems.size(); ++i) {
        auto* pTS = new QelTS(this, m_pPackage, &m_hNotifyWnd, m_bFirstGroup, m_llUserData);
        pTS->SetTSItems(m_vecItems, static_cast<int>(i));
        m_vecTS.push_back(pTS);
    }
}
