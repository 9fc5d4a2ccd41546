// A receiver of posted window messages for hosts and tests without Win32.
// Create one, pass Handle() wherever a notify window is expected, and take the messages
// in the order they were posted. Thread-safe; destroying the queue invalidates its
// handle, and later posts to it fail without effect.
#pragma once

#include "QelWinApi.h"

#ifndef _WIN32

#include <chrono>
#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>

namespace qel {

struct PostedMessage {
    UINT message = 0;
    WPARAM wParam = 0;
    LPARAM lParam = 0;
};

class QEL_WINAPI_EXPORT MessageQueue {
public:
    MessageQueue();
    ~MessageQueue();
    MessageQueue(const MessageQueue&) = delete;
    MessageQueue& operator=(const MessageQueue&) = delete;

    HWND Handle() const { return m_hWnd; }

    // The oldest message, waiting up to the time-out for one; nothing on time-out.
    std::optional<PostedMessage> Receive(std::chrono::milliseconds timeout);

    // The oldest message with this number, waiting up to the time-out; messages with
    // other numbers stay queued in their order.
    std::optional<PostedMessage> ReceiveMessage(UINT message, std::chrono::milliseconds timeout);

    std::size_t Pending() const;

    struct State;  // shared with the handle registry

private:
    std::shared_ptr<State> m_state;
    HWND m_hWnd = nullptr;
};

}  // namespace qel

#endif  // _WIN32
