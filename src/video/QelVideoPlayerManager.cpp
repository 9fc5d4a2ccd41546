#include "video/QelVideoPlayerManager.h"

#include "log/QelLog.h"
#include "utils/QelFileUtils.h"
#include "utils/QelPath.h"
#include "video/QelExportGuard.h"
#include "video/QelVideoPlayback.h"

namespace {

// The folder of this library's own module; any address inside the library names it.
std::wstring OwnModuleFolder() {
    static const int kAnchor = 0;
    return QelFileUtils::GetDirectoryPath(QelFileUtils::GetModulePath(&kAnchor));
}

void OpenLogBesideHost() {
    const std::wstring strLogFolder = QelFileUtils::GetAppPath() + L"logs" + kQelPathSeparator;
    QelFileUtils::CreateDir(strLogFolder);
    // The first manager of the process wins; later ones change nothing.
    qel::log::OpenProcessLog(strLogFolder + L"QelMediaPlayer.log", 0x500000, 10);
}

}  // namespace

QelVideoPlayerManager::QelVideoPlayerManager() : m_pPlayback(nullptr) {
    try {
        m_pOwner = std::make_shared<QelVideoPlayback>(OwnModuleFolder());
        m_pPlayback = m_pOwner.get();
        OpenLogBesideHost();
    }
    QEL_CATCH_AT_EXPORT()
}

QelVideoPlayerManager::QelVideoPlayerManager(QelVideoPlayback* pPlayback) : m_pPlayback(pPlayback) {}

QelVideoPlayerManager::~QelVideoPlayerManager() = default;

bool QelVideoPlayerManager::Play(const std::wstring& url, const std::map<std::wstring, std::wstring>& mapSha256,
                                 long long llUserData) {
    try {
        return m_pPlayback && m_pPlayback->Play(url, mapSha256, llUserData);
    }
    QEL_CATCH_AT_EXPORT(false)
}

void QelVideoPlayerManager::StartPlay(QelVideoFile* pFile) {
    try {
        if (m_pPlayback)
            m_pPlayback->StartPlay(pFile);
    }
    QEL_CATCH_AT_EXPORT()
}

void QelVideoPlayerManager::Stop() {
    try {
        if (m_pPlayback)
            m_pPlayback->Stop();
    }
    QEL_CATCH_AT_EXPORT()
}

void QelVideoPlayerManager::Pause() {
    try {
        if (m_pPlayback)
            m_pPlayback->Pause();
    }
    QEL_CATCH_AT_EXPORT()
}

void QelVideoPlayerManager::Resume() {
    try {
        if (m_pPlayback)
            m_pPlayback->Resume();
    }
    QEL_CATCH_AT_EXPORT()
}

void QelVideoPlayerManager::Seek(long long llPos) {
    try {
        if (m_pPlayback)
            m_pPlayback->Seek(llPos);
    }
    QEL_CATCH_AT_EXPORT()
}

long long QelVideoPlayerManager::GetCurPosition() {
    try {
        return m_pPlayback ? m_pPlayback->GetCurPosition() : 0;
    }
    QEL_CATCH_AT_EXPORT(0)
}

long long QelVideoPlayerManager::GetVideoDuration() {
    try {
        return m_pPlayback ? m_pPlayback->GetVideoDuration() : 0;
    }
    QEL_CATCH_AT_EXPORT(0)
}

int QelVideoPlayerManager::GetVideoWidth() {
    try {
        return m_pPlayback ? m_pPlayback->GetVideoWidth() : 0;
    }
    QEL_CATCH_AT_EXPORT(0)
}

int QelVideoPlayerManager::GetVideoHeight() {
    try {
        return m_pPlayback ? m_pPlayback->GetVideoHeight() : 0;
    }
    QEL_CATCH_AT_EXPORT(0)
}

bool QelVideoPlayerManager::IsOpenFile() {
    try {
        return m_pPlayback && m_pPlayback->IsOpenFile();
    }
    QEL_CATCH_AT_EXPORT(false)
}

bool QelVideoPlayerManager::IsPlaying() {
    try {
        return m_pPlayback && m_pPlayback->IsPlaying();
    }
    QEL_CATCH_AT_EXPORT(false)
}

