#include "utils/QelOS.h"

SIZE QelOS::GetScreenSize() {
    SIZE size;
#ifdef _WIN32
    size.cx = GetSystemMetrics(SM_CXSCREEN);
    size.cy = GetSystemMetrics(SM_CYSCREEN);
#else
    size.cx = 1920;
    size.cy = 1080;
#endif
    return size;
}
