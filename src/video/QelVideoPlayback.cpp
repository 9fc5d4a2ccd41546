#include "video/QelVideoPlayback.h"

#include "log/QelLog.h"
#include "segment_cache/QelVideoFile.h"
#include "utils/QelCode.h"
#include "utils/QelFileUtils.h"
#include "utils/QelPath.h"
#include "utils/QelString.h"
#include "utils/QelTime.h"
#include "video/QelMessages.h"

// Lines written for the manager carry the name of its function, on whichever thread.
#define QEL_MANAGER_LOG(szFunction) ::qel::log::Record("QelVideoPlayerManager::" szFunction, __LINE__)

namespace {

using Guard = std::lock_guard<std::mutex>;

constexpr int kMinSpeedPercent = 25;
constexpr int kNormalSpeedPercent = 100;

bool StartsWith(const std::wstring& str, const std::wstring& strPrefix) {
    return str.compare(0, strPrefix.size(), strPrefix) == 0;
}

bool IsRemote(const std::wstring& url) {
    const std::wstring strLower = QelString::ToLower(url);
    return StartsWith(strLower, L"http") || StartsWith(strLower, L"https");
}

}  // namespace

QelVideoPlayback::QelVideoPlayback(const std::wstring& strDownloadPath)
    : m_hPlayer(nullptr),
      m_hNotifyWnd(nullptr),
      m_hRenderWnd(nullptr),
      m_bPlaying(false),
      m_rcRender{0, 0, 0, 0},
      m_nRenderType(0),
      m_nAudioVolume(0),
      m_llVideoDuration(0),
      m_nVideoWidth(0),
      m_nVideoHeight(0),
      m_nStartGeneration(0),
      m_strDownloadPath(strDownloadPath),
      m_llVideoUpdateTime(0),
      m_pCurVideoFile(nullptr),
      m_anchor(this) {}

QelVideoPlayback::~QelVideoPlayback() {
    {
        Guard guard(m_engineMutex);
        ++m_nStartGeneration;
    }
    for (auto& entry : m_mapVideoFiles)
        delete entry.second;
    m_mapVideoFiles.clear();
    m_pCurVideoFile = nullptr;
    m_starts.WaitAll();
}

bool QelVideoPlayback::Play(const std::wstring& url, const std::map<std::wstring, std::wstring>& mapSha256,
                            long long llUserData) {
    Guard call(m_callMutex);
    StopVideo();
    if (m_pCurVideoFile) {
        auto it = m_mapVideoFiles.find(m_pCurVideoFile->GetLocalPath());
        if (it != m_mapVideoFiles.end())
            m_mapVideoFiles.erase(it);
        // Its scheduler never waits in the engine's Open, so this ends quickly.
        delete m_pCurVideoFile;
        m_pCurVideoFile = nullptr;
    }

    std::wstring strLocalPath = url;
    const bool bRemote = IsRemote(url);
    if (bRemote && QelString::ToLower(QelFileUtils::GetFileExtension(url)) == L"m3u8")
        strLocalPath = DownloadPathOf(QelString::UnicodeToUtf8(QelFileUtils::GetFileFullName(url)),
                                      QelString::UnicodeToUtf8(url));

    auto it = m_mapVideoFiles.find(strLocalPath);
    if (it == m_mapVideoFiles.end() || !it->second) {
        HWND hNotifyWnd = nullptr;
        {
            Guard guard(m_engineMutex);
            hNotifyWnd = m_hNotifyWnd;
        }
        QelVideoFile* pFile = new QelVideoFile(&m_anchor, url, strLocalPath, &hNotifyWnd, mapSha256, llUserData);
        m_mapVideoFiles[strLocalPath] = pFile;
        m_pCurVideoFile = pFile;
        if (!pFile->IsM3u8()) {
            StartPlayNow(pFile);
        } else if (!bRemote) {
            // A local playlist plays once its first segments are there; a missing one is
            // handed to the engine, which fails quietly.
            if (QelFileUtils::IsFileExist(strLocalPath))
                SetDuration(static_cast<long long>(pFile->GetDuration()) * 1000);
            else
                StartPlayNow(pFile);
        }
        return true;
    }

    QelVideoFile* pFile = it->second;
    pFile->SetSha256Map(mapSha256);
    pFile->SetStartAllowed(true);
    m_pCurVideoFile = pFile;
    if (pFile->IsM3u8()) {
        SetDuration(static_cast<long long>(pFile->GetDuration()) * 1000);
        pFile->Reparse();
    }
    StartPlayNow(pFile);
    return true;
}

