// qel_host_example URL CACHE_FOLDER [SECONDS]: plays an HLS URL through
// QelVideoPlayerManager without a picture and prints every window message it receives.
// Exit codes: 0 playback reached its end; 1 bad arguments; 2 the playlist or the media
// could not be opened; 3 time-out.
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <string>

#include "QelVersion.h"
#include "video/QelMessages.h"
#include "video/QelVideoPlayerManager.h"
#ifndef _WIN32
#include "winapi/QelMessageQueue.h"
#endif

namespace {

struct Message {
    UINT message;
    WPARAM wParam;
    LPARAM lParam;
};

const char* NameOf(UINT message) {
    switch (message) {
    case QEL_VIDEO_SEEK_TS: return "QEL_VIDEO_SEEK_TS";
    case QEL_VIDEO_STARTED: return "QEL_VIDEO_STARTED";
    case QEL_VIDEO_DOWNLOAD_FAILED: return "QEL_VIDEO_DOWNLOAD_FAILED";
    case QEL_VIDEO_DOWNLOAD_SUCCESS: return "QEL_VIDEO_DOWNLOAD_SUCCESS";
    case QEL_VIDEO_PLAYER_EVENT: return "QEL_VIDEO_PLAYER_EVENT";
    default: return "message";
    }
}

std::wstring Widened(const std::string& text) {  // URLs and folders here are ASCII
    return std::wstring(text.begin(), text.end());
}

#ifdef _WIN32
// The messages of a message-only window of this thread.
class Receiver {
public:
    Receiver() : m_hWnd(CreateWindowExW(0, L"STATIC", L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr)) {}
    ~Receiver() { DestroyWindow(m_hWnd); }
    HWND Handle() const { return m_hWnd; }
    std::optional<Message> Next(std::chrono::milliseconds timeout) {
        const ULONGLONG deadline = GetTickCount64() + timeout.count();
        MSG msg;
        while (!PeekMessageW(&msg, nullptr, 0, 0, PM_REMOVE)) {
            if (GetTickCount64() >= deadline)
                return std::nullopt;
            MsgWaitForMultipleObjects(0, nullptr, FALSE, 50, QS_ALLINPUT);
        }
        return Message{msg.message, msg.wParam, msg.lParam};
    }

private:
    HWND m_hWnd;
};
#else
class Receiver {
public:
    HWND Handle() const { return m_queue.Handle(); }
    std::optional<Message> Next(std::chrono::milliseconds timeout) {
        if (auto posted = m_queue.Receive(timeout))
            return Message{posted->message, posted->wParam, posted->lParam};
        return std::nullopt;
    }

private:
    qel::MessageQueue m_queue;
};
#endif

}  // namespace

int main(int argc, char** argv) {
    if (argc < 3) {
        std::fprintf(stderr, "usage: qel_host_example URL CACHE_FOLDER [SECONDS]\n");
        return 1;
    }
    const auto limit = std::chrono::seconds(argc > 3 ? std::atoi(argv[3]) : 60);
    std::printf("QelMediaPlayer %s\n", QEL_MEDIAPLAYER_VERSION);

    Receiver receiver;
    QelVideoPlayerManager manager;
    manager.SetVideoDownloadPath(Widened(argv[2]));
    // Headless: the receiver is the render window too, so the engine draws no picture.
    manager.SetHWnd(receiver.Handle(), receiver.Handle());
    manager.Play(Widened(argv[1]), {}, 0);

    int nExit = 3;
    const auto deadline = std::chrono::steady_clock::now() + limit;
    while (nExit == 3 && std::chrono::steady_clock::now() < deadline) {
        const auto message = receiver.Next(std::chrono::milliseconds(200));
        if (!message)
            continue;
        std::printf("%s %llu %lld\n", NameOf(message->message), static_cast<unsigned long long>(message->wParam),
                    static_cast<long long>(message->lParam));
        if (message->message == QEL_VIDEO_STARTED && !manager.IsOpenFile())
            nExit = 2;
        else if (message->message == QEL_VIDEO_DOWNLOAD_FAILED && message->wParam == 0)
            nExit = 2;
        else if (message->message == QEL_VIDEO_PLAYER_EVENT && message->wParam == QEL_VIDEO_EVENT_END)
            nExit = 0;
    }
    manager.Stop();
    std::printf("exit %d\n", nExit);
    return nExit;
}
