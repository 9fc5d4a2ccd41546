#include "control/CQelMediaPlayerCtrl.h"

#include <string>

#include "activex/QelComGuard.h"
#include "activex/QelComModule.h"
#include "control/QelControlFolders.h"
#include "ui/QelVideoPlayerPPTWindow.h"
#include "ui/audio/QelAudioPlayerPPTWindow.h"

using qel::activex::QelBstr;
using qel::activex::QelControlTraits;
using qel::activex::QelDrawInfo;
using qel::activex::QelPropertyEntry;

namespace {

constexpr DWORD kMiscStatus = OLEMISC_SETCLIENTSITEFIRST | OLEMISC_ACTIVATEWHENVISIBLE | OLEMISC_INSIDEOUT |
                              OLEMISC_CANTLINKINSIDE | OLEMISC_RECOMPOSEONRESIZE;
constexpr DWORD kPlayerWindowStyle = WS_CHILD | WS_VISIBLE | WS_CLIPSIBLINGS | WS_CLIPCHILDREN;
constexpr DISPID kDispidType = 1;
constexpr DISPID kDispidPath = 2;

// The control's own text for the video type. WM_SETCURSOR compares the stored type with
// this very object, not its text, so no type set through put_Type ever matches.
const wchar_t kTypeVideo[] = L"video";

// The persistence order. Type and Path name the control itself as their property page,
// so that a container is offered exactly one.
const QelPropertyEntry kProperties[] = {
    {L"_cx", QelPropertyEntry::Kind::ExtentWidth, 0, VT_UI4, nullptr},
    {L"_cy", QelPropertyEntry::Kind::ExtentHeight, 0, VT_UI4, nullptr},
    {L"BorderStyle", QelPropertyEntry::Kind::Dispatch, DISPID_BORDERSTYLE, VT_I4, nullptr},
    {L"DrawMode", QelPropertyEntry::Kind::Dispatch, DISPID_DRAWMODE, VT_I4, nullptr},
    {L"Type", QelPropertyEntry::Kind::Dispatch, kDispidType, VT_BSTR, &CLSID_QelMediaPlayerCtrl},
    {L"Path", QelPropertyEntry::Kind::Dispatch, kDispidPath, VT_BSTR, &CLSID_QelMediaPlayerCtrl},
};

const QelControlTraits kTraits = {
    &CLSID_QelMediaPlayerCtrl,
    &IID_IQelMediaPlayerCtrl,
    &DIID__IQelMediaPlayerCtrlEvents,
    kMiscStatus,
    VIEWSTATUS_SOLIDBKGND | VIEWSTATUS_OPAQUE,
    INTERFACESAFE_FOR_UNTRUSTED_CALLER,
    L"QelMediaPlayerCtrlWindow",
    WS_CHILD | WS_VISIBLE | WS_CLIPSIBLINGS | WS_CLIPCHILDREN,
    kProperties,
    sizeof(kProperties) / sizeof(kProperties[0]),
};

// The toolkit registers the player windows' classes under this module with its own
// window procedure; neither may go while such a class exists, so the module stays loaded
// once it has shown a player.
void KeepModuleLoaded() {
    HMODULE hModule = nullptr;
    ::GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_PIN,
                         reinterpret_cast<LPCWSTR>(&KeepModuleLoaded), &hModule);
}

}  // namespace

const QelControlTraits& CQelMediaPlayerCtrl::Traits() { return kTraits; }

HRESULT CQelMediaPlayerCtrl::CreateInstance(IUnknown* pOuter, REFIID riid, void** ppv) {
    return qel::activex::QelNoThrow([&] {
        IUnknown* pInner = (new CQelMediaPlayerCtrl(pOuter))->InnerUnknown();
        pInner->AddRef();
        const HRESULT hr = pInner->QueryInterface(riid, ppv);
        pInner->Release();
        return hr;
    });
}

CQelMediaPlayerCtrl::CQelMediaPlayerCtrl(IUnknown* pOuter)
    : QelDualDispatch<IQelMediaPlayerCtrl>(IID_IQelMediaPlayerCtrl), QelControl(kTraits, pOuter) {}

CQelMediaPlayerCtrl::~CQelMediaPlayerCtrl() { ReleasePlayerWindow(); }

void* CQelMediaPlayerCtrl::QueryControlInterface(REFIID riid) {
    if (riid == IID_IQelMediaPlayerCtrl || riid == IID_IDispatch) return static_cast<IQelMediaPlayerCtrl*>(this);
    return nullptr;
}

STDMETHODIMP CQelMediaPlayerCtrl::put_BorderStyle(LONG style) {
    return PutStockProperty(DISPID_BORDERSTYLE, m_nBorderStyle, style);
}

STDMETHODIMP CQelMediaPlayerCtrl::get_BorderStyle(LONG* pstyle) { return GetStockProperty(m_nBorderStyle, pstyle); }

STDMETHODIMP CQelMediaPlayerCtrl::put_DrawMode(LONG mode) { return PutStockProperty(DISPID_DRAWMODE, m_nDrawMode, mode); }

STDMETHODIMP CQelMediaPlayerCtrl::get_DrawMode(LONG* pmode) { return GetStockProperty(m_nDrawMode, pmode); }

STDMETHODIMP CQelMediaPlayerCtrl::get_Type(BSTR* pVal) {
    if (pVal == nullptr) return E_POINTER;
    *pVal = ::SysAllocString(m_bstrType.Get());
    return S_OK;
}

STDMETHODIMP CQelMediaPlayerCtrl::put_Type(BSTR newVal) { return PutText(m_bstrType, newVal); }

