// Decides which segments of one video are downloaded when: TS 0 and 1 at once, then, once
// they are cached, the rest in groups of three that a worker starts one after another,
// each as soon as the group before it is cached; a seek moves the download to the group
// holding the segment it needs, or makes a one-segment group for it. Results reach the
// notify window only through the downloaders' posted messages.
#pragma once

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <vector>

#include "http/QelHttp.h"
#include "segment_cache/QelTSItem.h"
#include "utils/QelInstantThread.h"
#include "utils/QelMutex.h"
#include "winapi/QelWinApi.h"

class QelTSGroup;
class QelVideoFile;

class QelTSPackage {
public:
    // pVideoFile is told once when TS 0 and 1 are cached (may be null); pNotifyWnd is read
    // once, here. nReserved is kept and never read.
    QelTSPackage(QelVideoFile* pVideoFile, const HWND* pNotifyWnd, int nReserved, long long llUserData);
    // Stops every transfer, ends the worker and every downloader, and frees every group
    // the package made.
    virtual ~QelTSPackage();
    QelTSPackage(const QelTSPackage&) = delete;
    QelTSPackage& operator=(const QelTSPackage&) = delete;

    // The whole segment list of the video: starts TS 0 and 1 and the worker.
    void SetTSItems(const std::vector<QelTSItem>& vecItems);
    // Download priority for a seek to segment nTS.
    void CreateTSGroup(int nTS);
    // Aborts the transfers of the groups it holds. The worker goes on waiting.
    void StopDownload();
    // The worker loop; pArg is the package itself.
    void WaitDownloadTS(void* pArg);
    // The first started group, then the first waiting group, whose range holds nTS.
    QelTSGroup* FindGroup(int nTS);

private:
    friend class QelTS;  // raises m_bGroupFinished, reads m_bSeeking

    QelTSGroup* NewGroup(bool bAutoStart);
    // Waits one polling period (100 ms); false when the package is being destroyed.
    bool PollPause();
    // Both under m_mutex, on the worker.
    void BuildWaitGroups();
    void ResumeNextWaitGroup();

    QelVideoFile* m_pVideoFile;
    HWND m_hNotifyWnd;
    std::vector<QelTSItem> m_vecItems;
    std::vector<QelTSItem> m_vecRestItems;
    std::vector<QelTSGroup*> m_vecGroups;
    std::vector<QelTSGroup*> m_vecWaitGroups;
    // Waiting groups the worker has started: in neither list above, so neither searched
    // nor stopped, but still freed with the package.
    std::vector<QelTSGroup*> m_vecResumedGroups;
    // Guards the item and group lists.
    QelMutex m_mutex;
    QelHttp m_http;
    QelInstantThread m_thread;
    int m_nReserved;
    std::atomic<bool> m_bGroupFinished;
    std::atomic<int> m_nFirstGroupSize;
    std::atomic<bool> m_bStop;
    std::atomic<bool> m_bGroupsBuilt;
    std::atomic<int> m_nNextGroupIndex;
    std::atomic<bool> m_bSeeking;
    std::atomic<int> m_nGroupCounter;
    std::atomic<int> m_nLastRequestTS;
    long long m_llUserData;

    // Ends the worker's polling when the package goes.
    std::atomic<bool> m_bDestroying;
    std::mutex m_wakeMutex;
    std::condition_variable m_wakeCondition;
};
