#include "QelPlayVideo.h"

#include <algorithm>
#include <map>
#include <optional>
#include <set>
#include <vector>

#include "QelPlayReport.h"
#include "QelPlayWindow.h"
#include "segment_cache/QelHlsParser.h"
#include "segment_cache/QelPackedPlaylist.h"
#include "segment_cache/QelSegmentFileName.h"
#include "utils/QelCode.h"
#include "utils/QelFile.h"
#include "utils/QelFileUtils.h"
#include "utils/QelPath.h"
#include "utils/QelString.h"
#include "video/QelMessages.h"
#include "video/QelVideoPlayerManager.h"

namespace qelplay {

namespace {

using namespace std::chrono_literals;

constexpr long long kSeekStepMs = 10000;  // Left and Right

struct Segment {
    std::string strUrl;
    std::wstring strLocalPath;
    float fDuration = 0;
};

// Reads the cached playlist the way the component does, to name the segments it caches.
class PlaylistProbe : public QelHlsParser {
public:
    bool bMaster = false;
    std::vector<QelHlsItem> items;

    bool Load(const std::wstring& strPath, const std::string& strUrl) {
        QelFile file;
        if (!file.Open(strPath, false))
            return false;
        std::string strBytes(static_cast<std::size_t>(std::max(0LL, file.GetSize())), '\0');
        strBytes.resize(file.Read(strBytes.data(), strBytes.size()));
        try {
            return Parse(strUrl, qel::PlaylistFileText(strBytes));
        } catch (const std::exception&) {
            return false;
        }
    }

protected:
    void OnParsed(bool bStreamInf, long long, QelHlsItemMap& mapItems) override {
        bMaster = bStreamInf;
        for (const auto& entry : mapItems)
            items.push_back(entry.second);
    }
};

// The component's log, where the only trace of a digest mismatch is written.
std::wstring ComponentLogPath() {
    return QelFileUtils::GetAppPath() + L"logs" + kQelPathSeparator + L"QelMediaPlayer.log";
}

// How often each expected digest was named by a "Downloaded ts sha256 is NOT the same" line
// written since the offset. The component gives a segment up after its second mismatch.
std::map<std::wstring, int> DigestMismatchesLoggedSince(long long llOffset) {
    std::map<std::wstring, int> mismatched;
    QelFile log;
    if (!log.Open(ComponentLogPath(), false) || log.GetSize() <= llOffset || !log.Seek(llOffset))
        return mismatched;
    std::string strText(static_cast<std::size_t>(log.GetSize() - llOffset), '\0');
    strText.resize(log.Read(strText.data(), strText.size()));
    const std::string strMarker = "Downloaded ts sha256 is NOT the same";
    const std::string strServer = ", server sha256:";
    for (std::size_t pos = strText.find(strMarker); pos != std::string::npos; pos = strText.find(strMarker, pos + 1)) {
        const std::size_t start = strText.find(strServer, pos);
        const std::size_t end = strText.find_first_of("\r\n", pos);
        if (start != std::string::npos && start < end)
            ++mismatched[QelString::Utf8ToUnicode(
                strText.substr(start + strServer.size(), end - start - strServer.size()))];
    }
    return mismatched;
}

bool IsRemotePlaylist(const std::wstring& strSource) {
    const std::wstring strLower = QelString::ToLower(strSource);
    return strLower.compare(0, 4, L"http") == 0 &&
           QelString::ToLower(QelFileUtils::GetFileExtension(strSource)) == L"m3u8";
}

bool IsLocalPlaylist(const std::wstring& strSource) {
    return !IsRemotePlaylist(strSource) && QelString::ToLower(strSource).compare(0, 4, L"http") != 0 &&
           QelString::ToLower(QelFileUtils::GetFileExtension(strSource)) == L"m3u8";
}

class VideoSession {
public:
    VideoSession(const Options& options, Report& report)
        : m_options(options), m_report(report), m_window(options.bHeadless, options.strSource),
          m_strSource(QelString::Utf8ToUnicode(options.strSource)) {}

