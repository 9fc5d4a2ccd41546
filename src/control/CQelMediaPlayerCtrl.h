// The ActiveX control a document embeds to show a player: properties Type ("audio" or
// "video") and Path, kept and persisted; when activated in place its window hosts the
// embedded audio or video player window on Path. Everything else a control does is the
// framework's (platform/activex).
//
// Type and Path take effect when the control's window is next created (the next
// activation), never on a window that exists. The player window object outlives its
// window only while it is shown full screen on its own.
#pragma once

#include <memory>

#include "QelMediaPlayer_h.h"
#include "activex/QelBstr.h"
#include "activex/QelControl.h"
#include "activex/QelTypeLib.h"
#include "ui/QelMediaBaseWindow.h"

class CQelMediaPlayerCtrl final : public qel::activex::QelDualDispatch<IQelMediaPlayerCtrl>,
                                  public qel::activex::QelControl {
public:
    // The class factory's creation function.
    static HRESULT CreateInstance(IUnknown* pOuter, REFIID riid, void** ppv);
    static const qel::activex::QelControlTraits& Traits();

    STDMETHODIMP QueryInterface(REFIID riid, void** ppv) override { return QelControl::QueryInterface(riid, ppv); }
    STDMETHODIMP_(ULONG) AddRef() override { return QelControl::AddRef(); }
    STDMETHODIMP_(ULONG) Release() override { return QelControl::Release(); }

    // IQelMediaPlayerCtrl: two stock properties, kept and persisted only, and the two that
    // choose the player.
    STDMETHODIMP put_BorderStyle(LONG style) override;
    STDMETHODIMP get_BorderStyle(LONG* pstyle) override;
    STDMETHODIMP put_DrawMode(LONG mode) override;
    STDMETHODIMP get_DrawMode(LONG* pmode) override;
    STDMETHODIMP get_Type(BSTR* pVal) override;
    STDMETHODIMP put_Type(BSTR newVal) override;
    STDMETHODIMP get_Path(BSTR* pVal) override;
    STDMETHODIMP put_Path(BSTR newVal) override;

protected:
    void* QueryControlInterface(REFIID riid) override;
    // The rectangle in the device context's pen and brush; the player window is placed
    // over the bounds (over the whole screen while it is full screen).
    HRESULT OnDraw(const qel::activex::QelDrawInfo& di) override;
    // WM_CREATE, WM_DESTROY, WM_ERASEBKGND and WM_SETCURSOR.
    bool OnControlMessage(UINT uMsg, WPARAM wParam, LPARAM lParam, LRESULT& lResult) override;

private:
    explicit CQelMediaPlayerCtrl(IUnknown* pOuter);
    ~CQelMediaPlayerCtrl() override;

    // Makes the player window Type names inside the control's new window and plays Path.
    LRESULT OnCreate();
    // A copy of the text without notifications; requires save.
    HRESULT PutText(qel::activex::QelBstr& field, BSTR newVal);
    // Lets go of the player window object: deleted once its window is gone, else left to
    // the window that still shows it.
    void ReleasePlayerWindow();

    long m_nBorderStyle = 0;
    long m_nDrawMode = 0;
    std::unique_ptr<UiLib::QelMediaBaseWindow> m_pPlayerWnd;
    qel::activex::QelBstr m_bstrType;
    qel::activex::QelBstr m_bstrPath;
};
