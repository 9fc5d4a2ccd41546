#include "activex/QelConnectionPoint.h"

#include <olectl.h>

#include "activex/QelComGuard.h"
#include "activex/QelEnumerator.h"

namespace qel::activex {

using Microsoft::WRL::ComPtr;

STDMETHODIMP QelConnectionPoint::QueryInterface(REFIID riid, void** ppv) {
    if (ppv == nullptr) return E_POINTER;
    if (riid == IID_IUnknown || riid == IID_IConnectionPoint) {
        *ppv = static_cast<IConnectionPoint*>(this);
        AddRef();
        return S_OK;
    }
    *ppv = nullptr;
    return E_NOINTERFACE;
}

STDMETHODIMP QelConnectionPoint::GetConnectionInterface(IID* pIID) {
    if (pIID == nullptr) return E_POINTER;
    *pIID = m_iid;
    return S_OK;
}

STDMETHODIMP QelConnectionPoint::GetConnectionPointContainer(IConnectionPointContainer** ppCPC) {
    if (ppCPC == nullptr) return E_POINTER;
    *ppCPC = &m_container;
    m_container.AddRef();
    return S_OK;
}

STDMETHODIMP QelConnectionPoint::Advise(IUnknown* pUnkSink, DWORD* pdwCookie) {
    if (pUnkSink == nullptr || pdwCookie == nullptr) return E_POINTER;
    *pdwCookie = 0;
    ComPtr<IUnknown> spSink;
    if (FAILED(pUnkSink->QueryInterface(m_iid, reinterpret_cast<void**>(spSink.GetAddressOf())))) {
        return CONNECT_E_CANNOTCONNECT;
    }
    return QelNoThrow([&] {
        m_vecSinks.emplace_back(m_dwNextCookie, spSink);
        *pdwCookie = m_dwNextCookie++;
        return S_OK;
    });
}

STDMETHODIMP QelConnectionPoint::Unadvise(DWORD dwCookie) {
    for (auto it = m_vecSinks.begin(); it != m_vecSinks.end(); ++it) {
        if (it->first == dwCookie) {
            // Released after it has left the list, in case the sink calls back.
            const ComPtr<IUnknown> spSink = std::move(it->second);
            m_vecSinks.erase(it);
            return S_OK;
        }
    }
    return CONNECT_E_NOCONNECTION;
}

STDMETHODIMP QelConnectionPoint::EnumConnections(IEnumConnections** ppEnum) {
    return QelNoThrow([&] {
        std::vector<CONNECTDATA> vecConnections;
        for (const auto& sink : m_vecSinks) vecConnections.push_back(CONNECTDATA{sink.second.Get(), sink.first});
        return QelConnectionEnumerator::Create(vecConnections, 0, ppEnum);
    });
}

std::vector<ComPtr<IUnknown>> QelConnectionPoint::Sinks() const {
    std::vector<ComPtr<IUnknown>> vecSinks;
    for (const auto& sink : m_vecSinks) vecSinks.push_back(sink.second);
    return vecSinks;
}

}  // namespace qel::activex
