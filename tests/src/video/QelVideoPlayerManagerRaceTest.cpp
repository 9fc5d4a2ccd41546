// The start of an HLS video on the segment scheduler's thread against what the UI thread
// does meanwhile, on the substitute engine: Stop and a newer Play win, queries never wait
// for the engine's Open, and a video file's playlist, segment list and package stay whole
// while the UI thread re-parses, seeks and stops (against the loopback server).
#include "video/QelVideoPlayerManager.h"

#include <gtest/gtest.h>

#include <fstream>
#include <thread>

#include "QelFakeEngine.h"
#include "platform/utils/QelTestTempDir.h"
#include "segment_cache/QelVideoFile.h"
#include "support/TestEventually.h"
#include "qelserve/QelLoopbackServer.h"
#include "support/TestNotifyWindow.h"
#include "video/QelMessages.h"

using namespace std::chrono_literals;
using qel::test::Eventually;
namespace fake = qel::fake_engine;

namespace {

const std::map<std::wstring, std::wstring> kNoDigests;

std::string PlaylistOf(const std::string& strName, int nSegments) {
    std::string strText = "#EXTM3U\n#EXT-X-TARGETDURATION:1\n";
    for (int i = 0; i < nSegments; ++i)
        strText += "#EXTINF:1.0,\n" + strName + std::to_string(i) + ".ts\n";
    return strText + "#EXT-X-ENDLIST\n";
}

class StartRaceTest : public ::testing::Test {
protected:
    void SetUp() override { fake::Reset(); }

    // A local HLS video whose first two segments are cached: its scheduler starts playback
    // as soon as Play has made its video file. Many segments make the scheduler's first
    // turn long.
    std::wstring CachedVideo(const std::string& strName, int nSegments = 3000) {
        std::ofstream(QelTestTempDir::NativePath(m_dir / QelString::Utf8ToUnicode(strName + ".m3u8")))
            << PlaylistOf(strName, nSegments);
        for (int i = 0; i < 2; ++i)
            std::ofstream(QelTestTempDir::NativePath(m_dir / QelString::Utf8ToUnicode(strName + std::to_string(i) + ".ts")))
                << "segment";
        return m_dir / QelString::Utf8ToUnicode(strName + ".m3u8");
    }

    QelTestTempDir m_dir;
};

TEST_F(StartRaceTest, StopOrANewPlayWinsAgainstTheStartOfThePreviousVideo) {
    const std::wstring strFirst = CachedVideo("first");
    const std::wstring strSecond = CachedVideo("second");
    for (int nRound = 0; nRound < 40; ++nRound) {
        const bool bStop = nRound % 2 == 0;
        {
            QelVideoPlayerManager manager;
            manager.Play(strFirst, kNoDigests, 0);
            std::this_thread::sleep_for(std::chrono::microseconds((nRound * 997) % 4000));
            if (bStop) {
                manager.Stop();
            } else {
                manager.Play(strSecond, kNoDigests, 0);
                ASSERT_TRUE(Eventually([&] { return manager.IsOpenFile(); })) << nRound;
            }
        }
        // The manager's end leaves the player it holds open, and only that one.
        ASSERT_EQ(fake::OpenPlayers(), bStop ? 0 : 1) << "round " << nRound << ": " << fake::CallNames();
        fake::Reset();
    }
}

TEST_F(StartRaceTest, QueriesStopAndPlayAnswerWhileAStartWaitsInTheEnginesOpen) {
    qel::test::TestNotifyWindow window;
    QelVideoPlayerManager manager;
    manager.SetHWnd(window.Handle(), nullptr);
    fake::HoldNextOpen();
    manager.Play(CachedVideo("slow", 3), kNoDigests, 0);
    ASSERT_TRUE(Eventually([] { return fake::CallNames() == "Open"; })) << fake::CallNames();

    // Each of these waited for the Open before (up to the engine's time-out).
    const auto tpStart = std::chrono::steady_clock::now();
    EXPECT_FALSE(manager.IsPlaying());
    EXPECT_FALSE(manager.IsOpenFile());
    EXPECT_EQ(manager.GetCurPosition(), 0);
    EXPECT_FALSE(manager.IsCaching());
    manager.Stop();
    manager.Play(L"plain.mp4", kNoDigests, 0);
    EXPECT_LT(std::chrono::steady_clock::now() - tpStart, 5s) << "a call waited for the engine's Open for "
                                                              << std::chrono::duration_cast<std::chrono::seconds>(
                                                                     std::chrono::steady_clock::now() - tpStart)
                                                                     .count()
                                                              << " s";
    EXPECT_TRUE(manager.IsOpenFile());

    // The start that lost closes what it opened and reports nothing.
    fake::ReleaseOpen();
    ASSERT_TRUE(Eventually([] { return fake::CallNames().find("Close") != std::string::npos; })) << fake::CallNames();
    EXPECT_EQ(fake::OpenPlayers(), 1);
    const auto started = window.Receive(10s);
    ASSERT_TRUE(started);
    EXPECT_EQ(started->message, static_cast<UINT>(QEL_VIDEO_STARTED));
    EXPECT_FALSE(window.Receive(200ms));
    manager.Stop();
    EXPECT_EQ(fake::OpenPlayers(), 0);
}

// A remote playlist is parsed on the video file's download thread and its package made
// there, while the UI thread re-parses the cached file, seeks and stops, and the scheduler
// starts playback through the manager.
TEST(VideoFileRace, ReparseSeekAndStopWhileThePlaylistArrivesAndPlaybackStarts) {
    fake::Reset();
    qel::TestHttpServer server;
    server.AddBody("/v/index.m3u8", PlaylistOf("seg", 12));
    for (int i = 0; i < 12; ++i)
        server.AddBody("/v/seg" + std::to_string(i) + ".ts", std::string(2000, static_cast<char>('a' + i)));
    QelVideoPlayerManager manager;
    HWND hNoWindow = nullptr;
    for (int nRound = 0; nRound < 20; ++nRound) {
        QelTestTempDir cache;
        QelVideoFile file(&manager, QelString::Utf8ToUnicode(server.Url("/v/index.m3u8")), cache / L"index.m3u8",
                          &hNoWindow, kNoDigests, nRound);
        std::thread reparser([&] {
            for (int i = 0; i < 3; ++i) {
                file.Reparse();
                std::this_thread::sleep_for(std::chrono::milliseconds(nRound % 4));
            }
        });
        for (int i = 0; i < 30; ++i) {
            file.UpdateDownloadPriority((i * 7 + nRound) % 12);
            EXPECT_TRUE(file.IsM3u8());
            EXPECT_LE(file.GetTSItems().size(), 24u);
            if (i % 10 == 9)
                file.StopDownload();
            (void)manager.IsPlaying();
        }
        reparser.join();
        manager.Stop();
    }
}

}  // namespace