void QelVideoPlayback::StartPlay(QelVideoFile* pFile) {
    if (!pFile) {
        QEL_MANAGER_LOG("StartPlay") << "Start play video failed";
        return;
    }
    StartRequest request;
    if (PrepareStart(pFile, request))
        m_starts.Run([this, request] { RunStart(request); });
}

void QelVideoPlayback::StartPlayNow(QelVideoFile* pFile) {
    StartRequest request;
    if (PrepareStart(pFile, request))
        RunStart(request);
}

bool QelVideoPlayback::PrepareStart(QelVideoFile* pFile, StartRequest& request) {
    request.strLocalPath = pFile->GetLocalPath();
    QelString::UnicodeToAnsi(request.strLocalPath, request.strPathA);
    request.pItems = pFile->GetSegmentList();
    request.bM3u8 = pFile->IsM3u8();
    if (request.bM3u8)
        request.nDuration = pFile->GetDuration();
    // With the withdrawal, under the lock Stop holds: a start that passed its scheduler's
    // stop check just before Stop still loses.
    Guard guard(m_engineMutex);
    if (!pFile->IsStartAllowed())
        return false;
    request.nGeneration = m_nStartGeneration;
    return true;
}

void QelVideoPlayback::RunStart(const StartRequest& request) {
    HWND hRenderWnd = nullptr;
    {
        Guard guard(m_engineMutex);
        if (request.nGeneration != m_nStartGeneration)
            return;
        hRenderWnd = m_hRenderWnd;
    }
    // The engine copies what it needs of the list and changes nothing in it.
    auto* pSegments = const_cast<std::vector<QelTSItem>*>(request.pItems.get());
    const QelVideoPlayerHandle hOpened = QelVideoPlayerOpen(request.strPathA.c_str(), pSegments, hRenderWnd);
    bool bWon = false;
    {
        Guard guard(m_engineMutex);
        bWon = request.nGeneration == m_nStartGeneration && !m_hPlayer;
        if (bWon)
            CommitStart(hOpened, request);
    }
    if (!bWon) {
        if (hOpened)
            QelVideoPlayerClose(hOpened);
        QEL_MANAGER_LOG("StartPlay") << "Start play video dropped, stopped meanwhile:" << request.strLocalPath;
        return;
    }
    QEL_MANAGER_LOG("StartPlay") << "Start play video:" << request.strLocalPath;
}

void QelVideoPlayback::CommitStart(QelVideoPlayerHandle hOpened, const StartRequest& request) {
    m_hPlayer = hOpened;
    if (m_hPlayer)
        ApplyRenderArea();
    // A failed open is not reported: every call below is made with the 0 handle too.
    QelVideoPlayerGetParam(m_hPlayer, QEL_PARAM_WIDTH, &m_nVideoWidth);
    QelVideoPlayerGetParam(m_hPlayer, QEL_PARAM_HEIGHT, &m_nVideoHeight);
    m_bPlaying = true;
    if (request.bM3u8) {
        // Whole seconds first, then milliseconds: 125.9 s plays as 125000 ms.
        m_llVideoDuration = static_cast<long long>(request.nDuration) * 1000;
    } else {
        QelVideoPlayerGetParam(m_hPlayer, QEL_PARAM_DURATION, &m_llVideoDuration);
    }
    if (m_hNotifyWnd)
        PostMessageW(m_hNotifyWnd, QEL_VIDEO_STARTED, 0, 0);
    QelVideoPlayerSetParam(m_hPlayer, QEL_PARAM_RENDER_TYPE, &m_nRenderType);
    QelVideoPlayerSetParam(m_hPlayer, QEL_PARAM_VOLUME, &m_nAudioVolume);
    QelVideoPlayerPlay(m_hPlayer);
}

void QelVideoPlayback::Stop() {
    Guard call(m_callMutex);
    StopVideo();
}

void QelVideoPlayback::StopVideo() {
    QelVideoPlayerHandle hOpen = nullptr;
    {
        Guard guard(m_engineMutex);
        ++m_nStartGeneration;
        for (auto& entry : m_mapVideoFiles) {
            if (entry.second)
                entry.second->SetStartAllowed(false);
        }
        m_bPlaying = false;
        m_llVideoDuration = 0;
        m_nVideoWidth = 0;
        m_nVideoHeight = 0;
        hOpen = m_hPlayer;
        m_hPlayer = nullptr;
    }
    // Outside the engine lock: no start can take this player any more.
    if (hOpen)
        QelVideoPlayerClose(hOpen);
    for (auto& entry : m_mapVideoFiles) {
        if (entry.second)
            entry.second->StopDownload();
    }
}

