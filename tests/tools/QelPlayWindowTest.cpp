// qelplay as a person sees it on a Linux desktop, on an Xvfb server of the test's own with
// real libvlc: its window at the video's size showing the sample's picture, and its keys.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <regex>
#include <sstream>
#include <string>
#include <thread>

#include "platform/utils/QelTestTempDir.h"
#include "support/TestEventually.h"
#include "support/TestSilentAudio.h"
#include "support/TestX11.h"

namespace {

using namespace std::chrono_literals;
using qel::test::Eventually;
using ::testing::HasSubstr;

constexpr std::uint32_t kKeySpace = 0x20, kKeyQ = 0x71, kKeyRight = 0xff53;

// qelplay with its output in a file, killed if the test leaves it running.
class Qelplay {
public:
    Qelplay(const std::vector<std::string>& vecArgs, std::string strOutput) : m_strOutput(std::move(strOutput)) {
        std::vector<char*> vecArgv = {const_cast<char*>(QEL_QELPLAY)};
        for (const std::string& strArg : vecArgs)
            vecArgv.push_back(const_cast<char*>(strArg.c_str()));
        vecArgv.push_back(nullptr);
        m_pid = fork();
        if (m_pid == 0) {
            if (!freopen(m_strOutput.c_str(), "w", stderr))
                _exit(126);
            execv(vecArgv[0], vecArgv.data());
            _exit(127);
        }
    }
    ~Qelplay() {
        if (m_pid > 0) {
            kill(m_pid, SIGKILL);
            waitpid(m_pid, nullptr, 0);
        }
    }

    // The exit code; -1 when it has not ended in time.
    int Wait(std::chrono::seconds timeout) {
        int nStatus = 0;
        if (!Eventually([&] { return waitpid(m_pid, &nStatus, WNOHANG) == m_pid; }, timeout))
            return -1;
        m_pid = -1;
        return WIFEXITED(nStatus) ? WEXITSTATUS(nStatus) : -1;
    }

    std::string Output() const {
        std::ostringstream text;
        text << std::ifstream(m_strOutput).rdbuf();
        return text.str();
    }

    // The position of the last progress line, in seconds, and whether it says paused.
    int Position() const { return LastStatus().first; }
    bool Paused() const { return LastStatus().second; }

private:
    std::pair<int, bool> LastStatus() const {
        static const std::regex kStatus(R"((\d\d):(\d\d) / \d\d:\d\d(  paused)?)");
        std::pair<int, bool> last{-1, false};
        const std::string strText = Output();
        for (std::sregex_iterator it(strText.begin(), strText.end(), kStatus), end; it != end; ++it)
            last = {std::stoi((*it)[1]) * 60 + std::stoi((*it)[2]), (*it)[3].matched};
        return last;
    }

    std::string m_strOutput;
    pid_t m_pid = -1;
};

// The sample (ffmpeg's testsrc2) shows wide bars of pure red, green and blue, among others.
bool ShowsTheSampleColours(const std::vector<std::uint32_t>& vecPixels) {
    std::size_t nRed = 0, nGreen = 0, nBlue = 0;
    for (std::uint32_t nPixel : vecPixels) {
        const int r = (nPixel >> 16) & 0xFF, g = (nPixel >> 8) & 0xFF, b = nPixel & 0xFF;
        nRed += r > 160 && g < 90 && b < 90;
        nGreen += g > 160 && r < 90 && b < 90;
        nBlue += b > 160 && r < 90 && g < 90;
    }
    const std::size_t nEnough = vecPixels.size() / 20;
    return !vecPixels.empty() && nRed > nEnough && nGreen > nEnough && nBlue > nEnough;
}

TEST(QelPlayOnX11, ShowsTheVideoInItsWindowAndObeysItsKeys) {
    const auto pServer = qel::test::XvfbServer::Start();
    ASSERT_TRUE(pServer) << "Xvfb could not be started";
    qel::test::X11Display display(pServer->Display());
    ASSERT_TRUE(display.Ok());
    qel::test::MakeAudioSilent();
    setenv("DISPLAY", pServer->Display().c_str(), 1);
    QelTestTempDir dir;
    const std::string strFolder = QelTestTempDir::NativePath(dir.Path()).string();
    setenv("XDG_RUNTIME_DIR", strFolder.c_str(), 1);
    // libvlc keeps the screen awake over D-Bus, whose shared connection libdbus keeps until
    // the process ends.
    std::ofstream(strFolder + "/lsan.supp") << "leak:libdbus-1.so\n";
    setenv("LSAN_OPTIONS", ("suppressions=" + strFolder + "/lsan.supp").c_str(), 1);

    const std::string strPlaylist = QEL_PLAYWINDOW_CONTENT "/hls/index.m3u8";
    Qelplay qelplay({"--timeout", "120", strPlaylist}, strFolder + "/qelplay.err");
    xcb_window_t window = 0;
    ASSERT_TRUE(Eventually([&] { return (window = display.TopLevelNamed(strPlaylist)) != 0; }));

    // At the video's size once it started, showing its picture.
    const qel::test::Rect rcVideo{0, 0, 320, 240};
    EXPECT_TRUE(Eventually([&] { return display.Geometry(window) == rcVideo; })) << *display.Geometry(window);
    EXPECT_TRUE(Eventually([&] { return ShowsTheSampleColours(display.Pixels(window, rcVideo)); }));

    // Space pauses: the position stops.
    ASSERT_TRUE(Eventually([&] { return qelplay.Position() >= 1; })) << qelplay.Output();
    display.PressKey(window, kKeySpace);
    ASSERT_TRUE(Eventually([&] { return qelplay.Paused(); })) << qelplay.Output();
    std::this_thread::sleep_for(1s);
    const int nPausedAt = qelplay.Position();
    std::this_thread::sleep_for(2s);
    EXPECT_EQ(qelplay.Position(), nPausedAt);

    // Right seeks ten seconds ahead; the engine's request for that segment reaches qelplay.
    display.PressKey(window, kKeyRight);
    EXPECT_TRUE(Eventually([&] { return qelplay.Position() >= nPausedAt + 9; })) << qelplay.Output();
    EXPECT_THAT(qelplay.Output(), HasSubstr("engine needs segment " + std::to_string(nPausedAt + 10)));

    // q ends it, with the summary.
    display.PressKey(window, kKeyQ);
    EXPECT_EQ(qelplay.Wait(30s), 0) << qelplay.Output();
    EXPECT_THAT(qelplay.Output(), HasSubstr("playback           stopped by the user"));
}

}  // namespace
