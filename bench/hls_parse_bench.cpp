// Parse throughput of QelHlsParser on a large media playlist, printed beside the time of a
// plain line split of the same text in the same run: the split is the floor that any parser
// of this line-oriented format pays. Also times the unpack of the same playlist packed.
//
//   hls_parse_bench [--segments N] [--rounds N]
//
// The playlist (100 000 segments by default) is generated in memory. Each round times every
// step once, in the same order; the best round of each is reported. Fails when the parser
// does not deliver one entry per segment or the unpacked text differs.
#include <sys/resource.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "QelBenchRow.h"
#include "QelPlaylistPacker.h"
#include "segment_cache/QelHlsParser.h"
#include "segment_cache/QelHlsText.h"
#include "segment_cache/QelPackedPlaylist.h"

namespace {

using Clock = std::chrono::steady_clock;

double SecondsSince(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

// Shaped like what packagers write: varying durations with titles, a few tags, CRLF-free.
std::string MakePlaylist(int nSegments) {
    std::string strText =
        "#EXTM3U\n#EXT-X-VERSION:3\n#EXT-X-TARGETDURATION:11\n#EXT-X-MEDIA-SEQUENCE:0\n"
        "#EXT-X-ALLOW-CACHE:YES\n#EXT-X-PLAYLIST-TYPE:VOD\n";
    char szLine[160];
    unsigned nSeed = 12345;
    for (int i = 0; i < nSegments; ++i) {
        nSeed = nSeed * 1103515245u + 12345u;
        std::snprintf(szLine, sizeof(szLine), "#EXTINF:%u.%06u,\nvideo_720p_%07d.ts?st=%08x\n",
                      9 + (nSeed >> 16) % 3, (nSeed >> 8) % 1000000, i, nSeed);
        strText += szLine;
        if (i % 1000 == 999)
            strText += "#EXT-X-DISCONTINUITY\n";
    }
    return strText + "#EXT-X-ENDLIST\n";
}

class CountingParser : public QelHlsParser {
public:
    size_t m_nEntries = 0;

protected:
    void OnParsed(bool, long long, QelHlsItemMap& mapItems) override { m_nEntries = mapItems.size(); }
};

// The floor: cut the text into lines, nothing else.
size_t PlainLineSplit(const std::string& strText, std::vector<std::string_view>& vecLines) {
    vecLines.clear();
    const char* p = strText.data();
    const char* pEnd = p + strText.size();
    while (p < pEnd) {
        const char* pNewline = static_cast<const char*>(std::memchr(p, '\n', static_cast<size_t>(pEnd - p)));
        if (!pNewline)
            pNewline = pEnd;
        vecLines.emplace_back(p, static_cast<size_t>(pNewline - p));
        p = pNewline + 1;
    }
    return vecLines.size();
}

long PeakRssKiB() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

}  // namespace

int main(int argc, char** argv) {
    int nSegments = 100000;
    int nRounds = 5;
    for (int i = 1; i + 1 < argc; i += 2) {
        if (std::strcmp(argv[i], "--segments") == 0)
            nSegments = std::atoi(argv[i + 1]);
        else if (std::strcmp(argv[i], "--rounds") == 0)
            nRounds = std::atoi(argv[i + 1]);
    }
    if (nSegments <= 0 || nRounds <= 0) {
        std::fprintf(stderr, "usage: %s [--segments N] [--rounds N]\n", argv[0]);
        return 2;
    }

    const std::string strText = MakePlaylist(nSegments);
    const std::string strPacked = qel_test::PackPlaylist(strText);
    const double fMB = static_cast<double>(strText.size()) / 1e6;
    std::printf("playlist: %d segments, %.2f MB of text, %.2f MB packed (%.1fx)\n", nSegments, fMB,
                static_cast<double>(strPacked.size()) / 1e6,
                static_cast<double>(strText.size()) / static_cast<double>(strPacked.size() - 4));

    double fBestSplit = 1e30, fBestQelSplit = 1e30, fBestParse = 1e30, fBestUnpack = 1e30;
    std::vector<std::string_view> vecLines;
    for (int nRound = 0; nRound < nRounds; ++nRound) {
        Clock::time_point start = Clock::now();
        const size_t nLines = PlainLineSplit(strText, vecLines);
        fBestSplit = std::min(fBestSplit, SecondsSince(start));

        start = Clock::now();
        const size_t nPieces = qel::Split(strText, "\n").size();
        fBestQelSplit = std::min(fBestQelSplit, SecondsSince(start));

        CountingParser parser;
        start = Clock::now();
        const bool bParsed = parser.Parse("http://cdn.example.com/vod/movie/index.m3u8", strText);
        fBestParse = std::min(fBestParse, SecondsSince(start));

        start = Clock::now();
        const std::string strUnpacked = qel::PlaylistFileText(strPacked);
        fBestUnpack = std::min(fBestUnpack, SecondsSince(start));

        if (!bParsed || parser.m_nEntries != static_cast<size_t>(nSegments) || nPieces != nLines ||
            strUnpacked != strText) {
            std::fprintf(stderr, "FAILED: parsed %d, %zu entries, %zu pieces for %zu lines, unpack %s\n", bParsed,
                         parser.m_nEntries, nPieces, nLines, strUnpacked == strText ? "equal" : "differs");
            return 1;
        }
    }

    auto row = [fMB, fBestSplit](const char* pszWhat, double fSeconds) {
        std::printf("%-34s %9.2f ms %9.1f MB/s %7.1fx the plain split\n", pszWhat, fSeconds * 1e3, fMB / fSeconds,
                    fSeconds / fBestSplit);
    };
    std::printf("best of %d rounds:\n", nRounds);
    row("plain line split (memchr, views)", fBestSplit);
    row("qel::Split at \"\\n\" (copies)", fBestQelSplit);
    row("QelHlsParser::Parse", fBestParse);
    row("unpack of the packed playlist", fBestUnpack);
    std::printf("peak RSS: %.1f MiB\n", static_cast<double>(PeakRssKiB()) / 1024.0);
    char szOurs[64], szPeer[64];
    PrintBenchRow("Parse of a 100 000-segment playlist (QelHlsParser vs a plain line split)",
                  FormatBench(szOurs, sizeof(szOurs), "%.1f MB/s", fMB / fBestParse),
                  FormatBench(szPeer, sizeof(szPeer), "%.1f MB/s", fMB / fBestSplit), fBestParse / fBestSplit);
    return 0;
}
