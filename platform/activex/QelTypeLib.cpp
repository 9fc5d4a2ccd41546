#include "activex/QelTypeLib.h"

#include "activex/QelComModule.h"

namespace qel::activex {

using Microsoft::WRL::ComPtr;

HRESULT QelLoadModuleTypeLib(ComPtr<ITypeLib>& spLib) {
    const std::wstring strModule = QelModuleFileName();
    if (strModule.empty()) return HRESULT_FROM_WIN32(::GetLastError());
    // Resource 1 is the default; nothing is registered by loading.
    return ::LoadTypeLibEx(strModule.c_str(), REGKIND_NONE, spLib.ReleaseAndGetAddressOf());
}

HRESULT QelGetModuleTypeInfo(REFGUID guid, ComPtr<ITypeInfo>& spInfo) {
    ComPtr<ITypeLib> spLib;
    const HRESULT hr = QelLoadModuleTypeLib(spLib);
    if (FAILED(hr)) return hr;
    return spLib->GetTypeInfoOfGuid(guid, spInfo.ReleaseAndGetAddressOf());
}

HRESULT QelDispatchTypeInfo::Load() {
    if (m_spInterfaceInfo) return S_OK;
    ComPtr<ITypeInfo> spDispatch;
    HRESULT hr = QelGetModuleTypeInfo(m_iid, spDispatch);
    if (FAILED(hr)) return hr;
    // A dual interface is listed as its dispinterface; calls go through the vtable interface.
    HREFTYPE hRef = 0;
    ComPtr<ITypeInfo> spInterface;
    hr = spDispatch->GetRefTypeOfImplType(-1, &hRef);
    if (SUCCEEDED(hr)) hr = spDispatch->GetRefTypeInfo(hRef, &spInterface);
    if (FAILED(hr)) return hr;
    m_spDispatchInfo = spDispatch;
    m_spInterfaceInfo = spInterface;
    return S_OK;
}

HRESULT QelDispatchTypeInfo::GetTypeInfoCount(UINT* pctinfo) {
    if (pctinfo == nullptr) return E_POINTER;
    *pctinfo = 1;
    return S_OK;
}

HRESULT QelDispatchTypeInfo::GetTypeInfo(UINT iTInfo, ITypeInfo** ppTInfo) {
    if (ppTInfo == nullptr) return E_POINTER;
    *ppTInfo = nullptr;
    if (iTInfo != 0) return DISP_E_BADINDEX;
    const HRESULT hr = Load();
    if (FAILED(hr)) return hr;
    return m_spDispatchInfo.CopyTo(ppTInfo);
}

HRESULT QelDispatchTypeInfo::GetIDsOfNames(REFIID riid, LPOLESTR* rgszNames, UINT cNames, DISPID* rgDispId) {
    if (riid != IID_NULL) return DISP_E_UNKNOWNINTERFACE;
    const HRESULT hr = Load();
    if (FAILED(hr)) return hr;
    return ::DispGetIDsOfNames(m_spInterfaceInfo.Get(), rgszNames, cNames, rgDispId);
}

HRESULT QelDispatchTypeInfo::Invoke(void* pInterface, DISPID dispIdMember, REFIID riid, WORD wFlags,
                                    DISPPARAMS* pDispParams, VARIANT* pVarResult, EXCEPINFO* pExcepInfo,
                                    UINT* puArgErr) {
    if (riid != IID_NULL) return DISP_E_UNKNOWNINTERFACE;
    HRESULT hr = Load();
    if (FAILED(hr)) return hr;
    if ((wFlags & DISPATCH_PROPERTYGET) != 0 && pVarResult != nullptr &&
        (pDispParams == nullptr || pDispParams->cArgs == 0)) {
        hr = InvokePropertyGet(pInterface, dispIdMember, pVarResult, pExcepInfo);
        if (hr != S_FALSE) return hr;
    }
    return m_spInterfaceInfo->Invoke(pInterface, dispIdMember, wFlags, pDispParams, pVarResult, pExcepInfo,
                                     puArgErr);
}

// Wine's ITypeInfo::Invoke hands a null string back as an empty one; a null property must
// stay null (a saved control would otherwise come back with an empty Path, which is not
// the same), so simple gets are called here directly.
HRESULT QelDispatchTypeInfo::InvokePropertyGet(void* pInterface, DISPID dispIdMember, VARIANT* pVarResult,
                                               EXCEPINFO* pExcepInfo) {
    ComPtr<ITypeInfo2> spInfo;
    UINT nIndex = 0;
    FUNCDESC* pFunc = nullptr;
    if (FAILED(m_spInterfaceInfo.As(&spInfo)) ||
        FAILED(spInfo->GetFuncIndexOfMemId(dispIdMember, INVOKE_PROPERTYGET, &nIndex)) ||
        FAILED(spInfo->GetFuncDesc(nIndex, &pFunc))) {
        return S_FALSE;
    }
    const TYPEDESC* pType = pFunc->cParams == 1 ? &pFunc->lprgelemdescParam[0].tdesc : nullptr;
    const VARTYPE vt = pType != nullptr && pType->vt == VT_PTR ? pType->lptdesc->vt : static_cast<VARTYPE>(VT_EMPTY);
    const ULONG_PTR oVft = static_cast<ULONG_PTR>(pFunc->oVft);
    const CALLCONV callconv = pFunc->callconv;
    spInfo->ReleaseFuncDesc(pFunc);
    if (vt != VT_BSTR && vt != VT_I4 && vt != VT_BOOL) return S_FALSE;

    VARIANT value;
    ::VariantInit(&value);
    VARIANTARG argument;
    argument.vt = static_cast<VARTYPE>(VT_BYREF | vt);
    argument.byref = &value.llVal;
    VARTYPE argumentType = argument.vt;
    VARIANTARG* pArgument = &argument;
    VARIANT result;
    ::VariantInit(&result);
    HRESULT hr = ::DispCallFunc(pInterface, oVft, callconv, VT_ERROR, 1, &argumentType, &pArgument, &result);
    if (SUCCEEDED(hr)) hr = result.scode;
    if (FAILED(hr)) {
        if (pExcepInfo == nullptr) return hr;
        *pExcepInfo = EXCEPINFO{};
        pExcepInfo->scode = hr;
        return DISP_E_EXCEPTION;
    }
    value.vt = vt;
    ::VariantClear(pVarResult);
    *pVarResult = value;
    return S_OK;
}

}  // namespace qel::activex
