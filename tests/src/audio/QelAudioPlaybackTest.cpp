// The audio player against real libvlc, playing generated tones from disk and from the
// loopback HTTP server, with its events arriving as posted messages.
#include "audio/QelAudioPlayerManagerVlc.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <memory>
#include <ostream>
#include <string>
#include <thread>
#include <vector>

#include <unistd.h>

#include "QelToneFile.h"
#include "audio/QelAudioNotify.h"
#include "qelserve/QelLoopbackServer.h"
#include "support/TestNotifyWindow.h"
#include "support/TestSilentAudio.h"
#include "utils/QelString.h"
#include "video/QelMessages.h"
#include "vlc/QelVlc.h"

using namespace std::chrono_literals;
namespace fs = std::filesystem;

namespace {

const int kShortToneMs = 2000;
const int kLongToneMs = 6000;

fs::path g_pathSamples;
libvlc_instance_t* g_pKeepPluginsLoaded = nullptr;

// libvlc plays through the machine's sound system, which the tests make silent; the player
// still creates its libvlc instance without any arguments.
class SilentAudioEnvironment : public ::testing::Environment {
public:
    void SetUp() override {
        g_pathSamples = fs::temp_directory_path() / ("qel-audio-test-" + std::to_string(getpid()));
        fs::create_directories(g_pathSamples);

        qel::test::MakeAudioSilent();

        // libvlc unloads its plugins when its last instance goes, and with them libraries
        // whose start-up allocations the leak checker then counts as lost. One instance
        // held for the whole process keeps them loaded; the players make their own.
        g_pKeepPluginsLoaded = QelVlc::Api()->libvlc_new(0, nullptr);
        ASSERT_NE(g_pKeepPluginsLoaded, nullptr);

        ASSERT_TRUE(qel::test::WriteToneWav(g_pathSamples / "short.wav", kShortToneMs));
        ASSERT_TRUE(qel::test::WriteToneWav(g_pathSamples / "long.wav", kLongToneMs));
        fs::create_directories(g_pathSamples / u8"Música ñandú 音");
        ASSERT_TRUE(qel::test::WriteToneWav(g_pathSamples / u8"Música ñandú 音" / u8"tono é.wav", kShortToneMs));
    }

    void TearDown() override {
        std::error_code ec;
        fs::remove_all(g_pathSamples, ec);
    }
};

const auto* const g_pEnvironment = ::testing::AddGlobalTestEnvironment(new SilentAudioEnvironment);

// Paths are UTF-8 bytes here, whatever the locale says.
std::wstring Wide(const fs::path& path) { return QelString::Utf8ToUnicode(path.string()); }

bool WaitFor(const std::function<bool()>& condition, std::chrono::milliseconds timeout = 5s) {
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    while (!condition()) {
        if (std::chrono::steady_clock::now() >= deadline)
            return false;
        std::this_thread::sleep_for(10ms);
    }
    return true;
}

// Opens libvlc's view of the player to the tests.
class PlayerProbe : public QelAudioPlayerManagerVlc {
public:
    PlayerProbe() : QelAudioPlayerManagerVlc(nullptr) {}

    libvlc_instance_t* Instance() const { return m_pInstance; }
    libvlc_media_player_t* Player() const { return m_pPlayer; }

