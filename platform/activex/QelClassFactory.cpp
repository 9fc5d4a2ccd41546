#include "activex/QelClassFactory.h"

#include <new>

#include "activex/QelComModule.h"
#include "activex/QelSingleInterfaceUnknown.h"

namespace qel::activex {

namespace {

class QelClassFactory final : public QelSingleInterfaceUnknown<IClassFactory> {
public:
    explicit QelClassFactory(QelCreateFunction pfnCreate) : m_pfnCreate(pfnCreate) {}

    STDMETHODIMP CreateInstance(IUnknown* pOuter, REFIID riid, void** ppv) override {
        if (ppv == nullptr) return E_POINTER;
        *ppv = nullptr;
        // An aggregated object can only be handed to its outer object as its inner unknown.
        if (pOuter != nullptr && riid != IID_IUnknown) return CLASS_E_NOAGGREGATION;
        return m_pfnCreate(pOuter, riid, ppv);
    }
    STDMETHODIMP LockServer(BOOL fLock) override {
        if (fLock) {
            QelLockModule();
        } else {
            QelUnlockModule();
        }
        return S_OK;
    }

private:
    QelCreateFunction m_pfnCreate;
};

}  // namespace

HRESULT QelGetClassFactory(QelCreateFunction pfnCreate, REFIID riid, void** ppv) {
    if (ppv == nullptr) return E_POINTER;
    *ppv = nullptr;
    auto* pFactory = new (std::nothrow) QelClassFactory(pfnCreate);
    if (pFactory == nullptr) return E_OUTOFMEMORY;
    pFactory->AddRef();
    const HRESULT hr = pFactory->QueryInterface(riid, ppv);
    pFactory->Release();
    return hr;
}

}  // namespace qel::activex
