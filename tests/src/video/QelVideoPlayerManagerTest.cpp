#include "video/QelVideoPlayerManager.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "QelFakeEngine.h"
#include "support/TestNotifyWindow.h"
#include "video/QelMessages.h"

using namespace std::chrono_literals;
namespace fake = qel::fake_engine;

namespace {

const std::map<std::wstring, std::wstring> kNoDigests;

// Opens StartPlay and the notifications to the tests.
class TestableManager : public QelVideoPlayerManager {
public:
    using QelVideoPlayerManager::NotifyDownloadFailed;
    using QelVideoPlayerManager::NotifyDownloadSuccess;
    using QelVideoPlayerManager::StartPlay;
};

// The engine calls since the last Reset with their arguments after the handle, the
// handle itself only when it is not the substitute's: "Open(clip.mp4,0) SetRect(0,10,20,320,240)".
std::string CallsWithArgs() {
    std::string strCalls;
    for (const auto& call : fake::Calls()) {
        std::vector<std::string> vecArgs;
        if (call.strName == "Open")
            vecArgs = {call.strPath, std::to_string(call.nSegments)};
        for (size_t i = 0; call.strName != "Open" && i < call.args.size(); ++i) {
            if (i > 0 || call.args[0] != 0x1234)
                vecArgs.push_back(std::to_string(call.args[i]));
        }
        strCalls += (strCalls.empty() ? "" : " ") + call.strName + "(";
        for (size_t i = 0; i < vecArgs.size(); ++i)
            strCalls += (i ? "," : "") + vecArgs[i];
        strCalls += ")";
    }
    return strCalls;
}

class ManagerTest : public ::testing::Test {
protected:
    void SetUp() override { fake::Reset(); }