    int Run() {
        if (!m_window.IsValid()) {
            m_report.Line("qelplay: cannot create a window for the player's messages");
            return kExitCannotOpen;
        }
        if (!m_options.strCacheDir.empty())
            m_manager.SetVideoDownloadPath(QelString::Utf8ToUnicode(m_options.strCacheDir));
        if (m_options.llUpdateTime > 0)
            m_manager.SetVideoUpdateTime(m_options.llUpdateTime);
        m_manager.SetHWnd(m_window.NotifyWindow(), m_window.RenderWindow());
        if (auto rcClient = m_window.ClientArea())
            m_manager.SetRendArea(*rcClient);
        m_llLogOffset = std::max(0LL, QelFileUtils::GetFileSize(ComponentLogPath()));

        m_bRemotePlaylist = IsRemotePlaylist(m_strSource);
        if (m_bRemotePlaylist) {
            m_bPlaylistWasCached = !m_manager.GetM3u8File(m_strSource).empty();
            std::wstring strFolder;
            m_manager.GetVideoDownloadPath(strFolder);
            m_report.Line("Caching " + m_options.strSource + " in " + QelString::UnicodeToUtf8(strFolder) +
                          (m_bPlaylistWasCached ? " (playlist already cached)" : ""));
        } else {
            m_report.Line("Playing " + m_options.strSource);
        }
        m_manager.Play(m_strSource, m_options.mapSha256, 0);
        int nExit = Loop();
        m_manager.Stop();
        Summary(nExit);
        return nExit;
    }

private:
    int Loop() {
        const double timeout = m_options.timeoutSeconds;
        for (;;) {
            if (timeout > 0 && m_report.SecondsSinceStart() > timeout) {
                m_report.Line("qelplay: gave up after " + std::to_string(static_cast<int>(timeout)) + " s");
                return kExitTimeout;
            }
            if (auto message = m_window.Next(200ms)) {
                if (message->message != kPlayCommandMessage && message->message != kPlayResizedMessage)
                    m_report.Event(*message);
                if (auto nExit = Handle(*message))
                    return *nExit;
            }
            Tick();
            if (m_bNothingToPlay)
                return kExitCannotOpen;
            if (auto nFailed = FirstGroupSegmentGivenUp()) {
                m_report.Line("qelplay: playback cannot start: segment " + std::to_string(*nFailed) +
                              " could not be cached");
                return kExitDownloadFailed;
            }
            if (IsStalledOnAFailure()) {
                m_report.Line("qelplay: playback cannot go on: it waits for a segment whose download failed");
                return kExitDownloadFailed;
            }
        }
    }

    std::optional<int> Handle(const Message& message) {
        switch (message.message) {
        case kPlayCommandMessage:
            return Obey(static_cast<PlayCommand>(message.wParam));
        case kPlayResizedMessage:
            m_manager.SetRendArea(RECT{0, 0, static_cast<long>(message.wParam), static_cast<long>(message.lParam)});
            return std::nullopt;
        case QEL_VIDEO_DOWNLOAD_SUCCESS:
            m_llBytes += static_cast<std::uint32_t>(message.lParam);
            ++m_nSuccesses;
            return std::nullopt;
        case QEL_VIDEO_DOWNLOAD_FAILED:
            if (message.wParam == 0) {
                m_report.Line("qelplay: the playlist could not be downloaded: " + m_options.strSource);
                return kExitCannotOpen;
            }
            m_setFailed.insert(static_cast<int>(message.lParam));
            m_report.Line("failed: segment " + std::to_string(message.lParam) + " " +
                          SegmentUrl(static_cast<int>(message.lParam)));
            return std::nullopt;
        case QEL_VIDEO_STARTED:
            m_startedAt = m_report.SecondsSinceStart();
            if (!m_manager.IsOpenFile()) {
                m_report.Line("qelplay: the media could not be opened: " + m_options.strSource);
                return kExitCannotOpen;
            }
            m_report.Line("started after " + Seconds(m_startedAt) + ", " + std::to_string(m_manager.GetVideoWidth()) +
                          "x" + std::to_string(m_manager.GetVideoHeight()) + ", duration " +
                          Report::Clock(m_manager.GetVideoDuration()));
            m_window.SetClientSize(m_manager.GetVideoWidth(), m_manager.GetVideoHeight());
            if (m_options.seekSeconds) {
                const long long llTarget = static_cast<long long>(*m_options.seekSeconds * 1000.0);
                m_report.Line("seek to " + Report::Clock(llTarget));
                m_manager.Seek(llTarget);
            }
            return std::nullopt;
        case QEL_VIDEO_SEEK_TS:
            m_report.Line("engine needs segment " + std::to_string(message.wParam) + " next");
            m_manager.UpdateDownloadPriority(m_strSource, static_cast<int>(message.wParam));
            return std::nullopt;
        case QEL_VIDEO_PLAYER_EVENT:
            if (message.wParam != static_cast<WPARAM>(QEL_VIDEO_EVENT_END))
                return std::nullopt;
            m_bEnded = true;
            return kExitEnded;
        default:
            return std::nullopt;
        }
    }

