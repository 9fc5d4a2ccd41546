// What a container learns about the control: its connection points, class information,
// property pages, site, services, safety and error information.
#include "activex/QelControl.h"

#include <vector>

#include "activex/QelComGuard.h"
#include "activex/QelEnumerator.h"
#include "activex/QelTypeLib.h"

namespace qel::activex {

using Microsoft::WRL::ComPtr;

STDMETHODIMP QelControl::EnumConnectionPoints(IEnumConnectionPoints** ppEnum) {
    return QelNoThrow([&] {
        const std::vector<IConnectionPoint*> points = {&m_cpEvents, &m_cpPropertyNotify};
        return QelConnectionPointEnumerator::Create(points, 0, ppEnum);
    });
}

STDMETHODIMP QelControl::FindConnectionPoint(REFIID riid, IConnectionPoint** ppCP) {
    if (ppCP == nullptr) return E_POINTER;
    *ppCP = nullptr;
    if (riid == m_cpEvents.Interface()) {
        *ppCP = &m_cpEvents;
    } else if (riid == m_cpPropertyNotify.Interface()) {
        *ppCP = &m_cpPropertyNotify;
    } else {
        return CONNECT_E_NOCONNECTION;
    }
    (*ppCP)->AddRef();
    return S_OK;
}

STDMETHODIMP QelControl::GetClassInfo(ITypeInfo** ppTI) {
    if (ppTI == nullptr) return E_POINTER;
    *ppTI = nullptr;
    ComPtr<ITypeInfo> spInfo;
    const HRESULT hr = QelGetModuleTypeInfo(*m_traits.pclsid, spInfo);
    if (FAILED(hr)) return hr;
    *ppTI = spInfo.Detach();
    return S_OK;
}

STDMETHODIMP QelControl::GetGUID(DWORD dwGuidKind, GUID* pGUID) {
    if (pGUID == nullptr) return E_POINTER;
    if (dwGuidKind != GUIDKIND_DEFAULT_SOURCE_DISP_IID) {
        *pGUID = GUID_NULL;
        return E_INVALIDARG;
    }
    *pGUID = *m_traits.piidEvents;
    return S_OK;
}

STDMETHODIMP QelControl::GetPages(CAUUID* pPages) {
    if (pPages == nullptr) return E_POINTER;
    *pPages = CAUUID{};
    return QelNoThrow([&] {
        // Every distinct page the property map names, in map order.
        std::vector<CLSID> pages;
        for (size_t i = 0; i < m_traits.nProperties; ++i) {
            const CLSID* pPage = m_traits.pProperties[i].pclsidPage;
            if (pPage == nullptr || *pPage == CLSID_NULL) continue;
            bool bKnown = false;
            for (const CLSID& known : pages) bKnown = bKnown || known == *pPage;
            if (!bKnown) pages.push_back(*pPage);
        }
        if (pages.empty()) return S_OK;
        auto* pElems = static_cast<CLSID*>(::CoTaskMemAlloc(pages.size() * sizeof(CLSID)));
        if (pElems == nullptr) return E_OUTOFMEMORY;
        std::copy(pages.begin(), pages.end(), pElems);
        pPages->cElems = static_cast<ULONG>(pages.size());
        pPages->pElems = pElems;
        return S_OK;
    });
}

STDMETHODIMP QelControl::SetSite(IUnknown* pUnkSite) {
    m_spUnkSite = pUnkSite;
    return S_OK;
}

STDMETHODIMP QelControl::GetSite(REFIID riid, void** ppvSite) {
    if (ppvSite == nullptr) return E_POINTER;
    *ppvSite = nullptr;
    if (!m_spUnkSite) return E_FAIL;
    return m_spUnkSite->QueryInterface(riid, ppvSite);
}

// The control offers no services of its own.
STDMETHODIMP QelControl::QueryService(REFGUID, REFIID, void** ppvObject) {
    if (ppvObject == nullptr) return E_POINTER;
    *ppvObject = nullptr;
    return E_NOINTERFACE;
}

STDMETHODIMP QelControl::GetInterfaceSafetyOptions(REFIID riid, DWORD* pdwSupportedOptions,
                                                   DWORD* pdwEnabledOptions) {
    if (pdwSupportedOptions == nullptr || pdwEnabledOptions == nullptr) return E_POINTER;
    *pdwSupportedOptions = 0;
    *pdwEnabledOptions = 0;
    ComPtr<IUnknown> spInterface;
    const HRESULT hr = InnerUnknown()->QueryInterface(riid, reinterpret_cast<void**>(spInterface.GetAddressOf()));
    if (FAILED(hr)) return hr;
    *pdwSupportedOptions = m_traits.dwSafetyOptions;
    *pdwEnabledOptions = m_dwCurrentSafety;
    return S_OK;
}

STDMETHODIMP QelControl::SetInterfaceSafetyOptions(REFIID riid, DWORD dwOptionSetMask, DWORD dwEnabledOptions) {
    if ((dwOptionSetMask & ~m_traits.dwSafetyOptions) != 0) return E_FAIL;
    ComPtr<IUnknown> spInterface;
    const HRESULT hr = InnerUnknown()->QueryInterface(riid, reinterpret_cast<void**>(spInterface.GetAddressOf()));
    if (FAILED(hr)) return hr;
    m_dwCurrentSafety = (m_dwCurrentSafety & ~dwOptionSetMask) | (dwOptionSetMask & dwEnabledOptions);
    return S_OK;
}

STDMETHODIMP QelControl::InterfaceSupportsErrorInfo(REFIID riid) {
    return riid == *m_traits.piidDispatch ? S_OK : S_FALSE;
}

}  // namespace qel::activex
