// Identity, lifetime, the stock properties and the notifications every interface shares.
#include "activex/QelControl.h"

#include "activex/QelComGuard.h"

namespace qel::activex {

using Microsoft::WRL::ComPtr;

namespace {
// Two inches square, as a new control is sized until its container says otherwise.
constexpr LONG kDefaultExtentHimetric = 2 * 2540;
}  // namespace

QelControl::QelControl(const QelControlTraits& traits, IUnknown* pOuter)
    : m_sizeExtent{kDefaultExtentHimetric, kDefaultExtentHimetric},
      m_sizeNatural{kDefaultExtentHimetric, kDefaultExtentHimetric},
      m_traits(traits),
      m_pOuter(pOuter != nullptr ? pOuter : &m_inner),
      m_cpEvents(*this, *traits.piidEvents),
      m_cpPropertyNotify(*this, IID_IPropertyNotifySink) {}

QelControl::~QelControl() {
    // Normally gone with the deactivation in InternalRelease; never leave a window that
    // would call into freed memory.
    if (m_hWnd != nullptr) {
        ::SetWindowLongPtrW(m_hWnd, GWLP_USERDATA, 0);
        ::DestroyWindow(m_hWnd);
        m_hWnd = nullptr;
    }
    ReleaseWindowClass();
}

STDMETHODIMP QelControl::QueryInterface(REFIID riid, void** ppv) { return m_pOuter->QueryInterface(riid, ppv); }

STDMETHODIMP_(ULONG) QelControl::AddRef() { return m_pOuter->AddRef(); }

STDMETHODIMP_(ULONG) QelControl::Release() { return m_pOuter->Release(); }

HRESULT QelControl::InternalQueryInterface(REFIID riid, void** ppv) {
    if (ppv == nullptr) return E_POINTER;
    *ppv = nullptr;
    if (riid == IID_IUnknown) {
        *ppv = &m_inner;
    } else if (void* pControl = QueryControlInterface(riid)) {
        *ppv = pControl;
    } else if (riid == IID_IViewObjectEx || riid == IID_IViewObject2 || riid == IID_IViewObject) {
        *ppv = static_cast<IViewObjectEx*>(this);
    } else if (riid == IID_IOleInPlaceObjectWindowless || riid == IID_IOleInPlaceObject || riid == IID_IOleWindow) {
        *ppv = static_cast<IOleInPlaceObjectWindowless*>(this);
    } else if (riid == IID_IOleInPlaceActiveObject) {
        *ppv = static_cast<IOleInPlaceActiveObject*>(this);
    } else if (riid == IID_IOleControl) {
        *ppv = static_cast<IOleControl*>(this);
    } else if (riid == IID_IOleObject) {
        *ppv = static_cast<IOleObject*>(this);
    } else if (riid == IID_IPersistStreamInit || riid == IID_IPersist) {
        *ppv = static_cast<IPersistStreamInit*>(this);
    } else if (riid == IID_ISupportErrorInfo) {
        *ppv = static_cast<ISupportErrorInfo*>(this);
    } else if (riid == IID_IConnectionPointContainer) {
        *ppv = static_cast<IConnectionPointContainer*>(this);
    } else if (riid == IID_ISpecifyPropertyPages) {
        *ppv = static_cast<ISpecifyPropertyPages*>(this);
    } else if (riid == IID_IQuickActivate) {
        *ppv = static_cast<IQuickActivate*>(this);
    } else if (riid == IID_IPersistStorage) {
        *ppv = static_cast<IPersistStorage*>(this);
    } else if (riid == IID_IDataObject) {
        *ppv = static_cast<IDataObject*>(this);
    } else if (riid == IID_IProvideClassInfo || riid == IID_IProvideClassInfo2) {
        *ppv = static_cast<IProvideClassInfo2*>(this);
    } else if (riid == IID_IObjectWithSite) {
        *ppv = static_cast<IObjectWithSite*>(this);
    } else if (riid == IID_IServiceProvider) {
        *ppv = static_cast<IServiceProvider*>(this);
    } else if (riid == IID_IObjectSafety) {
        *ppv = static_cast<IObjectSafety*>(this);
    } else {
        return E_NOINTERFACE;
    }
    static_cast<IUnknown*>(*ppv)->AddRef();
    return S_OK;
}

ULONG QelControl::InternalRelease() {
    const ULONG nRefs = --m_nRefs;
    if (nRefs == 0) {
        // Held at one while the object takes its window down, so that calls made meanwhile
        // cannot release it a second time.
        m_nRefs = 1;
        InPlaceDeactivate();
        delete this;
    }
    return nRefs;
}

HRESULT QelControl::GetStockProperty(long nValue, long* pValue) {
    if (pValue == nullptr) return E_POINTER;
    *pValue = nValue;
    return S_OK;
}

HRESULT QelControl::PutStockProperty(DISPID dispid, long& nField, long nValue) {
    return QelNoThrow([&] {
        if (m_nFreezeEvents == 0 && FireOnRequestEdit(dispid) == S_FALSE) return S_FALSE;
        nField = nValue;
        m_bRequiresSave = true;
        if (m_nFreezeEvents == 0) FireOnChanged(dispid);
        FireViewChange();
        SendOnDataChange();
        return S_OK;
    });
}

HRESULT QelControl::FireOnRequestEdit(DISPID dispid) {
    for (const ComPtr<IUnknown>& spSink : m_cpPropertyNotify.Sinks()) {
        if (static_cast<IPropertyNotifySink*>(spSink.Get())->OnRequestEdit(dispid) == S_FALSE) return S_FALSE;
    }
    return S_OK;
}

void QelControl::FireOnChanged(DISPID dispid) {
    for (const ComPtr<IUnknown>& spSink : m_cpPropertyNotify.Sinks()) {
        static_cast<IPropertyNotifySink*>(spSink.Get())->OnChanged(dispid);
    }
}

void QelControl::FireViewChange() {
    if (m_bInPlaceActive) {
        if (m_hWnd != nullptr) ::InvalidateRect(m_hWnd, nullptr, TRUE);
    } else if (m_spViewAdviseSink) {
        m_spViewAdviseSink->OnViewChange(DVASPECT_CONTENT, -1);
    }
}

void QelControl::SendOnDataChange(DWORD advf) {
    if (m_spDataAdviseHolder) m_spDataAdviseHolder->SendOnDataChange(static_cast<IDataObject*>(this), 0, advf);
}

HRESULT QelControl::ReportError(HRESULT hr, const wchar_t* pszDescription) {
    ComPtr<ICreateErrorInfo> spCreate;
    if (FAILED(::CreateErrorInfo(&spCreate))) return hr;
    spCreate->SetGUID(*m_traits.piidDispatch);
    LPOLESTR pszProgId = nullptr;
    if (SUCCEEDED(::ProgIDFromCLSID(*m_traits.pclsid, &pszProgId))) {
        spCreate->SetSource(pszProgId);
        ::CoTaskMemFree(pszProgId);
    }
    spCreate->SetDescription(const_cast<LPOLESTR>(pszDescription));
    ComPtr<IErrorInfo> spInfo;
    if (SUCCEEDED(spCreate.As(&spInfo))) ::SetErrorInfo(0, spInfo.Get());
    return hr;
}

}  // namespace qel::activex
