// IUnknown for a COM object that answers one interface (and IUnknown) and is deleted at
// its last Release. The count is atomic: clients may release from any thread.
#pragma once

#include <unknwn.h>

#include <atomic>

namespace qel::activex {

template <class TInterface>
class QelSingleInterfaceUnknown : public TInterface {
public:
    STDMETHODIMP QueryInterface(REFIID riid, void** ppv) override {
        if (ppv == nullptr) return E_POINTER;
        if (riid == IID_IUnknown || riid == __uuidof(TInterface)) {
            *ppv = static_cast<TInterface*>(this);
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

protected:
    QelSingleInterfaceUnknown() = default;
    virtual ~QelSingleInterfaceUnknown() = default;

private:
    std::atomic<ULONG> m_nRefs{0};
};

}  // namespace qel::activex
