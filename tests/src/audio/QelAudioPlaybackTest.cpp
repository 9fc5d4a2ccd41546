// The audio player against real libvlc, playing generated tones from disk and from the
// loopback HTTP server, with its events arriving as posted messages.
#include "audio/QelAudioPlayerManagerVlc.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <ostream>
#include <string>
#include <thread>
#include <vector>

#include <unistd.h>

#include "QelToneFile.h"
#include "audio/QelAudioNotify.h"
#include "qelserve/QelLoopbackServer.h"
#include "support/TestEventually.h"
#include "support/TestNotifyWindow.h"
#include "utils/QelString.h"
#include "video/QelMessages.h"
#include "vlc/QelVlc.h"

using namespace std::chrono_literals;
using qel::test::Eventually;
namespace fs = std::filesystem;

namespace {

const int kShortToneMs = 2000;
const int kLongToneMs = 6000;
const char* const kNonAscii = u8"Música ñandú 音/tono é.wav";

fs::path g_pathSamples;

// The tones the tests play, written once per process.
class ToneSamples : public ::testing::Environment {
public:
    void SetUp() override {
        g_pathSamples = fs::temp_directory_path() / ("qel-audio-test-" + std::to_string(getpid()));
        fs::create_directories(g_pathSamples / fs::u8path(kNonAscii).parent_path());
        ASSERT_TRUE(qel::test::WriteToneWav(g_pathSamples / "short.wav", kShortToneMs));
        ASSERT_TRUE(qel::test::WriteToneWav(g_pathSamples / "long.wav", kLongToneMs));
        ASSERT_TRUE(qel::test::WriteToneWav(g_pathSamples / fs::u8path(kNonAscii), kShortToneMs));
    }
    void TearDown() override {
        std::error_code ec;
        fs::remove_all(g_pathSamples, ec);
    }
};

const auto* const g_pToneSamples = ::testing::AddGlobalTestEnvironment(new ToneSamples);

// libvlc unloads its plugins when its last instance goes, and with them libraries whose
// start-up allocations the leak checker then counts as lost. One instance held for the
// whole process keeps them loaded; the players make their own. Made on the first test,
// after the sound was silenced.
void KeepPluginsLoaded() {
    static libvlc_instance_t* const s_pInstance = QelVlc::Api()->libvlc_new(0, nullptr);
    ASSERT_NE(s_pInstance, nullptr);
}

// A sample by its name, as the wide path the player takes (UTF-8 bytes, whatever the locale).
std::wstring Sample(const char* pszName) {
    return QelString::Utf8ToUnicode((g_pathSamples / fs::u8path(pszName)).string());
}

WPARAM AsWParam(QelAudioPlayerManagerVlc& player) {
    return reinterpret_cast<WPARAM>(static_cast<QelAudioPlayerManager*>(&player));
}

// A player whose hooks post to a window of its own; libvlc's view of it opened to the tests.
class AudioTest : public ::testing::Test, protected QelAudioPlayerManagerVlc {
protected:
    AudioTest() : QelAudioPlayerManagerVlc(nullptr) { InstallHooks(m_window.Handle()); }
    void SetUp() override { KeepPluginsLoaded(); }
    void TearDown() override { Stop(); }

    void InstallHooks(HWND hWnd) {
        SetHWnd(hWnd);
        SetPlayingCallback(&QelAudioNotifyPlaying);
        SetPosChangedCallback(&QelAudioNotifyPosChanged);
        SetEndReachedCallback(&QelAudioNotifyEndReached);
    }
    // The MRL of the media libvlc was given; empty without player.
    std::string Mrl() const {
        const QelVlcApi* vlc = QelVlc::Api();
        libvlc_media_t* pMedia = m_pPlayer ? vlc->libvlc_media_player_get_media(m_pPlayer) : nullptr;
        if (!pMedia)
            return {};
        char* pszMrl = vlc->libvlc_media_get_mrl(pMedia);
        std::string strMrl = pszMrl ? pszMrl : "";
        vlc->libvlc_free(pszMrl);
        vlc->libvlc_media_release(pMedia);
        return strMrl;
    }
    // The messages up to QEL_AUDIO_END_REACHED, one letter each: "PCCE" is a whole run from
    // this player; a message of another sender shows as '?'.
    std::string RunToTheEnd() {
        std::string strRun;
        while (auto message = m_window.Receive(20s)) {
            const bool bOurs = message->wParam == AsWParam(*this) && message->lParam == 0;
            strRun += !bOurs ? '?' : message->message == QEL_AUDIO_PLAYING ? 'P'
                                    : message->message == QEL_AUDIO_POS_CHANGED ? 'C' : 'E';
            if (message->message == QEL_AUDIO_END_REACHED)
                break;
        }
        return strRun;
    }
    // Plays the long tone and pauses it once its length is known.
    bool PlayPaused() {
        if (!Play(Sample("long.wav")) || !m_window.ReceiveMessage(QEL_AUDIO_PLAYING, 10s) ||
            !Eventually([this] { return GetLength() == kLongToneMs; }))
            return false;
        Pause();
        return Eventually([this] { return !IsPlaying(); });
    }
    // Waits until the time settles within a millisecond of llTarget.
    bool TimeReaches(long long llTarget) {
        return Eventually([&] { return std::llabs(GetTime() - llTarget) <= 1; });
    }

