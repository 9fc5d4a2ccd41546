// Start of a remote HLS video: the component (playlist and first two segments into the
// cache, then the engine) against libvlc opening the same m3u8 URL itself, on the same
// content from the same loopback server, in the same run. Twice: at loopback speed and
// with every connection held to 1 MB/s (8 Mbit/s).
//
//   remote_start_bench [--seconds N] [--size WxH] [--rounds N] [--content FOLDER]
//
// Without --content ffmpeg makes an H.264 + AAC video of N seconds (20 by default) at WxH
// (1280x720 by default) in 2-second TS segments, with their SHA-256 digests, in a
// temporary folder removed at the end. FOLDER holds hls/index.m3u8, its segments and
// optionally hls/sha256.txt ("<segment> <digest>" lines) as the tests' sample content does.
//
// The component is used as a host's player window uses it, answering the engine's
// QEL_VIDEO_SEEK_TS with UpdateDownloadPriority. For each speed, each round plays once
// with each, in alternating order, timing from the play request to the start (the
// component's QEL_VIDEO_STARTED; libvlc's Playing event) and to the first frame shown (the
// position first above 0). Every play of the component uses a fresh cache folder, so every
// one downloads. One untimed play of each comes first. Medians are reported, with their
// ratios.
#include <vlc/vlc.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <optional>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "QelBenchRow.h"
#include "qelserve/QelLoopbackServer.h"
#include "support/TestNotifyWindow.h"
#include "support/TestSilentAudio.h"
#include "utils/QelString.h"
#include "video/QelMessages.h"
#include "video/QelVideoPlayerManager.h"

namespace fs = std::filesystem;

namespace {

using Clock = std::chrono::steady_clock;
constexpr auto kGiveUp = std::chrono::seconds(30);
constexpr auto kPoll = std::chrono::milliseconds(2);

double MsBetween(Clock::time_point from, Clock::time_point to) {
    return std::chrono::duration<double, std::milli>(to - from).count();
}

// Milliseconds from the request to the start and to the first frame; negative: never.
struct StartTimes {
    double fStart = -1;
    double fFirstFrame = -1;
};

std::string ShellQuote(const std::string& s) {
    std::string out = "'";
    for (char c : s)
        out += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return out + "'";
}

// The component, as a host uses it: one manager, one window for its messages.
class Component {
public:
    Component(const fs::path& cacheRoot) {
        m_manager.SetHWnd(m_window.Handle(), m_window.Handle());
        m_manager.SetVideoDownloadPath(QelString::Utf8ToUnicode(cacheRoot.string()));
    }

    StartTimes Play(const std::string& strUrl, const std::map<std::wstring, std::wstring>& mapDigests) {
        // A new update time names a new cache folder: nothing is cached yet.
        m_manager.SetVideoUpdateTime(++m_llUpdateTime);
        while (m_window.Receive(std::chrono::milliseconds(0))) {
        }
        m_strUrl = QelString::Utf8ToUnicode(strUrl);
        StartTimes times;
        const Clock::time_point start = Clock::now();
        m_manager.Play(m_strUrl, mapDigests, 0);
        bool bStarted = false;
        while (!bStarted && Clock::now() - start < kGiveUp)
            bStarted = Answer(m_window.Receive(kPoll)) == QEL_VIDEO_STARTED;
        if (bStarted) {
            times.fStart = MsBetween(start, Clock::now());
            while (m_manager.GetCurPosition() <= 0 && Clock::now() - start < kGiveUp)
                Answer(m_window.Receive(kPoll));
            if (m_manager.GetCurPosition() > 0)
                times.fFirstFrame = MsBetween(start, Clock::now());
        }
        m_manager.Stop();
        return times;
    }

private:
    // What a player window does with a message: a segment the engine asks for is
    // fetched next. Returns the message number, 0 for none.
    UINT Answer(const std::optional<qel::test::PostedMessage>& message) {
        if (!message)
            return 0;
        if (message->message == QEL_VIDEO_SEEK_TS)
            m_manager.UpdateDownloadPriority(m_strUrl, static_cast<int>(message->wParam));
        return message->message;
    }

