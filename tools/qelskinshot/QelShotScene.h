// What qelskinshot shows: the library's real embedded players, driven as the ActiveX
// control and the engine drive them (the host's Play; the substitute engine's duration,
// position and state, turned by the manager into its own messages; chapter dots through
// the slider's exported SetVideoDots), and the real chapter dot pop-up.
#pragma once

#include <memory>
#include <string>

#include "QelShotHost.h"
#include "ui/QelMediaBaseWindow.h"
#include "ui/QelVideoDotPopupWidget.h"

enum class QelShotState { Playing, Loading, Failed };

class QelShotScene {
public:
    // strScene: "video" or "audio" (the embedded players) or "videothumb" (the pop-up).
    static bool IsKnown(const std::wstring& strScene);
    // The skin the scene shows, relative to the resource folder.
    static std::wstring SkinOf(const std::wstring& strScene);

    QelShotScene(std::wstring strScene, QelShotState state);
    // Stops the player and takes its window down before the object goes.
    ~QelShotScene();
    QelShotScene(const QelShotScene&) = delete;
    QelShotScene& operator=(const QelShotScene&) = delete;

    // Shows the scene in the host and drives it to its state: the window whose client
    // area is the picture, or null when it could not be made.
    HWND Show(QelShotHost& host);

private:
    HWND ShowVideo(QelShotHost& host);
    HWND ShowAudio(QelShotHost& host);
    HWND ShowDotPopup(QelShotHost& host);

    std::wstring m_strScene;
    QelShotState m_state;
    std::unique_ptr<UiLib::QelMediaBaseWindow> m_pPlayer;
    QelVideoDotPopupHolder m_popup;
};
