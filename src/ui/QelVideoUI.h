// The video surface of a skin (tag "QelVideoUI"): a toolkit control that owns a native
// child window, QelVideoWindow, kept exactly over the control's rectangle. The player
// window hands that child to the video player manager as its render window.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "QelExport.h"
#include "uilib/UiLib.h"

class QelVideoPlayerManager;
class QelVideoWindow;

// What the surface tells the viewer over the picture.
enum class QelVideoStatus { None, Loading, OpenFailed, DownloadFailed };

class QEL_API QelVideoUI : public UiLib::CControlUI {
public:
    // hNotifyWnd: the player window, parent of the child and receiver of what it forwards.
    explicit QelVideoUI(const HWND& hNotifyWnd);
    // Closes and deletes the child window once the last control sharing it goes.
    ~QelVideoUI() override;
    // A copy shares the child window with the control it was copied from.
    QelVideoUI(const QelVideoUI&) = default;
    QelVideoUI& operator=(const QelVideoUI&) = default;

    const wchar_t* GetClass() const override;  // "QelVideoUI"
    LPVOID GetInterface(const wchar_t* pstrName) override;
    // Moves and shows the child with the control.
    void SetPos(RECT rc) override;
    void SetVisible(bool bVisible = true) override;
    void SetInternVisible(bool bVisible = true) override;
    // Creates the child window, once.
    void DoInit() override;
    void DoEvent(UiLib::TEventUI& event) override;
    // "videobkcolor" = "[#]AARRGGBB" in hexadecimal; the status line's words
    // ("loadingtext", "openfailedtext", "downloadfailedtext": none, no line) and look
    // ("statusfont", "statustextcolor", "statusbkcolor"); everything else as any control.
    void SetAttribute(const wchar_t* pstrName, const wchar_t* pstrValue) override;

    // The colour a child created from now on paints; an existing child keeps its own.
    DWORD GetVideoBkColor() const;
    void SetVideoBkColor(DWORD dwColor);
    // Null until DoInit.
    QelVideoWindow* GetVideoWindow();
    void SetVideoPlayer(QelVideoPlayerManager* pPlayer);
    // Installed on the child; dropped when there is no child yet, so set them after DoInit.
    void SetVideoWindowMouseMoveCallback(std::function<void()> fn);
    void SetVideoWindowMouseUpCallback(std::function<void()> fn);
    // Shows the skin's line for the status over the picture, or none.
    void SetStatus(QelVideoStatus status);

private:
    void AttachVideoWindow(QelVideoWindow* pWindow);

    // Starts null: a double click is forwarded only once a player is known.
    QelVideoPlayerManager* m_pVideoPlayer;
    DWORD m_dwVideoBkColor;
    std::shared_ptr<QelVideoWindow> m_pVideoWindow;
    HWND m_hNotifyWnd;
    std::wstring m_strStatusTexts[4];  // by QelVideoStatus; None has none
    int m_iStatusFont = -1;
    DWORD m_dwStatusTextColor = 0xFFFFFFFF;
    DWORD m_dwStatusBkColor = 0xFF000000;
};
