// GDI+ for the toolkit's sources, started once per process on first use. It is never shut
// down: shutting it down from a DLL's unload is not allowed, and the process end frees it.
#pragma once

#include <windows.h>
#include <objidl.h>
#include <gdiplus.h>

namespace UiLib {

void EnsureGdiPlus();

}  // namespace UiLib
