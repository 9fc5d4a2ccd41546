// One connection point of a control: the sinks advised for one outgoing interface. It
// lives inside its container, whose reference count it shares.
#pragma once

#include <ocidl.h>
#include <wrl/client.h>

#include <utility>
#include <vector>

namespace qel::activex {

class QelConnectionPoint final : public IConnectionPoint {
public:
    QelConnectionPoint(IConnectionPointContainer& container, const IID& iid) : m_container(container), m_iid(iid) {}

    STDMETHODIMP QueryInterface(REFIID riid, void** ppv) override;
    STDMETHODIMP_(ULONG) AddRef() override { return m_container.AddRef(); }
    STDMETHODIMP_(ULONG) Release() override { return m_container.Release(); }

    STDMETHODIMP GetConnectionInterface(IID* pIID) override;
    STDMETHODIMP GetConnectionPointContainer(IConnectionPointContainer** ppCPC) override;
    // The sink must answer the outgoing interface, else CONNECT_E_CANNOTCONNECT.
    STDMETHODIMP Advise(IUnknown* pUnkSink, DWORD* pdwCookie) override;
    STDMETHODIMP Unadvise(DWORD dwCookie) override;
    STDMETHODIMP EnumConnections(IEnumConnections** ppEnum) override;

    const IID& Interface() const { return m_iid; }
    // The sinks as their outgoing interface, copied: a sink may unadvise while it is called.
    std::vector<Microsoft::WRL::ComPtr<IUnknown>> Sinks() const;

private:
    IConnectionPointContainer& m_container;
    const IID& m_iid;
    std::vector<std::pair<DWORD, Microsoft::WRL::ComPtr<IUnknown>>> m_vecSinks;
    DWORD m_dwNextCookie = 1;
};

}  // namespace qel::activex
