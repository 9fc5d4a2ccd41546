// Linux: one message queue of this process takes everything. With a display, a thread
// reads the video window's X11 events (the engine's posted messages, keys, size changes,
// the window manager's close) and turns them into messages on that queue.
#include "QelPlayWindow.h"

#include <xcb/xcb.h>

#include <cstdlib>
#include <cstring>
#include <thread>
#include <vector>

#include "winapi/QelMessageQueue.h"
#include "winapi/QelX11PostedMessage.h"

namespace qelplay {

namespace {

constexpr int kDefaultWidth = 640;  // until the video's size is known
constexpr int kDefaultHeight = 360;

// Keysyms of the keys qelplay answers.
constexpr xcb_keysym_t kKeySpace = 0x20, kKeyF = 0x66, kKeyQ = 0x71, kKeyEscape = 0xff1b, kKeyLeft = 0xff51,
                       kKeyRight = 0xff53;

// The stop request of the event thread, sent by the destructor to its own window.
constexpr char kStopAtomName[] = "QELPLAY_STOP";

std::optional<PlayCommand> CommandOfKey(xcb_keysym_t keysym) {
    switch (keysym) {
    case kKeySpace: return kTogglePause;
    case kKeyLeft: return kSeekBack;
    case kKeyRight: return kSeekAhead;
    case kKeyF: return kToggleFullScreen;
    case kKeyQ:
    case kKeyEscape: return kQuit;
    default: return std::nullopt;
    }
}

struct ConnectionCloser {
    void operator()(xcb_connection_t* pConnection) const { xcb_disconnect(pConnection); }
};
using Connection = std::unique_ptr<xcb_connection_t, ConnectionCloser>;

xcb_atom_t InternAtom(xcb_connection_t* pConnection, const char* szName) {
    xcb_intern_atom_reply_t* pReply = xcb_intern_atom_reply(
        pConnection, xcb_intern_atom(pConnection, 0, static_cast<std::uint16_t>(std::strlen(szName)), szName), nullptr);
    const xcb_atom_t atom = pReply ? pReply->atom : static_cast<xcb_atom_t>(XCB_ATOM_NONE);
    std::free(pReply);
    return atom;
}

// The unshifted keysym of each keycode, as the server maps them.
class KeyMap {
public:
    explicit KeyMap(xcb_connection_t* pConnection) {
        const xcb_setup_t* pSetup = xcb_get_setup(pConnection);
        m_nFirst = pSetup->min_keycode;
        const int nCount = pSetup->max_keycode - pSetup->min_keycode + 1;
        xcb_get_keyboard_mapping_reply_t* pReply = xcb_get_keyboard_mapping_reply(
            pConnection, xcb_get_keyboard_mapping(pConnection, m_nFirst, static_cast<std::uint8_t>(nCount)), nullptr);
        if (!pReply)
            return;
        m_nPerKeycode = pReply->keysyms_per_keycode;
        const xcb_keysym_t* pKeysyms = xcb_get_keyboard_mapping_keysyms(pReply);
        m_keysyms.assign(pKeysyms, pKeysyms + xcb_get_keyboard_mapping_keysyms_length(pReply));
        std::free(pReply);
    }

    xcb_keysym_t Keysym(xcb_keycode_t keycode) const {
        const std::size_t nAt = static_cast<std::size_t>(keycode - m_nFirst) * m_nPerKeycode;
        return keycode >= m_nFirst && nAt < m_keysyms.size() ? m_keysyms[nAt] : 0;
    }

private:
    xcb_keycode_t m_nFirst = 0;
    std::size_t m_nPerKeycode = 0;
    std::vector<xcb_keysym_t> m_keysyms;
};

}  // namespace

struct PlayWindow::Impl {
    qel::MessageQueue queue;
    Connection connection;
    xcb_window_t window = 0;
    xcb_window_t root = 0;
    xcb_atom_t atomProtocols = 0, atomDeleteWindow = 0, atomPosted = 0, atomStop = 0, atomState = 0,
               atomFullScreen = 0;
    std::optional<KeyMap> keys;
    std::thread events;
    bool bFullScreen = false;  // as asked of the window manager

