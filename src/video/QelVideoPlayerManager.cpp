#include "video/QelVideoPlayerManager.h"

#include "log/QelLog.h"
#include "segment_cache/QelVideoFile.h"
#include "utils/QelCode.h"
#include "utils/QelFileUtils.h"
#include "utils/QelPath.h"
#include "utils/QelString.h"
#include "utils/QelTime.h"
#include "video/QelMessages.h"
#include "video/QelVideoFileSet.h"

namespace {

using Guard = std::lock_guard<std::recursive_mutex>;

constexpr int kMinSpeedPercent = 25;
constexpr int kNormalSpeedPercent = 100;

// The folder of this library's own module; any address inside the library names it.
std::wstring OwnModuleFolder() {
    static const int kAnchor = 0;
    return QelFileUtils::GetDirectoryPath(QelFileUtils::GetModulePath(&kAnchor));
}

bool StartsWith(const std::wstring& str, const std::wstring& strPrefix) {
    return str.compare(0, strPrefix.size(), strPrefix) == 0;
}

void OpenLogBesideHost() {
    const std::wstring strLogFolder = QelFileUtils::GetAppPath() + L"logs" + kQelPathSeparator;
    QelFileUtils::CreateDir(strLogFolder);
    // The first manager of the process wins; later ones change nothing.
    qel::log::OpenProcessLog(strLogFolder + L"QelMediaPlayer.log", 0x500000, 10);
}

}  // namespace

QelVideoPlayerManager::QelVideoPlayerManager()
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
      m_llVideoUpdateTime(0),
      m_pCurVideoFile(nullptr),
      m_pOwnedFiles(std::make_shared<QelVideoFileSet>()) {
    m_strDownloadPath = OwnModuleFolder();
    OpenLogBesideHost();
}

QelVideoPlayerManager::~QelVideoPlayerManager() = default;

bool QelVideoPlayerManager::Play(const std::wstring& url, const std::map<std::wstring, std::wstring>& mapSha256,
                                 long long llUserData) {
    // The video files and their map belong to the UI thread; only the engine state is
    // shared with the worker that may be inside StartPlay, so no lock is held here while a
    // video file (and the threads it joins) goes away.
    Stop();
    if (m_pCurVideoFile) {
        auto it = m_mapVideoFiles.find(m_pCurVideoFile->GetLocalPath());
        if (it != m_mapVideoFiles.end())
            m_mapVideoFiles.erase(it);
        m_pOwnedFiles->Delete(m_pCurVideoFile);
        m_pCurVideoFile = nullptr;
    }

    std::wstring strLocalPath = url;
    const std::wstring strLower = QelString::ToLower(url);
    const bool bRemote = StartsWith(strLower, L"http") || StartsWith(strLower, L"https");
    if (bRemote && QelString::ToLower(QelFileUtils::GetFileExtension(url)) == L"m3u8")
        strLocalPath = GetDownloadPath(QelString::UnicodeToUtf8(QelFileUtils::GetFileFullName(url)),
                                       QelString::UnicodeToUtf8(url));

    auto it = m_mapVideoFiles.find(strLocalPath);
    if (it == m_mapVideoFiles.end() || !it->second) {
        QelVideoFile* pFile = new QelVideoFile(this, url, strLocalPath, &m_hNotifyWnd, mapSha256, llUserData);
        m_pOwnedFiles->Add(pFile);
        m_mapVideoFiles[strLocalPath] = pFile;
        m_pCurVideoFile = pFile;
        if (!pFile->IsM3u8()) {
            StartPlay(pFile);
        } else if (!bRemote) {
            // A local playlist plays once its first segments are there; a missing one is
            // handed to the engine, which fails quietly.
            if (QelFileUtils::IsFileExist(strLocalPath)) {
                Guard guard(m_lock.mutex);
                m_llVideoDuration = static_cast<long long>(pFile->GetDuration()) * 1000;
            } else {
                StartPlay(pFile);
            }
        }
        return true;
    }

    QelVideoFile* pFile = it->second;
    pFile->SetSha256Map(mapSha256);
    m_pCurVideoFile = pFile;
    if (pFile->IsM3u8()) {
        {
            Guard guard(m_lock.mutex);
            m_llVideoDuration = static_cast<long long>(pFile->GetDuration()) * 1000;
        }
        pFile->Reparse();
    }
    StartPlay(pFile);
    return true;
}