    // Plays a local plain file and forgets the calls Play made.
    void PlayPlain(QelVideoPlayerManager& manager) {
        manager.Play(L"clip.mp4", kNoDigests, 0);
        fake::Reset();
    }
};

TEST_F(ManagerTest, OpensAPlainFileInTheEnginesCallingOrder) {
    fake::ScriptParam(QEL_PARAM_WIDTH, 320);
    fake::ScriptParam(QEL_PARAM_HEIGHT, 240);
    fake::ScriptParam(QEL_PARAM_DURATION, 2000);
    QelVideoPlayerManager manager;
    manager.SetRendArea(RECT{10, 20, 330, 260});
    manager.SetAudioVolume(-20);
    manager.SetRenderType(7);

    EXPECT_TRUE(manager.Play(L"clip.mp4", kNoDigests, 5));

    // The render rectangle arrives as left, top, width, height; volume and render type set
    // before Play are applied at the start.
    EXPECT_EQ(CallsWithArgs(), "Open(clip.mp4,0) SetRect(0,10,20,320,240) SetRect(1,10,20,320,240) GetParam(4099) "
                               "GetParam(4100) GetParam(4096) SetParam(12288,7) SetParam(4102,-20) Play()");
    EXPECT_EQ(manager.GetVideoWidth(), 320);
    EXPECT_EQ(manager.GetVideoHeight(), 240);
    EXPECT_EQ(manager.GetVideoDuration(), 2000);
    EXPECT_TRUE(manager.IsOpenFile());
    EXPECT_TRUE(manager.IsPlaying());
}

TEST_F(ManagerTest, AFailedOpenMakesEveryCallWithTheZeroHandle) {
    fake::SetOpenResult(nullptr);
    fake::ScriptParam(QEL_PARAM_POSITION, 999);
    QelVideoPlayerManager manager;
    manager.Play(L"missing.mp4", kNoDigests, 0);

    EXPECT_EQ(fake::CallNames(), "Open GetParam:4099 GetParam:4100 GetParam:4096 SetParam:12288 SetParam:4102 Play");
    for (const auto& call : fake::Calls()) {
        if (call.strName != "Open") {
            EXPECT_EQ(call.args[0], 0) << call.strName;
        }
    }
    EXPECT_FALSE(manager.IsOpenFile());
    EXPECT_TRUE(manager.IsPlaying());
    EXPECT_EQ(manager.GetCurPosition(), 0);
    EXPECT_FALSE(manager.IsPaused());
    EXPECT_FALSE(manager.IsCaching());
}

struct SpeedCase {
    int nRequested;
    std::int64_t expectedSent;
};

class SpeedTest : public ManagerTest, public ::testing::WithParamInterface<SpeedCase> {};

TEST_P(SpeedTest, BelowTwentyFiveMeansNormalSpeed) {
    QelVideoPlayerManager manager;
    PlayPlain(manager);
    manager.SetVideoSpeed(GetParam().nRequested);
    ASSERT_EQ(fake::CallNames(), "SetParam:4103");
    EXPECT_EQ(fake::Calls()[0].args[2], GetParam().expectedSent);
}

INSTANTIATE_TEST_SUITE_P(Percent, SpeedTest,
                         ::testing::Values(SpeedCase{24, 100}, SpeedCase{25, 25}));

TEST_F(ManagerTest, SpeedBeforePlayIsLost) {
    QelVideoPlayerManager manager;
    manager.SetVideoSpeed(50);
    manager.Play(L"clip.mp4", kNoDigests, 0);
    EXPECT_EQ(fake::CallNames().find("SetParam:4103"), std::string::npos);
}

struct SeekCase {
    const char* szWhat;
    long long llRequested;
    std::int64_t expected;
};

class SeekTest : public ManagerTest, public ::testing::WithParamInterface<SeekCase> {};

TEST_P(SeekTest, ClampsToTheVideo) {
    fake::ScriptParam(QEL_PARAM_DURATION, 60000);
    QelVideoPlayerManager manager;
    manager.Play(L"clip.mp4", kNoDigests, 0);
    fake::Reset();
    manager.Seek(GetParam().llRequested);
    ASSERT_EQ(fake::CallNames(), "Seek") << GetParam().szWhat;
    EXPECT_EQ(fake::Calls()[0].args[1], GetParam().expected) << GetParam().szWhat;
}

INSTANTIATE_TEST_SUITE_P(Positions, SeekTest,
                         ::testing::Values(SeekCase{"negative to start", -1, 0},
                                           SeekCase{"past the end to the end", 65000, 60000},
                                           SeekCase{"inside unchanged", 1234, 1234},
                                           SeekCase{"far negative", -9000000000LL, 0}));

TEST_F(ManagerTest, WithoutAPlayerSeekPauseResumeAndSettersCallNothing) {
    QelVideoPlayerManager manager;
    manager.Seek(100);
    manager.Pause();
    manager.Resume();
    manager.SetAudioVolume(3);
    manager.SetRenderType(1);
    manager.SetVideoSpeed(50);
    manager.SetRendArea(RECT{0, 0, 1, 1});
    EXPECT_EQ(manager.GetCurPosition(), 0);
    EXPECT_FALSE(manager.IsPaused());
    EXPECT_FALSE(manager.IsCaching());
    EXPECT_EQ(fake::CallNames(), "");
    EXPECT_FALSE(manager.IsPlaying());
    EXPECT_EQ(manager.GetAudioVolume(), 3);
}

TEST_F(ManagerTest, PauseTwiceCallsTheEngineOnceAndResumeAlwaysPlays) {
    QelVideoPlayerManager manager;
    PlayPlain(manager);
    manager.Pause();
    manager.Pause();
    EXPECT_FALSE(manager.IsPlaying());
    manager.Resume();
    manager.Resume();
    EXPECT_TRUE(manager.IsPlaying());
    EXPECT_EQ(fake::CallNames(), "Pause Play Play");
}

TEST_F(ManagerTest, StateQueriesCompareWithPausedAndCaching) {
    QelVideoPlayerManager manager;
    PlayPlain(manager);
    fake::ScriptParam(QEL_PARAM_STATE, QEL_STATE_PAUSED);
    EXPECT_TRUE(manager.IsPaused());
    EXPECT_FALSE(manager.IsCaching());
    fake::ScriptParam(QEL_PARAM_STATE, QEL_STATE_CACHING);
    EXPECT_FALSE(manager.IsPaused());
    EXPECT_TRUE(manager.IsCaching());
    fake::ScriptParam(QEL_PARAM_POSITION, 4321);
    EXPECT_EQ(manager.GetCurPosition(), 4321);
}

TEST_F(ManagerTest, StopClosesOnceAndClearsTheFacts) {
    fake::ScriptParam(QEL_PARAM_WIDTH, 320);
    fake::ScriptParam(QEL_PARAM_DURATION, 2000);
    QelVideoPlayerManager manager;
    PlayPlain(manager);
    manager.Stop();
    manager.Stop();
    EXPECT_EQ(fake::CallNames(), "Close");
    EXPECT_FALSE(manager.IsOpenFile());
    EXPECT_FALSE(manager.IsPlaying());
    EXPECT_EQ(manager.GetVideoDuration(), 0);
    EXPECT_EQ(manager.GetVideoWidth(), 0);
}

TEST_F(ManagerTest, PlayingAgainClosesTheCurrentVideoFirst) {
    QelVideoPlayerManager manager;
    PlayPlain(manager);
    manager.Play(L"other.mp4", kNoDigests, 0);
    const auto calls = fake::Calls();
    ASSERT_GE(calls.size(), 2u);
    EXPECT_EQ(calls[0].strName, "Close");
    EXPECT_EQ(calls[1].strName, "Open");
    EXPECT_EQ(calls[1].strPath, "other.mp4");
}

TEST_F(ManagerTest, RenderAreaGoesToBothAreasWhenOpen) {
    QelVideoPlayerManager manager;
    PlayPlain(manager);
    manager.SetRendArea(RECT{-5, 0, 15, 10});
    EXPECT_EQ(CallsWithArgs(), "SetRect(0,-5,0,20,10) SetRect(1,-5,0,20,10)");
}

TEST_F(ManagerTest, StartedIsPostedWithZerosAlsoAfterAFailedOpen) {
    qel::test::TestNotifyWindow window;
    for (bool bOpens : {true, false}) {
        fake::Reset();
        if (!bOpens)
            fake::SetOpenResult(nullptr);
        QelVideoPlayerManager manager;
        manager.SetHWnd(window.Handle(), nullptr);
        manager.Play(L"clip.mp4", kNoDigests, 0);
        auto message = window.Receive(2s);
        ASSERT_TRUE(message) << bOpens;
        EXPECT_EQ(message->message, static_cast<UINT>(QEL_VIDEO_STARTED));
        EXPECT_EQ(message->wParam, 0u);
        EXPECT_EQ(message->lParam, 0);
        EXPECT_FALSE(window.Receive(20ms));
        manager.Stop();
    }
}

TEST_F(ManagerTest, NotificationsPostLow32BitsOrLogWithoutWindow) {
    qel::test::TestNotifyWindow window;
    TestableManager manager;
    manager.SetHWnd(window.Handle(), nullptr);
    manager.NotifyDownloadSuccess(3, 5LL * 1024 * 1024 * 1024 + 17);
    manager.NotifyDownloadFailed(1, 7);
    auto success = window.Receive(2s);
    ASSERT_TRUE(success);
    EXPECT_EQ(success->message, static_cast<UINT>(QEL_VIDEO_DOWNLOAD_SUCCESS));
    EXPECT_EQ(success->wParam, 3u);
    EXPECT_EQ(static_cast<std::uint32_t>(success->lParam), 1024u * 1024 * 1024 + 17);
    auto failed = window.Receive(2s);
    ASSERT_TRUE(failed);
    EXPECT_EQ(failed->message, static_cast<UINT>(QEL_VIDEO_DOWNLOAD_FAILED));
    EXPECT_EQ(failed->wParam, 1u);
    EXPECT_EQ(failed->lParam, 7);

    TestableManager silent;
    silent.NotifyDownloadFailed(1, 7);  // logs only; must not post anywhere
    silent.NotifyDownloadSuccess(0, 1);
    EXPECT_FALSE(window.Receive(20ms));
}

TEST_F(ManagerTest, StartPlayWithoutAFileCallsNothing) {
    TestableManager manager;
    manager.StartPlay(nullptr);
    EXPECT_EQ(fake::CallNames(), "");
    EXPECT_FALSE(manager.IsPlaying());
}

TEST_F(ManagerTest, CopiesAreHandlesOfOnePlayerWhicheverGoesFirst) {
    for (bool bCopyGoesFirst : {true, false}) {
        fake::Reset();
        auto pManager = std::make_unique<QelVideoPlayerManager>();
        pManager->Play(L"first.mp4", kNoDigests, 0);
        auto pCopy = std::make_unique<QelVideoPlayerManager>(*pManager);
        pCopy->Play(L"second.mp4", kNoDigests, 0);
        pCopy->Pause();
        EXPECT_FALSE(pManager->IsPlaying());
        pManager->Play(L"third.mp4", kNoDigests, 0);
        pManager->Stop();
        pCopy->Stop();
        (bCopyGoesFirst ? pCopy : pManager).reset();
        EXPECT_FALSE((bCopyGoesFirst ? pManager : pCopy)->IsOpenFile());
        (bCopyGoesFirst ? pManager : pCopy).reset();
        int nOpens = 0, nCloses = 0;
        for (const auto& call : fake::Calls()) {
            nOpens += call.strName == "Open";
            nCloses += call.strName == "Close";
        }
        EXPECT_EQ(nOpens, 3);
        EXPECT_EQ(nCloses, 3) << fake::CallNames();
    }
}

}  // namespace
