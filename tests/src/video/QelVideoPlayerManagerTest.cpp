#include "video/QelVideoPlayerManager.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>

#include "QelFakeEngine.h"
#include "support/TestNotifyWindow.h"
#include "video/QelMessages.h"

using namespace std::chrono_literals;
using ::testing::AllOf;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::StartsWith;
namespace fake = qel::fake_engine;

namespace {

const std::map<std::wstring, std::wstring> kNoDigests;

// Opens StartPlay to the tests.
class TestableManager : public QelVideoPlayerManager {
public:
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
};

TEST_F(ManagerTest, OpensAPlainFileAndAppliesWhatWasSetBefore) {
    fake::ScriptParam(QEL_PARAM_WIDTH, 320);
    fake::ScriptParam(QEL_PARAM_HEIGHT, 240);
    fake::ScriptParam(QEL_PARAM_DURATION, 2000);
    QelVideoPlayerManager manager;
    manager.SetRendArea(RECT{10, 20, 330, 260});
    manager.SetAudioVolume(-20);
    manager.SetRenderType(7);

    EXPECT_TRUE(manager.Play(L"clip.mp4", kNoDigests, 5));

    // The render rectangle arrives as left, top, width, height on both areas.
    EXPECT_THAT(CallsWithArgs(), AllOf(StartsWith("Open(clip.mp4,0) SetRect(0,10,20,320,240) SetRect(1,10,20,320,240)"),
                                       HasSubstr("SetParam(12288,7)"), HasSubstr("SetParam(4102,-20)"), EndsWith("Play()")));
    EXPECT_EQ(manager.GetVideoWidth(), 320);
    EXPECT_EQ(manager.GetVideoHeight(), 240);
    EXPECT_EQ(manager.GetVideoDuration(), 2000);
}

TEST_F(ManagerTest, AFailedOpenMakesEveryCallWithTheZeroHandleAndStillCountsAsPlaying) {
    fake::SetOpenResult(nullptr);
    fake::ScriptParam(QEL_PARAM_POSITION, 999);
    QelVideoPlayerManager manager;
    manager.Play(L"missing.mp4", kNoDigests, 0);

    for (const auto& call : fake::Calls()) {
        if (call.strName != "Open") {
            EXPECT_EQ(call.args[0], 0) << call.strName;
        }
    }
    EXPECT_FALSE(manager.IsOpenFile());
    EXPECT_TRUE(manager.IsPlaying());
    EXPECT_EQ(manager.GetCurPosition(), 0);
}

struct CommandCase {
    const char* pszBehaviour;
    std::function<void(QelVideoPlayerManager&)> command;
    const char* pszCalls;
};

void PrintTo(const CommandCase& c, std::ostream* pOut) { *pOut << c.pszBehaviour; }

class CommandTest : public ManagerTest, public ::testing::WithParamInterface<CommandCase> {};

TEST_P(CommandTest, ReachesTheOpenPlayerAs) {
    fake::ScriptParam(QEL_PARAM_DURATION, 60000);
    QelVideoPlayerManager manager;
    manager.Play(L"clip.mp4", kNoDigests, 0);
    fake::Reset();
    GetParam().command(manager);
    EXPECT_EQ(CallsWithArgs(), GetParam().pszCalls);
}

INSTANTIATE_TEST_SUITE_P(
    OpenPlayer, CommandTest,
    ::testing::Values(CommandCase{"SpeedBelow25IsNormal", [](auto& m) { m.SetVideoSpeed(24); }, "SetParam(4103,100)"},
                      CommandCase{"Speed25", [](auto& m) { m.SetVideoSpeed(25); }, "SetParam(4103,25)"},
                      CommandCase{"SeekBeforeTheStart", [](auto& m) { m.Seek(-1); }, "Seek(0)"},
                      CommandCase{"SeekPastTheEnd", [](auto& m) { m.Seek(65000); }, "Seek(60000)"},
                      CommandCase{"SeekInside", [](auto& m) { m.Seek(1234); }, "Seek(1234)"},
                      CommandCase{"PauseOnceResumeAlways",
                                  [](auto& m) { m.Pause(), m.Pause(), m.Resume(), m.Resume(); }, "Pause() Play() Play()"},
                      CommandCase{"RenderAreaToBothAreas", [](auto& m) { m.SetRendArea(RECT{-5, 0, 15, 10}); },
                                  "SetRect(0,-5,0,20,10) SetRect(1,-5,0,20,10)"}),
    [](const auto& info) { return std::string(info.param.pszBehaviour); });

TEST_F(ManagerTest, SpeedBeforePlayIsLost) {
    QelVideoPlayerManager manager;
    manager.SetVideoSpeed(50);
    manager.Play(L"clip.mp4", kNoDigests, 0);
    EXPECT_EQ(fake::CallNames().find("SetParam:4103"), std::string::npos);
}

TEST_F(ManagerTest, WithoutAPlayerNothingReachesTheEngine) {
    QelVideoPlayerManager manager;
    manager.Seek(100);
    manager.Pause();
    manager.Resume();
    manager.SetAudioVolume(3);
    manager.SetRenderType(1);
    manager.SetVideoSpeed(50);
    manager.SetRendArea(RECT{0, 0, 1, 1});
    EXPECT_FALSE(manager.IsPaused());
    EXPECT_FALSE(manager.IsPlaying());
    TestableManager().StartPlay(nullptr);
    EXPECT_EQ(fake::CallNames(), "");
}

TEST_F(ManagerTest, StopClosesOnceAndClearsTheFacts) {
    fake::ScriptParam(QEL_PARAM_WIDTH, 320);
    fake::ScriptParam(QEL_PARAM_DURATION, 2000);
    QelVideoPlayerManager manager;
    manager.Play(L"clip.mp4", kNoDigests, 0);
    fake::Reset();
    manager.Stop();
    manager.Stop();
    EXPECT_EQ(fake::CallNames(), "Close");
    EXPECT_FALSE(manager.IsOpenFile());
    EXPECT_FALSE(manager.IsPlaying());
    EXPECT_EQ(manager.GetVideoDuration(), 0);
    EXPECT_EQ(manager.GetVideoWidth(), 0);
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
        auto message = window.Receive(5s);
        ASSERT_TRUE(message) << bOpens;
        EXPECT_EQ(message->message, static_cast<UINT>(QEL_VIDEO_STARTED));
        EXPECT_EQ(message->wParam, 0u);
        EXPECT_EQ(message->lParam, 0);
        EXPECT_FALSE(window.Receive(20ms));
        manager.Stop();
    }
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
