// The pixels of a window's client area, as the screen shows them (child windows
// included), and a PNG file made of them with GDI+'s encoder.
#pragma once

#include <windows.h>

#include <cstdint>
#include <string>
#include <vector>

struct QelCapturedImage {
    int nWidth = 0;
    int nHeight = 0;
    std::vector<uint32_t> vecPixels;  // top-down rows, 0x00RRGGBB
};

// A picture's width or height as given on a command line: a whole number of pixels from 1
// to 8192, or 0 when the text is not one.
int QelParsePictureLength(const wchar_t* pszText);

// False when the window has no client area or the copy fails.
bool QelCaptureClient(HWND hWnd, QelCapturedImage& image);

// Writes the image as a PNG. The file appears complete or not at all: it is written
// beside the target and moved into place. strError says what failed.
bool QelSavePng(const QelCapturedImage& image, const std::wstring& strPath, std::wstring& strError);