void QelVideoPlayerManager::StartPlay(QelVideoFile* pFile) {
    Guard guard(m_lock.mutex);
    if (!pFile) {
        QEL_LOG << "Start play video failed";
        return;
    }
    const std::wstring strLocalPath = pFile->GetLocalPath();
    std::string strPathA;
    QelString::UnicodeToAnsi(strLocalPath, strPathA);
    std::vector<QelTSItem> vecItems = pFile->GetTSItems();

    m_hPlayer = QelVideoPlayerOpen(strPathA.c_str(), &vecItems, m_hRenderWnd);
    if (m_hPlayer)
        ApplyRenderArea();
    // A failed open is not reported: every call below is made with the 0 handle too.
    QelVideoPlayerGetParam(m_hPlayer, QEL_PARAM_WIDTH, &m_nVideoWidth);
    QelVideoPlayerGetParam(m_hPlayer, QEL_PARAM_HEIGHT, &m_nVideoHeight);
    m_bPlaying = true;
    if (pFile->IsM3u8()) {
        // Whole seconds first, then milliseconds: 125.9 s plays as 125000 ms.
        m_llVideoDuration = static_cast<long long>(pFile->GetDuration()) * 1000;
    } else {
        QelVideoPlayerGetParam(m_hPlayer, QEL_PARAM_DURATION, &m_llVideoDuration);
    }
    if (m_hNotifyWnd)
        PostMessageW(m_hNotifyWnd, QEL_VIDEO_STARTED, 0, 0);
    QelVideoPlayerSetParam(m_hPlayer, QEL_PARAM_RENDER_TYPE, &m_nRenderType);
    QelVideoPlayerSetParam(m_hPlayer, QEL_PARAM_VOLUME, &m_nAudioVolume);
    QelVideoPlayerPlay(m_hPlayer);
    QEL_LOG << "Start play video:" << strLocalPath;
}

void QelVideoPlayerManager::Stop() {
    {
        Guard guard(m_lock.mutex);
        m_bPlaying = false;
        m_llVideoDuration = 0;
        m_nVideoWidth = 0;
        m_nVideoHeight = 0;
        if (m_hPlayer) {
            QelVideoPlayerClose(m_hPlayer);
            m_hPlayer = nullptr;
        }
    }
    // Outside the lock: stopping a download may wait for a worker that is about to start
    // playback.
    for (auto& entry : m_mapVideoFiles) {
        if (entry.second)
            entry.second->StopDownload();
    }
}

void QelVideoPlayerManager::Pause() {
    Guard guard(m_lock.mutex);
    if (m_hPlayer && m_bPlaying) {
        QelVideoPlayerPause(m_hPlayer);
        m_bPlaying = false;
    }
}

void QelVideoPlayerManager::Resume() {
    Guard guard(m_lock.mutex);
    if (m_hPlayer) {
        QelVideoPlayerPlay(m_hPlayer);
        m_bPlaying = true;
    }
}

void QelVideoPlayerManager::Seek(long long llPos) {
    Guard guard(m_lock.mutex);
    if (!m_hPlayer)
        return;
    if (llPos > m_llVideoDuration)
        llPos = m_llVideoDuration;
    if (llPos < 0)
        llPos = 0;
    QelVideoPlayerSeek(m_hPlayer, llPos);
}

long long QelVideoPlayerManager::GetCurPosition() {
    Guard guard(m_lock.mutex);
    if (!m_hPlayer)
        return 0;
    std::int64_t llPosition = 0;
    QelVideoPlayerGetParam(m_hPlayer, QEL_PARAM_POSITION, &llPosition);
    return llPosition;
}

