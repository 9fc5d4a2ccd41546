#include "uilib/CRenderEngine.h"

#include "uilib/CPaintManagerUI.h"
#include "uilib/GdiPlus.h"
#include "uilib/SkinValues.h"

#include <algorithm>
#include <cwchar>
#include <mutex>
#include <string>

namespace UiLib {

void EnsureGdiPlus() {
    static std::once_flag once;
    std::call_once(once, [] {
        Gdiplus::GdiplusStartupInput input;
        ULONG_PTR token = 0;
        Gdiplus::GdiplusStartup(&token, &input, nullptr);
    });
}

namespace {

struct ImageDescription {
    std::wstring strFile;
    RECT rcSource = {0, 0, 0, 0};
    bool bSource = false;
    RECT rcDest = {0, 0, 0, 0};
    bool bDest = false;
    RECT rcCorner = {0, 0, 0, 0};
    BYTE uFade = 255;
};

// Reads "name='value' name='value' ..." into the description; a bare string is a file.
void ParseDescription(const wchar_t* pStr, ImageDescription& desc) {
    if (pStr == nullptr) return;
    if (std::wcschr(pStr, L'=') == nullptr) {
        if (*pStr != 0) desc.strFile = pStr;
        return;
    }
    for (const auto& [name, value] : SkinValues::ParseAttributeList(pStr)) {
        if (name == L"file") {
            desc.strFile = value;
        } else if (name == L"source") {
            desc.rcSource = SkinValues::ParseRect(value.c_str());
            desc.bSource = true;
        } else if (name == L"dest") {
            desc.rcDest = SkinValues::ParseRect(value.c_str());
            desc.bDest = true;
        } else if (name == L"corner") {
            desc.rcCorner = SkinValues::ParseRect(value.c_str());
        } else if (name == L"fade") {
            desc.uFade = static_cast<BYTE>(std::wcstol(value.c_str(), nullptr, 10));
        }
    }
}

void DrawPart(Gdiplus::Graphics& g, Gdiplus::Bitmap* pBitmap, const RECT& rcDst, const RECT& rcSrc,
              Gdiplus::ImageAttributes* pAttr) {
    if (rcDst.right <= rcDst.left || rcDst.bottom <= rcDst.top) return;
    if (rcSrc.right <= rcSrc.left || rcSrc.bottom <= rcSrc.top) return;
    const bool bStretched = (rcDst.right - rcDst.left) != (rcSrc.right - rcSrc.left) ||
                            (rcDst.bottom - rcDst.top) != (rcSrc.bottom - rcSrc.top);
    if (!bStretched) {
        g.DrawImage(pBitmap, Gdiplus::Rect(rcDst.left, rcDst.top, rcDst.right - rcDst.left, rcDst.bottom - rcDst.top),
                    rcSrc.left, rcSrc.top, rcSrc.right - rcSrc.left, rcSrc.bottom - rcSrc.top, Gdiplus::UnitPixel,
                    pAttr);
        return;
    }
    // Some GDI+ implementations leave the first column and row of a stretched draw
    // empty; drawn one pixel larger and clipped to the part, nothing is left out.
    const Gdiplus::GraphicsState state = g.Save();
    g.SetClip(Gdiplus::Rect(rcDst.left, rcDst.top, rcDst.right - rcDst.left, rcDst.bottom - rcDst.top),
              Gdiplus::CombineModeIntersect);
    g.DrawImage(pBitmap,
                Gdiplus::Rect(rcDst.left - 1, rcDst.top - 1, rcDst.right - rcDst.left + 1, rcDst.bottom - rcDst.top + 1),
                rcSrc.left, rcSrc.top, rcSrc.right - rcSrc.left, rcSrc.bottom - rcSrc.top, Gdiplus::UnitPixel, pAttr);
    g.Restore(state);
}

// Draws the source into the destination, the corners unstretched (nine parts).
void DrawNineParts(Gdiplus::Graphics& g, Gdiplus::Bitmap* pBitmap, const RECT& d, const RECT& s, const RECT& c,
                   Gdiplus::ImageAttributes* pAttr) {
    const long dx[4] = {d.left, d.left + c.left, d.right - c.right, d.right};
    const long dy[4] = {d.top, d.top + c.top, d.bottom - c.bottom, d.bottom};
    const long sx[4] = {s.left, s.left + c.left, s.right - c.right, s.right};
    const long sy[4] = {s.top, s.top + c.top, s.bottom - c.bottom, s.bottom};
    for (int row = 0; row < 3; ++row) {
        for (int col = 0; col < 3; ++col) {
            DrawPart(g, pBitmap, RECT{dx[col], dy[row], dx[col + 1], dy[row + 1]},
                     RECT{sx[col], sy[row], sx[col + 1], sy[row + 1]}, pAttr);
        }
    }
}

}  // namespace

bool CRenderEngine::DrawImageString(HDC hDC, CPaintManagerUI* pManager, const RECT& rcItem, const RECT& rcPaint,
                                    const wchar_t* pStrImage, const wchar_t* pStrModify, bool, BYTE bNewFade) {
    if (hDC == nullptr || pManager == nullptr) return false;
    ImageDescription desc;
    ParseDescription(pStrImage, desc);
    ParseDescription(pStrModify, desc);
    if (desc.strFile.empty()) return false;
    const TImageInfo* pImage = pManager->GetImage(desc.strFile.c_str());
    if (pImage == nullptr) return false;
    auto* pBitmap = static_cast<Gdiplus::Bitmap*>(pImage->pBitmap);

    RECT rcDest = rcItem;
    if (desc.bDest) {
        rcDest = RECT{rcItem.left + pManager->ScaleValue(desc.rcDest.left),
                      rcItem.top + pManager->ScaleValue(desc.rcDest.top),
                      rcItem.left + pManager->ScaleValue(desc.rcDest.right),
                      rcItem.top + pManager->ScaleValue(desc.rcDest.bottom)};
    }
    RECT rcClip = {};
    if (!::IntersectRect(&rcClip, &rcDest, &rcPaint)) return true;
    RECT rcSource = desc.bSource ? desc.rcSource : RECT{0, 0, pImage->nX, pImage->nY};
    rcSource.right = std::min<long>(rcSource.right, pImage->nX);
    rcSource.bottom = std::min<long>(rcSource.bottom, pImage->nY);
    const RECT rcCorner = {pManager->ScaleValue(desc.rcCorner.left), pManager->ScaleValue(desc.rcCorner.top),
                           pManager->ScaleValue(desc.rcCorner.right), pManager->ScaleValue(desc.rcCorner.bottom)};

    Gdiplus::Graphics g(hDC);
    g.SetClip(Gdiplus::Rect(rcClip.left, rcClip.top, rcClip.right - rcClip.left, rcClip.bottom - rcClip.top));
    g.SetInterpolationMode(Gdiplus::InterpolationModeHighQualityBicubic);
    g.SetPixelOffsetMode(Gdiplus::PixelOffsetModeHalf);
    const int nFade = desc.uFade * bNewFade / 255;
    // Edges are sampled from the image itself, not from the transparency around it.
    Gdiplus::ImageAttributes attr;
    attr.SetWrapMode(Gdiplus::WrapModeTileFlipXY);
    Gdiplus::ImageAttributes* pAttr = &attr;
    if (nFade < 255) {
        Gdiplus::ColorMatrix matrix = {{{1, 0, 0, 0, 0},
                                        {0, 1, 0, 0, 0},
                                        {0, 0, 1, 0, 0},
                                        {0, 0, 0, static_cast<float>(nFade) / 255.0f, 0},
                                        {0, 0, 0, 0, 1}}};
        attr.SetColorMatrix(&matrix);
    }
    DrawNineParts(g, pBitmap, rcDest, rcSource, rcCorner, pAttr);
    return true;
}

void CRenderEngine::DrawColor(HDC hDC, const RECT& rc, DWORD color) {
    const BYTE alpha = static_cast<BYTE>(color >> 24);
    if (hDC == nullptr || alpha == 0 || rc.right <= rc.left || rc.bottom <= rc.top) return;
    if (alpha == 255) {
        const HBRUSH hBrush = ::CreateSolidBrush(ToColorRef(color));
        ::FillRect(hDC, &rc, hBrush);
        ::DeleteObject(hBrush);
        return;
    }
    EnsureGdiPlus();
    Gdiplus::Graphics g(hDC);
    Gdiplus::SolidBrush brush(Gdiplus::Color(alpha, (color >> 16) & 0xFF, (color >> 8) & 0xFF, color & 0xFF));
    g.FillRectangle(&brush, static_cast<INT>(rc.left), static_cast<INT>(rc.top), static_cast<INT>(rc.right - rc.left),
                    static_cast<INT>(rc.bottom - rc.top));
}

void CRenderEngine::DrawRect(HDC hDC, const RECT& rc, int nSize, DWORD dwPenColor) {
    if (hDC == nullptr || nSize <= 0 || (dwPenColor >> 24) == 0) return;
    const HPEN hPen = ::CreatePen(PS_SOLID | PS_INSIDEFRAME, nSize, ToColorRef(dwPenColor));
    const HGDIOBJ hOldPen = ::SelectObject(hDC, hPen);
    const HGDIOBJ hOldBrush = ::SelectObject(hDC, ::GetStockObject(HOLLOW_BRUSH));
    ::Rectangle(hDC, rc.left, rc.top, rc.right, rc.bottom);
    ::SelectObject(hDC, hOldBrush);
    ::SelectObject(hDC, hOldPen);
    ::DeleteObject(hPen);
}

void CRenderEngine::DrawText(HDC hDC, CPaintManagerUI* pManager, RECT& rc, const wchar_t* pstrText,
                             DWORD dwTextColor, int iFont, UINT uStyle) {
    if (hDC == nullptr || pManager == nullptr || pstrText == nullptr || *pstrText == 0) return;
    const HFONT hFont = iFont >= 0 ? pManager->GetFont(iFont) : pManager->GetDefaultFont();
    const HGDIOBJ hOldFont = ::SelectObject(hDC, hFont != nullptr ? hFont : pManager->GetDefaultFont());
    ::SetBkMode(hDC, TRANSPARENT);
    ::SetTextColor(hDC, ToColorRef(dwTextColor));
    ::DrawTextW(hDC, pstrText, -1, &rc, uStyle | DT_NOPREFIX);
    ::SelectObject(hDC, hOldFont);
}

DWORD CRenderEngine::ParseColor(const wchar_t* pstrValue) {
    if (pstrValue == nullptr) return 0;
    while (*pstrValue == L' ') ++pstrValue;
    if (*pstrValue == L'#') {
        ++pstrValue;
    } else if (pstrValue[0] == L'0' && (pstrValue[1] == L'x' || pstrValue[1] == L'X')) {
        pstrValue += 2;
    }
    wchar_t* end = nullptr;
    const DWORD value = static_cast<DWORD>(std::wcstoul(pstrValue, &end, 16));
    return (end - pstrValue) <= 6 ? (value | 0xFF000000) : value;
}

TImageInfo* CRenderEngine::LoadImage(const wchar_t* pStrPath) {
    if (pStrPath == nullptr || *pStrPath == 0) return nullptr;
    EnsureGdiPlus();
    // Copied into a bitmap of our own so that the file is not held open while cached.
    Gdiplus::Bitmap file(pStrPath);
    if (file.GetLastStatus() != Gdiplus::Ok) return nullptr;
    const int cx = static_cast<int>(file.GetWidth());
    const int cy = static_cast<int>(file.GetHeight());
    if (cx <= 0 || cy <= 0) return nullptr;
    auto* pCopy = new Gdiplus::Bitmap(cx, cy, PixelFormat32bppPARGB);
    {
        Gdiplus::Graphics g(pCopy);
        g.DrawImage(&file, 0, 0, cx, cy);
    }
    auto* pInfo = new TImageInfo;
    pInfo->pBitmap = pCopy;
    pInfo->nX = cx;
    pInfo->nY = cy;
    return pInfo;
}

void CRenderEngine::FreeImage(TImageInfo* pImage) {
    if (pImage == nullptr) return;
    delete static_cast<Gdiplus::Bitmap*>(pImage->pBitmap);
    delete pImage;
}

}  // namespace UiLib
