// The library as an in-process COM server for the control's class: the class object, the
// unload answer, and registration through the module's registrar scripts (101 for the
// module, 107 for the class) and its type library. The exported entry points call these.
#pragma once

#include <windows.h>

class CQelMediaPlayerModule {
public:
    static HRESULT GetClassObject(REFCLSID rclsid, REFIID riid, void** ppv);
    static HRESULT CanUnloadNow();
    static HRESULT RegisterServer();
    static HRESULT UnregisterServer();
    // "user" (in any case, and nothing longer) registers or removes for the current user
    // only; a failed registration is undone.
    static HRESULT Install(BOOL bInstall, LPCWSTR pszCmdLine);

private:
    static HRESULT RunScripts(bool bRegister);
};