long long QelVideoPlayerManager::GetVideoDuration() {
    Guard guard(m_lock.mutex);
    return m_llVideoDuration;
}

int QelVideoPlayerManager::GetVideoWidth() {
    Guard guard(m_lock.mutex);
    return m_nVideoWidth;
}

int QelVideoPlayerManager::GetVideoHeight() {
    Guard guard(m_lock.mutex);
    return m_nVideoHeight;
}

bool QelVideoPlayerManager::IsOpenFile() {
    Guard guard(m_lock.mutex);
    return m_hPlayer != nullptr;
}

bool QelVideoPlayerManager::IsPlaying() {
    Guard guard(m_lock.mutex);
    return m_bPlaying;
}

bool QelVideoPlayerManager::IsPaused() {
    Guard guard(m_lock.mutex);
    if (!m_hPlayer)
        return false;
    std::int32_t nState = 0;
    QelVideoPlayerGetParam(m_hPlayer, QEL_PARAM_STATE, &nState);
    return nState == QEL_STATE_PAUSED;
}

bool QelVideoPlayerManager::IsCaching() {
    Guard guard(m_lock.mutex);
    if (!m_hPlayer)
        return false;
    std::int32_t nState = 0;
    QelVideoPlayerGetParam(m_hPlayer, QEL_PARAM_STATE, &nState);
    return nState == QEL_STATE_CACHING;
}

void QelVideoPlayerManager::SetAudioVolume(int nVolume) {
    Guard guard(m_lock.mutex);
    m_nAudioVolume = nVolume;
    if (m_hPlayer)
        QelVideoPlayerSetParam(m_hPlayer, QEL_PARAM_VOLUME, &m_nAudioVolume);
}

int QelVideoPlayerManager::GetAudioVolume() {
    Guard guard(m_lock.mutex);
    return m_nAudioVolume;
}

void QelVideoPlayerManager::SetRenderType(int nType) {
    Guard guard(m_lock.mutex);
    m_nRenderType = nType;
    if (m_hPlayer)
        QelVideoPlayerSetParam(m_hPlayer, QEL_PARAM_RENDER_TYPE, &m_nRenderType);
}

void QelVideoPlayerManager::SetVideoSpeed(int nPercent) {
    Guard guard(m_lock.mutex);
    if (nPercent < kMinSpeedPercent)
        nPercent = kNormalSpeedPercent;
    if (m_hPlayer)
        QelVideoPlayerSetParam(m_hPlayer, QEL_PARAM_SPEED, &nPercent);
}

void QelVideoPlayerManager::SetHWnd(HWND hNotifyWnd, HWND hRenderWnd) {
    Guard guard(m_lock.mutex);
    m_hNotifyWnd = hNotifyWnd;
    m_hRenderWnd = hRenderWnd;
}

void QelVideoPlayerManager::SetRendArea(RECT rc) {
    Guard guard(m_lock.mutex);
    m_rcRender = rc;
    if (m_hPlayer)
        ApplyRenderArea();
}

void QelVideoPlayerManager::SetVideoUpdateTime(long long llMilliSeconds) {
    Guard guard(m_lock.mutex);
    m_llVideoUpdateTime = llMilliSeconds;
}

void QelVideoPlayerManager::ApplyRenderArea() {
    const std::int32_t nLeft = static_cast<std::int32_t>(m_rcRender.left);
    const std::int32_t nTop = static_cast<std::int32_t>(m_rcRender.top);
    const std::int32_t nWidth = static_cast<std::int32_t>(m_rcRender.right - m_rcRender.left);
    const std::int32_t nHeight = static_cast<std::int32_t>(m_rcRender.bottom - m_rcRender.top);
    QelVideoPlayerSetRect(m_hPlayer, 0, nLeft, nTop, nWidth, nHeight);
    QelVideoPlayerSetRect(m_hPlayer, 1, nLeft, nTop, nWidth, nHeight);
}

