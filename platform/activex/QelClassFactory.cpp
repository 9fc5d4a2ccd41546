#include "activex/QelClassFactory.h"

#include <atomic>
#include <new>

#include "activex/QelComModule.h"

namespace qel::activex {

namespace {

class QelClassFactory final : public IClassFactory {
public:
    explicit QelClassFactory(QelCreateFunction pfnCreate) : m_pfnCreate(pfnCreate) {}

    STDMETHODIMP QueryInterface(REFIID riid, void** ppv) override {
        if (ppv == nullptr) return E_POINTER;
        if (riid == IID_IUnknown || riid == IID_IClassFactory) {
            *ppv = static_cast<IClassFactory*>(this);
            AddRef();
            return S_OK;
        }
        *ppv = nullptr;
        return E_NOINTERFACE;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return ++m_nRefs; }
    STDMETHODIMP_(ULONG) Release() override {
        const ULONG nRefs = --m_nRefs;
        if (nRefs == 0) delete this;
        return nRefs;
    }

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
    std::atomic<ULONG> m_nRefs{0};
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
