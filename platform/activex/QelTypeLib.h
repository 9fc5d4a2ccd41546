// The type library embedded in this module as TYPELIB resource 1, and the type
// descriptions the control's interfaces are served from. Each caller holds what it gets,
// so nothing of the library outlives the objects that use it.
#pragma once

#include <oaidl.h>
#include <wrl/client.h>

namespace qel::activex {

HRESULT QelLoadModuleTypeLib(Microsoft::WRL::ComPtr<ITypeLib>& spLib);
// The description of a type of the module's library by its GUID.
HRESULT QelGetModuleTypeInfo(REFGUID guid, Microsoft::WRL::ComPtr<ITypeInfo>& spInfo);

// IDispatch of a dual interface, served from its description: names and calls go through
// the interface's own vtable.
class QelDispatchTypeInfo {
public:
    explicit QelDispatchTypeInfo(const IID& iid) : m_iid(iid) {}

    HRESULT GetTypeInfoCount(UINT* pctinfo);
    HRESULT GetTypeInfo(UINT iTInfo, ITypeInfo** ppTInfo);
    HRESULT GetIDsOfNames(REFIID riid, LPOLESTR* rgszNames, UINT cNames, DISPID* rgDispId);
    // pInterface is the object's pointer of the dual interface.
    HRESULT Invoke(void* pInterface, DISPID dispIdMember, REFIID riid, WORD wFlags, DISPPARAMS* pDispParams,
                   VARIANT* pVarResult, EXCEPINFO* pExcepInfo, UINT* puArgErr);

private:
    HRESULT Load();
    // A property get without arguments, called through the vtable as the description
    // gives it; S_FALSE when the get is not of that simple form.
    HRESULT InvokePropertyGet(void* pInterface, DISPID dispIdMember, VARIANT* pVarResult, EXCEPINFO* pExcepInfo);

    const IID& m_iid;
    // The dispinterface view the library lists, and the vtable interface behind it.
    Microsoft::WRL::ComPtr<ITypeInfo> m_spDispatchInfo;
    Microsoft::WRL::ComPtr<ITypeInfo> m_spInterfaceInfo;
};

// Implements IDispatch of TDual through its description in the module's type library.
template <class TDual>
class QelDualDispatch : public TDual {
public:
    STDMETHODIMP GetTypeInfoCount(UINT* pctinfo) override { return m_typeInfo.GetTypeInfoCount(pctinfo); }
    STDMETHODIMP GetTypeInfo(UINT iTInfo, LCID, ITypeInfo** ppTInfo) override {
        return m_typeInfo.GetTypeInfo(iTInfo, ppTInfo);
    }
    STDMETHODIMP GetIDsOfNames(REFIID riid, LPOLESTR* rgszNames, UINT cNames, LCID, DISPID* rgDispId) override {
        return m_typeInfo.GetIDsOfNames(riid, rgszNames, cNames, rgDispId);
    }
    STDMETHODIMP Invoke(DISPID dispIdMember, REFIID riid, LCID, WORD wFlags, DISPPARAMS* pDispParams,
                        VARIANT* pVarResult, EXCEPINFO* pExcepInfo, UINT* puArgErr) override {
        return m_typeInfo.Invoke(static_cast<TDual*>(this), dispIdMember, riid, wFlags, pDispParams, pVarResult,
                                 pExcepInfo, puArgErr);
    }

protected:
    explicit QelDualDispatch(const IID& iid) : m_typeInfo(iid) {}

private:
    QelDispatchTypeInfo m_typeInfo;
};

}  // namespace qel::activex