bool QelVideoPlayerManager::IsPaused() {
    try {
        return m_pPlayback && m_pPlayback->IsPaused();
    }
    QEL_CATCH_AT_EXPORT(false)
}

bool QelVideoPlayerManager::IsCaching() {
    try {
        return m_pPlayback && m_pPlayback->IsCaching();
    }
    QEL_CATCH_AT_EXPORT(false)
}

void QelVideoPlayerManager::SetAudioVolume(int nVolume) {
    try {
        if (m_pPlayback)
            m_pPlayback->SetAudioVolume(nVolume);
    }
    QEL_CATCH_AT_EXPORT()
}

int QelVideoPlayerManager::GetAudioVolume() {
    try {
        return m_pPlayback ? m_pPlayback->GetAudioVolume() : 0;
    }
    QEL_CATCH_AT_EXPORT(0)
}

void QelVideoPlayerManager::SetRenderType(int nType) {
    try {
        if (m_pPlayback)
            m_pPlayback->SetRenderType(nType);
    }
    QEL_CATCH_AT_EXPORT()
}

void QelVideoPlayerManager::SetVideoSpeed(int nPercent) {
    try {
        if (m_pPlayback)
            m_pPlayback->SetVideoSpeed(nPercent);
    }
    QEL_CATCH_AT_EXPORT()
}

void QelVideoPlayerManager::SetHWnd(HWND hNotifyWnd, HWND hRenderWnd) {
    try {
        if (m_pPlayback)
            m_pPlayback->SetHWnd(hNotifyWnd, hRenderWnd);
    }
    QEL_CATCH_AT_EXPORT()
}

void QelVideoPlayerManager::SetRendArea(RECT rc) {
    try {
        if (m_pPlayback)
            m_pPlayback->SetRendArea(rc);
    }
    QEL_CATCH_AT_EXPORT()
}

void QelVideoPlayerManager::SetVideoUpdateTime(long long llMilliSeconds) {
    try {
        if (m_pPlayback)
            m_pPlayback->SetVideoUpdateTime(llMilliSeconds);
    }
    QEL_CATCH_AT_EXPORT()
}

void QelVideoPlayerManager::SetVideoDownloadPath(const std::wstring& strPath) {
    try {
        if (m_pPlayback)
            m_pPlayback->SetVideoDownloadPath(strPath);
    }
    QEL_CATCH_AT_EXPORT()
}

void QelVideoPlayerManager::GetVideoDownloadPath(std::wstring& strPath) {
    try {
        if (m_pPlayback)
            m_pPlayback->GetVideoDownloadPath(strPath);
    }
    QEL_CATCH_AT_EXPORT()
}

std::wstring QelVideoPlayerManager::GetDownloadPath(const std::string& strFileName, const std::string& strUrl) {
    try {
        return m_pPlayback ? m_pPlayback->GetDownloadPath(strFileName, strUrl) : std::wstring();
    }
    QEL_CATCH_AT_EXPORT(std::wstring())
}

std::wstring QelVideoPlayerManager::GetM3u8File(const std::wstring& url) {
    try {
        return m_pPlayback ? m_pPlayback->GetM3u8File(url) : std::wstring();
    }
    QEL_CATCH_AT_EXPORT(std::wstring())
}

void QelVideoPlayerManager::UpdateDownloadPriority(const std::wstring& url, int nTSIndex) {
    try {
        if (m_pPlayback)
            m_pPlayback->UpdateDownloadPriority(url, nTSIndex);
    }
    QEL_CATCH_AT_EXPORT()
}

void QelVideoPlayerManager::NotifyDownloadSuccess(int nIndex, long long llSize) {
    try {
        if (m_pPlayback)
            m_pPlayback->NotifyDownloadSuccess(nIndex, llSize);
    }
    QEL_CATCH_AT_EXPORT()
}

void QelVideoPlayerManager::NotifyDownloadFailed(int nType, int nIndex) {
    try {
        if (m_pPlayback)
            m_pPlayback->NotifyDownloadFailed(nType, nIndex);
    }
    QEL_CATCH_AT_EXPORT()
}
