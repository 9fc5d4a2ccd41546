#include "uilib/CPaintManagerUI.h"

#include "uilib/CControlUI.h"
#include "uilib/CRenderEngine.h"
#include "uilib/CToolTipWindow.h"
#include "uilib/SkinValues.h"

#include <windowsx.h>

#include <algorithm>
#include <map>
#include <string>

namespace UiLib {

namespace {

HINSTANCE g_hInstance = nullptr;
CDuiString g_strResourcePath;

// Private messages of the toolkit, registered so that they cannot collide with the
// numbers a host or the component posts to the same windows.
UINT AsyncNotifyMessage() {
    static const UINT uMsg = ::RegisterWindowMessageW(L"UiLib.AsyncNotify");
    return uMsg;
}

UINT WindowInitMessage() {
    static const UINT uMsg = ::RegisterWindowMessageW(L"UiLib.WindowInit");
    return uMsg;
}

CControlUI* CALLBACK FindControlFromPoint(CControlUI* pThis, LPVOID) { return pThis; }

CControlUI* CALLBACK FindControlFromName(CControlUI* pThis, LPVOID pData) {
    const wchar_t* pstrName = static_cast<const wchar_t*>(pData);
    return pThis->GetName() == pstrName ? pThis : nullptr;
}

}  // namespace

struct CPaintManagerUI::FontInfo {
    FontInfo(const std::wstring& name, int size, bool bold, bool underline, bool italic, int dpi)
        : strName(name), nSize(size), bBold(bold), bUnderline(underline), bItalic(italic) {
        LOGFONTW lf = {};
        lf.lfHeight = -::MulDiv(size, dpi, 96);
        lf.lfWeight = bold ? FW_BOLD : FW_NORMAL;
        lf.lfUnderline = underline ? TRUE : FALSE;
        lf.lfItalic = italic ? TRUE : FALSE;
        lf.lfCharSet = DEFAULT_CHARSET;
        lf.lfQuality = CLEARTYPE_QUALITY;
        wcsncpy(lf.lfFaceName, name.c_str(), LF_FACESIZE - 1);
        hFont = ::CreateFontIndirectW(&lf);
    }
    ~FontInfo() {
        if (hFont != nullptr) ::DeleteObject(hFont);
    }
    FontInfo(const FontInfo&) = delete;
    FontInfo& operator=(const FontInfo&) = delete;

