#include "activex/QelRegistrar.h"

#include <objbase.h>
#include <oleauto.h>
#include <wrl/client.h>

#include "activex/QelComGuard.h"
#include "activex/QelComModule.h"

namespace qel::activex {

using Microsoft::WRL::ComPtr;

// The registrar of atl.dll; mingw-w64's headers do not declare it. Declared outside an
// unnamed namespace: the compiler must not take it for a class nobody implements.
const CLSID kClsidRegistrar = {0x44ec053a, 0x400f, 0x11d0, {0x9d, 0xcd, 0x00, 0xa0, 0xc9, 0x03, 0x91, 0xd3}};
const IID kIidRegistrar = {0x44ec053b, 0x400f, 0x11d0, {0x9d, 0xcd, 0x00, 0xa0, 0xc9, 0x03, 0x91, 0xd3}};

struct IRegistrar : public IUnknown {
    // IRegistrarBase
    virtual HRESULT STDMETHODCALLTYPE AddReplacement(LPCOLESTR key, LPCOLESTR item) = 0;
    virtual HRESULT STDMETHODCALLTYPE ClearReplacements() = 0;
    // IRegistrar
    virtual HRESULT STDMETHODCALLTYPE ResourceRegisterSz(LPCOLESTR resFileName, LPCOLESTR szID, LPCOLESTR szType) = 0;
    virtual HRESULT STDMETHODCALLTYPE ResourceUnregisterSz(LPCOLESTR resFileName, LPCOLESTR szID,
                                                           LPCOLESTR szType) = 0;
    virtual HRESULT STDMETHODCALLTYPE FileRegister(LPCOLESTR fileName) = 0;
    virtual HRESULT STDMETHODCALLTYPE FileUnregister(LPCOLESTR fileName) = 0;
    virtual HRESULT STDMETHODCALLTYPE StringRegister(LPCOLESTR data) = 0;
    virtual HRESULT STDMETHODCALLTYPE StringUnregister(LPCOLESTR data) = 0;
    virtual HRESULT STDMETHODCALLTYPE ResourceRegister(LPCOLESTR resFileName, UINT nID, LPCOLESTR szType) = 0;
    virtual HRESULT STDMETHODCALLTYPE ResourceUnregister(LPCOLESTR resFileName, UINT nID, LPCOLESTR szType) = 0;
};

namespace {

// COM for the length of a registration, whatever the caller (regsvr32, an installer) did.
class QelComScope {
public:
    QelComScope() : m_hr(::CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED)) {}
    ~QelComScope() {
        if (SUCCEEDED(m_hr)) ::CoUninitialize();
    }
    QelComScope(const QelComScope&) = delete;
    QelComScope& operator=(const QelComScope&) = delete;

private:
    HRESULT m_hr;
};

}  // namespace

std::wstring QelGuidText(REFGUID guid) {
    wchar_t szGuid[40] = {};
    ::StringFromGUID2(guid, szGuid, 40);
    return szGuid;
}

HRESULT QelRunRegistryScript(UINT nResourceId, const std::vector<QelReplacement>& replacements, bool bRegister) {
    return QelNoThrow([&] {
        const std::wstring strModule = QelModuleFileName();
        if (strModule.empty()) return HRESULT_FROM_WIN32(::GetLastError());
        QelComScope com;
        ComPtr<IRegistrar> spRegistrar;
        HRESULT hr = ::CoCreateInstance(kClsidRegistrar, nullptr, CLSCTX_INPROC_SERVER, kIidRegistrar,
                                        reinterpret_cast<void**>(spRegistrar.GetAddressOf()));
        if (FAILED(hr)) return hr;
        for (const QelReplacement& replacement : replacements) {
            hr = spRegistrar->AddReplacement(replacement.pszName, replacement.strValue.c_str());
            if (FAILED(hr)) return hr;
        }
        return bRegister ? spRegistrar->ResourceRegister(strModule.c_str(), nResourceId, L"REGISTRY")
                         : spRegistrar->ResourceUnregister(strModule.c_str(), nResourceId, L"REGISTRY");
    });
}

HRESULT QelRegisterModuleTypeLib(bool bRegister) {
    return QelNoThrow([&] {
        std::wstring strModule = QelModuleFileName();
        if (strModule.empty()) return HRESULT_FROM_WIN32(::GetLastError());
        ComPtr<ITypeLib> spLib;
        HRESULT hr = ::LoadTypeLibEx(strModule.c_str(), REGKIND_NONE, &spLib);
        if (FAILED(hr)) return hr;
        if (bRegister) return ::RegisterTypeLib(spLib.Get(), strModule.data(), nullptr);
        TLIBATTR* pAttributes = nullptr;
        hr = spLib->GetLibAttr(&pAttributes);
        if (FAILED(hr)) return hr;
        hr = ::UnRegisterTypeLib(pAttributes->guid, pAttributes->wMajorVerNum, pAttributes->wMinorVerNum,
                                 pAttributes->lcid, pAttributes->syskind);
        spLib->ReleaseTLibAttr(pAttributes);
        return hr;
    });
}

QelPerUserClasses::QelPerUserClasses() {
    LONG nResult = ::RegCreateKeyExW(HKEY_CURRENT_USER, L"Software\\Classes", 0, nullptr, 0,
                                     KEY_ALL_ACCESS, nullptr, &m_hKey, nullptr);
    if (nResult == ERROR_SUCCESS) nResult = ::RegOverridePredefKey(HKEY_CLASSES_ROOT, m_hKey);
    m_hr = HRESULT_FROM_WIN32(nResult);
}

QelPerUserClasses::~QelPerUserClasses() {
    ::RegOverridePredefKey(HKEY_CLASSES_ROOT, nullptr);
    if (m_hKey != nullptr) ::RegCloseKey(m_hKey);
}

}  // namespace qel::activex
