// A COM enumerator over a snapshot of elements (connection points, connections), each
// holding its own references; clones share nothing with the original.
#pragma once

#include <ocidl.h>

#include <new>
#include <vector>

#include "activex/QelComGuard.h"
#include "activex/QelComModule.h"
#include "activex/QelSingleInterfaceUnknown.h"

namespace qel::activex {

// The references an element holds.
inline void QelAddRefElement(IConnectionPoint* p) { p->AddRef(); }
inline void QelReleaseElement(IConnectionPoint* p) { p->Release(); }
inline void QelAddRefElement(const CONNECTDATA& data) { data.pUnk->AddRef(); }
inline void QelReleaseElement(const CONNECTDATA& data) { data.pUnk->Release(); }

template <class TEnum, class TElement>
class QelEnumerator final : public QelSingleInterfaceUnknown<TEnum> {
public:
    // Takes the elements with a reference of their own each.
    static HRESULT Create(const std::vector<TElement>& elements, size_t nPosition, TEnum** ppEnum) {
        if (ppEnum == nullptr) return E_POINTER;
        *ppEnum = nullptr;
        return QelNoThrow([&] {
            auto* pEnum = new QelEnumerator(elements, nPosition);
            pEnum->AddRef();
            *ppEnum = pEnum;
            return S_OK;
        });
    }

    STDMETHODIMP Next(ULONG celt, TElement* rgelt, ULONG* pceltFetched) override {
        if (rgelt == nullptr || (celt != 1 && pceltFetched == nullptr)) return E_POINTER;
        ULONG nFetched = 0;
        while (nFetched < celt && m_nPosition < m_vecElements.size()) {
            rgelt[nFetched] = m_vecElements[m_nPosition++];
            QelAddRefElement(rgelt[nFetched++]);
        }
        if (pceltFetched != nullptr) *pceltFetched = nFetched;
        return nFetched == celt ? S_OK : S_FALSE;
    }
    STDMETHODIMP Skip(ULONG celt) override {
        const size_t nLeft = m_vecElements.size() - m_nPosition;
        m_nPosition += celt < nLeft ? celt : nLeft;
        return celt <= nLeft ? S_OK : S_FALSE;
    }
    STDMETHODIMP Reset() override {
        m_nPosition = 0;
        return S_OK;
    }
    STDMETHODIMP Clone(TEnum** ppEnum) override { return Create(m_vecElements, m_nPosition, ppEnum); }

private:
    QelEnumerator(const std::vector<TElement>& elements, size_t nPosition)
        : m_vecElements(elements), m_nPosition(nPosition) {
        for (const TElement& element : m_vecElements) QelAddRefElement(element);
    }
    ~QelEnumerator() override {
        for (const TElement& element : m_vecElements) QelReleaseElement(element);
    }

    QelModuleLock m_lock;
    std::vector<TElement> m_vecElements;
    size_t m_nPosition;
};

using QelConnectionPointEnumerator = QelEnumerator<IEnumConnectionPoints, IConnectionPoint*>;
using QelConnectionEnumerator = QelEnumerator<IEnumConnections, CONNECTDATA>;

}  // namespace qel::activex