    std::wstring strName;
    int nSize;
    bool bBold;
    bool bUnderline;
    bool bItalic;
    HFONT hFont = nullptr;
};

struct CPaintManagerUI::ImageCache {
    ImageCache() = default;
    ImageCache(const ImageCache&) = delete;
    ImageCache& operator=(const ImageCache&) = delete;
    ~ImageCache() {
        for (auto& entry : images) CRenderEngine::FreeImage(entry.second);
    }
    // Unreadable files are remembered too (as null), so a broken skin costs one attempt.
    std::map<std::wstring, TImageInfo*> images;
};

CPaintManagerUI::CPaintManagerUI()
    : m_pImages(std::make_shared<ImageCache>()), m_pToolTip(std::make_unique<CToolTipWindow>()) {}

CPaintManagerUI::CPaintManagerUI(const CPaintManagerUI& other) : CPaintManagerUI() { CopySettings(other); }

CPaintManagerUI& CPaintManagerUI::operator=(const CPaintManagerUI& other) {
    if (this != &other) CopySettings(other);
    return *this;
}

CPaintManagerUI::~CPaintManagerUI() {
    m_aNotifiers.clear();
    m_aAsyncNotify.clear();
    for (const TimerInfo& timer : m_aTimers) {
        if (::IsWindow(m_hWndPaint)) ::KillTimer(m_hWndPaint, timer.uWinTimer);
    }
    m_aTimers.clear();
    CControlUI* pRoot = m_pRoot;
    m_pRoot = nullptr;
    delete pRoot;
}

void CPaintManagerUI::CopySettings(const CPaintManagerUI& other) {
    m_szInitWindowSize = other.m_szInitWindowSize;
    m_szMinWindow = other.m_szMinWindow;
    m_rcSizeBox = other.m_rcSizeBox;
    m_rcCaption = other.m_rcCaption;
    m_szRoundCorner = other.m_szRoundCorner;
    m_nDPI = other.m_nDPI;
    m_dwDefaultFontColor = other.m_dwDefaultFontColor;
    m_dwDefaultDisabledColor = other.m_dwDefaultDisabledColor;
    m_aFonts = other.m_aFonts;
    m_pDefaultFont = other.m_pDefaultFont;
    m_pImages = other.m_pImages;
}

void CPaintManagerUI::Init(HWND hWnd) {
    m_hWndPaint = hWnd;
    AsyncNotifyMessage();
    WindowInitMessage();
}

SIZE CPaintManagerUI::GetClientSize() const {
    RECT rc = {};
    if (m_hWndPaint != nullptr && ::GetClientRect(m_hWndPaint, &rc)) return SIZE{rc.right - rc.left, rc.bottom - rc.top};
    return SIZE{ScaleValue(m_szInitWindowSize.cx), ScaleValue(m_szInitWindowSize.cy)};
}

SIZE CPaintManagerUI::GetInitSize() const { return m_szInitWindowSize; }

void CPaintManagerUI::SetInitSize(int cx, int cy) {
    m_szInitWindowSize = SIZE{cx, cy};
    if (m_hWndPaint != nullptr && m_pRoot == nullptr) {
        ::SetWindowPos(m_hWndPaint, nullptr, 0, 0, ScaleValue(cx), ScaleValue(cy),
                       SWP_NOZORDER | SWP_NOMOVE | SWP_NOACTIVATE);
    }
}

RECT& CPaintManagerUI::GetSizeBox() { return m_rcSizeBox; }
void CPaintManagerUI::SetSizeBox(const RECT& rcSizeBox) { m_rcSizeBox = rcSizeBox; }
RECT& CPaintManagerUI::GetCaptionRect() { return m_rcCaption; }
void CPaintManagerUI::SetCaptionRect(const RECT& rcCaption) { m_rcCaption = rcCaption; }
SIZE CPaintManagerUI::GetRoundCorner() const { return m_szRoundCorner; }
void CPaintManagerUI::SetRoundCorner(int cx, int cy) { m_szRoundCorner = SIZE{cx, cy}; }
void CPaintManagerUI::SetMinInfo(int cx, int cy) { m_szMinWindow = SIZE{cx, cy}; }

void CPaintManagerUI::SetDPI(int iDPI) {
    if (iDPI <= 0 || iDPI == m_nDPI) return;
    const int nOld = m_nDPI;
    m_nDPI = iDPI;
    RebuildFonts();
    if (::IsWindow(m_hWndPaint)) {
        RECT rc = {};
        ::GetWindowRect(m_hWndPaint, &rc);
        ::SetWindowPos(m_hWndPaint, nullptr, 0, 0, ::MulDiv(rc.right - rc.left, iDPI, nOld),
                       ::MulDiv(rc.bottom - rc.top, iDPI, nOld), SWP_NOZORDER | SWP_NOMOVE | SWP_NOACTIVATE);
    }
    NeedUpdate();
}

int CPaintManagerUI::ScaleValue(int n) const { return m_nDPI == 96 ? n : ::MulDiv(n, m_nDPI, 96); }

HINSTANCE CPaintManagerUI::GetInstance() {
    return g_hInstance != nullptr ? g_hInstance : ::GetModuleHandleW(nullptr);
}

void CPaintManagerUI::SetInstance(HINSTANCE hInst) { g_hInstance = hInst; }

CDuiString CPaintManagerUI::GetInstancePath() {
    wchar_t path[MAX_PATH] = {};
    const DWORD n = ::GetModuleFileNameW(GetInstance(), path, MAX_PATH);
    std::wstring str(path, n);
    const size_t slash = str.find_last_of(L"\\/");
    return CDuiString(slash == std::wstring::npos ? std::wstring() : str.substr(0, slash + 1));
}

const CDuiString& CPaintManagerUI::GetResourcePath() { return g_strResourcePath; }

void CPaintManagerUI::SetResourcePath(const wchar_t* pStrPath) {
    g_strResourcePath = pStrPath;
    if (!g_strResourcePath.IsEmpty()) {
        const wchar_t last = g_strResourcePath.GetData()[g_strResourcePath.GetLength() - 1];
        if (last != L'\\' && last != L'/') g_strResourcePath += L"\\";
    }
}

void CPaintManagerUI::MessageLoop() {
    MSG msg = {};
    while (::GetMessageW(&msg, nullptr, 0, 0) > 0) {
        ::TranslateMessage(&msg);
        ::DispatchMessageW(&msg);
    }
}

int CPaintManagerUI::AddFont(const wchar_t* pStrFontName, int nSize, bool bBold, bool bUnderline, bool bItalic) {
    m_aFonts.push_back(std::make_shared<FontInfo>(pStrFontName != nullptr ? pStrFontName : L"", nSize, bBold,
                                                  bUnderline, bItalic, m_nDPI));
    return static_cast<int>(m_aFonts.size()) - 1;
}

HFONT CPaintManagerUI::GetFont(int index) const {
    if (index < 0 || index >= static_cast<int>(m_aFonts.size())) return GetDefaultFont();
    return m_aFonts[static_cast<size_t>(index)]->hFont;
}

HFONT CPaintManagerUI::GetDefaultFont() const {
    if (!m_pDefaultFont) {
        NONCLIENTMETRICSW ncm = {};
        ncm.cbSize = sizeof(ncm);
        std::wstring face = L"Tahoma";
        if (::SystemParametersInfoW(SPI_GETNONCLIENTMETRICS, sizeof(ncm), &ncm, 0) && ncm.lfMessageFont.lfFaceName[0]) {
            face = ncm.lfMessageFont.lfFaceName;
        }
        m_pDefaultFont = std::make_shared<FontInfo>(face, 12, false, false, false, m_nDPI);
    }
    return m_pDefaultFont->hFont;
}

void CPaintManagerUI::RebuildFonts() {
    for (auto& pFont : m_aFonts) {
        pFont = std::make_shared<FontInfo>(pFont->strName, pFont->nSize, pFont->bBold, pFont->bUnderline,
                                           pFont->bItalic, m_nDPI);
    }
    m_pDefaultFont.reset();
}

const TImageInfo* CPaintManagerUI::GetImage(const wchar_t* pStrFile) {
    if (pStrFile == nullptr || *pStrFile == 0) return nullptr;
    const std::wstring key(pStrFile);
    const auto it = m_pImages->images.find(key);
    if (it != m_pImages->images.end()) return it->second;
    const std::wstring path = SkinValues::ResourceFilePath(key);
    TImageInfo* pImage = CRenderEngine::LoadImage(path.c_str());
    m_pImages->images.emplace(key, pImage);
    return pImage;
}

bool CPaintManagerUI::AttachDialog(CControlUI* pControl) {
    m_pFocus = nullptr;
    m_pEventHover = nullptr;
    m_pEventClick = nullptr;
    if (m_pRoot != nullptr && m_pRoot != pControl) {
        CControlUI* pOld = m_pRoot;
        m_pRoot = nullptr;
        delete pOld;
    }
    m_pRoot = pControl;
    m_bWindowInitSent = false;
    if (pControl == nullptr) return false;
    m_bUpdateNeeded = true;
    const bool bResult = InitControls(pControl);
    LayoutIfNeeded();
    if (m_hWndPaint != nullptr) ::PostMessageW(m_hWndPaint, WindowInitMessage(), 0, 0);
    return bResult;
}

bool CPaintManagerUI::InitControls(CControlUI* pControl, CControlUI* pParent) {
    if (pControl == nullptr) return false;
    CControlUI* pOwner = pParent != nullptr ? pParent : pControl->GetParent();
    pControl->SetManager(this, pOwner, true);
    // A control without a parent is not initialised by SetManager; it is the root.
    if (pOwner == nullptr) pControl->Init();
    return true;
}

void CPaintManagerUI::ReapObjects(CControlUI* pControl) {
    if (pControl == m_pEventHover) m_pEventHover = nullptr;
    if (pControl == m_pEventClick) m_pEventClick = nullptr;
    if (pControl == m_pFocus) m_pFocus = nullptr;
    if (pControl == m_pToolTipFor) HideToolTip();
    KillTimer(pControl);
    m_aAsyncNotify.erase(std::remove_if(m_aAsyncNotify.begin(), m_aAsyncNotify.end(),
                                        [pControl](const TNotifyUI& msg) { return msg.pSender == pControl; }),
                         m_aAsyncNotify.end());
}

CControlUI* CPaintManagerUI::FindControl(POINT pt) {
    if (m_pRoot == nullptr) return nullptr;
    LayoutIfNeeded();
    return m_pRoot->FindControl(FindControlFromPoint, &pt, UIFIND_VISIBLE | UIFIND_HITTEST | UIFIND_TOP_FIRST);
}

CControlUI* CPaintManagerUI::FindControl(const wchar_t* pstrName) const {
    if (m_pRoot == nullptr || pstrName == nullptr) return nullptr;
    return m_pRoot->FindControl(FindControlFromName, const_cast<wchar_t*>(pstrName), UIFIND_ALL);
}

bool CPaintManagerUI::AddNotifier(INotifyUI* pNotifier) {
    if (pNotifier == nullptr || std::find(m_aNotifiers.begin(), m_aNotifiers.end(), pNotifier) != m_aNotifiers.end()) {
        return false;
    }
    m_aNotifiers.push_back(pNotifier);
    return true;
}

bool CPaintManagerUI::RemoveNotifier(INotifyUI* pNotifier) {
    const auto it = std::find(m_aNotifiers.begin(), m_aNotifiers.end(), pNotifier);
    if (it == m_aNotifiers.end()) return false;
    m_aNotifiers.erase(it);
    return true;
}

void CPaintManagerUI::SendNotify(TNotifyUI& Msg, bool bAsync) {
    Msg.ptMouse = m_ptLastMousePos;
    Msg.dwTimestamp = ::GetTickCount();
    if (bAsync) {
        m_aAsyncNotify.push_back(Msg);
        if (m_hWndPaint != nullptr) ::PostMessageW(m_hWndPaint, AsyncNotifyMessage(), 0, 0);
        return;
    }
    // A notifier may remove itself (or others) while being told.
    const std::vector<INotifyUI*> notifiers = m_aNotifiers;
    for (INotifyUI* pNotifier : notifiers) {
        if (std::find(m_aNotifiers.begin(), m_aNotifiers.end(), pNotifier) != m_aNotifiers.end()) {
            pNotifier->Notify(Msg);
        }
    }
}

void CPaintManagerUI::SendNotify(CControlUI* pControl, const wchar_t* pstrMessage, WPARAM wParam, LPARAM lParam,
                                 bool bAsync) {
    TNotifyUI msg;
    msg.pSender = pControl;
    msg.sType = pstrMessage;
    msg.wParam = wParam;
    msg.lParam = lParam;
    SendNotify(msg, bAsync);
}

void CPaintManagerUI::DeliverAsyncNotifies() {
    while (!m_aAsyncNotify.empty()) {
        TNotifyUI msg = m_aAsyncNotify.front();
        m_aAsyncNotify.erase(m_aAsyncNotify.begin());
        SendNotify(msg, false);
    }
}

bool CPaintManagerUI::SetTimer(CControlUI* pControl, UINT nTimerID, UINT uElapse) {
    if (pControl == nullptr || m_hWndPaint == nullptr) return false;
    KillTimer(pControl, nTimerID);
    const UINT_PTR uWinTimer = m_uNextTimerID++;
    if (::SetTimer(m_hWndPaint, uWinTimer, uElapse, nullptr) == 0) return false;
    m_aTimers.push_back(TimerInfo{pControl, nTimerID, uWinTimer});
    return true;
}

bool CPaintManagerUI::KillTimer(CControlUI* pControl, UINT nTimerID) {
    for (auto it = m_aTimers.begin(); it != m_aTimers.end(); ++it) {
        if (it->pSender == pControl && it->nLocalID == nTimerID) {
            if (::IsWindow(m_hWndPaint)) ::KillTimer(m_hWndPaint, it->uWinTimer);
            m_aTimers.erase(it);
            return true;
        }
    }
    return false;
}

void CPaintManagerUI::KillTimer(CControlUI* pControl) {
    for (auto it = m_aTimers.begin(); it != m_aTimers.end();) {
        if (it->pSender == pControl) {
            if (::IsWindow(m_hWndPaint)) ::KillTimer(m_hWndPaint, it->uWinTimer);
            it = m_aTimers.erase(it);
        } else {
            ++it;
        }
    }
}

void CPaintManagerUI::SetCapture() {
    ::SetCapture(m_hWndPaint);
    m_bMouseCapture = true;
}

void CPaintManagerUI::ReleaseCapture() {
    m_bMouseCapture = false;
    ::ReleaseCapture();
}

void CPaintManagerUI::SetFocus(CControlUI* pControl) {
    if (pControl == m_pFocus) return;
    CControlUI* pOld = m_pFocus;
    m_pFocus = pControl;
    if (pOld != nullptr) SendEvent(pOld, UIEVENT_KILLFOCUS, m_ptLastMousePos, 0, 0);
    if (pControl != nullptr && m_pFocus == pControl) SendEvent(pControl, UIEVENT_SETFOCUS, m_ptLastMousePos, 0, 0);
}

void CPaintManagerUI::Invalidate(const RECT& rcItem) {
    if (m_hWndPaint != nullptr) ::InvalidateRect(m_hWndPaint, &rcItem, FALSE);
}

void CPaintManagerUI::NeedUpdate() {
    m_bUpdateNeeded = true;
    if (m_hWndPaint != nullptr) ::InvalidateRect(m_hWndPaint, nullptr, FALSE);
}

void CPaintManagerUI::LayoutIfNeeded() {
    if (m_pRoot == nullptr || m_hWndPaint == nullptr) return;
    if (!m_bUpdateNeeded && !m_pRoot->IsUpdateNeeded()) return;
    m_bUpdateNeeded = false;
    RECT rcClient = {};
    ::GetClientRect(m_hWndPaint, &rcClient);
    m_pRoot->SetPos(rcClient);
}

void CPaintManagerUI::PaintTo(HDC hDC, const RECT& rcPaint) {
    LayoutIfNeeded();
    if (m_pRoot != nullptr && hDC != nullptr) m_pRoot->DoPaint(hDC, rcPaint);
}

void CPaintManagerUI::SendWindowInit() {
    if (m_bWindowInitSent || m_pRoot == nullptr) return;
    m_bWindowInitSent = true;
    LayoutIfNeeded();
    SendNotify(m_pRoot, DUI_MSGTYPE_WINDOWINIT, 0, 0, false);
}

void CPaintManagerUI::SendEvent(CControlUI* pControl, int type, POINT pt, WPARAM wParam, LPARAM lParam) {
    if (pControl == nullptr) return;
    TEventUI event;
    event.Type = type;
    event.pSender = pControl;
    event.ptMouse = pt;
    event.wParam = wParam;
    event.lParam = lParam;
    event.dwTimestamp = ::GetTickCount();
    event.wKeyState = static_cast<WORD>(wParam);
    pControl->Event(event);
}

void CPaintManagerUI::SetHover(CControlUI* pNewHover, POINT pt, WPARAM wParam, LPARAM lParam) {
    if (pNewHover == m_pEventHover) return;
    CControlUI* pOld = m_pEventHover;
    m_pEventHover = pNewHover;
    if (pOld != nullptr) SendEvent(pOld, UIEVENT_MOUSELEAVE, pt, wParam, lParam);
    if (pNewHover != nullptr && m_pEventHover == pNewHover) SendEvent(pNewHover, UIEVENT_MOUSEENTER, pt, wParam, lParam);
}

void CPaintManagerUI::TrackMouse() {
    if (m_bMouseTracking) return;
    // The hover time is the system's, the usual delay before a tooltip.
    TRACKMOUSEEVENT tme = {};
    tme.cbSize = sizeof(tme);
    tme.dwFlags = TME_LEAVE | TME_HOVER;
    tme.hwndTrack = m_hWndPaint;
    tme.dwHoverTime = HOVER_DEFAULT;
    m_bMouseTracking = ::TrackMouseEvent(&tme) != FALSE;
}

void CPaintManagerUI::ShowToolTip() {
    CControlUI* pControl = m_pEventClick == nullptr ? m_pEventHover : nullptr;
    if (pControl == nullptr || pControl == m_pToolTipFor) return;
    if (pControl->GetToolTip().IsEmpty()) {
        HideToolTip();
        return;
    }
    POINT pt = {};
    ::GetCursorPos(&pt);
    m_pToolTip->Show(m_hWndPaint, pControl->GetToolTip().Str(), pt);
    m_pToolTipFor = pControl;
}

void CPaintManagerUI::HideToolTip() {
    if (m_pToolTipFor == nullptr) return;
    m_pToolTipFor = nullptr;
    m_pToolTip->Hide();
}

void CPaintManagerUI::TakeKeyboardFocus() {
    // Not while the window's top-level window is inactive: SetFocus would activate it,
    // taking activation a host declined to give.
    if (::GetFocus() == m_hWndPaint || ::GetActiveWindow() != ::GetAncestor(m_hWndPaint, GA_ROOT)) return;
    ::SetFocus(m_hWndPaint);
}

void CPaintManagerUI::PaintWindow() {
    SendWindowInit();
    LayoutIfNeeded();
    PAINTSTRUCT ps = {};
    const HDC hDC = ::BeginPaint(m_hWndPaint, &ps);
    RECT rcClient = {};
    ::GetClientRect(m_hWndPaint, &rcClient);
    const int cx = rcClient.right - rcClient.left;
    const int cy = rcClient.bottom - rcClient.top;
    if (hDC != nullptr && cx > 0 && cy > 0 && !::IsRectEmpty(&ps.rcPaint)) {
        // Painted off screen first, so that layers never flicker.
        const HDC hMemDC = ::CreateCompatibleDC(hDC);
        const HBITMAP hBitmap = ::CreateCompatibleBitmap(hDC, cx, cy);
        const HGDIOBJ hOld = ::SelectObject(hMemDC, hBitmap);
        if (m_pRoot != nullptr) m_pRoot->DoPaint(hMemDC, ps.rcPaint);
        ::BitBlt(hDC, ps.rcPaint.left, ps.rcPaint.top, ps.rcPaint.right - ps.rcPaint.left,
                 ps.rcPaint.bottom - ps.rcPaint.top, hMemDC, ps.rcPaint.left, ps.rcPaint.top, SRCCOPY);
        ::SelectObject(hMemDC, hOld);
        ::DeleteObject(hBitmap);
        ::DeleteDC(hMemDC);
    }
    ::EndPaint(m_hWndPaint, &ps);
}

void CPaintManagerUI::OnMouseMove(WPARAM wParam, LPARAM lParam) {
    TrackMouse();
    const POINT pt = {GET_X_LPARAM(lParam), GET_Y_LPARAM(lParam)};
    m_ptLastMousePos = pt;
    CControlUI* pNewHover = FindControl(pt);
    if (pNewHover != m_pToolTipFor) HideToolTip();
    // While a control holds the capture, hover does not move to others.
    if (m_pEventClick == nullptr) SetHover(pNewHover, pt, wParam, lParam);
    if (m_pEventClick != nullptr) {
        SendEvent(m_pEventClick, UIEVENT_MOUSEMOVE, pt, wParam, lParam);
    } else if (pNewHover != nullptr && m_pEventHover == pNewHover) {
        SendEvent(pNewHover, UIEVENT_MOUSEMOVE, pt, wParam, lParam);
    }
}

void CPaintManagerUI::OnButtonDown(UINT uMsg, WPARAM wParam, LPARAM lParam) {
    HideToolTip();
    TakeKeyboardFocus();
    const POINT pt = {GET_X_LPARAM(lParam), GET_Y_LPARAM(lParam)};
    m_ptLastMousePos = pt;
    CControlUI* pControl = FindControl(pt);
    if (uMsg == WM_RBUTTONDOWN) {
        SendEvent(pControl, UIEVENT_RBUTTONDOWN, pt, wParam, lParam);
        return;
    }
    if (pControl == nullptr) return;
    m_pEventClick = pControl;
    SetCapture();
    SendEvent(pControl, uMsg == WM_LBUTTONDOWN ? UIEVENT_BUTTONDOWN : UIEVENT_DBLCLICK, pt, wParam, lParam);
}

void CPaintManagerUI::OnButtonUp(WPARAM wParam, LPARAM lParam) {
    const POINT pt = {GET_X_LPARAM(lParam), GET_Y_LPARAM(lParam)};
    m_ptLastMousePos = pt;
    CControlUI* pControl = m_pEventClick;
    m_pEventClick = nullptr;
    if (m_bMouseCapture) ReleaseCapture();
    SendEvent(pControl, UIEVENT_BUTTONUP, pt, wParam, lParam);
}

bool CPaintManagerUI::OnMouseWheel(WPARAM wParam, LPARAM lParam) {
    HideToolTip();
    POINT pt = {GET_X_LPARAM(lParam), GET_Y_LPARAM(lParam)};
    ::ScreenToClient(m_hWndPaint, &pt);
    m_ptLastMousePos = pt;
    CControlUI* pControl = FindControl(pt);
    if (pControl == nullptr) return false;
    const int zDelta = GET_WHEEL_DELTA_WPARAM(wParam);
    SendEvent(pControl, UIEVENT_SCROLLWHEEL, pt, MAKEWPARAM(zDelta < 0 ? SB_LINEDOWN : SB_LINEUP, 0), lParam);
    return true;
}

bool CPaintManagerUI::OnSetCursor(WPARAM wParam, LPARAM lParam, LRESULT& lRes) {
    if (LOWORD(lParam) != HTCLIENT) return false;
    POINT pt = {};
    ::GetCursorPos(&pt);
    ::ScreenToClient(m_hWndPaint, &pt);
    CControlUI* pControl = FindControl(pt);
    if (pControl == nullptr) return false;
    SendEvent(pControl, UIEVENT_SETCURSOR, pt, wParam, lParam);
    lRes = TRUE;
    return true;
}

void CPaintManagerUI::OnKey(UINT uMsg, WPARAM wParam, LPARAM lParam) {
    if (uMsg == WM_KEYDOWN) HideToolTip();
    if (m_pFocus == nullptr) return;
    TEventUI event;
    event.Type = uMsg == WM_KEYDOWN ? UIEVENT_KEYDOWN : (uMsg == WM_KEYUP ? UIEVENT_KEYUP : UIEVENT_CHAR);
    event.pSender = m_pFocus;
    event.chKey = static_cast<wchar_t>(wParam);
    event.ptMouse = m_ptLastMousePos;
    event.wParam = wParam;
    event.lParam = lParam;
    event.dwTimestamp = ::GetTickCount();
    m_pFocus->Event(event);
}

bool CPaintManagerUI::MessageHandler(UINT uMsg, WPARAM wParam, LPARAM lParam, LRESULT& lRes) {
    if (m_hWndPaint == nullptr) return false;
    lRes = 0;
    if (uMsg == AsyncNotifyMessage()) {
        DeliverAsyncNotifies();
        return true;
    }
    if (uMsg == WindowInitMessage()) {
        SendWindowInit();
        return true;
    }
    switch (uMsg) {
    case WM_ERASEBKGND:
        lRes = 1;
        return true;
    case WM_PAINT:
        PaintWindow();
        return true;
    case WM_PRINTCLIENT: {
        RECT rcClient = {};
        ::GetClientRect(m_hWndPaint, &rcClient);
        PaintTo(reinterpret_cast<HDC>(wParam), rcClient);
        return true;
    }
    case WM_SIZE:
        if (m_pRoot != nullptr) {
            m_bUpdateNeeded = true;
            LayoutIfNeeded();
            ::InvalidateRect(m_hWndPaint, nullptr, FALSE);
        }
        return false;
    case WM_TIMER:
        for (const TimerInfo& timer : m_aTimers) {
            if (timer.uWinTimer == wParam) {
                SendEvent(timer.pSender, UIEVENT_TIMER, m_ptLastMousePos, timer.nLocalID, lParam);
                return true;
            }
        }
        return false;
    case WM_MOUSEHOVER:
        // Hover tracking ends with this message; the next move asks for it again.
        m_bMouseTracking = false;
        ShowToolTip();
        return false;
    case WM_MOUSELEAVE:
        m_bMouseTracking = false;
        HideToolTip();
        if (m_pEventHover != nullptr && m_pEventClick == nullptr) {
            CControlUI* pOld = m_pEventHover;
            m_pEventHover = nullptr;
            SendEvent(pOld, UIEVENT_MOUSELEAVE, m_ptLastMousePos, wParam, lParam);
        }
        return false;
    case WM_MOUSEMOVE:
        OnMouseMove(wParam, lParam);
        return false;
    case WM_LBUTTONDOWN:
    case WM_LBUTTONDBLCLK:
    case WM_RBUTTONDOWN:
        OnButtonDown(uMsg, wParam, lParam);
        return false;
    case WM_LBUTTONUP:
        OnButtonUp(wParam, lParam);
        return false;
    case WM_CAPTURECHANGED:
        if (reinterpret_cast<HWND>(lParam) != m_hWndPaint) m_bMouseCapture = false;
        return false;
    case WM_MOUSEWHEEL:
        return OnMouseWheel(wParam, lParam);
    case WM_SETCURSOR:
        return OnSetCursor(wParam, lParam, lRes);
    case WM_KEYDOWN:
    case WM_KEYUP:
    case WM_CHAR:
        OnKey(uMsg, wParam, lParam);
        return false;
    default:
        return false;
    }
}

}  // namespace UiLib
