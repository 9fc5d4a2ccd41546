#include "ui/QelVideoDotPopupWidget.h"

#include <utility>

namespace {

const wchar_t kPopupClassName[] = L"QelVideoDotPopupWidget";
// WS_POPUP | WS_VISIBLE | WS_CLIPSIBLINGS | WS_CLIPCHILDREN | WS_CAPTION | WS_SYSMENU;
// the caption goes again in WM_CREATE.
const DWORD kPopupStyle = 0x96C80000;
// No taskbar button.
const DWORD kPopupExStyle = WS_EX_TOOLWINDOW;
// The pop-up's bottom edge lies this far above the point it is shown at.
const int kGapAbovePoint = 20;

}  // namespace

QelVideoDotPopupWidget::QelVideoDotPopupWidget() = default;

QelVideoDotPopupWidget::~QelVideoDotPopupWidget() {
    // Deleted while its window is still up: take the window down first, so that nothing
    // reaches this object afterwards and the final message does not delete it again.
    if (m_hWnd != nullptr && ::IsWindow(m_hWnd)) {
        m_bDestroying = true;
        ::DestroyWindow(m_hWnd);
    }
}

const wchar_t* QelVideoDotPopupWidget::GetWindowClassName() const { return kPopupClassName; }

UINT QelVideoDotPopupWidget::GetClassStyle() const { return CS_DBLCLKS; }

void QelVideoDotPopupWidget::SetFinalCallback(std::function<void(QelVideoDotPopupWidget*)> fn) {
    m_fnFinal = std::move(fn);
}

BOOL QelVideoDotPopupWidget::ShowAt(const wchar_t* skinFile, HWND hParent, int x, int y, RECT* pRect) {
    m_strSkinFile = skinFile != nullptr ? skinFile : L"";
    Create(hParent, kPopupClassName, kPopupStyle, kPopupExStyle, CW_USEDEFAULT, CW_USEDEFAULT, CW_USEDEFAULT,
           CW_USEDEFAULT, nullptr);
    // The skin gave the paint manager its size while the window was being created.
    const SIZE size = m_PaintManager.GetClientSize();
    if (pRect != nullptr) {
        pRect->left = x - size.cx / 2;
        pRect->top = y - size.cy;
        pRect->right = pRect->left + size.cx;
        pRect->bottom = pRect->top + size.cy;
    }
    return ::SetWindowPos(m_hWnd, nullptr, x - size.cx / 2, y - size.cy - kGapAbovePoint, 0, 0,
                          SWP_NOSIZE | SWP_NOZORDER | SWP_SHOWWINDOW);
}

void QelVideoDotPopupWidget::Notify(UiLib::TNotifyUI& msg) {
    if (msg.sType == DUI_MSGTYPE_CLICK && msg.pSender != nullptr && msg.pSender->GetName() == L"closebtn") Close(1);
}

LRESULT QelVideoDotPopupWidget::OnCreate() {
    LONG_PTR style = ::GetWindowLongPtrW(m_hWnd, GWL_STYLE);
    style &= ~static_cast<LONG_PTR>(WS_CAPTION);
    ::SetWindowLongPtrW(m_hWnd, GWL_STYLE, style | WS_CLIPSIBLINGS | WS_CLIPCHILDREN);
    m_PaintManager.Init(m_hWnd);
    UiLib::CDialogBuilder builder;
    UiLib::CControlUI* pRoot =
        builder.Create(UiLib::STRINGorID(m_strSkinFile), static_cast<UINT>(0), nullptr, &m_PaintManager, nullptr);
    m_PaintManager.AttachDialog(pRoot);
    m_PaintManager.AddNotifier(this);
    return 0;
}

LRESULT QelVideoDotPopupWidget::HandleMessage(UINT uMsg, WPARAM wParam, LPARAM lParam) {
    switch (uMsg) {
    case WM_CREATE: return OnCreate();
    // Neither losing the focus nor the pointer closes the pop-up: only its owner or
    // "closebtn" do.
    case WM_KILLFOCUS: return 0;
    case WM_MOUSELEAVE: return 0;
    case WM_NCCALCSIZE: return 0;
    case WM_NCHITTEST: return HTCLIENT;
    case WM_NCPAINT: return 0;
    case WM_NCACTIVATE:
        if (!::IsIconic(m_hWnd)) return wParam == 0 ? TRUE : FALSE;
        break;
    default: break;
    }
    LRESULT lRes = 0;
    if (m_PaintManager.MessageHandler(uMsg, wParam, lParam, lRes)) return lRes;
    return CWindowWnd::HandleMessage(uMsg, wParam, lParam);
}

void QelVideoDotPopupWidget::OnFinalMessage(HWND) {
    if (m_bDestroying) return;
    // Taken out first: the owner may drop its holder from inside the call.
    auto fnFinal = std::move(m_fnFinal);
    m_fnFinal = nullptr;
    if (fnFinal) fnFinal(this);
    delete this;
}

QelVideoDotPopupHolder::~QelVideoDotPopupHolder() { Close(); }

BOOL QelVideoDotPopupHolder::Open(std::unique_ptr<QelVideoDotPopupWidget> pPopup, const wchar_t* skinFile,
                                  HWND hParent, int x, int y, RECT* pRect) {
    Close();
    if (!pPopup) return FALSE;
    QelVideoDotPopupWidget* pRaw = pPopup.release();
    m_pPopup = pRaw;
    pRaw->SetFinalCallback([this](QelVideoDotPopupWidget* pGone) {
        if (m_pPopup == pGone) m_pPopup = nullptr;
    });
    const BOOL bShown = pRaw->ShowAt(skinFile, hParent, x, y, pRect);
    // A pop-up that never got a window will never delete itself.
    if (m_pPopup == pRaw && pRaw->GetHWND() == nullptr) {
        m_pPopup = nullptr;
        delete pRaw;
    }
    return bShown;
}

BOOL QelVideoDotPopupHolder::Open(const wchar_t* skinFile, HWND hParent, int x, int y, RECT* pRect) {
    return Open(std::make_unique<QelVideoDotPopupWidget>(), skinFile, hParent, x, y, pRect);
}

void QelVideoDotPopupHolder::Close() {
    QelVideoDotPopupWidget* pPopup = m_pPopup;
    if (pPopup == nullptr) return;
    m_pPopup = nullptr;
    // From here on the pop-up goes by itself, when its window is destroyed.
    pPopup->SetFinalCallback(nullptr);
    pPopup->Close(1);
}
