// Time from opening a cached HLS video to its first picture: the engine, given the segment
// list as the manager gives it, beside libvlc opening the same local m3u8 itself, in the
// same process and the same run.
//
//   engine_open_bench [--dir FOLDER] [--rounds N]
//
// FOLDER holds index.m3u8 and its TS segments. Without --dir, ffmpeg makes a 20-second
// 1280x720 H.264 + AAC video in 2-second segments in a temporary folder, removed at the end.
//
// Engine: from QelVideoPlayerOpen until it returns, which it does once the first picture is
// decoded and out (libvlc's video output has started) and held there. libvlc: from creating
// the media of the m3u8 path until its player reports the video output, with the same
// instance arguments as the engine's. One untimed round first (plugin scan, page cache);
// then each round times both, in alternating order; best and median of each are reported.
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <string>
#include <vector>

#include <vlc/vlc.h>

#include "QelBenchRow.h"
#include "segment_cache/QelTSItem.h"
#include "utils/QelString.h"
#include "video/QelVideoEngine.h"

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

double MsSince(Clock::time_point start) {
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

// The segments of a media playlist as the manager hands them to the engine.
std::vector<QelTSItem> ReadSegments(const fs::path& folder) {
    std::vector<QelTSItem> vecItems;
    std::ifstream in(folder / "index.m3u8");
    std::string strLine;
    float fDuration = 0.0f;
    while (std::getline(in, strLine)) {
        if (!strLine.empty() && strLine.back() == '\r')
            strLine.pop_back();
        if (strLine.rfind("#EXTINF:", 0) == 0) {
            fDuration = std::strtof(strLine.c_str() + 8, nullptr);
        } else if (!strLine.empty() && strLine[0] != '#') {
            QelTSItem item;
            item.nIndex = static_cast<int>(vecItems.size());
            item.fDuration = fDuration;
            item.strUri = strLine;
            item.strLocalPathA = (folder / strLine).string();
            item.strLocalPath = QelString::Utf8ToUnicode(item.strLocalPathA);
            vecItems.push_back(item);
        }
    }
    return vecItems;
}

bool MakeVideo(const fs::path& folder) {
    const std::string strCommand =
        "ffmpeg -hide_banner -loglevel error -nostdin -y -f lavfi -i testsrc2=size=1280x720:rate=25 "
        "-f lavfi -i sine=frequency=440:sample_rate=44100 -t 20 -c:v libx264 -preset veryfast -pix_fmt yuv420p "
        "-g 50 -keyint_min 50 -sc_threshold 0 -c:a aac -b:a 96k -f hls -hls_time 2 -hls_list_size 0 "
        "-hls_playlist_type vod -hls_segment_filename '" +
        (folder / "index%d.ts").string() + "' '" + (folder / "index.m3u8").string() + "'";
    return std::system(strCommand.c_str()) == 0;
}

// libvlc by itself: the m3u8 path, played until the first picture is out.
class LibVlcPeer {
public:
    LibVlcPeer() {
        const char* const args[] = {"--quiet", "--no-video-title-show", "--vout=vdummy"};
        m_pInstance = libvlc_new(3, args);
    }
    ~LibVlcPeer() {
        if (m_pInstance)
            libvlc_release(m_pInstance);
    }
    bool Ok() const { return m_pInstance != nullptr; }

    // Milliseconds to the first picture, or a negative value.
    double Open(const std::string& strPlaylist) {
        const auto start = Clock::now();
        libvlc_media_t* pMedia = libvlc_media_new_path(m_pInstance, strPlaylist.c_str());
        libvlc_media_player_t* pPlayer = libvlc_media_player_new_from_media(pMedia);
        libvlc_media_release(pMedia);
        m_bVout = false;
        libvlc_event_manager_t* pEvents = libvlc_media_player_event_manager(pPlayer);
        libvlc_event_attach(pEvents, libvlc_MediaPlayerVout, &LibVlcPeer::OnVout, this);
        libvlc_media_player_play(pPlayer);
        double dMs = -1.0;
        {
            std::unique_lock<std::mutex> lock(m_mutex);
            if (m_voutCame.wait_for(lock, std::chrono::seconds(20), [this] { return m_bVout; }))
                dMs = MsSince(start);
        }
        libvlc_media_player_stop(pPlayer);
        libvlc_event_detach(pEvents, libvlc_MediaPlayerVout, &LibVlcPeer::OnVout, this);
        libvlc_media_player_release(pPlayer);
        return dMs;
    }

private:
    static void OnVout(const libvlc_event_t*, void* pSelf) {
        auto* self = static_cast<LibVlcPeer*>(pSelf);
        std::lock_guard<std::mutex> lock(self->m_mutex);
        self->m_bVout = true;
        self->m_voutCame.notify_all();
    }

    libvlc_instance_t* m_pInstance = nullptr;
    std::mutex m_mutex;
    std::condition_variable m_voutCame;
    bool m_bVout = false;
};

// The engine: Open, with the segment list.
double EngineOpen(std::vector<QelTSItem> vecSegments, const std::string& strPlaylist) {
    const auto start = Clock::now();
    QelVideoPlayerHandle player = QelVideoPlayerOpen(strPlaylist.c_str(), &vecSegments, nullptr);
    const double dMs = MsSince(start);
    std::int32_t nWidth = 0;
    QelVideoPlayerGetParam(player, QEL_PARAM_WIDTH, &nWidth);
    QelVideoPlayerClose(player);
    return player && nWidth > 0 ? dMs : -1.0;
}

double Median(std::vector<double> vec) {
    std::sort(vec.begin(), vec.end());
    const std::size_t n = vec.size();
    return n % 2 ? vec[n / 2] : (vec[n / 2 - 1] + vec[n / 2]) / 2.0;
}

// The measurement machine may have no sound card: libvlc's sound goes to ALSA's null sink.
void SilenceAudio(const fs::path& folder) {
    const fs::path conf = folder / "asound-null.conf";
    std::ofstream(conf) << "pcm.!default { type null }\n";
    std::string strPath = conf.string();
    if (fs::exists("/usr/share/alsa/alsa.conf"))
        strPath = "/usr/share/alsa/alsa.conf:" + strPath;
    setenv("ALSA_CONFIG_PATH", strPath.c_str(), 1);
    setenv("PULSE_SERVER", "unix:/nonexistent/qel-bench", 1);
}

}  // namespace

