#include "uilib/CRenderEngine.h"

#include <atomic>

namespace UiLib {

namespace {

std::atomic<int> g_nDpiOverride{0};

// Per-monitor DPI where the system has it (Windows 8.1 and later), else the screen's.
int QueryMainMonitorDpi() {
    using GetDpiForMonitorFn = HRESULT(WINAPI*)(HMONITOR, int, UINT*, UINT*);
    if (HMODULE hShcore = ::LoadLibraryW(L"shcore.dll")) {
        auto pfn = reinterpret_cast<GetDpiForMonitorFn>(
            reinterpret_cast<void*>(::GetProcAddress(hShcore, "GetDpiForMonitor")));
        UINT dpiX = 0;
        UINT dpiY = 0;
        const HMONITOR hMain = ::MonitorFromPoint(POINT{0, 0}, MONITOR_DEFAULTTOPRIMARY);
        const bool bOk = pfn != nullptr && SUCCEEDED(pfn(hMain, 0 /* MDT_EFFECTIVE_DPI */, &dpiX, &dpiY)) && dpiX > 0;
        ::FreeLibrary(hShcore);
        if (bOk) return static_cast<int>(dpiX);
    }
    const HDC hdc = ::GetDC(nullptr);
    const int dpi = hdc != nullptr ? ::GetDeviceCaps(hdc, LOGPIXELSX) : 96;
    if (hdc != nullptr) ::ReleaseDC(nullptr, hdc);
    return dpi > 0 ? dpi : 96;
}

}  // namespace

int CDPI::GetMainMonitorDPI() {
    const int nOverride = g_nDpiOverride.load();
    return nOverride > 0 ? nOverride : QueryMainMonitorDpi();
}

void CDPI::SetMainMonitorDPIOverride(int nDPI) { g_nDpiOverride.store(nDPI > 0 ? nDPI : 0); }

}  // namespace UiLib
