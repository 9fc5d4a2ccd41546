// COM methods must never let an exception out: what the standard library throws inside
// one becomes its HRESULT here.
#pragma once

#include <winerror.h>

#include <new>

namespace qel::activex {

template <class Body>
HRESULT QelNoThrow(Body body) noexcept {
    try {
        return body();
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    } catch (...) {
        return E_UNEXPECTED;
    }
}

}  // namespace qel::activex