    // The MRL of the media libvlc was given; empty without player.
    std::string Mrl() const {
        if (!m_pPlayer)
            return {};
        const QelVlcApi* vlc = QelVlc::Api();
        libvlc_media_t* pMedia = vlc->libvlc_media_player_get_media(m_pPlayer);
        if (!pMedia)
            return {};
        char* pszMrl = vlc->libvlc_media_get_mrl(pMedia);
        std::string strMrl = pszMrl ? pszMrl : "";
        vlc->libvlc_free(pszMrl);
        vlc->libvlc_media_release(pMedia);
        return strMrl;
    }
};

void InstallHooks(QelAudioPlayerManagerVlc& player, HWND hWnd) {
    player.SetHWnd(hWnd);
    player.SetPlayingCallback(&QelAudioNotifyPlaying);
    player.SetPosChangedCallback(&QelAudioNotifyPosChanged);
    player.SetEndReachedCallback(&QelAudioNotifyEndReached);
}

WPARAM AsWParam(QelAudioPlayerManagerVlc& player) {
    return reinterpret_cast<WPARAM>(static_cast<QelAudioPlayerManager*>(&player));
}

// Every message up to and including QEL_AUDIO_END_REACHED; stops early on time-out.
std::vector<qel::PostedMessage> ReceiveUntilEnd(qel::test::TestNotifyWindow& window, std::chrono::seconds timeout) {
    std::vector<qel::PostedMessage> messages;
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    while (std::chrono::steady_clock::now() < deadline) {
        const auto message = window.Receive(100ms);
        if (!message)
            continue;
        messages.push_back(*message);
        if (message->message == QEL_AUDIO_END_REACHED)
            break;
    }
    return messages;
}

// PLAYING first, then at least one POS_CHANGED, END_REACHED last; each from this player.
void ExpectOneRun(const std::vector<qel::PostedMessage>& messages, WPARAM wPlayer) {
    ASSERT_GE(messages.size(), 3u);
    EXPECT_EQ(messages.front().message, static_cast<UINT>(QEL_AUDIO_PLAYING));
    EXPECT_EQ(messages.back().message, static_cast<UINT>(QEL_AUDIO_END_REACHED));
    for (std::size_t i = 1; i + 1 < messages.size(); ++i)
        EXPECT_EQ(messages[i].message, static_cast<UINT>(QEL_AUDIO_POS_CHANGED)) << "message " << i;
    for (const auto& message : messages) {
        EXPECT_EQ(message.wParam, wPlayer);
        EXPECT_EQ(message.lParam, 0);
    }
}

TEST(QelAudioPlaybackTest, FileReportsPlayingPositionsAndEnd) {
    qel::test::TestNotifyWindow window;
    QelAudioPlayerManagerVlc player(nullptr);
    InstallHooks(player, window.Handle());

    ASSERT_TRUE(player.Play(Wide(g_pathSamples / "short.wav")));
    const auto messages = ReceiveUntilEnd(window, 20s);
    ExpectOneRun(messages, AsWParam(player));
}

TEST(QelAudioPlaybackTest, NetworkLocationPlaysFromTheLoopbackServer) {
    qel::TestHttpServer server(g_pathSamples);
    ASSERT_TRUE(server.IsRunning());
    qel::test::TestNotifyWindow window;
    QelAudioPlayerManagerVlc player(nullptr);
    InstallHooks(player, window.Handle());

    const std::string strUrl = server.Url("/short.wav");
    ASSERT_TRUE(player.Play(std::wstring(strUrl.begin(), strUrl.end())));
    const auto messages = ReceiveUntilEnd(window, 20s);
    ExpectOneRun(messages, AsWParam(player));
    ASSERT_GE(server.RequestCount(), 1u);
    EXPECT_EQ(server.Requests().front().strPath, "/short.wav");
}

TEST(QelAudioPlaybackTest, PathWithNonAsciiCharactersPlays) {
    qel::test::TestNotifyWindow window;
    QelAudioPlayerManagerVlc player(nullptr);
    InstallHooks(player, window.Handle());

    ASSERT_TRUE(player.Play(Wide(g_pathSamples / u8"Música ñandú 音" / u8"tono é.wav")));
    const auto messages = ReceiveUntilEnd(window, 20s);
    ExpectOneRun(messages, AsWParam(player));
}

// A player paused on the long tone, events still flowing to a window.
class QelAudioPausedTest : public ::testing::Test {
protected:
    void SetUp() override {
        InstallHooks(m_player, m_window.Handle());
        ASSERT_TRUE(m_player.Play(Wide(g_pathSamples / "long.wav")));
        ASSERT_TRUE(m_window.ReceiveMessage(QEL_AUDIO_PLAYING, 10s).has_value());
        ASSERT_TRUE(WaitFor([this] { return m_player.GetLength() == kLongToneMs; }));
        m_player.Pause();
        ASSERT_TRUE(WaitFor([this] { return !m_player.IsPlaying(); }));
    }

    // Waits until the time settles within a millisecond of llTarget.
    bool TimeReaches(long long llTarget) {
        return WaitFor([&] { return std::llabs(m_player.GetTime() - llTarget) <= 1; });
    }

