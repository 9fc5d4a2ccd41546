// The host of a screenshot: a plain top-level window at the screen's top-left corner,
// above every other, that holds a player window as the ActiveX control holds one (a
// child over its whole client area), and the message pumping that lets it settle.
#pragma once

#include "uilib/UiLib.h"

class QelShotHost : public UiLib::CWindowWnd {
public:
    ~QelShotHost() override;

    bool Open(int cx, int cy);
    // Pumps messages for nMs (the players' 100 ms ticks go on meanwhile), then paints
    // every window of the host at once. False when the host went away.
    bool Settle(DWORD nMs);

protected:
    const wchar_t* GetWindowClassName() const override;
    LRESULT HandleMessage(UINT uMsg, WPARAM wParam, LPARAM lParam) override;
};