int main(int argc, char** argv) {
    fs::path folder;
    int nRounds = 10;
    for (int i = 1; i < argc; ++i) {
        if (!std::strcmp(argv[i], "--dir") && i + 1 < argc) {
            folder = argv[++i];
        } else if (!std::strcmp(argv[i], "--rounds") && i + 1 < argc) {
            nRounds = std::max(1, std::atoi(argv[++i]));
        } else {
            std::fprintf(stderr, "usage: %s [--dir FOLDER] [--rounds N]\n", argv[0]);
            return 2;
        }
    }

    const fs::path work = fs::temp_directory_path() / ("qel_engine_bench_" + std::to_string(getpid()));
    fs::create_directories(work);
    SilenceAudio(work);
    int nResult = 1;
    do {
        if (folder.empty()) {
            folder = work / "hls";
            fs::create_directories(folder);
            if (!MakeVideo(folder)) {
                std::fprintf(stderr, "ffmpeg could not make the video\n");
                break;
            }
        }
        const std::string strPlaylist = (folder / "index.m3u8").string();
        const std::vector<QelTSItem> vecSegments = ReadSegments(folder);
        if (vecSegments.empty()) {
            std::fprintf(stderr, "no segments in %s\n", strPlaylist.c_str());
            break;
        }
        LibVlcPeer peer;
        if (!peer.Ok()) {
            std::fprintf(stderr, "libvlc is not available\n");
            break;
        }

        // Untimed: plugin scans, decoder start-up, page cache.
        if (EngineOpen(vecSegments, strPlaylist) < 0 || peer.Open(strPlaylist) < 0) {
            std::fprintf(stderr, "a warm-up open failed\n");
            break;
        }
        std::vector<double> vecEngine, vecPeer;
        bool bFailed = false;
        for (int nRound = 1; nRound <= nRounds && !bFailed; ++nRound) {
            const bool bEngineFirst = nRound % 2 == 1;
            for (int nTurn = 0; nTurn < 2; ++nTurn) {
                const bool bEngine = (nTurn == 0) == bEngineFirst;
                const double dMs = bEngine ? EngineOpen(vecSegments, strPlaylist) : peer.Open(strPlaylist);
                if (dMs < 0) {
                    std::fprintf(stderr, "round %d: %s failed\n", nRound, bEngine ? "engine" : "libvlc");
                    bFailed = true;
                    break;
                }
                std::printf("round %-2d %-36s %7.1f ms\n", nRound,
                            bEngine ? "engine, segment list" : "libvlc, m3u8 path", dMs);
                (bEngine ? vecEngine : vecPeer).push_back(dMs);
            }
        }
        if (bFailed)
            break;

        std::printf("\nvideo           %s (%zu segments)\n", strPlaylist.c_str(), vecSegments.size());
        std::printf("engine          best %7.1f ms   median %7.1f ms  (Open to first picture held)\n",
                    *std::min_element(vecEngine.begin(), vecEngine.end()), Median(vecEngine));
        std::printf("libvlc          best %7.1f ms   median %7.1f ms  (m3u8 path to video output)\n",
                    *std::min_element(vecPeer.begin(), vecPeer.end()), Median(vecPeer));
        std::printf("ratio           %.2f  (engine median / libvlc median; below 1 is faster)\n",
                    Median(vecEngine) / Median(vecPeer));
        char szOurs[64], szPeer[64];
        PrintBenchRow("Cached HLS video, open to first picture (engine vs libvlc on the m3u8), median",
                      FormatBench(szOurs, sizeof(szOurs), "%.1f ms", Median(vecEngine)),
                      FormatBench(szPeer, sizeof(szPeer), "%.1f ms", Median(vecPeer)),
                      Median(vecEngine) / Median(vecPeer));
        nResult = 0;
    } while (false);
    std::error_code ec;
    fs::remove_all(work, ec);
    return nResult;
}
