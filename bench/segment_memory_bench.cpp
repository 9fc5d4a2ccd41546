// Memory per segment and teardown time of one cached HLS video in the component, beside
// the floor: one plain vector of the same segment records.
//
//   segment_memory_bench [--segments N[,N...]]
//
// For each length (100 000 and 1 000 000 segments by default) a playlist of short entries
// (about 20 bytes a segment) is written with its first two segments cached. A video file
// loads it, builds its segment records and package, and its scheduler builds the waiting
// groups; the heap in use is then measured (glibc's mallinfo2) and the video file is
// deleted, timed. The floor is a copy of the video's segment list: what the records need.
#include <malloc.h>
#include <sys/resource.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "QelBenchRow.h"
#include "segment_cache/QelVideoFile.h"
#include "utils/QelString.h"

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

double SecondsSince(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

long long HeapInUse() {
    return static_cast<long long>(mallinfo2().uordblks);
}

// Tells when the scheduler has built its waiting groups and would start playback.
class WatchedVideoFile : public QelVideoFile {
public:
    using QelVideoFile::QelVideoFile;
    void OnFirstGroupReady() override { m_bReady = true; }
    bool IsReady() const { return m_bReady; }

private:
    std::atomic<bool> m_bReady{false};
};

struct Figures {
    double fBytesPerSegment = 0;
    double fTeardownSeconds = 0;
    double fFloorBytesPerSegment = 0;
    double fFloorTeardownSeconds = 0;
};

fs::path WriteVideo(const fs::path& folder, int nSegments) {
    fs::create_directories(folder);
    std::string strText = "#EXTM3U\n#EXT-X-TARGETDURATION:1\n";
    char szLine[64];
    for (int i = 0; i < nSegments; ++i) {
        std::snprintf(szLine, sizeof(szLine), "#EXTINF:1,\ns%07d.ts\n", i);
        strText += szLine;
    }
    strText += "#EXT-X-ENDLIST\n";
    const fs::path playlist = folder / "index.m3u8";
    std::ofstream(playlist, std::ios::binary) << strText;
    for (int i = 0; i < 2; ++i) {
        std::snprintf(szLine, sizeof(szLine), "s%07d.ts", i);
        std::ofstream(folder / szLine, std::ios::binary) << "segment";
    }
    return playlist;
}

bool Measure(int nSegments, Figures& figures) {
    const fs::path folder = fs::temp_directory_path() / ("qel_segment_memory_bench_" + std::to_string(getpid()));
    const std::wstring strPlaylist = QelString::Utf8ToUnicode(WriteVideo(folder, nSegments).string());
    HWND hNoWindow = nullptr;
    malloc_trim(0);
    const long long llBefore = HeapInUse();

    auto* pFile = new WatchedVideoFile(nullptr, strPlaylist, strPlaylist, &hNoWindow, {}, 0);
    const auto deadline = Clock::now() + std::chrono::minutes(5);
    while (!pFile->IsReady() && Clock::now() < deadline)
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    const long long llOurs = HeapInUse() - llBefore;
    bool bGood = pFile->IsReady();

    std::vector<QelTSItem>* pFloor = nullptr;
    {
        const std::vector<QelTSItem> vecItems = pFile->GetTSItems();
        bGood = bGood && vecItems.size() == static_cast<size_t>(nSegments);
        const long long llFloorBefore = HeapInUse();
        pFloor = new std::vector<QelTSItem>(vecItems);
        figures.fFloorBytesPerSegment = static_cast<double>(HeapInUse() - llFloorBefore) / nSegments;
    }
    Clock::time_point start = Clock::now();
    delete pFloor;
    figures.fFloorTeardownSeconds = SecondsSince(start);

    start = Clock::now();
    delete pFile;
    figures.fTeardownSeconds = SecondsSince(start);
    figures.fBytesPerSegment = static_cast<double>(llOurs) / nSegments;

    std::error_code ec;
    fs::remove_all(folder, ec);
    if (!bGood)
        std::fprintf(stderr, "FAILED: %d segments: no start within 5 minutes, or a short list\n", nSegments);
    return bGood;
}

}  // namespace

int main(int argc, char** argv) {
    std::vector<int> vecLengths{100000, 1000000};
    for (int i = 1; i + 1 < argc; i += 2) {
        if (std::strcmp(argv[i], "--segments") == 0) {
            vecLengths.clear();
            for (char* p = argv[i + 1]; *p;) {
                vecLengths.push_back(static_cast<int>(std::strtol(p, &p, 10)));
                if (*p == ',')
                    ++p;
                else if (*p)
                    break;
            }
        }
    }
    for (int nSegments : vecLengths) {
        if (nSegments < 3) {
            std::fprintf(stderr, "usage: %s [--segments N[,N...]] (N at least 3)\n", argv[0]);
            return 2;
        }
    }

    for (int nSegments : vecLengths) {
        Figures figures;
        if (!Measure(nSegments, figures))
            return 1;
        std::printf("%d segments:\n", nSegments);
        std::printf("  video file, package, waiting groups  %8.0f bytes a segment, teardown %8.1f ms\n",
                    figures.fBytesPerSegment, figures.fTeardownSeconds * 1e3);
        std::printf("  one vector of the records (floor)    %8.0f bytes a segment, teardown %8.1f ms\n",
                    figures.fFloorBytesPerSegment, figures.fFloorTeardownSeconds * 1e3);
        char szFigure[128], szOurs[64], szPeer[64];
        std::snprintf(szFigure, sizeof(szFigure),
                      "Memory of a cached %d-segment HLS video, per segment (component vs one vector of its records)",
                      nSegments);
        PrintBenchRow(szFigure, FormatBench(szOurs, sizeof(szOurs), "%.0f B", figures.fBytesPerSegment),
                      FormatBench(szPeer, sizeof(szPeer), "%.0f B", figures.fFloorBytesPerSegment),
                      figures.fBytesPerSegment / figures.fFloorBytesPerSegment);
        std::snprintf(szFigure, sizeof(szFigure),
                      "Teardown of a cached %d-segment HLS video (component vs freeing that vector)", nSegments);
        PrintBenchRow(szFigure, FormatBench(szOurs, sizeof(szOurs), "%.1f ms", figures.fTeardownSeconds * 1e3),
                      FormatBench(szPeer, sizeof(szPeer), "%.1f ms", figures.fFloorTeardownSeconds * 1e3),
                      figures.fTeardownSeconds / figures.fFloorTeardownSeconds);
    }
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    std::printf("peak RSS: %.1f MiB\n", static_cast<double>(usage.ru_maxrss) / 1024.0);
    return 0;
}