    qel::test::TestNotifyWindow m_window;
    QelVideoPlayerManager m_manager;
    std::wstring m_strUrl;
    long long m_llUpdateTime = 1;
};

// libvlc alone, configured as the engine configures it.
class DirectVlc {
public:
    DirectVlc() {
        const char* const args[] = {"--quiet", "--no-video-title-show", "--vout=vdummy"};
        m_pInstance = libvlc_new(3, args);
    }
    ~DirectVlc() {
        if (m_pInstance)
            libvlc_release(m_pInstance);
    }
    bool IsValid() const { return m_pInstance != nullptr; }

    StartTimes Play(const std::string& strUrl) {
        StartTimes times;
        libvlc_media_t* pMedia = libvlc_media_new_location(m_pInstance, strUrl.c_str());
        libvlc_media_player_t* pPlayer = libvlc_media_player_new_from_media(pMedia);
        libvlc_media_release(pMedia);
        std::atomic<bool> bPlaying{false};
        libvlc_event_manager_t* pEvents = libvlc_media_player_event_manager(pPlayer);
        libvlc_event_attach(pEvents, libvlc_MediaPlayerPlaying, &DirectVlc::OnPlaying, &bPlaying);

        const Clock::time_point start = Clock::now();
        libvlc_media_player_play(pPlayer);
        while (!bPlaying && Clock::now() - start < kGiveUp)
            std::this_thread::sleep_for(kPoll);
        if (bPlaying) {
            times.fStart = MsBetween(start, Clock::now());
            while (libvlc_media_player_get_time(pPlayer) <= 0 && Clock::now() - start < kGiveUp)
                std::this_thread::sleep_for(kPoll);
            if (libvlc_media_player_get_time(pPlayer) > 0)
                times.fFirstFrame = MsBetween(start, Clock::now());
        }
        libvlc_media_player_stop(pPlayer);
        libvlc_event_detach(pEvents, libvlc_MediaPlayerPlaying, &DirectVlc::OnPlaying, &bPlaying);
        libvlc_media_player_release(pPlayer);
        return times;
    }

private:
    static void OnPlaying(const libvlc_event_t*, void* pFlag) { static_cast<std::atomic<bool>*>(pFlag)->store(true); }

    libvlc_instance_t* m_pInstance = nullptr;
};

double Median(std::vector<double> values) {
    if (values.empty())
        return -1;
    std::sort(values.begin(), values.end());
    const size_t n = values.size();
    return n % 2 ? values[n / 2] : (values[n / 2 - 1] + values[n / 2]) / 2;
}

struct Series {
    std::vector<double> vecStart, vecFirstFrame;
    int nFailed = 0;
    void Add(const StartTimes& times) {
        if (times.fStart < 0 || times.fFirstFrame < 0) {
            ++nFailed;
            return;
        }
        vecStart.push_back(times.fStart);
        vecFirstFrame.push_back(times.fFirstFrame);
    }
};

std::map<std::wstring, std::wstring> Digests(const fs::path& hlsFolder, const std::string& strFolderUrl) {
    std::map<std::wstring, std::wstring> mapDigests;
    std::ifstream in(hlsFolder / "sha256.txt");
    std::string strName, strDigest;
    while (in >> strName >> strDigest)
        mapDigests[QelString::Utf8ToUnicode(strFolderUrl + strName)] = QelString::Utf8ToUnicode(strDigest);
    return mapDigests;
}

}  // namespace

