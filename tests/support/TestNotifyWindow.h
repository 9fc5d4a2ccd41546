// A window that receives posted messages in tests, on both builds: a qel::MessageQueue on
// Linux, a message-only window on Windows. On Windows, use it on the thread that made it
// (Receive pumps that thread's queue).
#pragma once

#include <chrono>
#include <optional>

#include "winapi/QelWinApi.h"

#ifdef _WIN32

namespace qel::test {

struct PostedMessage {
    UINT message = 0;
    WPARAM wParam = 0;
    LPARAM lParam = 0;
};

class TestNotifyWindow {
public:
    TestNotifyWindow() {
        m_hWnd = CreateWindowExW(0, L"STATIC", L"qel-test-notify", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr,
                                 GetModuleHandleW(nullptr), nullptr);
    }
    ~TestNotifyWindow() {
        if (m_hWnd)
            DestroyWindow(m_hWnd);
    }
    TestNotifyWindow(const TestNotifyWindow&) = delete;
    TestNotifyWindow& operator=(const TestNotifyWindow&) = delete;

    HWND Handle() const { return m_hWnd; }

    // The next message posted to it (from WM_USER up; others are dispatched), or with
    // ReceiveMessage the next of that number, the others dropped.
    std::optional<PostedMessage> Receive(std::chrono::milliseconds timeout) { return ReceiveMessage(0, timeout); }
    std::optional<PostedMessage> ReceiveMessage(UINT message, std::chrono::milliseconds timeout) {
        const auto deadline = std::chrono::steady_clock::now() + timeout;
        for (;;) {
            MSG msg;
            while (PeekMessageW(&msg, m_hWnd, 0, 0, PM_REMOVE)) {
                if (msg.message < WM_USER)
                    DispatchMessageW(&msg);
                else if (message == 0 || msg.message == message)
                    return PostedMessage{msg.message, msg.wParam, msg.lParam};
            }
            const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
            if (left.count() <= 0)
                return std::nullopt;
            MsgWaitForMultipleObjects(0, nullptr, FALSE, static_cast<DWORD>(left.count()), QS_POSTMESSAGE);
        }
    }

private:
    HWND m_hWnd = nullptr;
};

}  // namespace qel::test

#else

#include "winapi/QelMessageQueue.h"

namespace qel::test {

using PostedMessage = qel::PostedMessage;

class TestNotifyWindow : public qel::MessageQueue {};

}  // namespace qel::test

#endif
