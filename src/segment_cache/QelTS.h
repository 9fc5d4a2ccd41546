// Caches one TS segment: accepts a cached file whose digest matches, or downloads the
// segment on a thread of its own into a temporary of its own beside the cache file, checks
// the digest there (fetching once more on a mismatch), moves only accepted bytes into place
// and posts the result to the notify window. When its segment ends up on disk it asks
// whether the whole group is cached and, if so, wakes the package's scheduler.
//
// Digests are hex text; the computed one is written in the letter case of the expected one
// (capitals when the host sent capitals) and compared exactly.
#pragma once

#include <atomic>
#include <vector>

#include "http/QelHttp.h"
#include "segment_cache/QelTSItem.h"
#include "utils/QelInstantThread.h"
#include "winapi/QelWinApi.h"

class QelTSPackage;

class QelTS : public QelHttpDownloadProgressCallback {
public:
    // A segment body larger than this (256 MiB) is a failed download: a server that never
    // ends a body must not fill the disk.
    static constexpr long long kMaxSegmentBytes = 256LL * 1024 * 1024;

    // pNotifyWnd is read once, here; a null window means nothing is posted.
    QelTS(QelTS* pGroup, QelTSPackage* pPackage, const HWND* pNotifyWnd, bool bFirstGroup, long long llUserData);
    // Aborts a running transfer and waits for the download thread to end.
    ~QelTS() override;
    QelTS(const QelTS&) = delete;
    QelTS& operator=(const QelTS&) = delete;

    // Aborts the transfer when the stop flag is raised.
    bool OnDownloadProgress(long long llDownloaded, long long llTotal, void* pUser) override;

    // Takes the whole list of the group and the position of this downloader's segment in
    // it: accepts the cached file or starts the download thread.
    void SetTSItems(const std::vector<QelTSItem>& vecItems, int nIndex);

    // Raises the stop flag and aborts a running transfer at once (any thread); the
    // downloader reports it as a failed download.
    void Stop();
    // The segment is on disk and accepted.
    bool IsFinished() const { return m_bFinished; }
    // The download thread is still at work.
    bool IsDownloading() const { return m_thread.IsRunning(); }

protected:
    // The body of the download thread; works on a copy of the item.
    virtual void DownloadTs(const QelTSItem& item);
    // Wakes the package once every file of the group is on disk.
    void CheckGroupFinished();

    QelTS* m_pGroup;
    QelTSPackage* m_pPackage;
    HWND m_hNotifyWnd;
    std::vector<QelTSItem> m_vecItems;
    QelHttp m_http;
    QelInstantThread m_thread;
    bool m_bFirstGroup;
    std::atomic<bool> m_bFinished;
    std::atomic<bool> m_bPaused;
    std::atomic<bool> m_bStop;
    long long m_llUserData;

private:
    void PostSuccess(const QelTSItem& item) const;
};
