// The small skinned pop-up the embedded video player opens above the pointer while it
// rests on a video dot. Its content is all skin; a button named "closebtn" closes it.
//
// Ownership: the pop-up deletes itself when its window handle is destroyed, whichever way
// that happens (its "closebtn", Close, the destruction of the window it hangs from). An
// owner therefore never deletes an open pop-up after closing it; it either forgets its
// pointer once it asked for the close, or lets QelVideoDotPopupHolder do the bookkeeping:
// the holder is told when its pop-up has gone and then holds null. Deleting a pop-up
// directly is also safe: its window is destroyed first and it is not deleted twice.
#pragma once

#include <functional>
#include <memory>

#include "uilib/UiLib.h"

class QelVideoDotPopupWidget : public UiLib::CWindowWnd, public UiLib::INotifyUI {
public:
    QelVideoDotPopupWidget();
    ~QelVideoDotPopupWidget() override;

    // Creates the pop-up from skinFile as an owned window of hParent, centred horizontally
    // on the screen point (x, y) with its bottom edge 20 pixels above it. pRect receives
    // the rectangle of a pop-up touching the point (20 pixels lower than the window
    // really is). Returns the result of the final placement.
    BOOL ShowAt(const wchar_t* skinFile, HWND hParent, int x, int y, RECT* pRect);

    // "click" from the control named "closebtn" closes the pop-up.
    void Notify(UiLib::TNotifyUI& msg) override;

    // Called once from OnFinalMessage, right before the pop-up deletes itself; an empty
    // function detaches whoever was told before.
    void SetFinalCallback(std::function<void(QelVideoDotPopupWidget*)> fn);

protected:
    const wchar_t* GetWindowClassName() const override;
    UINT GetClassStyle() const override;
    LRESULT HandleMessage(UINT uMsg, WPARAM wParam, LPARAM lParam) override;
    // The handle is gone: tell the owner, then delete this object.
    void OnFinalMessage(HWND hWnd) override;

private:
    LRESULT OnCreate();

    UiLib::CDuiString m_strSkinFile;
    UiLib::CPaintManagerUI m_PaintManager;
    std::function<void(QelVideoDotPopupWidget*)> m_fnFinal;
    // Set while the destructor takes the window down, so that OnFinalMessage leaves the
    // object to the destructor already running.
    bool m_bDestroying = false;
};

// The owner's side of one open pop-up at a time. Open shows a fresh pop-up (closing the
// one before); Close asks the open one to close and forgets it; Get is null as soon as
// the pop-up has gone by any path. Destroying the holder closes its pop-up.
class QelVideoDotPopupHolder {
public:
    QelVideoDotPopupHolder() = default;
    ~QelVideoDotPopupHolder();
    QelVideoDotPopupHolder(const QelVideoDotPopupHolder&) = delete;
    QelVideoDotPopupHolder& operator=(const QelVideoDotPopupHolder&) = delete;

    // Takes pPopup (a new, never shown pop-up) and shows it as ShowAt does; returns
    // ShowAt's result. A pop-up whose window could not be created is deleted at once.
    BOOL Open(std::unique_ptr<QelVideoDotPopupWidget> pPopup, const wchar_t* skinFile, HWND hParent, int x, int y,
              RECT* pRect);
    BOOL Open(const wchar_t* skinFile, HWND hParent, int x, int y, RECT* pRect);
    void Close();
    QelVideoDotPopupWidget* Get() const { return m_pPopup; }

private:
    QelVideoDotPopupWidget* m_pPopup = nullptr;
};
