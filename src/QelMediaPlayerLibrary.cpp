// The library's entry point. On Windows the module handle is kept at load time, as the
// control framework and the windows need it; elsewhere there is nothing to set up.
#ifdef _WIN32
#include <windows.h>

namespace {
HINSTANCE g_hModule = nullptr;
}

HINSTANCE QelMediaPlayerModuleHandle() {
    return g_hModule;
}

BOOL WINAPI DllMain(HINSTANCE hInstance, DWORD dwReason, LPVOID) {
    if (dwReason == DLL_PROCESS_ATTACH) {
        g_hModule = hInstance;
        DisableThreadLibraryCalls(hInstance);
    }
    return TRUE;
}
#endif
