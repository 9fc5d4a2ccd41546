// In-place activation with a window of the control's own, UI activation and the in-place
// interfaces (IOleInPlaceObjectWindowless, IOleInPlaceActiveObject).
#include "activex/QelControl.h"

namespace qel::activex {

using Microsoft::WRL::ComPtr;

namespace {

bool DoesVerbActivate(LONG iVerb) {
    return iVerb == OLEIVERB_UIACTIVATE || iVerb == OLEIVERB_PRIMARY || iVerb == OLEIVERB_SHOW ||
           iVerb == OLEIVERB_INPLACEACTIVATE;
}

}  // namespace

HRESULT QelControl::GetAmbientUserMode(bool& bUserMode) {
    if (!m_spAmbientDispatch) return E_FAIL;
    DISPPARAMS noArguments = {};
    VARIANT result;
    ::VariantInit(&result);
    HRESULT hr = m_spAmbientDispatch->Invoke(DISPID_AMBIENT_USERMODE, IID_NULL, LOCALE_USER_DEFAULT,
                                             DISPATCH_PROPERTYGET, &noArguments, &result, nullptr, nullptr);
    if (SUCCEEDED(hr) && result.vt != VT_BOOL) hr = DISP_E_TYPEMISMATCH;
    if (SUCCEEDED(hr)) bUserMode = result.boolVal != VARIANT_FALSE;
    ::VariantClear(&result);
    return hr;
}

HRESULT QelControl::InPlaceActivate(LONG iVerb, LPCRECT prcPosRect) {
    if (!m_spClientSite) return S_OK;
    if (!m_spInPlaceSite) {
        if (SUCCEEDED(m_spClientSite.As(&m_spInPlaceSiteEx))) {
            m_spInPlaceSite = m_spInPlaceSiteEx;
        } else if (FAILED(m_spClientSite.As(&m_spInPlaceSite))) {
            return E_FAIL;
        }
    }

    if (!m_bInPlaceActive) {
        const HRESULT hr = m_spInPlaceSite->CanInPlaceActivate();
        if (FAILED(hr)) return hr;
        if (hr != S_OK) return E_FAIL;
        if (m_spInPlaceSiteEx) {
            BOOL bNoRedraw = FALSE;
            m_spInPlaceSiteEx->OnInPlaceActivateEx(&bNoRedraw, 0);
        } else {
            m_spInPlaceSite->OnInPlaceActivate();
        }
        m_bInPlaceActive = true;
    }

    // Where the container places the control; what the verb named if it does not say.
    RECT rcPos = prcPosRect != nullptr ? *prcPosRect : m_rcPos;
    RECT rcClip = rcPos;
    ComPtr<IOleInPlaceFrame> spFrame;
    ComPtr<IOleInPlaceUIWindow> spDocument;
    HWND hwndParent = nullptr;
    if (m_spInPlaceSite->GetWindow(&hwndParent) == S_OK) {
        OLEINPLACEFRAMEINFO frameInfo = {};
        frameInfo.cb = sizeof(frameInfo);
        RECT rcSitePos = rcPos, rcSiteClip = rcClip;
        if (SUCCEEDED(m_spInPlaceSite->GetWindowContext(&spFrame, &spDocument, &rcSitePos, &rcSiteClip, &frameInfo))) {
            rcPos = rcSitePos;
            rcClip = rcSiteClip;
        }
        if (m_hWnd != nullptr) {
            ::ShowWindow(m_hWnd, SW_SHOW);
        } else if (CreateControlWindow(hwndParent, rcPos) == nullptr) {
            return E_FAIL;
        }
        SetObjectRects(&rcPos, &rcClip);
    }

    // A container without ambient properties is an old one that expects every activating
    // verb to activate the user interface too.
    const bool bUIActivate = iVerb == OLEIVERB_UIACTIVATE || iVerb == OLEIVERB_PRIMARY ||
                             (DoesVerbActivate(iVerb) && !m_spAmbientDispatch);
    if (bUIActivate && !m_bUIActive) {
        m_bUIActive = true;
        const HRESULT hr = m_spInPlaceSite->OnUIActivate();
        if (FAILED(hr)) {
            m_bUIActive = false;
            return hr;
        }
        SetControlFocus(true);
        IOleInPlaceActiveObject* pActive = static_cast<IOleInPlaceActiveObject*>(this);
        if (spFrame) spFrame->SetActiveObject(pActive, nullptr);
        if (spDocument) spDocument->SetActiveObject(pActive, nullptr);
        if (spFrame) spFrame->SetBorderSpace(nullptr);
        if (spDocument) spDocument->SetBorderSpace(nullptr);
    }
    m_spClientSite->ShowObject();
    return S_OK;
}

bool QelControl::SetControlFocus(bool bGrab) {
    if (!m_bInPlaceActive || m_hWnd == nullptr) return false;
    const HWND hWnd = bGrab ? m_hWnd : ::GetParent(m_hWnd);
    return hWnd != nullptr && ::SetFocus(hWnd) != nullptr;
}

HRESULT QelControl::DoVerbProperties(HWND hwndParent) {
    ComPtr<IOleControlSite> spControlSite;
    if (m_spClientSite && SUCCEEDED(m_spClientSite.As(&spControlSite)) &&
        SUCCEEDED(spControlSite->ShowPropertyFrame())) {
        return S_OK;
    }
    CAUUID pages = {};
    HRESULT hr = GetPages(&pages);
    if (FAILED(hr)) return OLEOBJ_S_CANNOT_DOVERB_NOW;
    LPOLESTR pszTitle = nullptr;
    GetUserType(USERCLASSTYPE_SHORT, &pszTitle);
    IUnknown* pObject = InnerUnknown();
    hr = ::OleCreatePropertyFrame(hwndParent, m_rcPos.top, m_rcPos.left, pszTitle, 1, &pObject, pages.cElems,
                                  pages.pElems, LOCALE_USER_DEFAULT, 0, nullptr);
    ::CoTaskMemFree(pszTitle);
    ::CoTaskMemFree(pages.pElems);
    return hr;
}

STDMETHODIMP QelControl::GetWindow(HWND* phwnd) {
    if (phwnd == nullptr) return E_POINTER;
    *phwnd = m_hWnd;
    return m_hWnd != nullptr ? S_OK : E_FAIL;
}

STDMETHODIMP QelControl::ContextSensitiveHelp(BOOL) { return E_NOTIMPL; }

STDMETHODIMP QelControl::InPlaceDeactivate() {
    if (!m_bInPlaceActive) return S_OK;
    UIDeactivate();
    m_bInPlaceActive = false;
    if (m_hWnd != nullptr) ::DestroyWindow(m_hWnd);
    ReleaseWindowClass();
    if (m_spInPlaceSiteEx) {
        m_spInPlaceSiteEx->OnInPlaceDeactivateEx(TRUE);
    } else if (m_spInPlaceSite) {
        m_spInPlaceSite->OnInPlaceDeactivate();
    }
    return S_OK;
}

STDMETHODIMP QelControl::UIDeactivate() {
    if (!m_bInPlaceActive || !m_bUIActive) return S_OK;
    m_bUIActive = false;
    HWND hwndParent = nullptr;
    if (m_spInPlaceSite && m_spInPlaceSite->GetWindow(&hwndParent) == S_OK) {
        ComPtr<IOleInPlaceFrame> spFrame;
        ComPtr<IOleInPlaceUIWindow> spDocument;
        RECT rcPos = {}, rcClip = {};
        OLEINPLACEFRAMEINFO frameInfo = {};
        frameInfo.cb = sizeof(frameInfo);
        m_spInPlaceSite->GetWindowContext(&spFrame, &spDocument, &rcPos, &rcClip, &frameInfo);
        if (spDocument) spDocument->SetActiveObject(nullptr, nullptr);
        if (spFrame) spFrame->SetActiveObject(nullptr, nullptr);
    }
    if (m_spInPlaceSite) m_spInPlaceSite->OnUIDeactivate(FALSE);
    return S_OK;
}

STDMETHODIMP QelControl::SetObjectRects(LPCRECT lprcPosRect, LPCRECT lprcClipRect) {
    if (lprcPosRect == nullptr || lprcClipRect == nullptr) return E_POINTER;
    m_rcPos = *lprcPosRect;
    if (m_hWnd == nullptr) return S_OK;
    // Only the visible part of the window is shown; the region is the window's from here on.
    RECT rcVisible;
    HRGN hRegion = nullptr;
    if (::IntersectRect(&rcVisible, lprcPosRect, lprcClipRect) && !::EqualRect(&rcVisible, lprcPosRect)) {
        ::OffsetRect(&rcVisible, -lprcPosRect->left, -lprcPosRect->top);
        hRegion = ::CreateRectRgnIndirect(&rcVisible);
    }
    ::SetWindowRgn(m_hWnd, hRegion, TRUE);
    ::SetWindowPos(m_hWnd, nullptr, lprcPosRect->left, lprcPosRect->top, lprcPosRect->right - lprcPosRect->left,
                   lprcPosRect->bottom - lprcPosRect->top, SWP_NOZORDER | SWP_NOACTIVATE);
    return S_OK;
}

STDMETHODIMP QelControl::ReactivateAndUndo() { return E_NOTIMPL; }

// Never windowless: these are only asked of windowless objects.
STDMETHODIMP QelControl::OnWindowMessage(UINT, WPARAM, LPARAM, LRESULT*) { return S_FALSE; }

STDMETHODIMP QelControl::GetDropTarget(IDropTarget** ppDropTarget) {
    if (ppDropTarget != nullptr) *ppDropTarget = nullptr;
    return E_NOTIMPL;
}

STDMETHODIMP QelControl::TranslateAccelerator(LPMSG) { return S_FALSE; }

STDMETHODIMP QelControl::OnFrameWindowActivate(BOOL) { return S_OK; }

STDMETHODIMP QelControl::OnDocWindowActivate(BOOL fActivate) {
    if (!fActivate) UIDeactivate();
    return S_OK;
}

STDMETHODIMP QelControl::ResizeBorder(LPCRECT, IOleInPlaceUIWindow*, BOOL) { return S_OK; }

STDMETHODIMP QelControl::EnableModeless(BOOL) { return S_OK; }

}  // namespace qel::activex