int main(int argc, char** argv) {
    int nSeconds = 20;
    int nRounds = 7;
    std::string strSize = "1280x720";
    std::string strContent;
    for (int i = 1; i < argc; ++i) {
        const std::string strArg = argv[i];
        if (strArg == "--seconds" && i + 1 < argc) {
            nSeconds = std::atoi(argv[++i]);
        } else if (strArg == "--rounds" && i + 1 < argc) {
            nRounds = std::atoi(argv[++i]);
        } else if (strArg == "--size" && i + 1 < argc) {
            strSize = argv[++i];
        } else if (strArg == "--content" && i + 1 < argc) {
            strContent = argv[++i];
        } else {
            std::fprintf(stderr, "usage: %s [--seconds N] [--size WxH] [--rounds N] [--content FOLDER]\n", argv[0]);
            return 2;
        }
    }

    const char* pszTmp = std::getenv("TMPDIR");
    std::string strWork = std::string(pszTmp && *pszTmp ? pszTmp : "/tmp") + "/qel_remote_start_XXXXXX";
    if (!mkdtemp(strWork.data())) {
        std::perror("mkdtemp");
        return 1;
    }
    const fs::path work = strWork;
    struct Cleanup {
        fs::path path;
        ~Cleanup() {
            std::error_code ec;
            fs::remove_all(path, ec);
        }
    } cleanup{work};

    fs::path content = strContent;
    if (content.empty()) {
        content = work / "content";
        const fs::path hls = content / "hls";
        fs::create_directories(hls);
        const std::string strCommand =
            "ffmpeg -hide_banner -loglevel error -nostdin -y -f lavfi -i testsrc2=size=" + strSize +
            ":rate=25 -f lavfi -i sine=frequency=440:sample_rate=44100 -t " + std::to_string(nSeconds) +
            " -c:v libx264 -preset veryfast -pix_fmt yuv420p -g 50 -keyint_min 50 -sc_threshold 0"
            " -c:a aac -b:a 64k -f hls -hls_time 2 -hls_list_size 0 -hls_playlist_type vod"
            " -hls_segment_filename " + ShellQuote((hls / "index%d.ts").string()) + " " +
            ShellQuote((hls / "index.m3u8").string()) + " && cd " + ShellQuote(hls.string()) +
            " && for f in index*.ts; do printf '%s %s\\n' \"$f\" \"$(sha256sum \"$f\" | cut -d' ' -f1)\"; done"
            " > sha256.txt";
        if (std::system(strCommand.c_str()) != 0) {
            std::fprintf(stderr, "could not make the video with ffmpeg\n");
            return 1;
        }
    }
    const fs::path hls = content / "hls";
    long long llSegmentBytes = 0;
    int nSegments = 0;
    for (const auto& entry : fs::directory_iterator(hls)) {
        if (entry.path().extension() == ".ts") {
            llSegmentBytes += static_cast<long long>(entry.file_size());
            ++nSegments;
        }
    }
    if (nSegments == 0) {
        std::fprintf(stderr, "no segments in %s\n", hls.string().c_str());
        return 1;
    }

    qel::test::MakeAudioSilent();
    qel::TestHttpServer server(content);
    const std::string strUrl = server.Url("/hls/index.m3u8");
    const auto mapDigests = Digests(hls, server.Url("/hls/"));
    Component component(work / "cache");
    DirectVlc vlc;
    if (!server.IsRunning() || !vlc.IsValid()) {
        std::fprintf(stderr, "cannot start the server or libvlc\n");
        return 1;
    }
    std::printf("content         %d segments, %.0f KiB each on average, %zu digests, %s\n", nSegments,
                static_cast<double>(llSegmentBytes) / nSegments / 1024.0, mapDigests.size(), strUrl.c_str());

    // Plug-in scans, first connections and the engine's own libvlc instance, untimed.
    component.Play(strUrl, mapDigests);
    vlc.Play(strUrl);

    struct Speed {
        const char* szName;
        long long llBytesPerSec;
    };
    const Speed speeds[] = {{"loopback", 0}, {"8 Mbit/s", 1000000}};
    std::vector<std::string> vecSummary;
    struct BenchRow {
        std::string strFigure, strOurs, strPeer;
        double ratio;
    };
    std::vector<BenchRow> vecRows;
    for (const Speed& speed : speeds) {
        for (const auto& entry : fs::directory_iterator(hls)) {
            const std::string strPath = "/hls/" + entry.path().filename().string();
            if (speed.llBytesPerSec > 0)
                server.SetFault(strPath, qel::TestHttpFault::Throttle(speed.llBytesPerSec));
            else
                server.ClearFault(strPath);
        }
        Series ours, theirs;
        for (int nRound = 1; nRound <= nRounds; ++nRound) {
            StartTimes a, b;
            if (nRound % 2) {
                a = component.Play(strUrl, mapDigests);
                b = vlc.Play(strUrl);
            } else {
                b = vlc.Play(strUrl);
                a = component.Play(strUrl, mapDigests);
            }
            ours.Add(a);
            theirs.Add(b);
            std::printf("%-9s round %d  component start %7.1f ms  first frame %7.1f ms | libvlc playing %7.1f ms  "
                        "first frame %7.1f ms\n",
                        speed.szName, nRound, a.fStart, a.fFirstFrame, b.fStart, b.fFirstFrame);
            std::fflush(stdout);
        }
        const double fOursStart = Median(ours.vecStart), fOursFrame = Median(ours.vecFirstFrame);
        const double fVlcStart = Median(theirs.vecStart), fVlcFrame = Median(theirs.vecFirstFrame);
        std::ostringstream summary;
        char szLine[512];
        std::snprintf(szLine, sizeof(szLine),
                      "%-9s  to start: component %7.1f ms, libvlc %7.1f ms, ratio %.2f\n"
                      "%-9s  to first frame: component %7.1f ms, libvlc %7.1f ms, ratio %.2f\n",
                      speed.szName, fOursStart, fVlcStart, fVlcStart > 0 ? fOursStart / fVlcStart : 0.0, speed.szName,
                      fOursFrame, fVlcFrame, fVlcFrame > 0 ? fOursFrame / fVlcFrame : 0.0);
        summary << szLine;
        // The first frame is what compares like with like: libvlc reports Playing before
        // it has fetched anything. The start at loopback is mostly the component's own
        // waiting, so it is shown too.
        char szFigure[160], szOurs[64], szPeer[64];
        if (speed.llBytesPerSec == 0) {
            std::snprintf(szOurs, sizeof(szOurs), "%.1f ms", fOursStart);
            std::snprintf(szPeer, sizeof(szPeer), "%.1f ms", fVlcStart);
            vecRows.push_back({"Remote HLS video, Play to QEL_VIDEO_STARTED at loopback (component vs libvlc's Playing "
                               "event, which comes before any fetch), median",
                               szOurs, szPeer, fVlcStart > 0 ? fOursStart / fVlcStart : 0.0});
        }
        std::snprintf(szFigure, sizeof(szFigure), "Remote HLS video, Play to first frame at %s (component vs libvlc on the URL), median",
                      speed.szName);
        std::snprintf(szOurs, sizeof(szOurs), "%.1f ms", fOursFrame);
        std::snprintf(szPeer, sizeof(szPeer), "%.1f ms", fVlcFrame);
        vecRows.push_back({szFigure, szOurs, szPeer, fVlcFrame > 0 ? fOursFrame / fVlcFrame : 0.0});
        if (ours.nFailed || theirs.nFailed)
            summary << speed.szName << "  failed plays: component " << ours.nFailed << ", libvlc " << theirs.nFailed
                    << "\n";
        vecSummary.push_back(summary.str());
    }
    std::printf("\nmedians of %d rounds (ratio: component time / libvlc time; below 1 is sooner)\n", nRounds);
    for (const std::string& strLine : vecSummary)
        std::fputs(strLine.c_str(), stdout);
    for (const BenchRow& row : vecRows)
        PrintBenchRow(row.strFigure.c_str(), row.strOurs.c_str(), row.strPeer.c_str(), row.ratio);
    return 0;
}
