// Drawing helpers: colours, text and the toolkit's image descriptions.
//
// An image description is a file name under the resource path, or a list of attributes:
//   file='a.png' source='l,t,r,b' dest='l,t,r,b' corner='l,t,r,b' fade='255'
// source picks a part of the image, dest places it relative to the item's top-left
// corner (default: the whole item), corner keeps borders unstretched, fade is its alpha.
#pragma once

#include "uilib/UIBase.h"

namespace UiLib {

struct TImageInfo {
    void* pBitmap = nullptr;  // Gdiplus::Bitmap, owned by the paint manager's cache
    int nX = 0;
    int nY = 0;
};

class UILIB_API CRenderEngine {
public:
    static bool DrawImageString(HDC hDC, CPaintManagerUI* pManager, const RECT& rcItem, const RECT& rcPaint,
                                const wchar_t* pStrImage, const wchar_t* pStrModify = nullptr, bool bNeedAlpha = false,
                                BYTE bNewFade = 255);
    // Colours are 0xAARRGGBB; an alpha of 0 draws nothing.
    static void DrawColor(HDC hDC, const RECT& rc, DWORD color);
    static void DrawRect(HDC hDC, const RECT& rc, int nSize, DWORD dwPenColor);
    static void DrawText(HDC hDC, CPaintManagerUI* pManager, RECT& rc, const wchar_t* pstrText, DWORD dwTextColor,
                         int iFont, UINT uStyle);
    // "#AARRGGBB", "#RRGGBB" or "0x..."; an RGB value gets full alpha.
    static DWORD ParseColor(const wchar_t* pstrValue);
    static COLORREF ToColorRef(DWORD dwColor) { return RGB((dwColor >> 16) & 0xFF, (dwColor >> 8) & 0xFF, dwColor & 0xFF); }
    // Reads an image file (PNG, BMP, JPEG); null when it cannot. FreeImage releases it.
    static TImageInfo* LoadImage(const wchar_t* pStrPath);
    static void FreeImage(TImageInfo* pImage);
};

class UILIB_API CDPI {
public:
    // Logical DPI of the main monitor (96 is 100 %).
    static int GetMainMonitorDPI();
    // Makes GetMainMonitorDPI answer nDPI instead of asking the system; 0 asks again.
    static void SetMainMonitorDPIOverride(int nDPI);
};

}  // namespace UiLib