    std::optional<int> Obey(PlayCommand command) {
        switch (command) {
        case kTogglePause:
            if (m_manager.IsPlaying())
                m_manager.Pause();
            else
                m_manager.Resume();
            break;
        case kSeekBack:
        case kSeekAhead:
            if (m_manager.IsOpenFile()) {
                const long long llTarget =
                    std::clamp(m_manager.GetCurPosition() + (command == kSeekAhead ? kSeekStepMs : -kSeekStepMs), 0LL,
                               m_manager.GetVideoDuration());
                m_report.Line("seek to " + Report::Clock(llTarget));
                m_manager.Seek(llTarget);
            }
            break;
        case kToggleFullScreen:
            m_window.ToggleFullScreen();
            break;
        case kQuit:
            m_bQuit = true;
            return kExitEnded;
        }
        return std::nullopt;
    }

    void Tick() {
        LoadSegmentsOnce();
        const int nCached = CountCached();
        if (!m_segments.empty() && nCached == static_cast<int>(m_segments.size()) && m_fullyCachedAt < 0)
            m_fullyCachedAt = m_report.SecondsSinceStart();
        const long long llPosition = m_manager.GetCurPosition();
        if (llPosition > 0 && m_firstFrameAt < 0)
            m_firstFrameAt = m_report.SecondsSinceStart();
        std::string strStatus;
        if (!m_segments.empty())
            strStatus = Report::Bar(nCached, static_cast<int>(m_segments.size())) + " " + std::to_string(nCached) + "/" +
                        std::to_string(m_segments.size()) + " segments cached  ";
        if (m_startedAt >= 0)
            strStatus += Report::Clock(llPosition) + " / " + Report::Clock(m_manager.GetVideoDuration()) +
                         (m_manager.IsPlaying() ? "" : "  paused");
        else
            strStatus += "waiting for the first segments";
        m_report.Status(strStatus);
    }

    // The component fetches a failed segment only once more after a digest mismatch and
    // never after a transfer error; an engine that waits for data long after a failure
    // waits for that segment.
    bool IsStalledOnAFailure() {
        if (!m_manager.IsCaching()) {
            m_cachingSince = -1;
            return false;
        }
        const double now = m_report.SecondsSinceStart();
        if (m_cachingSince < 0)
            m_cachingSince = now;
        if (now - m_cachingSince < 3.0)
            return false;
        return !m_setFailed.empty() || !DigestMismatchesLoggedSince(m_llLogOffset).empty();
    }

    // Segment 0 or 1 that failed, or that the component gave up after two wrong digests,
    // before playback started: the start waits for both, so it can never come.
    std::optional<int> FirstGroupSegmentGivenUp() {
        if (m_startedAt >= 0)
            return std::nullopt;
        for (int nIndex : m_setFailed) {
            if (nIndex < 2)
                return nIndex;
        }
        const std::map<std::wstring, int> mismatches = DigestMismatchesLoggedSince(m_llLogOffset);
        for (std::size_t i = 0; i < 2 && i < m_segments.size(); ++i) {
            auto expected = m_options.mapSha256.find(QelString::Utf8ToUnicode(m_segments[i].strUrl));
            if (expected == m_options.mapSha256.end())
                continue;
            auto logged = mismatches.find(expected->second);
            if (logged != mismatches.end() && logged->second >= 2)
                return static_cast<int>(i);
        }
        return std::nullopt;
    }

    // The segment list, once the playlist is on disk (remote) or at once (local).
    void LoadSegmentsOnce() {
        if (m_bSegmentsKnown || (!m_bRemotePlaylist && !IsLocalPlaylist(m_strSource)))
            return;
        std::wstring strPlaylist = m_bRemotePlaylist ? m_manager.GetM3u8File(m_strSource) : m_strSource;
        if (strPlaylist.empty() || !QelFileUtils::IsFileExist(strPlaylist))
            return;
        PlaylistProbe probe;
        m_bSegmentsKnown = true;
        if (!probe.Load(strPlaylist, QelString::UnicodeToUtf8(m_strSource)) || probe.bMaster || probe.items.empty()) {
            m_report.Line(probe.bMaster ? "qelplay: a master playlist: the component plays no variant of it"
                                        : "qelplay: the playlist names no segment");
            m_bNothingToPlay = true;
            return;
        }
        const std::wstring strFolder = QelFileUtils::GetDirectoryPath(strPlaylist);
        for (const QelHlsItem& item : probe.items)
            m_segments.push_back({item.strUrl,
                                  strFolder + kQelPathSeparator + QelString::Utf8ToUnicode(qel::SegmentCacheName(item.strUri)),
                                  item.fDuration});
        m_report.Line("playlist: " + std::to_string(m_segments.size()) + " segments, " +
                      std::to_string(static_cast<int>(probe.GetDuration())) + " s");
    }

