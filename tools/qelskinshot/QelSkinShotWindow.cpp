#include "QelSkinShotWindow.h"

#include "ui/QelSliderUI.h"
#include "ui/QelVideoUI.h"

namespace {

// How long the queue must stay empty, with nothing left to paint, before the picture
// counts as finished: long enough for posted notifications and the surface's own paint.
constexpr DWORD kQuietMs = 300;

BOOL CALLBACK FindPendingPaint(HWND hWnd, LPARAM lParam) {
    RECT rc;
    if (::IsWindowVisible(hWnd) && ::GetUpdateRect(hWnd, &rc, FALSE)) {
        *reinterpret_cast<bool*>(lParam) = true;
        return FALSE;
    }
    return TRUE;
}

}  // namespace

QelSkinShotWindow::QelSkinShotWindow(const std::wstring& strSkinFile) : m_strSkinFile(strSkinFile) {}

QelSkinShotWindow::~QelSkinShotWindow() {
    if (m_hWnd && ::IsWindow(m_hWnd)) ::DestroyWindow(m_hWnd);
}

const wchar_t* QelSkinShotWindow::GetWindowClassName() const { return L"QelSkinShotWindow"; }

bool QelSkinShotWindow::Open(int cx, int cy) {
    const DWORD dwStyle = WS_POPUP | WS_CLIPSIBLINGS | WS_CLIPCHILDREN;
    if (!Create(nullptr, L"qelskinshot", dwStyle, WS_EX_TOOLWINDOW, 0, 0, 0, 0)) {
        if (m_strError.empty()) m_strError = L"the window could not be created";
        return false;
    }
    // Without a size of our own the skin's size stands; the paint manager knows it.
    SIZE sz = m_PaintManager.GetInitSize();
    if (cx > 0 && cy > 0) sz = {cx, cy};
    if (sz.cx <= 0 || sz.cy <= 0) sz = {640, 480};
    ::SetWindowPos(m_hWnd, HWND_TOPMOST, 0, 0, sz.cx, sz.cy, SWP_NOACTIVATE);
    ShowWindow(true, false);
    ::UpdateWindow(m_hWnd);
    return true;
}

bool QelSkinShotWindow::HasPendingPaint() const {
    bool bPending = false;
    FindPendingPaint(m_hWnd, reinterpret_cast<LPARAM>(&bPending));
    if (!bPending) ::EnumChildWindows(m_hWnd, FindPendingPaint, reinterpret_cast<LPARAM>(&bPending));
    return bPending;
}

bool QelSkinShotWindow::WaitUntilPainted(DWORD nTimeoutMs) {
    const DWORD dwStart = ::GetTickCount();
    DWORD dwLastMessage = dwStart;
    for (;;) {
        MSG msg;
        while (::PeekMessageW(&msg, nullptr, 0, 0, PM_REMOVE)) {
            ::TranslateMessage(&msg);
            ::DispatchMessageW(&msg);
            dwLastMessage = ::GetTickCount();
        }
        if (!::IsWindow(m_hWnd)) {
            m_strError = L"the window closed before it was painted";
            return false;
        }
        const DWORD dwNow = ::GetTickCount();
        if (m_bPainted && m_bWindowInit && !HasPendingPaint() && dwNow - dwLastMessage >= kQuietMs) {
            ::GdiFlush();
            return true;
        }
        if (dwNow - dwStart >= nTimeoutMs) {
            m_strError = m_bPainted ? L"the window kept repainting" : L"the window was never painted";
            return false;
        }
        ::MsgWaitForMultipleObjects(0, nullptr, FALSE, 50, QS_ALLINPUT);
    }
}

void QelSkinShotWindow::Notify(UiLib::TNotifyUI& msg) {
    if (msg.sType == DUI_MSGTYPE_WINDOWINIT) m_bWindowInit = true;
}

UiLib::CControlUI* QelSkinShotWindow::CreateControl(const wchar_t* pstrClass) {
    if (_wcsicmp(pstrClass, L"QelSlider") == 0) return new UiLib::QelSliderUI();
    if (_wcsicmp(pstrClass, L"QelVideoUI") == 0) return new QelVideoUI(m_hWnd);
    return nullptr;
}

LRESULT QelSkinShotWindow::OnCreate() {
    m_PaintManager.Init(m_hWnd);
    UiLib::CDialogBuilder builder;
    UiLib::CControlUI* pRoot = builder.Create(m_strSkinFile.c_str(), (UINT)0, this, &m_PaintManager);
    if (!pRoot) {
        m_strError = L"the skin gave no controls";
        if (!builder.GetLastError().IsEmpty()) m_strError += std::wstring(L": ") + builder.GetLastError().GetData();
        return -1;  // CreateWindowEx fails
    }
    m_PaintManager.AttachDialog(pRoot);
    m_PaintManager.AddNotifier(this);
    return 0;
}

LRESULT QelSkinShotWindow::HandleMessage(UINT uMsg, WPARAM wParam, LPARAM lParam) {
    if (uMsg == WM_CREATE) return OnCreate();
    if (uMsg == WM_PAINT) m_bPainted = true;
    LRESULT lRes = 0;
    if (m_PaintManager.MessageHandler(uMsg, wParam, lParam, lRes)) return lRes;
    return CWindowWnd::HandleMessage(uMsg, wParam, lParam);
}
