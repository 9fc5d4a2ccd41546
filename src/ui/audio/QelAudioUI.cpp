#include "ui/audio/QelAudioUI.h"

#include <cwchar>

#include "ui/audio/QelAudioUIWindow.h"

namespace UiLib {

namespace {

constexpr DWORD kWindowStyle = WS_CHILD | WS_VISIBLE | WS_CLIPSIBLINGS | WS_CLIPCHILDREN;

}  // namespace

QelAudioUI::QelAudioUI(const HWND& hParent, const std::wstring& skinFile) : m_hParent(hParent), m_strSkin(skinFile) {}

QelAudioUI::QelAudioUI(const QelAudioUI& other) = default;

QelAudioUI& QelAudioUI::operator=(const QelAudioUI& other) = default;

QelAudioUI::~QelAudioUI() {
    if (m_pWindow) m_pWindow->Stop();
}

const wchar_t* QelAudioUI::GetClass() const { return L"QelAudioUI"; }

LPVOID QelAudioUI::GetInterface(const wchar_t* pstrName) {
    if (pstrName != nullptr && wcscmp(pstrName, L"QelAudioUI") == 0) return this;
    return CControlUI::GetInterface(pstrName);
}

void QelAudioUI::DoInit() {
    if (m_pWindow) return;
    const RECT rc = GetPos();
    m_pWindow = std::make_shared<QelAudioUIWindow>(m_strSkin.c_str(), nullptr);
    // A window that got a handle keeps itself alive until that handle goes.
    if (m_pWindow->Create(m_hParent, L"", kWindowStyle, 0, rc.left, rc.top, rc.right - rc.left, rc.bottom - rc.top) !=
        nullptr)
        m_pWindow->m_pSelf = m_pWindow;
}

void QelAudioUI::SetPos(RECT rc) {
    CControlUI::SetPos(rc);
    if (m_pWindow)
        ::SetWindowPos(m_pWindow->GetHWND(), nullptr, rc.left, rc.top, rc.right - rc.left, rc.bottom - rc.top,
                       SWP_NOZORDER | SWP_NOACTIVATE);
}

void QelAudioUI::SetVisible(bool bVisible) {
    CControlUI::SetVisible(bVisible);
    SetInternVisible(bVisible);
}

void QelAudioUI::SetInternVisible(bool bVisible) {
    CControlUI::SetInternVisible(bVisible);
    if (m_pWindow) ::ShowWindow(m_pWindow->GetHWND(), bVisible ? SW_SHOW : SW_HIDE);
}

void QelAudioUI::DoEvent(TEventUI& event) {
    if (event.Type == UIEVENT_SETCURSOR) {
        ::SetCursor(::LoadCursorW(nullptr, IDC_ARROW));
        return;
    }
    CControlUI::DoEvent(event);
}

void QelAudioUI::SetAttribute(const wchar_t* pstrName, const wchar_t* pstrValue) {
    // Skins may set it; it changes nothing on this control.
    if (pstrName != nullptr && wcscmp(pstrName, L"browserbkcolor") == 0) return;
    CControlUI::SetAttribute(pstrName, pstrValue);
}

void QelAudioUI::Play(const std::wstring& path) {
    if (!m_pWindow || path.empty()) return;
    m_pWindow->Play(path);
    m_pWindow->UpdateUI();
}

void QelAudioUI::Pause() {
    if (!m_pWindow) return;
    m_pWindow->Pause();
    m_pWindow->UpdateUI();
}

void QelAudioUI::Resume() {
    if (!m_pWindow) return;
    m_pWindow->Resume();
    m_pWindow->UpdateUI();
}

void QelAudioUI::Stop() {
    if (!m_pWindow) return;
    m_pWindow->Stop();
    m_pWindow->UpdateUI();
}

void QelAudioUI::SetVolume(int nVolume) {
    if (m_pWindow) m_pWindow->SetVolume(nVolume);
}

int QelAudioUI::GetVolume() { return m_pWindow ? m_pWindow->GetVolume() : 0; }

bool QelAudioUI::IsPlaying() { return m_pWindow ? m_pWindow->IsPlaying() : false; }

void QelAudioUI::UpdateUI() {
    if (m_pWindow) m_pWindow->UpdateUI();
}

void QelAudioUI::SetAudioBkImage(const std::wstring& path) {
    if (!m_pWindow) return;
    m_pWindow->m_strBkImage = path;
    m_pWindow->UpdateUI();
}

}  // namespace UiLib
