#include "QelPngCapture.h"

#include <objidl.h>
#include <gdiplus.h>

#include <cstring>
#include <cwchar>
#include <memory>

namespace {

struct DcReleaser {
    HWND hWnd;
    void operator()(HDC hDC) const { ::ReleaseDC(hWnd, hDC); }
};
struct DcDeleter {
    void operator()(HDC hDC) const { ::DeleteDC(hDC); }
};
struct GdiObjectDeleter {
    void operator()(HGDIOBJ hObject) const { ::DeleteObject(hObject); }
};

bool FindPngEncoder(CLSID& clsid) {
    UINT nCount = 0, nBytes = 0;
    if (Gdiplus::GetImageEncodersSize(&nCount, &nBytes) != Gdiplus::Ok || nBytes == 0) return false;
    std::unique_ptr<unsigned char[]> buffer(new unsigned char[nBytes]);
    auto* pCodecs = reinterpret_cast<Gdiplus::ImageCodecInfo*>(buffer.get());
    if (Gdiplus::GetImageEncoders(nCount, nBytes, pCodecs) != Gdiplus::Ok) return false;
    for (UINT i = 0; i < nCount; ++i) {
        if (pCodecs[i].MimeType && std::wcscmp(pCodecs[i].MimeType, L"image/png") == 0) {
            clsid = pCodecs[i].Clsid;
            return true;
        }
    }
    return false;
}

}  // namespace

bool QelCaptureClient(HWND hWnd, QelCapturedImage& image) {
    RECT rc;
    if (!::GetClientRect(hWnd, &rc) || rc.right <= 0 || rc.bottom <= 0) return false;
    const int cx = rc.right, cy = rc.bottom;

    std::unique_ptr<HDC__, DcReleaser> hWindowDC(::GetDC(hWnd), DcReleaser{hWnd});
    if (!hWindowDC) return false;
    std::unique_ptr<HDC__, DcDeleter> hMemDC(::CreateCompatibleDC(hWindowDC.get()));
    if (!hMemDC) return false;

    BITMAPINFO bmi = {};
    bmi.bmiHeader.biSize = sizeof(bmi.bmiHeader);
    bmi.bmiHeader.biWidth = cx;
    bmi.bmiHeader.biHeight = -cy;  // top-down rows
    bmi.bmiHeader.biPlanes = 1;
    bmi.bmiHeader.biBitCount = 32;
    bmi.bmiHeader.biCompression = BI_RGB;
    void* pBits = nullptr;
    std::unique_ptr<void, GdiObjectDeleter> hDib(
        ::CreateDIBSection(hWindowDC.get(), &bmi, DIB_RGB_COLORS, &pBits, nullptr, 0));
    if (!hDib || !pBits) return false;

    HGDIOBJ hOld = ::SelectObject(hMemDC.get(), hDib.get());
    const BOOL bCopied = ::BitBlt(hMemDC.get(), 0, 0, cx, cy, hWindowDC.get(), 0, 0, SRCCOPY);
    ::GdiFlush();
    ::SelectObject(hMemDC.get(), hOld);
    if (!bCopied) return false;

    image.nWidth = cx;
    image.nHeight = cy;
    image.vecPixels.resize(static_cast<size_t>(cx) * cy);
    const auto* pSrc = static_cast<const uint32_t*>(pBits);
    for (size_t i = 0; i < image.vecPixels.size(); ++i) image.vecPixels[i] = pSrc[i] & 0x00FFFFFFu;
    return true;
}

bool QelSavePng(const QelCapturedImage& image, const std::wstring& strPath, std::wstring& strError) {
    if (image.nWidth <= 0 || image.nHeight <= 0) {
        strError = L"nothing was captured";
        return false;
    }
    Gdiplus::GdiplusStartupInput input;
    ULONG_PTR token = 0;
    if (Gdiplus::GdiplusStartup(&token, &input, nullptr) != Gdiplus::Ok) {
        strError = L"GDI+ could not be started";
        return false;
    }
    const std::wstring strTmp = strPath + L".tmp";
    bool bSaved = false;
    {
        CLSID clsid;
        if (!FindPngEncoder(clsid)) {
            strError = L"GDI+ has no PNG encoder";
        } else {
            // GDI+ reads the rows in place; 32bppRGB ignores the unused top byte.
            Gdiplus::Bitmap bitmap(image.nWidth, image.nHeight, image.nWidth * 4, PixelFormat32bppRGB,
                                   reinterpret_cast<BYTE*>(const_cast<uint32_t*>(image.vecPixels.data())));
            bSaved = bitmap.GetLastStatus() == Gdiplus::Ok && bitmap.Save(strTmp.c_str(), &clsid, nullptr) == Gdiplus::Ok;
            if (!bSaved) strError = L"the PNG could not be written to " + strTmp;
        }
    }
    Gdiplus::GdiplusShutdown(token);
    if (!bSaved) {
        ::DeleteFileW(strTmp.c_str());
        return false;
    }
    if (!::MoveFileExW(strTmp.c_str(), strPath.c_str(), MOVEFILE_REPLACE_EXISTING)) {
        ::DeleteFileW(strTmp.c_str());
        strError = L"the PNG could not be moved to " + strPath;
        return false;
    }
    return true;
}

int QelParsePictureLength(const wchar_t* pszText) {
    wchar_t* pEnd = nullptr;
    const long n = std::wcstol(pszText, &pEnd, 10);
    return (pEnd == pszText || *pEnd != L'\0' || n <= 0 || n > 8192) ? 0 : static_cast<int>(n);
}
