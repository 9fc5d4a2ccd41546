// Where qelplay receives the component's messages and a person's keys.
// The notify window takes the manager's and the downloads' messages: on Linux a message
// queue of this process, on Windows a message-only window. Unless headless, a video window
// titled with the source is the render window (on Linux an X11 window, when DISPLAY names
// a display that answers); without one the queue serves as render window and the engine
// plays without a picture. The engine's messages to the video window, its keys, its size
// and its closing all come out of Next, in the order they happened.
#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <string>

#include "winapi/QelWinApi.h"

namespace qelplay {

struct Message {
    UINT message = 0;
    WPARAM wParam = 0;
    LPARAM lParam = 0;
};

// The video window's own messages, above the component's numbers.
constexpr UINT kPlayCommandMessage = 0xBF00;  // wParam: a PlayCommand
constexpr UINT kPlayResizedMessage = 0xBF01;  // wParam, lParam: the client area's width and height

// What the keys ask for: space, Left, Right, f, and q, Escape or closing the window.
enum PlayCommand : WPARAM { kTogglePause, kSeekBack, kSeekAhead, kToggleFullScreen, kQuit };

class PlayWindow {
public:
    PlayWindow(bool bHeadless, const std::string& strTitle);
    ~PlayWindow();
    PlayWindow(const PlayWindow&) = delete;
    PlayWindow& operator=(const PlayWindow&) = delete;

    bool IsValid() const;
    HWND NotifyWindow() const;
    HWND RenderWindow() const;
    // The video window's client area; nothing without a video window.
    std::optional<RECT> ClientArea() const;
    // Gives the client area this size (the video's); a full-screen window keeps its size,
    // and so does any window for an unknown (empty) size.
    void SetClientSize(int nWidth, int nHeight);
    void ToggleFullScreen();
    // The next message, waiting up to the time-out.
    std::optional<Message> Next(std::chrono::milliseconds timeout);

private:
    struct Impl;
    std::unique_ptr<Impl> m_pImpl;
};

}  // namespace qelplay
