// The audio control (tag class "QelAudioUI") a host puts into its own skinned window to
// get an audio player there. It draws nothing itself: DoInit creates a child window of the
// host, QelAudioUIWindow, at the control's rectangle, and the control keeps that window's
// position and visibility in step with its own. Until DoInit every call is lost.
//
// Copies share the window. Destroying the control stops playback but leaves the window
// in the host; the window's object goes with its handle, or with the last control when it
// never got one.
#pragma once

#include <memory>
#include <string>

#include "QelExport.h"
#include "uilib/UiLib.h"

namespace UiLib {

class QelAudioUIWindow;

class QEL_API QelAudioUI : public CControlUI {
public:
    // hParent: the host window that parents the player window; skinFile: its skin.
    QelAudioUI(const HWND& hParent, const std::wstring& skinFile);
    QelAudioUI(const QelAudioUI& other);
    QelAudioUI& operator=(const QelAudioUI& other);
    ~QelAudioUI() override;

    const wchar_t* GetClass() const override;  // "QelAudioUI"
    LPVOID GetInterface(const wchar_t* pstrName) override;
    // Moves the window without changing its z-order or activation.
    void SetPos(RECT rc) override;
    void SetVisible(bool bVisible = true) override;
    void SetInternVisible(bool bVisible = true) override;
    // Creates the player window, once.
    void DoInit() override;
    // The arrow cursor over the control; everything else as any control.
    void DoEvent(TEventUI& event) override;
    // "browserbkcolor" is accepted and has no effect.
    void SetAttribute(const wchar_t* pstrName, const wchar_t* pstrValue) override;

    // An empty path does nothing.
    void Play(const std::wstring& path);
    void Pause();
    void Resume();
    void Stop();
    void SetVolume(int nVolume);
    int GetVolume();
    bool IsPlaying();
    void UpdateUI();
    // Shown on the window's "bk" control whenever the file exists at a refresh.
    void SetAudioBkImage(const std::wstring& path);

protected:
    HWND m_hParent;
    std::wstring m_strSkin;
    std::shared_ptr<QelAudioUIWindow> m_pWindow;
};

}  // namespace UiLib