void QelVideoPlayback::Pause() {
    Guard guard(m_engineMutex);
    if (m_hPlayer && m_bPlaying) {
        QelVideoPlayerPause(m_hPlayer);
        m_bPlaying = false;
    }
}

void QelVideoPlayback::Resume() {
    Guard guard(m_engineMutex);
    if (m_hPlayer) {
        QelVideoPlayerPlay(m_hPlayer);
        m_bPlaying = true;
    }
}

void QelVideoPlayback::Seek(long long llPos) {
    Guard guard(m_engineMutex);
    if (!m_hPlayer)
        return;
    if (llPos > m_llVideoDuration)
        llPos = m_llVideoDuration;
    if (llPos < 0)
        llPos = 0;
    QelVideoPlayerSeek(m_hPlayer, llPos);
}

long long QelVideoPlayback::GetCurPosition() {
    Guard guard(m_engineMutex);
    if (!m_hPlayer)
        return 0;
    std::int64_t llPosition = 0;
    QelVideoPlayerGetParam(m_hPlayer, QEL_PARAM_POSITION, &llPosition);
    return llPosition;
}

long long QelVideoPlayback::GetVideoDuration() {
    Guard guard(m_engineMutex);
    return m_llVideoDuration;
}

int QelVideoPlayback::GetVideoWidth() {
    Guard guard(m_engineMutex);
    return m_nVideoWidth;
}

int QelVideoPlayback::GetVideoHeight() {
    Guard guard(m_engineMutex);
    return m_nVideoHeight;
}

bool QelVideoPlayback::IsOpenFile() {
    Guard guard(m_engineMutex);
    return m_hPlayer != nullptr;
}

bool QelVideoPlayback::IsPlaying() {
    Guard guard(m_engineMutex);
    return m_bPlaying;
}

bool QelVideoPlayback::IsPaused() {
    Guard guard(m_engineMutex);
    if (!m_hPlayer)
        return false;
    std::int32_t nState = 0;
    QelVideoPlayerGetParam(m_hPlayer, QEL_PARAM_STATE, &nState);
    return nState == QEL_STATE_PAUSED;
}

bool QelVideoPlayback::IsCaching() {
    Guard guard(m_engineMutex);
    if (!m_hPlayer)
        return false;
    std::int32_t nState = 0;
    QelVideoPlayerGetParam(m_hPlayer, QEL_PARAM_STATE, &nState);
    return nState == QEL_STATE_CACHING;
}

void QelVideoPlayback::SetAudioVolume(int nVolume) {
    Guard guard(m_engineMutex);
    m_nAudioVolume = nVolume;
    if (m_hPlayer)
        QelVideoPlayerSetParam(m_hPlayer, QEL_PARAM_VOLUME, &m_nAudioVolume);
}

int QelVideoPlayback::GetAudioVolume() {
    Guard guard(m_engineMutex);
    return m_nAudioVolume;
}

void QelVideoPlayback::SetRenderType(int nType) {
    Guard guard(m_engineMutex);
    m_nRenderType = nType;
    if (m_hPlayer)
        QelVideoPlayerSetParam(m_hPlayer, QEL_PARAM_RENDER_TYPE, &m_nRenderType);
}

void QelVideoPlayback::SetVideoSpeed(int nPercent) {
    Guard guard(m_engineMutex);
    if (nPercent < kMinSpeedPercent)
        nPercent = kNormalSpeedPercent;
    if (m_hPlayer)
        QelVideoPlayerSetParam(m_hPlayer, QEL_PARAM_SPEED, &nPercent);
}

void QelVideoPlayback::SetHWnd(HWND hNotifyWnd, HWND hRenderWnd) {
    Guard guard(m_engineMutex);
    m_hNotifyWnd = hNotifyWnd;
    m_hRenderWnd = hRenderWnd;
}

void QelVideoPlayback::SetRendArea(RECT rc) {
    Guard guard(m_engineMutex);
    m_rcRender = rc;
    if (m_hPlayer)
        ApplyRenderArea();
}

void QelVideoPlayback::SetVideoUpdateTime(long long llMilliSeconds) {
    Guard call(m_callMutex);
    m_llVideoUpdateTime = llMilliSeconds;
}