    qel::test::TestNotifyWindow m_window;
};

// A file, a file whose path is not ASCII, and a location on the loopback server.
class AudioSourceTest : public AudioTest, public ::testing::WithParamInterface<const char*> {};

TEST_P(AudioSourceTest, ReportsPlayingPositionsAndEnd) {
    const bool bServed = std::string(GetParam()) == "served";
    std::unique_ptr<qel::TestHttpServer> pServer;
    if (bServed)
        pServer = std::make_unique<qel::TestHttpServer>(g_pathSamples);
    ASSERT_TRUE(Play(bServed ? QelString::Utf8ToUnicode(pServer->Url("/short.wav")) : Sample(GetParam())));
    EXPECT_THAT(RunToTheEnd(), ::testing::MatchesRegex("PC+E"));
    if (bServed) {
        EXPECT_EQ(pServer->Requests().at(0).strPath, "/short.wav");
    }
}

INSTANTIATE_TEST_SUITE_P(Sources, AudioSourceTest, ::testing::Values("short.wav", kNonAscii, "served"),
                         [](const auto& info) { return std::string(info.index == 0 ? "File" : info.index == 1 ? "NonAsciiPath" : "Location"); });

// Seeks on the paused long tone (6 s): positions in thousandths, jumps of five seconds
// that stop at either end, and positions outside the scale that do nothing.
constexpr int kForward = -100, kBackward = -200, kOutside = -300;

struct SeekCase {
    const char* pszBehaviour;
    std::vector<std::pair<int, long long>> vecSteps;  // a position 0..1000 or a jump, and the time it leads to
};

void PrintTo(const SeekCase& c, std::ostream* os) { *os << c.pszBehaviour; }

class AudioSeekTest : public AudioTest, public ::testing::WithParamInterface<SeekCase> {};

TEST_P(AudioSeekTest, LandsOnTheTime) {
    ASSERT_TRUE(PlayPaused());
    for (const auto& [nStep, llTime] : GetParam().vecSteps) {
        if (nStep == kForward) {
            Forward();
        } else if (nStep == kBackward) {
            Backward();
        } else if (nStep == kOutside) {
            SetPosition(1001);
            SetPosition(-1);
            std::this_thread::sleep_for(300ms);
        } else {
            SetPosition(nStep);
        }
        ASSERT_TRUE(TimeReaches(llTime)) << "step " << nStep << ": " << GetTime();
    }
}

INSTANTIATE_TEST_SUITE_P(
    Paused, AudioSeekTest,
    ::testing::Values(SeekCase{"position 1000 is the end", {{500, 3000}, {1000, kLongToneMs}}},
                      SeekCase{"outside the scale does nothing", {{250, 1500}, {kOutside, 1500}}},
                      SeekCase{"forward and back five seconds", {{kForward, 5000}, {kBackward, 0}}},
                      SeekCase{"forward stops at the length", {{500, 3000}, {kForward, kLongToneMs}}},
                      SeekCase{"backward stops at the start", {{500, 3000}, {kBackward, 0}}}));

TEST_F(AudioTest, VolumeIsPassedThroughAndNegativeIgnored) {
    ASSERT_TRUE(PlayPaused());
    SetVolume(250);
    EXPECT_TRUE(Eventually([this] { return GetVolume() == 250; })) << GetVolume();
    SetVolume(-5);
    EXPECT_EQ(GetVolume(), 250);
}

TEST_F(AudioTest, PauseTogglesAndResumePlaysOn) {
    ASSERT_TRUE(PlayPaused());
    Resume();
    EXPECT_TRUE(Eventually([this] { return IsPlaying(); }));
    Pause();
    EXPECT_TRUE(Eventually([this] { return !IsPlaying(); }));
    Pause();
    EXPECT_TRUE(Eventually([this] { return IsPlaying(); }));
}

TEST_F(AudioTest, EmptyAddressFailsAndLeavesTheCurrentMediaPlaying) {
    EXPECT_FALSE(Play(L""));
    ASSERT_TRUE(Play(Sample("long.wav")));
    ASSERT_TRUE(m_window.ReceiveMessage(QEL_AUDIO_PLAYING, 10s).has_value());
    EXPECT_FALSE(Play(L""));
    EXPECT_TRUE(IsPlaying());
    EXPECT_TRUE(m_window.ReceiveMessage(QEL_AUDIO_POS_CHANGED, 5s).has_value());
}

TEST_F(AudioTest, PlayReplacesTheCurrentMedia) {
    ASSERT_TRUE(Play(Sample("long.wav")));
    ASSERT_TRUE(m_window.ReceiveMessage(QEL_AUDIO_PLAYING, 10s).has_value());
    ASSERT_TRUE(Play(Sample("short.wav")));
    EXPECT_NE(Mrl().find("short.wav"), std::string::npos);
    EXPECT_TRUE(m_window.ReceiveMessage(QEL_AUDIO_END_REACHED, 20s).has_value());
    EXPECT_EQ(GetLength(), kShortToneMs);
}

struct AddressCase {
    const wchar_t* pszUrl;
    const char* pszMrl;  // the exact MRL, or null: opened as a file path
};

// Named by the address, so that CTest's names do not change with the pointers' values.
void PrintTo(const AddressCase& c, std::ostream* os) {
    for (const wchar_t* p = c.pszUrl; *p; ++p)
        *os << static_cast<char>(*p);
}

class AudioAddressTest : public AudioTest, public ::testing::WithParamInterface<AddressCase> {};

TEST_P(AudioAddressTest, PrefixDecidesLocationOrPath) {
    ASSERT_TRUE(Play(GetParam().pszUrl));
    if (GetParam().pszMrl)
        EXPECT_EQ(Mrl(), GetParam().pszMrl);
    else
        EXPECT_EQ(Mrl().rfind("file://", 0), 0u) << Mrl();
}

// Port 1 of the loopback refuses at once, so the locations fail fast.
INSTANTIATE_TEST_SUITE_P(
    Prefixes, AudioAddressTest,
    ::testing::Values(AddressCase{L"http://127.0.0.1:1/a.wav", "http://127.0.0.1:1/a.wav"},
                      AddressCase{L"https://127.0.0.1:1/a.wav", "https://127.0.0.1:1/a.wav"},
                      AddressCase{L"ftp://127.0.0.1:1/a.wav", "ftp://127.0.0.1:1/a.wav"},
                      AddressCase{L"rstp://127.0.0.1:1/a.wav", "rstp://127.0.0.1:1/a.wav"},
                      AddressCase{L"rtsp://127.0.0.1:1/a.wav", nullptr},
                      AddressCase{L"HTTP://127.0.0.1:1/a.wav", nullptr},
                      AddressCase{L"/nonexistent/qel/a.wav", "file:///nonexistent/qel/a.wav"}));

// One player through many windows, as an audio window that is opened again and again:
// each cycle plays until events flow, and the window goes either before or after Stop.
// Under the leak checker this also shows that nothing of a cycle stays behind.
TEST_F(AudioTest, ManyPlayStopCyclesWithEventsFlowing) {
#ifdef __SANITIZE_THREAD__
    // Each of libvlc's new threads costs over a second under the race detector; fewer
    // cycles still interleave the event thread with Stop and with the window going away.
    const int kCycles = 40;
#else
    const int kCycles = 200;
#endif
    for (int nCycle = 0; nCycle < kCycles; ++nCycle) {
        SCOPED_TRACE(nCycle);
        auto pWindow = std::make_unique<qel::test::TestNotifyWindow>();
        InstallHooks(pWindow->Handle());
        ASSERT_TRUE(Play(Sample(nCycle % 3 ? "short.wav" : "long.wav")));
        const auto playing = pWindow->ReceiveMessage(QEL_AUDIO_PLAYING, 10s);
        ASSERT_TRUE(playing.has_value());
        EXPECT_EQ(playing->wParam, AsWParam(*this));
        // Positions come a few times a second; a tenth of the cycles wait for one.
        if (nCycle % 10 == 0)
            ASSERT_TRUE(pWindow->ReceiveMessage(QEL_AUDIO_POS_CHANGED, 10s).has_value());
        else
            std::this_thread::sleep_for(std::chrono::milliseconds(nCycle % 13));

        if (nCycle % 2 == 0) {
            // The window goes first; libvlc keeps reporting into a dead handle.
            pWindow.reset();
            std::this_thread::sleep_for(std::chrono::milliseconds(nCycle % 7));
            Stop();
        } else {
            Stop();
            if (nCycle % 10 == 1) {
                while (pWindow->Receive(0ms)) {
                }
                EXPECT_FALSE(pWindow->Receive(100ms).has_value());
            }
        }
    }
}

TEST_F(AudioTest, DestroyingAPlayingPlayerStopsIt) {
    qel::test::TestNotifyWindow window;
    for (int i = 0; i < 5; ++i) {
        auto pPlayer = std::make_unique<QelAudioPlayerManagerVlc>(nullptr);
        pPlayer->SetHWnd(window.Handle());
        pPlayer->SetPosChangedCallback(&QelAudioNotifyPosChanged);
        ASSERT_TRUE(pPlayer->Play(Sample("long.wav")));
        ASSERT_TRUE(window.ReceiveMessage(QEL_AUDIO_POS_CHANGED, 10s).has_value());
        pPlayer.reset();
    }
    while (window.Receive(0ms)) {
    }
    EXPECT_FALSE(window.Receive(200ms).has_value());
}

}  // namespace
