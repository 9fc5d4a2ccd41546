// IOleControl and IQuickActivate: what a container settles with the control before and
// around activation.
#include "activex/QelControl.h"

#include <algorithm>
#include <cstring>

namespace qel::activex {

STDMETHODIMP QelControl::GetControlInfo(CONTROLINFO*) { return E_NOTIMPL; }

STDMETHODIMP QelControl::OnMnemonic(MSG*) { return E_NOTIMPL; }

STDMETHODIMP QelControl::OnAmbientPropertyChange(DISPID) { return S_OK; }

STDMETHODIMP QelControl::FreezeEvents(BOOL bFreeze) {
    if (bFreeze) {
        ++m_nFreezeEvents;
    } else if (m_nFreezeEvents > 0) {
        --m_nFreezeEvents;
    }
    return S_OK;
}

STDMETHODIMP QelControl::QuickActivate(QACONTAINER* pQaContainer, QACONTROL* pQaControl) {
    if (pQaContainer == nullptr || pQaControl == nullptr) return E_POINTER;
    const ULONG cbSize = pQaControl->cbSize;
    std::memset(pQaControl, 0, std::min<size_t>(cbSize, sizeof(QACONTROL)));
    pQaControl->cbSize = cbSize;

    SetClientSite(pQaContainer->pClientSite);
    if (pQaContainer->pAdviseSink != nullptr) SetAdvise(DVASPECT_CONTENT, 0, pQaContainer->pAdviseSink);
    if (pQaContainer->pPropertyNotifySink != nullptr) {
        m_cpPropertyNotify.Advise(pQaContainer->pPropertyNotifySink, &pQaControl->dwPropNotifyCookie);
    }
    if (pQaContainer->pUnkEventSink != nullptr) m_cpEvents.Advise(pQaContainer->pUnkEventSink, &pQaControl->dwEventCookie);
    GetMiscStatus(DVASPECT_CONTENT, &pQaControl->dwMiscStatus);
    GetViewStatus(&pQaControl->dwViewStatus);
    return S_OK;
}

STDMETHODIMP QelControl::SetContentExtent(LPSIZEL pSizel) { return SetExtent(DVASPECT_CONTENT, pSizel); }

STDMETHODIMP QelControl::GetContentExtent(LPSIZEL pSizel) {
    return static_cast<IOleObject*>(this)->GetExtent(DVASPECT_CONTENT, pSizel);
}

}  // namespace qel::activex