void QelVideoPlayback::ApplyRenderArea() {
    const std::int32_t nLeft = static_cast<std::int32_t>(m_rcRender.left);
    const std::int32_t nTop = static_cast<std::int32_t>(m_rcRender.top);
    const std::int32_t nWidth = static_cast<std::int32_t>(m_rcRender.right - m_rcRender.left);
    const std::int32_t nHeight = static_cast<std::int32_t>(m_rcRender.bottom - m_rcRender.top);
    QelVideoPlayerSetRect(m_hPlayer, 0, nLeft, nTop, nWidth, nHeight);
    QelVideoPlayerSetRect(m_hPlayer, 1, nLeft, nTop, nWidth, nHeight);
}

void QelVideoPlayback::SetDuration(long long llDuration) {
    Guard guard(m_engineMutex);
    m_llVideoDuration = llDuration;
}

void QelVideoPlayback::SetVideoDownloadPath(const std::wstring& strPath) {
    if (strPath.empty())
        return;
    std::wstring strRoot = QelString::StringReplace(strPath, L"/", kQelPathSeparator);
    if (!QelString::IsEndWith(strRoot, kQelPathSeparator))
        strRoot += kQelPathSeparator;
    if (!QelFileUtils::IsDirectoryExist(strRoot))
        QelFileUtils::CreateDir(strRoot);
    Guard call(m_callMutex);
    m_strDownloadPath = strRoot;
}

void QelVideoPlayback::GetVideoDownloadPath(std::wstring& strPath) {
    Guard call(m_callMutex);
    if (&strPath != &m_strVideoDownloadPath)
        strPath = m_strVideoDownloadPath;
}

std::wstring QelVideoPlayback::GetDownloadPath(const std::string& strFileName, const std::string& strUrl) {
    Guard call(m_callMutex);
    return DownloadPathOf(strFileName, strUrl);
}

std::wstring QelVideoPlayback::DownloadPathOf(const std::string& strFileName, const std::string& strUrl) {
    const std::wstring strName = QelString::Utf8ToUnicode(strFileName);
    if (m_llVideoUpdateTime == 0)
        m_llVideoUpdateTime = QelTime::CurrentTimeMilliSeconds();
    const std::string strKey =
        strUrl + "#" + QelString::UnicodeToUtf8(QelString::Uint64ToString(static_cast<unsigned long long>(m_llVideoUpdateTime)));
    const std::wstring strMd5 = QelCode::Md5Encrypt(strKey);
    m_strVideoDownloadPath = m_strDownloadPath + strMd5 + kQelPathSeparator;
    return m_strDownloadPath + strMd5 + kQelPathSeparator + strName;
}

std::wstring QelVideoPlayback::GetM3u8File(const std::wstring& url) {
    const std::wstring strName = QelFileUtils::GetFileFullName(url);
    const std::wstring strPath = GetDownloadPath(QelString::UnicodeToUtf8(strName), QelString::UnicodeToUtf8(url));
    return QelFileUtils::IsFileExist(strPath) ? strPath : std::wstring();
}

void QelVideoPlayback::UpdateDownloadPriority(const std::wstring& url, int nTSIndex) {
    Guard call(m_callMutex);
    std::wstring strKey;
    if (IsRemote(url))
        strKey = DownloadPathOf(QelString::UnicodeToUtf8(QelFileUtils::GetFileFullName(url)),
                                QelString::UnicodeToUtf8(url));
    auto it = m_mapVideoFiles.find(strKey);
    if (it != m_mapVideoFiles.end() && it->second)
        it->second->UpdateDownloadPriority(nTSIndex);
}

void QelVideoPlayback::NotifyDownloadSuccess(int nIndex, long long llSize) {
    HWND hNotifyWnd;
    {
        Guard guard(m_engineMutex);
        hNotifyWnd = m_hNotifyWnd;
    }
    if (hNotifyWnd) {
        PostMessageW(hNotifyWnd, QEL_VIDEO_DOWNLOAD_SUCCESS, static_cast<WPARAM>(nIndex),
                     static_cast<LPARAM>(static_cast<std::uint32_t>(llSize)));
    } else {
        QEL_MANAGER_LOG("NotifyDownloadSuccess") << "Window is emtpy, notify failed, index:" << nIndex << ", size:" << llSize;
    }
}

void QelVideoPlayback::NotifyDownloadFailed(int nType, int nIndex) {
    HWND hNotifyWnd;
    {
        Guard guard(m_engineMutex);
        hNotifyWnd = m_hNotifyWnd;
    }
    if (hNotifyWnd) {
        PostMessageW(hNotifyWnd, QEL_VIDEO_DOWNLOAD_FAILED, static_cast<WPARAM>(nType), static_cast<LPARAM>(nIndex));
    } else {
        QEL_MANAGER_LOG("NotifyDownloadFailed") << "Window is emtpy, notify failed, type:" << nType << ", index:" << nIndex;
    }
}
