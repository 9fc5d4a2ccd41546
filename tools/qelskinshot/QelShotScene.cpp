#include "QelShotScene.h"

#include <utility>
#include <vector>

#include "QelFakeEngine.h"
#include "ui/QelVideoPlayerPPTWindow.h"
#include "ui/audio/QelAudioPlayerPPTWindow.h"

namespace {

namespace fake = qel::fake_engine;

constexpr long long kDurationMs = 600000;  // ten minutes
constexpr long long kPositionMs = 200000;  // at 3:20
constexpr DWORD kStartMs = 400;            // the manager's "started" and a few position ticks
constexpr DWORD kStyle = WS_CHILD | WS_VISIBLE | WS_CLIPSIBLINGS | WS_CLIPCHILDREN;  // as the control makes it

// The embedded video player with its position slider in reach, to mark chapters on it.
class ShotVideoPlayer : public QelVideoPlayerPPTWindow {
public:
    ShotVideoPlayer() : QelVideoPlayerPPTWindow(L"video/video.xml", nullptr) {}
    UiLib::QelSliderUI* Slider() const { return m_pPlaySlider; }
};

RECT ClientRect(HWND hWnd) {
    RECT rc = {};
    ::GetClientRect(hWnd, &rc);
    return rc;
}

// A player window takes its skin's size when it is made; the control then places it over
// its own bounds, and so does the host here.
HWND CreatePlayer(UiLib::QelMediaBaseWindow& player, HWND hHost) {
    const RECT rc = ClientRect(hHost);
    if (player.Create(hHost, L"", kStyle, 0, rc) == nullptr) return nullptr;
    ::SetWindowPos(player.GetHWND(), nullptr, 0, 0, rc.right, rc.bottom, SWP_NOZORDER | SWP_SHOWWINDOW);
    return player.GetHWND();
}

}  // namespace

bool QelShotScene::IsKnown(const std::wstring& strScene) { return !SkinOf(strScene).empty(); }

std::wstring QelShotScene::SkinOf(const std::wstring& strScene) {
    if (strScene == L"video") return L"video/video.xml";
    if (strScene == L"audio") return L"audio/audio.xml";
    if (strScene == L"videothumb") return L"video/videothumb.xml";
    return L"";
}

QelShotScene::QelShotScene(std::wstring strScene, QelShotState state)
    : m_strScene(std::move(strScene)), m_state(state) {}

QelShotScene::~QelShotScene() {
    if (!m_pPlayer) return;
    m_pPlayer->Stop();
    if (::IsWindow(m_pPlayer->GetHWND())) ::DestroyWindow(m_pPlayer->GetHWND());
}

HWND QelShotScene::Show(QelShotHost& host) {
    if (m_strScene == L"video") return ShowVideo(host);
    if (m_strScene == L"audio") return ShowAudio(host);
    return ShowDotPopup(host);
}

HWND QelShotScene::ShowVideo(QelShotHost& host) {
    fake::Reset();
    fake::ScriptParam(QEL_PARAM_DURATION, kDurationMs);
    fake::ScriptParam(QEL_PARAM_POSITION, m_state == QelShotState::Playing ? kPositionMs : 0);
    if (m_state == QelShotState::Loading) fake::ScriptParam(QEL_PARAM_STATE, QEL_STATE_CACHING);
    if (m_state == QelShotState::Failed) fake::SetOpenResult(nullptr);

    auto pPlayer = std::make_unique<ShotVideoPlayer>();
    ShotVideoPlayer& player = *pPlayer;
    m_pPlayer = std::move(pPlayer);
    if (CreatePlayer(player, host) == nullptr) return nullptr;
    player.Play(L"chapters.mp4");
    if (!host.Settle(kStartMs)) return nullptr;
    if (m_state == QelShotState::Playing && player.Slider() != nullptr) {
        std::vector<UiLib::_QelVideoDotsData> vecDots(3);
        vecDots[0].llTime = 95;
        vecDots[1].llTime = 290;
        vecDots[2].llTime = 470;
        player.Slider()->SetVideoDots(vecDots);
    }
    return player.GetHWND();
}

HWND QelShotScene::ShowAudio(QelShotHost& host) {
    // Where libvlc is missing (under Wine) the player opens nothing: the window shows the
    // playing state it enters on the host's Play, at the start of the media.
    m_pPlayer = std::make_unique<QelAudioPlayerPPTWindow>(L"audio/audio.xml", nullptr);
    if (CreatePlayer(*m_pPlayer, host) == nullptr) return nullptr;
    m_pPlayer->Play(L"song.mp3");
    return m_pPlayer->GetHWND();
}

HWND QelShotScene::ShowDotPopup(QelShotHost& host) {
    // Above a point of the host, as the player opens it above the pointer.
    RECT rc = {};
    if (!m_popup.Open(L"video/videothumb.xml", host, 320, 320, &rc) || m_popup.Get() == nullptr) return nullptr;
    return m_popup.Get()->GetHWND();
}