    bool Open(const std::string& strTitle);
    void SendClientMessage(xcb_window_t target, std::uint32_t nEventMask, xcb_atom_t type,
                           const std::uint32_t (&words)[5]);
    void ReadEvents();
    void Post(UINT nMsg, WPARAM wParam, LPARAM lParam) { PostMessageW(queue.Handle(), nMsg, wParam, lParam); }
};

bool PlayWindow::Impl::Open(const std::string& strTitle) {
    connection.reset(xcb_connect(nullptr, nullptr));
    xcb_connection_t* pConnection = connection.get();
    if (xcb_connection_has_error(pConnection))
        return false;
    const xcb_screen_t* pScreen = xcb_setup_roots_iterator(xcb_get_setup(pConnection)).data;
    if (!pScreen)
        return false;
    root = pScreen->root;
    window = xcb_generate_id(pConnection);
    const std::uint32_t values[] = {pScreen->black_pixel, XCB_EVENT_MASK_KEY_PRESS | XCB_EVENT_MASK_STRUCTURE_NOTIFY};
    xcb_create_window(pConnection, XCB_COPY_FROM_PARENT, window, root, 0, 0, kDefaultWidth, kDefaultHeight, 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, pScreen->root_visual, XCB_CW_BACK_PIXEL | XCB_CW_EVENT_MASK,
                      values);
    auto setText = [&](xcb_atom_t property, xcb_atom_t type, const std::string& strText) {
        xcb_change_property(pConnection, XCB_PROP_MODE_REPLACE, window, property, type, 8,
                            static_cast<std::uint32_t>(strText.size()), strText.data());
    };
    setText(XCB_ATOM_WM_NAME, XCB_ATOM_STRING, strTitle);
    setText(InternAtom(pConnection, "_NET_WM_NAME"), InternAtom(pConnection, "UTF8_STRING"), strTitle);
    setText(XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, std::string("qelplay\0qelplay\0", 16));
    atomProtocols = InternAtom(pConnection, "WM_PROTOCOLS");
    atomDeleteWindow = InternAtom(pConnection, "WM_DELETE_WINDOW");
    xcb_change_property(pConnection, XCB_PROP_MODE_REPLACE, window, atomProtocols, XCB_ATOM_ATOM, 32, 1,
                        &atomDeleteWindow);
    atomPosted = InternAtom(pConnection, qel::kX11PostedMessageAtom);
    atomStop = InternAtom(pConnection, kStopAtomName);
    atomState = InternAtom(pConnection, "_NET_WM_STATE");
    atomFullScreen = InternAtom(pConnection, "_NET_WM_STATE_FULLSCREEN");
    keys.emplace(pConnection);
    xcb_map_window(pConnection, window);
    xcb_flush(pConnection);
    events = std::thread(&Impl::ReadEvents, this);
    return true;
}

void PlayWindow::Impl::SendClientMessage(xcb_window_t target, std::uint32_t nEventMask, xcb_atom_t type,
                                         const std::uint32_t (&words)[5]) {
    xcb_client_message_event_t event{};
    event.response_type = XCB_CLIENT_MESSAGE;
    event.format = 32;
    event.window = window;
    event.type = type;
    std::memcpy(event.data.data32, words, sizeof(words));
    xcb_send_event(connection.get(), 0, target, nEventMask, reinterpret_cast<const char*>(&event));
    xcb_flush(connection.get());
}

void PlayWindow::Impl::ReadEvents() {
    int nWidth = kDefaultWidth, nHeight = kDefaultHeight;
    while (xcb_generic_event_t* pEvent = xcb_wait_for_event(connection.get())) {
        const std::unique_ptr<xcb_generic_event_t, decltype(&std::free)> owned(pEvent, &std::free);
        // The top bit marks events another client sent.
        switch (pEvent->response_type & 0x7f) {
        case XCB_KEY_PRESS:
            if (auto command = CommandOfKey(keys->Keysym(reinterpret_cast<xcb_key_press_event_t*>(pEvent)->detail)))
                Post(kPlayCommandMessage, *command, 0);
            break;
        case XCB_CONFIGURE_NOTIFY: {
            const auto* pConfigure = reinterpret_cast<xcb_configure_notify_event_t*>(pEvent);
            if (pConfigure->window != window || (pConfigure->width == nWidth && pConfigure->height == nHeight))
                break;
            nWidth = pConfigure->width;
            nHeight = pConfigure->height;
            Post(kPlayResizedMessage, static_cast<WPARAM>(nWidth), nHeight);
            break;
        }
        case XCB_CLIENT_MESSAGE: {
            const auto* pClient = reinterpret_cast<xcb_client_message_event_t*>(pEvent);
            if (pClient->type == atomStop)
                return;
            if (pClient->type == atomPosted) {
                const qel::PostedMessage message = qel::UnpackX11PostedMessage(pClient->data.data32);
                Post(message.message, message.wParam, message.lParam);
            } else if (pClient->type == atomProtocols && pClient->data.data32[0] == atomDeleteWindow) {
                Post(kPlayCommandMessage, kQuit, 0);
            }
            break;
        }
        default:
            break;
        }
    }
}

PlayWindow::PlayWindow(bool bHeadless, const std::string& strTitle) : m_pImpl(std::make_unique<Impl>()) {
    // Without a display, the queue alone: the engine plays without a picture.
    if (!bHeadless && std::getenv("DISPLAY") && !m_pImpl->Open(strTitle))
        m_pImpl->window = 0;
}

PlayWindow::~PlayWindow() {
    if (!m_pImpl->events.joinable())
        return;
    // No event mask: the event comes back to this client, which made the window.
    m_pImpl->SendClientMessage(m_pImpl->window, XCB_EVENT_MASK_NO_EVENT, m_pImpl->atomStop, {});
    m_pImpl->events.join();
    xcb_destroy_window(m_pImpl->connection.get(), m_pImpl->window);
    xcb_flush(m_pImpl->connection.get());
}

bool PlayWindow::IsValid() const {
    return true;
}

HWND PlayWindow::NotifyWindow() const {
    return m_pImpl->queue.Handle();
}

HWND PlayWindow::RenderWindow() const {
    if (m_pImpl->window)
        return reinterpret_cast<HWND>(static_cast<std::uintptr_t>(m_pImpl->window));
    return m_pImpl->queue.Handle();
}

std::optional<RECT> PlayWindow::ClientArea() const {
    if (!m_pImpl->window)
        return std::nullopt;
    xcb_connection_t* pConnection = m_pImpl->connection.get();
    xcb_get_geometry_reply_t* pGeometry =
        xcb_get_geometry_reply(pConnection, xcb_get_geometry(pConnection, m_pImpl->window), nullptr);
    if (!pGeometry)
        return std::nullopt;
    const RECT rc{0, 0, pGeometry->width, pGeometry->height};
    std::free(pGeometry);
    return rc;
}

void PlayWindow::SetClientSize(int nWidth, int nHeight) {
    if (!m_pImpl->window || m_pImpl->bFullScreen || nWidth < 1 || nHeight < 1)
        return;
    const std::uint32_t values[] = {static_cast<std::uint32_t>(nWidth), static_cast<std::uint32_t>(nHeight)};
    xcb_configure_window(m_pImpl->connection.get(), m_pImpl->window,
                         XCB_CONFIG_WINDOW_WIDTH | XCB_CONFIG_WINDOW_HEIGHT, values);
    xcb_flush(m_pImpl->connection.get());
}

void PlayWindow::ToggleFullScreen() {
    if (!m_pImpl->window)
        return;
    // The window manager's business (EWMH): without one, the window stays as it is.
    constexpr std::uint32_t kToggle = 2, kFromApplication = 1;
    m_pImpl->SendClientMessage(m_pImpl->root, XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT,
                               m_pImpl->atomState, {kToggle, m_pImpl->atomFullScreen, 0, kFromApplication, 0});
    m_pImpl->bFullScreen = !m_pImpl->bFullScreen;
}

std::optional<Message> PlayWindow::Next(std::chrono::milliseconds timeout) {
    auto posted = m_pImpl->queue.Receive(timeout);
    if (!posted)
        return std::nullopt;
    return Message{posted->message, posted->wParam, posted->lParam};
}

}  // namespace qelplay
