// Where qelplay receives the component's messages: a notify window and a render window.
// Linux: one in-process message queue serves as both (the engine renders headless there).
// Windows: a message-only notify window, and a real video window unless headless.
#pragma once

#include <chrono>
#include <memory>
#include <optional>

#include "winapi/QelWinApi.h"

namespace qelplay {

struct Message {
    UINT message = 0;
    WPARAM wParam = 0;
    LPARAM lParam = 0;
};

class PlayWindow {
public:
    explicit PlayWindow(bool bHeadless);
    ~PlayWindow();
    PlayWindow(const PlayWindow&) = delete;
    PlayWindow& operator=(const PlayWindow&) = delete;

    bool IsValid() const;
    HWND NotifyWindow() const;
    HWND RenderWindow() const;
    // The next message for the player, waiting up to the time-out. bClosed is set when the
    // user closed the video window.
    std::optional<Message> Next(std::chrono::milliseconds timeout, bool& bClosed);

private:
    struct Impl;
    std::unique_ptr<Impl> m_pImpl;
};

}  // namespace qelplay
