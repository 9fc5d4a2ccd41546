// SHA-256 of one large file: QelCode::SHA256File against sha256sum, on the same file in
// the same run. Prints both times, the ratio and the process's peak memory, and fails when
// the digests differ.
//
//   sha256_bench [--size-mib N] [--rounds N] [--dir FOLDER | --file PATH]
//
// Without --file a file of N MiB (512 by default) of pseudo-random bytes is written to the
// folder (TMPDIR or /tmp by default) and removed at the end. Each round times both, in
// alternating order; the best round of each is reported. The file is read once before the
// first round so that both start from the page cache.
#include <sys/resource.h>
#include <unistd.h>

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "QelBenchRow.h"
#include "utils/QelCode.h"
#include "utils/QelFile.h"
#include "utils/QelFileUtils.h"
#include "utils/QelString.h"

namespace {

using Clock = std::chrono::steady_clock;

double SecondsSince(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

bool WriteRandomFile(const std::wstring& path, long long llMiB) {
    QelFile file;
    if (!file.Open(path, true)) return false;
    std::vector<std::uint64_t> block((1u << 20) / sizeof(std::uint64_t));
    std::uint64_t s = 0x9E3779B97F4A7C15ull;
    for (long long i = 0; i < llMiB; ++i) {
        for (std::uint64_t& w : block) {  // xorshift64
            s ^= s << 13;
            s ^= s >> 7;
            s ^= s << 17;
            w = s;
        }
        const size_t n = block.size() * sizeof(std::uint64_t);
        if (file.Write(block.data(), n) != n) return false;
    }
    return true;
}

std::string ShellQuote(const std::string& s) {
    std::string out = "'";
    for (char c : s) out += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return out + "'";
}

bool RunSha256sum(const std::string& path, std::string& digest) {
    FILE* pPipe = ::popen(("sha256sum " + ShellQuote(path)).c_str(), "r");
    if (pPipe == nullptr) return false;
    char line[512] = {};
    const bool bRead = std::fgets(line, sizeof(line), pPipe) != nullptr;
    const int status = ::pclose(pPipe);
    digest = bRead ? std::string(line, std::strcspn(line, " \n")) : std::string();
    return bRead && status == 0;
}

long PeakRssMiB() {
    struct rusage ru {};
    ::getrusage(RUSAGE_SELF, &ru);
    return ru.ru_maxrss / 1024;  // KiB on Linux
}

// Removes the generated file however the run ends.
struct FileRemover {
    std::wstring strPath;
    ~FileRemover() {
        if (!strPath.empty()) QelFileUtils::DelFile(strPath);
    }
};

}  // namespace

int main(int argc, char** argv) {
    long long llMiB = 512;
    int nRounds = 3;
    std::string dir, givenFile;
    if (const char* pTmp = std::getenv("TMPDIR")) dir = pTmp;
    if (dir.empty()) dir = "/tmp";
    for (int i = 1; i + 1 < argc; i += 2) {
        const std::string key = argv[i], value = argv[i + 1];
        if (key == "--size-mib") llMiB = std::atoll(value.c_str());
        else if (key == "--rounds") nRounds = std::atoi(value.c_str());
        else if (key == "--dir") dir = value;
        else if (key == "--file") givenFile = value;
        else {
            std::fprintf(stderr, "usage: %s [--size-mib N] [--rounds N] [--dir FOLDER | --file PATH]\n", argv[0]);
            return 2;
        }
    }
    if (llMiB <= 0 || nRounds <= 0) {
        std::fprintf(stderr, "size and rounds must be positive\n");
        return 2;
    }

    FileRemover remover;
    std::string path = givenFile;
    if (path.empty()) {
        path = dir + "/qel_sha256_bench_" + std::to_string(::getpid()) + ".bin";
        remover.strPath = QelString::Utf8ToUnicode(path);
        const Clock::time_point start = Clock::now();
        if (!WriteRandomFile(remover.strPath, llMiB)) {
            std::fprintf(stderr, "cannot write %s\n", path.c_str());
            return 1;
        }
        std::printf("wrote %lld MiB to %s in %.2f s\n", llMiB, path.c_str(), SecondsSince(start));
    }
    const std::wstring wpath = QelString::Utf8ToUnicode(path);
    const long long llSize = QelFileUtils::GetFileSize(wpath);
    if (llSize < 0) {
        std::fprintf(stderr, "cannot read %s\n", path.c_str());
        return 1;
    }

    {  // warm the page cache so neither side pays for the disk alone
        QelFile file;
        std::vector<char> buf(1 << 20);
        if (file.Open(wpath, false)) {
            while (file.Read(buf.data(), buf.size()) > 0) {
            }
        }
    }

    double fBestQel = 1e300, fBestTool = 1e300;
    std::wstring qelDigest;
    std::string toolDigest;
    for (int r = 0; r < nRounds; ++r) {
        for (int k = 0; k < 2; ++k) {
            const bool bQel = (k == 0) == (r % 2 == 0);
            const Clock::time_point start = Clock::now();
            const bool bOk = bQel ? QelCode::SHA256File(wpath, qelDigest) : RunSha256sum(path, toolDigest);
            const double f = SecondsSince(start);
            if (!bOk) {
                std::fprintf(stderr, "%s failed\n", bQel ? "QelCode::SHA256File" : "sha256sum");
                return 1;
            }
            double& fBest = bQel ? fBestQel : fBestTool;
            if (f < fBest) fBest = f;
            std::printf("round %d  %-20s %7.3f s\n", r + 1, bQel ? "QelCode::SHA256File" : "sha256sum", f);
        }
    }

    const double fMiB = static_cast<double>(llSize) / (1024.0 * 1024.0);
    std::printf("\nfile            %.0f MiB (%lld bytes)\n", fMiB, llSize);
    std::printf("SHA256File      %.3f s  (%.0f MiB/s)  best of %d\n", fBestQel, fMiB / fBestQel, nRounds);
    std::printf("sha256sum       %.3f s  (%.0f MiB/s)  best of %d\n", fBestTool, fMiB / fBestTool, nRounds);
    std::printf("ratio           %.2f  (SHA256File time / sha256sum time; below 1 is faster)\n",
                fBestQel / fBestTool);
    std::printf("peak RSS        %ld MiB (this process; the file is streamed)\n", PeakRssMiB());
    char szOurs[64], szPeer[64];
    PrintBenchRow("SHA-256 of a 512 MiB file (QelCode::SHA256File vs sha256sum)",
                  FormatBench(szOurs, sizeof(szOurs), "%.3f s", fBestQel),
                  FormatBench(szPeer, sizeof(szPeer), "%.3f s", fBestTool), fBestQel / fBestTool);

    const std::string qelNarrow = QelString::UnicodeToUtf8(qelDigest);
    std::printf("digest          %s\n", qelNarrow.c_str());
    if (qelNarrow != toolDigest) {
        std::fprintf(stderr, "DIGESTS DIFFER: sha256sum says %s\n", toolDigest.c_str());
        return 1;
    }
    std::printf("digests agree\n");
    return 0;
}
