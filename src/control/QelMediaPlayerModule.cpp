// The library as an in-process COM server for the control's class: the class object, the
// unload answer, and registration through the module's registrar scripts (101 for the
// module, 107 for the class) and its type library.
#include <windows.h>
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

using qel::activex::QelGuidText;
using qel::activex::QelReplacement;

// The module's application identifier; script 101 is given it and writes nothing.
const GUID kAppId = {0xeff8411c, 0xda36, 0x41d3, {0x87, 0x77, 0x00, 0xed, 0x55, 0x3b, 0x21, 0xae}};

HRESULT RunScripts(bool bRegister) {
    return qel::activex::QelNoThrow([bRegister] {
        const HRESULT hr =
            qel::activex::QelRunRegistryScript(IDR_QELMEDIAPLAYER, {{L"APPID", QelGuidText(kAppId)}}, bRegister);
        if (FAILED(hr)) return hr;
        const std::vector<QelReplacement> replacements = {
            {L"MODULE", qel::activex::QelModuleFileName()},
            {L"OLEMISC", std::to_wstring(CQelMediaPlayerCtrl::Traits().dwMiscStatus)},
            {L"CLSID", QelGuidText(CLSID_QelMediaPlayerCtrl)},
            {L"LIBID", QelGuidText(LIBID_QelMediaPlayerLib)}};
        return qel::activex::QelRunRegistryScript(IDR_QELMEDIAPLAYERCTRL, replacements, bRegister);
    });
}

HRESULT RegisterServer() {
    const HRESULT hr = RunScripts(true);
    if (FAILED(hr)) return hr;
    return qel::activex::QelRegisterModuleTypeLib(true);
}

HRESULT UnregisterServer() {
    const HRESULT hr = RunScripts(false);
    if (FAILED(hr)) return hr;
    return qel::activex::QelRegisterModuleTypeLib(false);
}

}  // namespace

extern "C" {

STDAPI DllGetClassObject(REFCLSID rclsid, REFIID riid, LPVOID* ppv) {
    if (ppv == nullptr) return E_POINTER;
    *ppv = nullptr;
    if (rclsid != CLSID_QelMediaPlayerCtrl) return CLASS_E_CLASSNOTAVAILABLE;
    return qel::activex::QelGetClassFactory(&CQelMediaPlayerCtrl::CreateInstance, riid, ppv);
}

STDAPI DllCanUnloadNow() { return qel::activex::QelModuleLockCount() == 0 ? S_OK : S_FALSE; }

STDAPI DllRegisterServer() { return RegisterServer(); }

STDAPI DllUnregisterServer() { return UnregisterServer(); }

// "user" (in any case, and nothing longer) registers for the current user only.
STDAPI DllInstall(BOOL bInstall, LPCWSTR pszCmdLine) {
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

}  // extern "C"
