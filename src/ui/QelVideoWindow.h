// The native child window the video engine draws into. It paints a solid background
// while no picture covers it, passes the engine's two messages and double clicks on to
// the player window, and reports mouse moves and left-button releases to callbacks.
// QelVideoUI creates it, keeps it over its own rectangle and sets its fields directly.
// A press in it gives the player window the keyboard, as a press anywhere in the player
// does; a status line may lie over the picture.
#pragma once

#include <functional>

#include "ui/QelVideoStatusWindow.h"
#include "uilib/UiLib.h"

class QelVideoUI;
class QelVideoPlayerManager;

class QelVideoWindow : public UiLib::CWindowWnd {
public:
    QelVideoWindow();
    ~QelVideoWindow() override;

    QelVideoUI* m_pOwner;
    bool m_bAttached;
    // The player window: receives what this window forwards.
    HWND m_hNotifyWnd;
    // Toolkit colour 0xAARRGGBB; the alpha is ignored.
    DWORD m_dwBkColor;
    // Only tested: double clicks are forwarded once a player is known.
    QelVideoPlayerManager* m_pVideoPlayer;
    std::function<void()> m_fnMouseUp;
    std::function<void()> m_fnMouseMove;

    // An empty text hides the line.
    void ShowStatus(const std::wstring& strText, const QelVideoStatusLook& look);

protected:
    const wchar_t* GetWindowClassName() const override;
    UINT GetClassStyle() const override;
    LRESULT HandleMessage(UINT uMsg, WPARAM wParam, LPARAM lParam) override;

private:
    void PaintBackground();

    QelVideoStatusWindow m_status;
};
