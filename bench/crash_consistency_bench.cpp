// Crash consistency of the segment cache: qelplay is killed with SIGKILL at random moments
// while it downloads an HLS video from a throttled qelserve, over and over on one cache
// folder. After every kill each file under a final segment name must hold exactly the
// served bytes; whenever the cache is complete, and at the end, one more qelplay run plays
// the video to its end and the cache must then hold final names only: no temporary of any
// kind left beside them.
//
//   crash_consistency_bench --qelplay PATH --qelserve PATH --content FOLDER --work FOLDER
//                           [--kills N] [--digests yes|no|both] [--throttle BYTES_PER_SEC]
//                           [--max-delay-ms MS] [--seed N]
//
// FOLDER holds hls/index.m3u8, its segments and hls/sha256.txt, as the sample content does.
// N kills are made per digest mode (100 by default, both modes), 0.1 s to MS (5 s by
// default) after the start. Each killed run seeks to a random second half of the time, so
// that kills land in every part of the video. A kill came mid-download when a temporary
// bearing the killed process's id lay in the cache after it. Exit 0
// when no file was bad, no temporary was left and every finishing run reached the end.
#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <random>
#include <set>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

extern char** environ;

namespace fs = std::filesystem;

namespace {

struct Options {
    std::string strQelplay, strQelserve;
    fs::path content, work;
    int nKills = 100;
    std::string strDigests = "both";
    long long llThrottle = 32768;
    int nMaxDelayMs = 5000;
    unsigned nSeed = std::random_device{}();
};

// A child process: started with posix_spawn, its output into a file; killed and reaped
// with the object unless it was waited for.
class Child {
public:
    Child(const std::vector<std::string>& vecArgs, const fs::path& output, bool bStdinPipe) {
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        int fdPipe[2] = {-1, -1};
        if (bStdinPipe && pipe2(fdPipe, O_CLOEXEC) == 0) {
            posix_spawn_file_actions_adddup2(&actions, fdPipe[0], 0);
            m_fdStdin = fdPipe[1];
        }
        posix_spawn_file_actions_addopen(&actions, 1, output.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        posix_spawn_file_actions_adddup2(&actions, 1, 2);
        std::vector<char*> argv;
        for (const std::string& strArg : vecArgs)
            argv.push_back(const_cast<char*>(strArg.c_str()));
        argv.push_back(nullptr);
        if (posix_spawn(&m_pid, argv[0], &actions, nullptr, argv.data(), environ) != 0)
            m_pid = -1;
        posix_spawn_file_actions_destroy(&actions);
        if (fdPipe[0] >= 0)
            close(fdPipe[0]);
    }
    ~Child() {
        if (m_fdStdin >= 0)
            close(m_fdStdin);
        if (m_pid > 0) {
            kill(m_pid, SIGKILL);
            Wait();
        }
    }
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    bool Started() const { return m_pid > 0; }
    pid_t Pid() const { return m_pid; }
    // Non-blocking: true once the process has ended.
    bool Ended() {
        int nStatus = 0;
        if (m_pid <= 0 || waitpid(m_pid, &nStatus, WNOHANG) != m_pid)
            return m_pid <= 0;
        m_nStatus = nStatus;
        m_pid = -1;
        return true;
    }
    // The exit code, or -1 for a signal or a process that never started.
    int Wait() {
        if (m_pid > 0) {
            waitpid(m_pid, &m_nStatus, 0);
            m_pid = -1;
        }
        return WIFEXITED(m_nStatus) ? WEXITSTATUS(m_nStatus) : -1;
    }
    // True when the kill ended a running process.
    bool Kill() {
        if (Ended())
            return false;
        kill(m_pid, SIGKILL);
        Wait();
        return true;
    }

private:
    pid_t m_pid = -1;
    int m_nStatus = -1;
    int m_fdStdin = -1;
};

std::string FileBytes(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

struct Figures {
    int nKills = 0;
    int nKillsMidDownload = 0;
    int nFilesChecked = 0;
    int nBadFiles = 0;
    int nFinishingRuns = 0;
    int nFinishingRunsFailed = 0;
    int nLeftoverTemporaries = 0;
};

class CrashRun {
public:
    CrashRun(const Options& options, bool bDigests, Figures& figures)
        : m_options(options), m_bDigests(bDigests), m_figures(figures), m_random(options.nSeed) {
        m_folder = options.work / (bDigests ? "with-digests" : "without-digests");
        fs::remove_all(m_folder);
        fs::create_directories(m_folder);
        for (const auto& entry : fs::directory_iterator(options.content / "hls")) {
            const std::string strName = entry.path().filename().string();
            if (entry.path().extension() == ".ts")
                m_mapServed[strName] = FileBytes(entry.path());
            if (strName != "sha256.txt")
                m_setFinalNames.insert(strName);
        }
    }

    bool Run() {
        const fs::path portFile = m_folder / "server.port";
        Child server({m_options.strQelserve, m_options.content.string(), "--throttle",
                      std::to_string(m_options.llThrottle), "--port-file", portFile.string()},
                     m_folder / "qelserve.log", true);
        std::string strPort;
        for (int i = 0; i < 200 && strPort.empty() && server.Started(); ++i) {
            std::this_thread::sleep_for(std::chrono::milliseconds(25));
            std::ifstream(portFile) >> strPort;
        }
        if (strPort.empty()) {
            std::fprintf(stderr, "qelserve did not start (see %s)\n", (m_folder / "qelserve.log").c_str());
            return false;
        }
        m_strBase = "http://127.0.0.1:" + strPort + "/hls/";
        WriteDigestFile();

        std::uniform_int_distribution<int> delayMs(100, m_options.nMaxDelayMs);
        std::uniform_int_distribution<int> seekSecond(0, static_cast<int>(m_mapServed.size()) - 1);
        for (int nKills = 0; nKills < m_options.nKills;) {
            std::vector<std::string> vecArgs = PlayArgs(60);
            if (m_random() % 2) {
                vecArgs.insert(vecArgs.end() - 1, {"--seek", std::to_string(seekSecond(m_random))});
            }
            Child player(vecArgs, m_folder / "killed-run.log", false);
            std::this_thread::sleep_for(std::chrono::milliseconds(delayMs(m_random)));
            const pid_t pid = player.Pid();
            if (player.Kill()) {
                ++nKills;
                ++m_figures.nKills;
                if (HoldsTemporaryOf(pid))
                    ++m_figures.nKillsMidDownload;
            }
            CheckFinalFiles();
            if (CachedSegments() == m_mapServed.size()) {
                FinishAndCheck();
                fs::remove_all(m_folder / "cache");
            }
        }
        FinishAndCheck();
        return true;
    }

private:
    std::vector<std::string> PlayArgs(int nTimeoutSeconds) const {
        std::vector<std::string> vecArgs = {m_options.strQelplay, "--headless", "--cache",
                                            (m_folder / "cache").string(), "--update-time", "1",
                                            "--timeout", std::to_string(nTimeoutSeconds)};
        if (m_bDigests)
            vecArgs.insert(vecArgs.end(), {"--sha256", (m_folder / "sha256.txt").string()});
        vecArgs.push_back(m_strBase + "index.m3u8");
        return vecArgs;
    }

    void WriteDigestFile() const {
        std::ifstream in(m_options.content / "hls" / "sha256.txt");
        std::ofstream out(m_folder / "sha256.txt");
        std::string strName, strDigest;
        while (in >> strName >> strDigest)
            out << m_strBase << strName << " " << strDigest << "\n";
    }

    // Every file in the cache that does not bear the name of a served file.
    std::vector<fs::path> Temporaries() const {
        std::vector<fs::path> vecFound;
        std::error_code error;
        for (const auto& entry : fs::recursive_directory_iterator(m_folder / "cache", error)) {
            if (entry.is_regular_file() && !m_setFinalNames.count(entry.path().filename().string()))
                vecFound.push_back(entry.path());
        }
        return vecFound;
    }

    // Temporaries bear the process id of the download that writes them.
    bool HoldsTemporaryOf(pid_t pid) const {
        const std::string strTag = "-" + std::to_string(pid) + "-";
        for (const fs::path& path : Temporaries()) {
            const std::string strName = path.filename().string();
            if (strName.find(".qeltmp" + strTag) != std::string::npos ||
                strName.find(".qelpart" + strTag) != std::string::npos)
                return true;
        }
        return false;
    }

    std::vector<fs::path> FinalSegmentFiles() const {
        std::vector<fs::path> vecFound;
        std::error_code error;
        for (const auto& entry : fs::recursive_directory_iterator(m_folder / "cache", error)) {
            if (entry.is_regular_file() && m_mapServed.count(entry.path().filename().string()))
                vecFound.push_back(entry.path());
        }
        return vecFound;
    }

    size_t CachedSegments() const { return FinalSegmentFiles().size(); }

    void CheckFinalFiles() {
        for (const fs::path& path : FinalSegmentFiles()) {
            ++m_figures.nFilesChecked;
            if (FileBytes(path) != m_mapServed.at(path.filename().string())) {
                ++m_figures.nBadFiles;
                std::printf("BAD FILE %s (%s digests): not the served bytes\n", path.c_str(),
                            m_bDigests ? "with" : "without");
            }
        }
    }

    // One run to the end; then every final file is checked and no temporary may remain.
    void FinishAndCheck() {
        ++m_figures.nFinishingRuns;
        const fs::path log = m_folder / "finishing-run.log";
        const int nExit = Child(PlayArgs(120), log, false).Wait();
        if (nExit != 0) {
            ++m_figures.nFinishingRunsFailed;
            std::printf("FINISHING RUN FAILED with exit %d (%s digests), see %s\n", nExit,
                        m_bDigests ? "with" : "without", log.c_str());
        }
        CheckFinalFiles();
        for (const fs::path& path : Temporaries()) {
            ++m_figures.nLeftoverTemporaries;
            std::printf("LEFTOVER %s (%s digests)\n", path.c_str(), m_bDigests ? "with" : "without");
        }
    }

    const Options& m_options;
    const bool m_bDigests;
    Figures& m_figures;
    std::mt19937 m_random;
    fs::path m_folder;
    std::string m_strBase;
    std::map<std::string, std::string> m_mapServed;  // segment file name -> bytes
    std::set<std::string> m_setFinalNames;           // every name the cache may hold
};

bool ParseOptions(int argc, char** argv, Options& options) {
    for (int i = 1; i + 1 < argc; i += 2) {
        const std::string strName = argv[i], strValue = argv[i + 1];
        if (strName == "--qelplay")
            options.strQelplay = strValue;
        else if (strName == "--qelserve")
            options.strQelserve = strValue;
        else if (strName == "--content")
            options.content = strValue;
        else if (strName == "--work")
            options.work = strValue;
        else if (strName == "--kills")
            options.nKills = std::atoi(strValue.c_str());
        else if (strName == "--digests")
            options.strDigests = strValue;
        else if (strName == "--throttle")
            options.llThrottle = std::atoll(strValue.c_str());
        else if (strName == "--max-delay-ms")
            options.nMaxDelayMs = std::atoi(strValue.c_str());
        else if (strName == "--seed")
            options.nSeed = static_cast<unsigned>(std::strtoul(strValue.c_str(), nullptr, 10));
        else
            return false;
    }
    return argc % 2 == 1 && !options.strQelplay.empty() && !options.strQelserve.empty() &&
           fs::is_regular_file(options.content / "hls" / "sha256.txt") && !options.work.empty() &&
           options.nKills > 0 && options.nMaxDelayMs >= 100 &&
           (options.strDigests == "yes" || options.strDigests == "no" || options.strDigests == "both");
}

}  // namespace

int main(int argc, char** argv) {
    Options options;
    if (!ParseOptions(argc, argv, options)) {
        std::fputs("usage: crash_consistency_bench --qelplay PATH --qelserve PATH --content FOLDER --work FOLDER\n"
                   "         [--kills N] [--digests yes|no|both] [--throttle BYTES_PER_SEC] [--max-delay-ms MS]"
                   " [--seed N]\n",
                   stderr);
        return 1;
    }
    // libvlc stays silent and needs a private runtime folder, as in the demo.
    fs::create_directories(options.work);
    const fs::path asound = options.work / "asound-null.conf";
    std::ofstream(asound) << "pcm.!default { type null }\n";
    setenv("ALSA_CONFIG_PATH", ("/usr/share/alsa/alsa.conf:" + asound.string()).c_str(), 1);
    setenv("PULSE_SERVER", "unix:/nonexistent/qel-bench", 1);
    setenv("XDG_RUNTIME_DIR", options.work.c_str(), 1);
    fs::permissions(options.work, fs::perms::owner_all, fs::perm_options::replace);

    std::printf("seed %u, %d kills per digest mode, throttle %lld B/s, kills 0.1 to %.1f s after the start\n",
                options.nSeed, options.nKills, options.llThrottle, options.nMaxDelayMs / 1000.0);
    bool bOk = true;
    for (const bool bDigests : {true, false}) {
        if ((bDigests && options.strDigests == "no") || (!bDigests && options.strDigests == "yes"))
            continue;
        Figures figures;
        bOk = CrashRun(options, bDigests, figures).Run() && bOk;
        std::printf("%-16s kills %d (%d mid-download), files checked %d, bad files %d, "
                    "finishing runs %d (%d failed), leftover temporaries %d\n",
                    bDigests ? "with digests" : "without digests", figures.nKills, figures.nKillsMidDownload,
                    figures.nFilesChecked, figures.nBadFiles, figures.nFinishingRuns, figures.nFinishingRunsFailed,
                    figures.nLeftoverTemporaries);
        bOk = bOk && figures.nBadFiles == 0 && figures.nLeftoverTemporaries == 0 && figures.nFinishingRunsFailed == 0;
    }
    std::puts(bOk ? "crash consistency: ok" : "crash consistency: FAILED");
    return bOk ? 0 : 1;
}
