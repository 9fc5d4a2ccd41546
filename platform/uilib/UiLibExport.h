// The one export macro of the UiLib toolkit (UiLib.dll).
#pragma once

#if defined(UILIB_BUILDING)
#define UILIB_API __declspec(dllexport)
#else
#define UILIB_API __declspec(dllimport)
#endif