STDMETHODIMP CQelMediaPlayerCtrl::get_Path(BSTR* pVal) {
    if (pVal == nullptr) return E_POINTER;
    *pVal = ::SysAllocString(m_bstrPath.Get());
    return S_OK;
}

STDMETHODIMP CQelMediaPlayerCtrl::put_Path(BSTR newVal) { return PutText(m_bstrPath, newVal); }

HRESULT CQelMediaPlayerCtrl::PutText(QelBstr& field, BSTR newVal) {
    if (newVal != field.Get()) {
        BSTR bstrCopy = nullptr;
        if (newVal != nullptr) {
            bstrCopy = ::SysAllocString(newVal);
            if (bstrCopy == nullptr) return ReportError(E_OUTOFMEMORY, L"Out of memory");
        }
        field.Attach(bstrCopy);
    }
    SetDirty(true);
    return S_OK;
}

bool CQelMediaPlayerCtrl::OnControlMessage(UINT uMsg, WPARAM wParam, LPARAM lParam, LRESULT& lResult) {
    lResult = 0;
    switch (uMsg) {
    case WM_CREATE:
        lResult = OnCreate();
        return true;
    case WM_DESTROY:
        if (m_pPlayerWnd) m_pPlayerWnd->Stop();
        return true;
    case WM_ERASEBKGND:
        return true;
    case WM_SETCURSOR:
        if (m_pPlayerWnd && m_bstrType.Get() == kTypeVideo) {
            BOOL bHandled = TRUE;
            lResult = m_pPlayerWnd->OnSetCursor(uMsg, wParam, lParam, bHandled);
        }
        return true;
    default:
        return false;
    }
}

LRESULT CQelMediaPlayerCtrl::OnCreate() {
    if (m_bstrPath.Get() == nullptr) return 0;
    // Results ignored: the apartment is the container's; the player windows only need it.
    ::CoInitialize(nullptr);
    ::OleInitialize(nullptr);

    wchar_t szModule[MAX_PATH] = {};
    ::GetModuleFileNameW(qel::activex::QelModuleInstance(), szModule, MAX_PATH);
    const std::wstring strModuleFolder = MakeModuleFolder(szModule);
    UiLib::CPaintManagerUI::SetInstance(qel::activex::QelModuleInstance());
    const std::wstring strResources = MakeParentFolder(strModuleFolder) + L"ui\\qelmediaplayer\\";
    UiLib::CPaintManagerUI::SetResourcePath(strResources.c_str());

    const HWND hWnd = ControlWindow();
    ::SetWindowLongPtrW(hWnd, GWL_STYLE, ::GetWindowLongPtrW(hWnd, GWL_STYLE) | WS_CLIPSIBLINGS | WS_CLIPCHILDREN);
    RECT rcWindow = {};
    ::GetWindowRect(hWnd, &rcWindow);

    const std::wstring strType = m_bstrType.Get() != nullptr ? m_bstrType.Get() : L"";
    ReleasePlayerWindow();
    if (strType == L"audio") {
        m_pPlayerWnd = std::make_unique<QelAudioPlayerPPTWindow>(L"audio/audio.xml", nullptr);
    } else if (strType == kTypeVideo) {
        m_pPlayerWnd = std::make_unique<QelVideoPlayerPPTWindow>(L"video/video.xml", nullptr);
    } else {
        return 0;
    }
    KeepModuleLoaded();
    // The screen position taken as a client position: the first draw puts it in place.
    m_pPlayerWnd->Create(hWnd, L"", kPlayerWindowStyle, 0, rcWindow.left, rcWindow.top,
                         rcWindow.right - rcWindow.left, rcWindow.bottom - rcWindow.top);
    m_pPlayerWnd->Play(m_bstrPath.Get());
    return 0;
}

void CQelMediaPlayerCtrl::ReleasePlayerWindow() {
    if (m_pPlayerWnd && ::IsWindow(m_pPlayerWnd->GetHWND())) {
        m_pPlayerWnd.release();
        return;
    }
    m_pPlayerWnd.reset();
}

HRESULT CQelMediaPlayerCtrl::OnDraw(const QelDrawInfo& di) {
    const HDC hdc = di.hdcDraw;
    const RECT rc = {di.prcBounds->left, di.prcBounds->top, di.prcBounds->right, di.prcBounds->bottom};
    // The device context keeps its own copy of a selected region.
    bool bClipped = false;
    if (const HRGN hClip = ::CreateRectRgnIndirect(&rc)) {
        bClipped = ::SelectClipRgn(hdc, hClip) != ERROR;
        ::DeleteObject(hClip);
    }
    ::Rectangle(hdc, rc.left, rc.top, rc.right, rc.bottom);
    ::SetTextAlign(hdc, TA_CENTER | TA_BASELINE);
    if (bClipped) ::SelectClipRgn(hdc, nullptr);

    if (m_pPlayerWnd) {
        const HWND hPlayer = m_pPlayerWnd->GetHWND();
        if (m_pPlayerWnd->IsFullscreen()) {
            ::SetWindowPos(hPlayer, nullptr, 0, 0, ::GetSystemMetrics(SM_CXSCREEN), ::GetSystemMetrics(SM_CYSCREEN),
                           SWP_SHOWWINDOW);
        } else {
            ::SetWindowPos(hPlayer, nullptr, rc.left, rc.top, rc.right - rc.left, rc.bottom - rc.top, SWP_SHOWWINDOW);
        }
    }
    return S_OK;
}
