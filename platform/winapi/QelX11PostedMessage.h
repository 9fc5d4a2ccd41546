// A window message posted to an X11 window (Linux). Win32 queues a posted message for the
// window's thread; the X11 counterpart is a ClientMessage event of type
// kX11PostedMessageAtom sent to the window, which reaches the client that made the window
// through its own event queue. The message fills the event's five 32-bit words.
#pragma once

#ifndef _WIN32

#include <cstdint>

#include "QelMessageQueue.h"

namespace qel {

inline constexpr char kX11PostedMessageAtom[] = "QEL_POSTED_MESSAGE";

inline void PackX11PostedMessage(const PostedMessage& message, std::uint32_t (&words)[5]) {
    const auto wParam = static_cast<std::uint64_t>(message.wParam);
    const auto lParam = static_cast<std::uint64_t>(message.lParam);
    words[0] = message.message;
    words[1] = static_cast<std::uint32_t>(wParam);
    words[2] = static_cast<std::uint32_t>(wParam >> 32);
    words[3] = static_cast<std::uint32_t>(lParam);
    words[4] = static_cast<std::uint32_t>(lParam >> 32);
}

inline PostedMessage UnpackX11PostedMessage(const std::uint32_t (&words)[5]) {
    PostedMessage message;
    message.message = words[0];
    message.wParam = static_cast<WPARAM>(words[1] | (static_cast<std::uint64_t>(words[2]) << 32));
    message.lParam = static_cast<LPARAM>(words[3] | (static_cast<std::uint64_t>(words[4]) << 32));
    return message;
}

}  // namespace qel

#endif  // _WIN32
