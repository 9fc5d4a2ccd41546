// A short line over the video picture: that the player is loading, or what went wrong.
// A disabled child of the render window, so that clicks and double clicks pass through
// to it, raised above the engine's own picture window each time it is shown and kept
// centred. Its window text is the line it shows.
#pragma once

#include <string>

#include "uilib/UiLib.h"

struct QelVideoStatusLook {
    UiLib::CPaintManagerUI* pManager = nullptr;  // fonts and DPI; outlives the surface
    int iFont = -1;
    DWORD dwTextColor = 0xFFFFFFFF;  // toolkit colours 0xAARRGGBB, alpha ignored
    DWORD dwBkColor = 0xFF000000;
};

class QelVideoStatusWindow : public UiLib::CWindowWnd {
public:
    QelVideoStatusWindow() = default;
    ~QelVideoStatusWindow() override;

    // Shows strText over hParent; an empty text hides the line.
    void Show(HWND hParent, const std::wstring& strText, const QelVideoStatusLook& look);
    // Centres the line again after its parent changed size.
    void Centre();

protected:
    const wchar_t* GetWindowClassName() const override;
    LRESULT HandleMessage(UINT uMsg, WPARAM wParam, LPARAM lParam) override;

private:
    void Paint();
    HFONT Font() const;

    std::wstring m_strText;
    QelVideoStatusLook m_look;
};
