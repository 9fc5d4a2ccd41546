// Decides which segments of one video are downloaded when: TS 0 and 1 at once, then, once
// they are cached, the rest in groups of three that a worker starts one after another,
// each as soon as the group before it is cached; a seek moves the download to the group
// holding the segment it needs, or makes a one-segment group for it. Results reach the
// notify window only through the downloaders' posted messages.
//
// Memory follows what is under way, not the length of the video: the segment list is
// shared with the video file, and a waiting group is a number and a range until the
// scheduler or a seek needs its downloaders.
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <vector>

#include "http/QelHttp.h"
#include "segment_cache/QelSegmentList.h"
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

    // The whole segment list of the video: starts TS 0 and 1 and the worker. Callers on two
    // threads (the playlist download and a re-parse) are served one after the other.
    void SetTSItems(const std::vector<QelTSItem>& vecItems);
    void SetTSItems(QelSegmentList pItems);
    // Download priority for a seek to segment nTS.
    void CreateTSGroup(int nTS);
    // Aborts the transfers of the groups it holds. The worker goes on waiting.
    void StopDownload();
    // The worker loop; pArg is the package itself.
    void WaitDownloadTS(void* pArg);
    // The first started group, then the first waiting group, whose range holds nTS.
    QelTSGroup* FindGroup(int nTS);

private:
    friend class QelTS;  // raises m_bGroupFinished through SetGroupFinished, reads m_bSeeking

    // A group of the prefetch chain, built by the worker's first turn with its number and
    // range; its downloaders exist from the moment the worker or a seek needs them.
    struct WaitGroup {
        int nGroupIndex;
        int nFirstTS;
        int nLastTS;
        std::size_t nFirstRest;  // position of its first item among the rest items
        int nCount;
        QelTSGroup* pGroup;      // null until needed
        bool bTaken;             // started by the worker: out of the waiting list
    };

    QelTSGroup* NewGroup(int nGroupIndex, bool bAutoStart);
    // Sets the completion flag and, when raised, wakes the worker at once.
    void SetGroupFinished(bool bFinished);
    // Waits one polling period (100 ms), or less when bUntilGroupFinished and the
    // completion flag is raised; false when the package is being destroyed.
    bool PollPause(bool bUntilGroupFinished);
    // Under m_mutex.
    void BuildWaitGroups();
    void ResumeNextWaitGroup();
    QelTSGroup* GroupOf(WaitGroup& waitGroup);
    const QelTSItem& RestItem(std::size_t nPosition) const;

    QelVideoFile* m_pVideoFile;
    HWND m_hNotifyWnd;
    // The list of the latest SetTSItems.
    QelSegmentList m_vecItems;
    // Every list SetTSItems was given; the rest items are their items from index 2 on, one
    // list after the other.
    std::vector<QelSegmentList> m_vecRestItems;
    std::vector<QelTSGroup*> m_vecGroups;
    // In number order; taken ones stay, marked.
    std::vector<WaitGroup> m_vecWaitGroups;
    // Waiting groups the worker has started: in neither list above, so neither searched
    // nor stopped, but still freed with the package.
    std::vector<QelTSGroup*> m_vecResumedGroups;
    // Guards the item and group lists.
    QelMutex m_mutex;
    // SetTSItems on two threads: one after the other.
    std::mutex m_setItemsMutex;
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

    // Ends the worker's polling when the package goes; with m_bGroupFinished, what the
    // worker's pauses wait for.
    std::atomic<bool> m_bDestroying;
    std::mutex m_wakeMutex;
    std::condition_variable m_wakeCondition;
};