    qel::test::TestNotifyWindow m_window;
    QelAudioPlayerManagerVlc m_player{nullptr};
};

TEST_F(QelAudioPausedTest, SetPositionSeeksInThousandths) {
    m_player.SetPosition(500);
    ASSERT_TRUE(TimeReaches(kLongToneMs / 2)) << m_player.GetTime();
    EXPECT_EQ(m_player.GetPosition(), 500);

    m_player.SetPosition(1000);
    EXPECT_TRUE(TimeReaches(kLongToneMs)) << m_player.GetTime();
    EXPECT_EQ(m_player.GetPosition(), 1000);
}

TEST_F(QelAudioPausedTest, PositionsOutsideTheScaleDoNothing) {
    m_player.SetPosition(250);
    ASSERT_TRUE(TimeReaches(kLongToneMs / 4));
    m_player.SetPosition(1001);
    m_player.SetPosition(-1);
    m_player.SetPosition(-1000);
    std::this_thread::sleep_for(300ms);
    EXPECT_EQ(m_player.GetTime(), kLongToneMs / 4);
}

TEST_F(QelAudioPausedTest, ForwardStopsAtTheLength) {
    m_player.SetPosition(500);
    ASSERT_TRUE(TimeReaches(kLongToneMs - 3000));
    m_player.Forward();
    EXPECT_TRUE(TimeReaches(kLongToneMs)) << m_player.GetTime();
}

TEST_F(QelAudioPausedTest, ForwardAndBackwardJumpFiveSeconds) {
    m_player.Forward();
    ASSERT_TRUE(TimeReaches(5000)) << m_player.GetTime();
    m_player.Backward();
    EXPECT_TRUE(TimeReaches(0)) << m_player.GetTime();
}

TEST_F(QelAudioPausedTest, BackwardStopsAtTheStart) {
    m_player.SetPosition(500);
    ASSERT_TRUE(TimeReaches(3000));
    m_player.Backward();
    ASSERT_TRUE(TimeReaches(0)) << m_player.GetTime();
}

TEST_F(QelAudioPausedTest, VolumeIsPassedThroughAndNegativeIgnored) {
    m_player.SetVolume(250);
    EXPECT_TRUE(WaitFor([this] { return m_player.GetVolume() == 250; })) << m_player.GetVolume();
    m_player.SetVolume(-5);
    EXPECT_EQ(m_player.GetVolume(), 250);
    m_player.SetVolume(0);
    EXPECT_TRUE(WaitFor([this] { return m_player.GetVolume() == 0; })) << m_player.GetVolume();
}

TEST_F(QelAudioPausedTest, PauseTogglesAndResumePlaysOn) {
    m_player.Resume();
    EXPECT_TRUE(WaitFor([this] { return m_player.IsPlaying(); }));
    m_player.Pause();
    EXPECT_TRUE(WaitFor([this] { return !m_player.IsPlaying(); }));
    m_player.Pause();
    EXPECT_TRUE(WaitFor([this] { return m_player.IsPlaying(); }));
}

TEST_F(QelAudioPausedTest, EverythingIsEmptyAfterStop) {
    m_player.SetVolume(150);
    m_player.Stop();
    EXPECT_EQ(m_player.GetVolume(), 0);
    EXPECT_FALSE(m_player.IsPlaying());
    EXPECT_EQ(m_player.GetPosition(), 0);
    EXPECT_EQ(m_player.GetLength(), 0);
    EXPECT_EQ(m_player.GetTime(), 0);
    m_player.Stop();

    // Nothing reported before Stop returned may follow it, and Resume starts nothing.
    while (m_window.Receive(0ms)) {
    }
    m_player.Resume();
    m_player.SetPosition(100);
    m_player.Forward();
    EXPECT_FALSE(m_window.Receive(500ms).has_value());
    EXPECT_FALSE(m_player.IsPlaying());
}

TEST(QelAudioPlaybackTest, EmptyAddressFailsButCreatesTheInstance) {
    PlayerProbe player;
    EXPECT_FALSE(player.Play(L""));
    EXPECT_NE(player.Instance(), nullptr);
    EXPECT_EQ(player.Player(), nullptr);
}

TEST(QelAudioPlaybackTest, EmptyAddressLeavesTheCurrentMediaPlaying) {
    qel::test::TestNotifyWindow window;
    PlayerProbe player;
    InstallHooks(player, window.Handle());
    ASSERT_TRUE(player.Play(Wide(g_pathSamples / "long.wav")));
    ASSERT_TRUE(window.ReceiveMessage(QEL_AUDIO_PLAYING, 10s).has_value());
    libvlc_media_player_t* pBefore = player.Player();
    libvlc_instance_t* pInstance = player.Instance();

    EXPECT_FALSE(player.Play(L""));
    EXPECT_EQ(player.Player(), pBefore);
    EXPECT_EQ(player.Instance(), pInstance);
    EXPECT_TRUE(player.IsPlaying());
    EXPECT_TRUE(window.ReceiveMessage(QEL_AUDIO_POS_CHANGED, 5s).has_value());
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

class QelAudioAddressTest : public ::testing::TestWithParam<AddressCase> {};

TEST_P(QelAudioAddressTest, PrefixDecidesLocationOrPath) {
    PlayerProbe player;
    ASSERT_TRUE(player.Play(GetParam().pszUrl));
    const std::string strMrl = player.Mrl();
    if (GetParam().pszMrl)
        EXPECT_EQ(strMrl, GetParam().pszMrl);
    else
        EXPECT_EQ(strMrl.rfind("file://", 0), 0u) << strMrl;
    player.Stop();
}

// Port 1 of the loopback refuses at once, so the locations fail fast.
INSTANTIATE_TEST_SUITE_P(
    Prefixes, QelAudioAddressTest,
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
TEST(QelAudioPlaybackTest, ManyPlayStopCyclesWithEventsFlowing) {
#ifdef __SANITIZE_THREAD__
    // Each of libvlc's new threads costs over a second under the race detector; fewer
    // cycles still interleave the event thread with Stop and with the window going away.
    const int kCycles = 40;
#else
    const int kCycles = 200;
#endif
    QelAudioPlayerManagerVlc player(nullptr);
    for (int nCycle = 0; nCycle < kCycles; ++nCycle) {
        SCOPED_TRACE(nCycle);
        auto pWindow = std::make_unique<qel::test::TestNotifyWindow>();
        InstallHooks(player, pWindow->Handle());
        ASSERT_TRUE(player.Play(Wide(g_pathSamples / (nCycle % 3 ? "short.wav" : "long.wav"))));
        const auto playing = pWindow->ReceiveMessage(QEL_AUDIO_PLAYING, 10s);
        ASSERT_TRUE(playing.has_value());
        EXPECT_EQ(playing->wParam, AsWParam(player));
        // Positions come a few times a second; a tenth of the cycles wait for one.
        if (nCycle % 10 == 0)
            ASSERT_TRUE(pWindow->ReceiveMessage(QEL_AUDIO_POS_CHANGED, 10s).has_value());
        else
            std::this_thread::sleep_for(std::chrono::milliseconds(nCycle % 13));

        if (nCycle % 2 == 0) {
            // The window goes first; libvlc keeps reporting into a dead handle.
            pWindow.reset();
            std::this_thread::sleep_for(std::chrono::milliseconds(nCycle % 7));
            player.Stop();
        } else {
            player.Stop();
            if (nCycle % 10 == 1) {
                while (pWindow->Receive(0ms)) {
                }
                EXPECT_FALSE(pWindow->Receive(100ms).has_value());
            }
        }
    }
}

TEST(QelAudioPlaybackTest, PlayReplacesTheCurrentMedia) {
    qel::test::TestNotifyWindow window;
    PlayerProbe player;
    InstallHooks(player, window.Handle());
    ASSERT_TRUE(player.Play(Wide(g_pathSamples / "long.wav")));
    ASSERT_TRUE(window.ReceiveMessage(QEL_AUDIO_PLAYING, 10s).has_value());

    ASSERT_TRUE(player.Play(Wide(g_pathSamples / "short.wav")));
    EXPECT_NE(player.Mrl().find("short.wav"), std::string::npos);
    EXPECT_TRUE(window.ReceiveMessage(QEL_AUDIO_END_REACHED, 20s).has_value());
    EXPECT_EQ(player.GetLength(), kShortToneMs);
}

TEST(QelAudioPlaybackTest, DestroyingAPlayingPlayerStopsIt) {
    qel::test::TestNotifyWindow window;
    for (int i = 0; i < 5; ++i) {
        auto pPlayer = std::make_unique<QelAudioPlayerManagerVlc>(nullptr);
        InstallHooks(*pPlayer, window.Handle());
        ASSERT_TRUE(pPlayer->Play(Wide(g_pathSamples / "long.wav")));
        ASSERT_TRUE(window.ReceiveMessage(QEL_AUDIO_POS_CHANGED, 10s).has_value());
        pPlayer.reset();
    }
    while (window.Receive(0ms)) {
    }
    EXPECT_FALSE(window.Receive(200ms).has_value());
}

}  // namespace
