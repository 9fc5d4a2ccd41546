// IOleObject: the client site, verbs, extent, advises and closing.
#include "activex/QelControl.h"

namespace qel::activex {

STDMETHODIMP QelControl::SetClientSite(IOleClientSite* pClientSite) {
    m_spClientSite = pClientSite;
    m_spAmbientDispatch.Reset();
    if (m_spClientSite) m_spClientSite.As(&m_spAmbientDispatch);
    return S_OK;
}

STDMETHODIMP QelControl::GetClientSite(IOleClientSite** ppClientSite) {
    if (ppClientSite == nullptr) return E_POINTER;
    *ppClientSite = m_spClientSite.Get();
    if (*ppClientSite != nullptr) (*ppClientSite)->AddRef();
    return S_OK;
}

STDMETHODIMP QelControl::SetHostNames(LPCOLESTR, LPCOLESTR) { return S_OK; }

STDMETHODIMP QelControl::Close(DWORD dwSaveOption) {
    if (m_hWnd != nullptr && m_spClientSite) m_spClientSite->OnShowWindow(FALSE);
    if (m_bInPlaceActive) {
        const HRESULT hr = InPlaceDeactivate();
        if (FAILED(hr)) return hr;
    }
    if ((dwSaveOption == OLECLOSE_SAVEIFDIRTY || dwSaveOption == OLECLOSE_PROMPTSAVE) && m_bRequiresSave) {
        if (m_spClientSite) m_spClientSite->SaveObject();
        if (m_spOleAdviseHolder) m_spOleAdviseHolder->SendOnSave();
    }
    m_spInPlaceSite.Reset();
    m_spInPlaceSiteEx.Reset();
    m_spViewAdviseSink.Reset();
    if (m_spOleAdviseHolder) m_spOleAdviseHolder->SendOnClose();
    return S_OK;
}

STDMETHODIMP QelControl::SetMoniker(DWORD, IMoniker*) { return E_NOTIMPL; }

STDMETHODIMP QelControl::GetMoniker(DWORD, DWORD, IMoniker** ppmk) {
    if (ppmk != nullptr) *ppmk = nullptr;
    return E_NOTIMPL;
}

STDMETHODIMP QelControl::InitFromData(IDataObject*, BOOL, DWORD) { return E_NOTIMPL; }

STDMETHODIMP QelControl::GetClipboardData(DWORD, IDataObject** ppDataObject) {
    if (ppDataObject != nullptr) *ppDataObject = nullptr;
    return E_NOTIMPL;
}

STDMETHODIMP QelControl::DoVerb(LONG iVerb, LPMSG, IOleClientSite*, LONG, HWND hwndParent, LPCRECT lprcPosRect) {
    switch (iVerb) {
    case OLEIVERB_PRIMARY: {
        // In a designer the primary verb shows the properties, in use it activates.
        bool bUserMode = true;
        if (SUCCEEDED(GetAmbientUserMode(bUserMode)) && !bUserMode) return DoVerbProperties(hwndParent);
        iVerb = OLEIVERB_INPLACEACTIVATE;
        [[fallthrough]];
    }
    case OLEIVERB_SHOW:
    case OLEIVERB_INPLACEACTIVATE:
    case OLEIVERB_UIACTIVATE: {
        const HRESULT hr = InPlaceActivate(iVerb, lprcPosRect);
        if (SUCCEEDED(hr)) FireViewChange();
        return hr;
    }
    case OLEIVERB_HIDE:
        UIDeactivate();
        if (m_hWnd != nullptr) ::ShowWindow(m_hWnd, SW_HIDE);
        return S_OK;
    case OLEIVERB_OPEN:
    case OLEIVERB_DISCARDUNDOSTATE:
        return S_OK;
    case OLEIVERB_PROPERTIES:
        return DoVerbProperties(hwndParent);
    default:
        return iVerb > 0 ? OLEOBJ_S_INVALIDVERB : E_NOTIMPL;
    }
}

STDMETHODIMP QelControl::EnumVerbs(IEnumOLEVERB** ppEnumOleVerb) {
    if (ppEnumOleVerb == nullptr) return E_POINTER;
    return ::OleRegEnumVerbs(*m_traits.pclsid, ppEnumOleVerb);
}

STDMETHODIMP QelControl::Update() { return S_OK; }

STDMETHODIMP QelControl::IsUpToDate() { return S_OK; }

STDMETHODIMP QelControl::GetUserClassID(CLSID* pClsid) {
    if (pClsid == nullptr) return E_POINTER;
    *pClsid = *m_traits.pclsid;
    return S_OK;
}

STDMETHODIMP QelControl::GetUserType(DWORD dwFormOfType, LPOLESTR* pszUserType) {
    if (pszUserType == nullptr) return E_POINTER;
    return ::OleRegGetUserType(*m_traits.pclsid, dwFormOfType, pszUserType);
}

STDMETHODIMP QelControl::SetExtent(DWORD dwDrawAspect, SIZEL* psizel) {
    if (dwDrawAspect != DVASPECT_CONTENT) return DV_E_DVASPECT;
    if (psizel == nullptr) return E_POINTER;
    m_sizeExtent = *psizel;
    return S_OK;
}

STDMETHODIMP QelControl::GetExtent(DWORD dwDrawAspect, SIZEL* psizel) {
    if (dwDrawAspect != DVASPECT_CONTENT) return DV_E_DVASPECT;
    if (psizel == nullptr) return E_POINTER;
    *psizel = m_sizeExtent;
    return S_OK;
}

STDMETHODIMP QelControl::Advise(IAdviseSink* pAdvSink, DWORD* pdwConnection) {
    if (pdwConnection == nullptr) return E_POINTER;
    *pdwConnection = 0;
    if (!m_spOleAdviseHolder) {
        const HRESULT hr = ::CreateOleAdviseHolder(&m_spOleAdviseHolder);
        if (FAILED(hr)) return hr;
    }
    return m_spOleAdviseHolder->Advise(pAdvSink, pdwConnection);
}

STDMETHODIMP QelControl::Unadvise(DWORD dwConnection) {
    if (!m_spOleAdviseHolder) return OLE_E_NOCONNECTION;
    return m_spOleAdviseHolder->Unadvise(dwConnection);
}

STDMETHODIMP QelControl::EnumAdvise(IEnumSTATDATA** ppenumAdvise) {
    if (ppenumAdvise == nullptr) return E_POINTER;
    *ppenumAdvise = nullptr;
    if (!m_spOleAdviseHolder) return S_OK;
    return m_spOleAdviseHolder->EnumAdvise(ppenumAdvise);
}

STDMETHODIMP QelControl::GetMiscStatus(DWORD dwAspect, DWORD* pdwStatus) {
    if (pdwStatus == nullptr) return E_POINTER;
    // The same numbers as the registry's MiscStatus key: the content aspect's own, none
    // for the others.
    *pdwStatus = dwAspect == DVASPECT_CONTENT ? m_traits.dwMiscStatus : 0;
    return S_OK;
}

STDMETHODIMP QelControl::SetColorScheme(LOGPALETTE*) { return E_NOTIMPL; }

}  // namespace qel::activex
