#include "control/QelMediaPlayerModule.h"

#include <ole2.h>
#include <olectl.h>

#include <cwchar>
#include <optional>
#include <string>
#include <vector>

#include "activex/QelClassFactory.h"
#include "activex/QelComGuard.h"
#include "activex/QelComModule.h"
#include "activex/QelRegistrar.h"
#include "control/CQelMediaPlayerCtrl.h"
#include "control/QelControlResources.h"

namespace {

// The module's application identifier; script 101 is given it and writes nothing.
const GUID kAppId = {0xeff8411c, 0xda36, 0x41d3, {0x87, 0x77, 0x00, 0xed, 0x55, 0x3b, 0x21, 0xae}};

}  // namespace

HRESULT CQelMediaPlayerModule::GetClassObject(REFCLSID rclsid, REFIID riid, void** ppv) {
    if (ppv == nullptr) return E_POINTER;
    *ppv = nullptr;
    if (rclsid != CLSID_QelMediaPlayerCtrl) return CLASS_E_CLASSNOTAVAILABLE;
    return qel::activex::QelGetClassFactory(&CQelMediaPlayerCtrl::CreateInstance, riid, ppv);
}

HRESULT CQelMediaPlayerModule::CanUnloadNow() { return qel::activex::QelModuleLockCount() == 0 ? S_OK : S_FALSE; }

HRESULT CQelMediaPlayerModule::RunScripts(bool bRegister) {
    using qel::activex::QelGuidText;
    return qel::activex::QelNoThrow([bRegister] {
        const HRESULT hr =
            qel::activex::QelRunRegistryScript(IDR_QELMEDIAPLAYER, {{L"APPID", QelGuidText(kAppId)}}, bRegister);
        if (FAILED(hr)) return hr;
        // The identifiers are the generated header's, so that the scripts can never name
        // others than the type library does.
        const std::vector<qel::activex::QelReplacement> replacements = {
            {L"MODULE", qel::activex::QelModuleFileName()},
            {L"OLEMISC", std::to_wstring(CQelMediaPlayerCtrl::Traits().dwMiscStatus)},
            {L"CLSID", QelGuidText(CLSID_QelMediaPlayerCtrl)},
            {L"LIBID", QelGuidText(LIBID_QelMediaPlayerLib)}};
        return qel::activex::QelRunRegistryScript(IDR_QELMEDIAPLAYERCTRL, replacements, bRegister);
    });
}

HRESULT CQelMediaPlayerModule::RegisterServer() {
    const HRESULT hr = RunScripts(true);
    if (FAILED(hr)) return hr;
    return qel::activex::QelRegisterModuleTypeLib(true);
}

HRESULT CQelMediaPlayerModule::UnregisterServer() {
    const HRESULT hr = RunScripts(false);
    if (FAILED(hr)) return hr;
    return qel::activex::QelRegisterModuleTypeLib(false);
}

HRESULT CQelMediaPlayerModule::Install(BOOL bInstall, LPCWSTR pszCmdLine) {
    // The comparison takes in the terminating zero: "users" is not "user".
    std::optional<qel::activex::QelPerUserClasses> perUser;
    if (pszCmdLine != nullptr && _wcsnicmp(pszCmdLine, L"user", 5) == 0) {
        perUser.emplace();
        if (FAILED(perUser->Status())) return perUser->Status();
    }
    if (!bInstall) return UnregisterServer();
    const HRESULT hr = RegisterServer();
    if (FAILED(hr)) UnregisterServer();
    return hr;
}

extern "C" {

STDAPI DllGetClassObject(REFCLSID rclsid, REFIID riid, LPVOID* ppv) {
    return CQelMediaPlayerModule::GetClassObject(rclsid, riid, ppv);
}

STDAPI DllCanUnloadNow() { return CQelMediaPlayerModule::CanUnloadNow(); }

STDAPI DllRegisterServer() { return CQelMediaPlayerModule::RegisterServer(); }

STDAPI DllUnregisterServer() { return CQelMediaPlayerModule::UnregisterServer(); }

STDAPI DllInstall(BOOL bInstall, LPCWSTR pszCmdLine) { return CQelMediaPlayerModule::Install(bInstall, pszCmdLine); }

}  // extern "C"
