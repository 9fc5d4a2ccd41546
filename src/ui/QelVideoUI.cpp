#include "ui/QelVideoUI.h"

#include <cwchar>
#include <utility>

#include "ui/QelVideoWindow.h"

namespace {

// The child's last owner closes its window (synchronously, so the handle is gone before
// the object) and deletes it.
void CloseAndDeleteVideoWindow(QelVideoWindow* pWindow) {
    const HWND hWnd = pWindow->GetHWND();
    if (hWnd != nullptr && ::IsWindow(hWnd)) ::SendMessageW(hWnd, WM_CLOSE, 0, 0);
    delete pWindow;
}

}  // namespace

QelVideoUI::QelVideoUI(const HWND& hNotifyWnd)
    : m_pVideoPlayer(nullptr), m_dwVideoBkColor(0xFFFFFFFF), m_hNotifyWnd(hNotifyWnd) {}

QelVideoUI::~QelVideoUI() { m_pVideoWindow.reset(); }

const wchar_t* QelVideoUI::GetClass() const { return L"QelVideoUI"; }

LPVOID QelVideoUI::GetInterface(const wchar_t* pstrName) {
    if (pstrName != nullptr && wcscmp(pstrName, L"QelVideoUI") == 0) return this;
    return CControlUI::GetInterface(pstrName);
}

void QelVideoUI::SetAttribute(const wchar_t* pstrName, const wchar_t* pstrValue) {
    const std::wstring strName(pstrName);
    if (strName == L"videobkcolor") {
        if (*pstrValue == L'#') ++pstrValue;
        m_dwVideoBkColor = static_cast<DWORD>(wcstoul(pstrValue, nullptr, 16));
    } else if (strName == L"loadingtext") {
        m_strStatusTexts[static_cast<int>(QelVideoStatus::Loading)] = pstrValue;
    } else if (strName == L"openfailedtext") {
        m_strStatusTexts[static_cast<int>(QelVideoStatus::OpenFailed)] = pstrValue;
    } else if (strName == L"downloadfailedtext") {
        m_strStatusTexts[static_cast<int>(QelVideoStatus::DownloadFailed)] = pstrValue;
    } else if (strName == L"statusfont") {
        m_iStatusFont = _wtoi(pstrValue);
    } else if (strName == L"statustextcolor") {
        m_dwStatusTextColor = UiLib::CRenderEngine::ParseColor(pstrValue);
    } else if (strName == L"statusbkcolor") {
        m_dwStatusBkColor = UiLib::CRenderEngine::ParseColor(pstrValue);
    } else {
        CControlUI::SetAttribute(pstrName, pstrValue);
    }
}

void QelVideoUI::SetStatus(QelVideoStatus status) {
    if (!m_pVideoWindow) return;
    const QelVideoStatusLook look{m_pManager, m_iStatusFont, m_dwStatusTextColor, m_dwStatusBkColor};
    m_pVideoWindow->ShowStatus(m_strStatusTexts[static_cast<int>(status)], look);
}

DWORD QelVideoUI::GetVideoBkColor() const { return m_dwVideoBkColor; }

void QelVideoUI::SetVideoBkColor(DWORD dwColor) { m_dwVideoBkColor = dwColor; }

QelVideoWindow* QelVideoUI::GetVideoWindow() { return m_pVideoWindow.get(); }

void QelVideoUI::SetVideoPlayer(QelVideoPlayerManager* pPlayer) {
    m_pVideoPlayer = pPlayer;
    if (m_pVideoWindow) m_pVideoWindow->m_pVideoPlayer = pPlayer;
}

void QelVideoUI::SetVideoWindowMouseMoveCallback(std::function<void()> fn) {
    if (m_pVideoWindow) m_pVideoWindow->m_fnMouseMove = std::move(fn);
}

void QelVideoUI::SetVideoWindowMouseUpCallback(std::function<void()> fn) {
    if (m_pVideoWindow) m_pVideoWindow->m_fnMouseUp = std::move(fn);
}

void QelVideoUI::DoInit() {
    if (m_pVideoWindow) return;
    m_pVideoWindow = std::shared_ptr<QelVideoWindow>(new QelVideoWindow, CloseAndDeleteVideoWindow);
    AttachVideoWindow(m_pVideoWindow.get());
    m_pVideoWindow->m_dwBkColor = m_dwVideoBkColor;
    m_pVideoWindow->m_pVideoPlayer = m_pVideoPlayer;
    m_pVideoWindow->ShowWindow(true, true);
}

void QelVideoUI::AttachVideoWindow(QelVideoWindow* pWindow) {
    pWindow->m_pOwner = this;
    pWindow->m_bAttached = true;
    if (pWindow->GetHWND() == nullptr) {
        // WS_CHILD | WS_VISIBLE | WS_CLIPSIBLINGS | WS_CLIPCHILDREN, and the low bit as it always was.
        pWindow->Create(m_hNotifyWnd, nullptr, 0x56000008, 0, GetPos(), nullptr);
        pWindow->m_hNotifyWnd = m_hNotifyWnd;
    }
}

void QelVideoUI::SetPos(RECT rc) {
    CControlUI::SetPos(rc);
    if (m_pVideoWindow) {
        // Without SWP_NOZORDER: the surface also comes above its siblings at every layout.
        ::SetWindowPos(m_pVideoWindow->GetHWND(), nullptr, rc.left, rc.top, rc.right - rc.left, rc.bottom - rc.top,
                       SWP_SHOWWINDOW);
    }
}

void QelVideoUI::SetVisible(bool bVisible) {
    CControlUI::SetVisible(bVisible);
    SetInternVisible(bVisible);
}

void QelVideoUI::SetInternVisible(bool bVisible) {
    CControlUI::SetInternVisible(bVisible);
    if (m_pVideoWindow) ::ShowWindow(m_pVideoWindow->GetHWND(), bVisible ? SW_SHOW : SW_HIDE);
}

void QelVideoUI::DoEvent(UiLib::TEventUI& event) {
    if (event.Type == UiLib::UIEVENT_SETCURSOR) {
        ::SetCursor(::LoadCursorW(nullptr, IDC_ARROW));
        return;
    }
    CControlUI::DoEvent(event);
}
