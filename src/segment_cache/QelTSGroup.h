// A contiguous run of segments downloaded together: one QelTS per segment, all running at
// once. Started when its items are set (auto-start) or later by ResumeDownload. The group
// signals nothing itself; each downloader wakes the package when the whole group is cached.
#pragma once

#include <atomic>
#include <vector>

#include "segment_cache/QelTS.h"
#include "utils/QelMutex.h"

class QelTSGroup : public QelTS {
public:
    // Number 0 is the group of the first segments.
    QelTSGroup(QelTSPackage* pPackage, const HWND* pNotifyWnd, int nGroupIndex, bool bAutoStart, long long llUserData);
    // Stops every downloader and waits for each to end.
    ~QelTSGroup() override;

    // Keeps the group's own items; starts the downloaders when the group auto-starts.
    void SetTSItems(const std::vector<QelTSItem>& vecItems);
    // Starts the downloaders, once. An auto-started group gets a second set: those find
    // the files already cached and fetch the others again in parallel with the first.
    void ResumeDownload();
    // Raises the stop flags and aborts the running transfers, without waiting for them.
    void StopDownload();

    int GetGroupIndex() const { return m_nGroupIndex; }
    // The TS range the package searches, first and last inclusive. It is set by the
    // package and need not match the items' own indexes.
    void SetRange(int nFirstTS, int nLastTS) {
        m_nFirstTS = nFirstTS;
        m_nLastTS = nLastTS;
    }
    int GetFirstTS() const { return m_nFirstTS; }
    int GetLastTS() const { return m_nLastTS; }
    bool Contains(int nTS) const { return m_nFirstTS <= nTS && nTS <= m_nLastTS; }

private:
    void StartDownloaders();

    int m_nGroupIndex;
    int m_nResumeCount;
    std::vector<QelTS*> m_vecTS;
    bool m_bAutoStart;
    int m_nFirstTS;
    int m_nLastTS;
    std::atomic<bool> m_bResumed;
    // The scheduler and a seek may start or stop the same group from two threads.
    QelMutex m_tsMutex;
};