void QelVideoPlayerManager::SetVideoDownloadPath(const std::wstring& strPath) {
    if (strPath.empty())
        return;
    std::wstring strRoot = QelString::StringReplace(strPath, L"/", kQelPathSeparator);
    if (!QelString::IsEndWith(strRoot, kQelPathSeparator))
        strRoot += kQelPathSeparator;
    if (!QelFileUtils::IsDirectoryExist(strRoot))
        QelFileUtils::CreateDir(strRoot);
    m_strDownloadPath = strRoot;
}

void QelVideoPlayerManager::GetVideoDownloadPath(std::wstring& strPath) {
    if (&strPath != &m_strVideoDownloadPath)
        strPath = m_strVideoDownloadPath;
}

std::wstring QelVideoPlayerManager::GetDownloadPath(const std::string& strFileName, const std::string& strUrl) {
    const std::wstring strName = QelString::Utf8ToUnicode(strFileName);
    if (m_llVideoUpdateTime == 0)
        m_llVideoUpdateTime = QelTime::CurrentTimeMilliSeconds();
    const std::string strKey =
        strUrl + "#" + QelString::UnicodeToUtf8(QelString::Uint64ToString(static_cast<unsigned long long>(m_llVideoUpdateTime)));
    const std::wstring strMd5 = QelCode::Md5Encrypt(strKey);
    m_strVideoDownloadPath = m_strDownloadPath + strMd5 + kQelPathSeparator;
    return m_strDownloadPath + strMd5 + kQelPathSeparator + strName;
}

std::wstring QelVideoPlayerManager::GetM3u8File(const std::wstring& url) {
    const std::wstring strName = QelFileUtils::GetFileFullName(url);
    const std::wstring strPath = GetDownloadPath(QelString::UnicodeToUtf8(strName), QelString::UnicodeToUtf8(url));
    return QelFileUtils::IsFileExist(strPath) ? strPath : std::wstring();
}

void QelVideoPlayerManager::UpdateDownloadPriority(const std::wstring& url, int nTSIndex) {
    const std::wstring strLower = QelString::ToLower(url);
    const bool bRemote = StartsWith(strLower, L"http") || StartsWith(strLower, L"https");
    std::wstring strKey;
    if (bRemote)
        strKey = GetDownloadPath(QelString::UnicodeToUtf8(QelFileUtils::GetFileFullName(url)),
                                 QelString::UnicodeToUtf8(url));
    auto it = m_mapVideoFiles.find(strKey);
    if (it != m_mapVideoFiles.end() && it->second)
        it->second->UpdateDownloadPriority(nTSIndex);
}

void QelVideoPlayerManager::NotifyDownloadSuccess(int nIndex, long long llSize) {
    HWND hNotifyWnd;
    {
        Guard guard(m_lock.mutex);
        hNotifyWnd = m_hNotifyWnd;
    }
    if (hNotifyWnd) {
        PostMessageW(hNotifyWnd, QEL_VIDEO_DOWNLOAD_SUCCESS, static_cast<WPARAM>(nIndex),
                     static_cast<LPARAM>(static_cast<std::uint32_t>(llSize)));
    } else {
        QEL_LOG << "Window is emtpy, notify failed, index:" << nIndex << ", size:" << llSize;
    }
}

void QelVideoPlayerManager::NotifyDownloadFailed(int nType, int nIndex) {
    HWND hNotifyWnd;
    {
        Guard guard(m_lock.mutex);
        hNotifyWnd = m_hNotifyWnd;
    }
    if (hNotifyWnd) {
        PostMessageW(hNotifyWnd, QEL_VIDEO_DOWNLOAD_FAILED, static_cast<WPARAM>(nType), static_cast<LPARAM>(nIndex));
    } else {
        QEL_LOG << "Window is emtpy, notify failed, type:" << nType << ", index:" << nIndex;
    }
}
