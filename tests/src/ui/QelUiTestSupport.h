// What the player-window tests share: a temporary skin folder that the toolkit reads as
// its resource path, a message pump bounded by a time-out, a notifier that records what
// it is told, and mouse-message helpers. Windows only.
#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <vector>

#include "uilib/UiLib.h"

namespace qel::uitest {

// A fresh folder under %TEMP%, made the toolkit's resource path for its lifetime and
// deleted with everything written into it.
class TempSkinFolder {
public:
    TempSkinFolder();
    ~TempSkinFolder();
    TempSkinFolder(const TempSkinFolder&) = delete;
    TempSkinFolder& operator=(const TempSkinFolder&) = delete;

    const std::wstring& Path() const { return m_strPath; }
    // Writes text as UTF-8 to a file under the folder ('/' separates sub-folders).
    void WriteText(const std::wstring& strRelative, const std::wstring& strText);
    // Writes a 24-bit bitmap of one colour (COLORREF order).
    void WriteSolidBitmap(const std::wstring& strRelative, int cx, int cy, COLORREF color);

private:
    std::wstring FullPath(const std::wstring& strRelative) const;

    std::wstring m_strPath;
    std::vector<std::wstring> m_vecFiles;
};

// Dispatches this thread's messages until pred holds or the time-out passes.
bool PumpUntil(const std::function<bool()>& pred,
               std::chrono::milliseconds timeout = std::chrono::milliseconds(5000));
// Dispatches every message already queued for this thread (posted notifications
// included), so that what has not happened by then is known not to happen.
void PumpPending();

struct RecordedNotify {
    std::wstring strType;
    std::wstring strSender;
    WPARAM wParam = 0;
    LPARAM lParam = 0;
};

class NotifyRecorder : public UiLib::INotifyUI {
public:
    void Notify(UiLib::TNotifyUI& msg) override;
    // Only the types a test cares about, in order.
    std::vector<RecordedNotify> OfType(const std::wstring& strType) const;
    size_t Count(const std::wstring& strType) const { return OfType(strType).size(); }
    void Clear() { m_vecNotified.clear(); }

private:
    std::vector<RecordedNotify> m_vecNotified;
};

// lParam of a mouse message at a client point.
inline LPARAM ClientPoint(int x, int y) { return MAKELPARAM(static_cast<WORD>(x), static_cast<WORD>(y)); }
// lParam of WM_NCHITTEST or WM_MOUSEWHEEL: the client point in screen coordinates.
LPARAM ScreenPoint(HWND hWnd, int x, int y);

// Client-area pixel of a window, read back from its device context.
COLORREF ReadPixel(HWND hWnd, int x, int y);

}  // namespace qel::uitest