    int CountCached() const {
        return static_cast<int>(std::count_if(m_segments.begin(), m_segments.end(), [](const Segment& segment) {
            return QelFileUtils::IsFileExist(segment.strLocalPath) != 0;
        }));
    }

    std::string SegmentUrl(int nIndex) const {
        if (nIndex >= 0 && nIndex < static_cast<int>(m_segments.size()))
            return m_segments[static_cast<std::size_t>(nIndex)].strUrl;
        return "";
    }

    static std::string Seconds(double seconds) {
        char sz[32];
        std::snprintf(sz, sizeof(sz), "%.2f s", seconds);
        return sz;
    }

    void Summary(int& nExit) {
        const std::map<std::wstring, int> loggedMismatches = DigestMismatchesLoggedSince(m_llLogOffset);
        int nCached = 0, nChecked = 0, nMismatched = 0;
        std::vector<int> notFetched;
        for (std::size_t i = 0; i < m_segments.size(); ++i) {
            const Segment& segment = m_segments[i];
            const int nIndex = static_cast<int>(i);
            auto expected = m_options.mapSha256.find(QelString::Utf8ToUnicode(segment.strUrl));
            const bool bHasDigest = expected != m_options.mapSha256.end();
            if (bHasDigest && loggedMismatches.count(expected->second) && m_setFailed.insert(nIndex).second)
                m_report.Line("digest mismatch: segment " + std::to_string(i) + " " + segment.strUrl);
            if (!QelFileUtils::IsFileExist(segment.strLocalPath)) {
                if (!m_setFailed.count(nIndex))
                    notFetched.push_back(nIndex);
                continue;
            }
            ++nCached;
            if (!bHasDigest)
                continue;
            std::wstring strDigest;
            QelCode::SHA256File(segment.strLocalPath, strDigest);
            ++nChecked;
            // Hex digits are the same in either case, whatever case the host wrote.
            if (QelString::ToLower(strDigest) != QelString::ToLower(expected->second)) {
                ++nMismatched;
                m_report.Line("digest mismatch in the cache: segment " + std::to_string(i) + " " + segment.strUrl);
            }
        }
        if (!notFetched.empty())
            m_report.Line("not fetched: " + std::to_string(notFetched.size()) + " segment(s) from " +
                          std::to_string(notFetched.front()) + " (not reached: skipped by a seek, or playback ended first)");
        m_report.Line("");
        m_report.Line("summary:");
        if (!m_segments.empty()) {
            m_report.Line("  segments cached    " + std::to_string(nCached) + "/" + std::to_string(m_segments.size()));
            m_report.Line("  files downloaded   " + std::to_string(m_nSuccesses) + " (" + Report::Bytes(m_llBytes) + ")" +
                          (m_bPlaylistWasCached ? ", playlist from the cache" : ""));
            m_report.Line("  digests checked    " + std::to_string(nChecked) + ", " + std::to_string(nMismatched) +
                          " mismatched in the cache");
            m_report.Line("  download failures  " + std::to_string(m_setFailed.size()));
        }
        m_report.Line("  time to start      " + (m_startedAt >= 0 ? Seconds(m_startedAt) : std::string("-")));
        m_report.Line("  time to 1st frame  " + (m_firstFrameAt >= 0 ? Seconds(m_firstFrameAt) : std::string("-")));
        if (!m_segments.empty())
            m_report.Line("  fully cached after " + (m_fullyCachedAt >= 0 ? Seconds(m_fullyCachedAt) : std::string("-")));
        m_report.Line(std::string("  playback           ") +
                      (m_bEnded ? "reached the end" : m_bQuit ? "stopped by the user" : "did not reach the end"));
        if (nExit == kExitEnded && (!m_setFailed.empty() || nMismatched > 0))
            nExit = kExitDownloadFailed;
    }

    const Options& m_options;
    Report& m_report;
    PlayWindow m_window;
    QelVideoPlayerManager m_manager;
    std::wstring m_strSource;

    bool m_bRemotePlaylist = false;
    bool m_bPlaylistWasCached = false;
    bool m_bSegmentsKnown = false;
    bool m_bNothingToPlay = false;
    bool m_bEnded = false;
    bool m_bQuit = false;
    std::vector<Segment> m_segments;
    std::set<int> m_setFailed;
    int m_nSuccesses = 0;
    long long m_llBytes = 0;
    long long m_llLogOffset = 0;
    double m_startedAt = -1;
    double m_firstFrameAt = -1;
    double m_fullyCachedAt = -1;
    double m_cachingSince = -1;
};

}  // namespace

int PlayVideo(const Options& options) {
    Report report(options.bEvents);
    VideoSession session(options, report);
    return session.Run();
}

}  // namespace qelplay
