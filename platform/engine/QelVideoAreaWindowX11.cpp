// With xcb rather than Xlib: X errors come back as values here, whereas Xlib reports them
// to one process-wide handler whose default ends the host process.
#include "QelVideoAreaWindow.h"

#include <xcb/xcb.h>

#include <algorithm>
#include <cstdlib>
#include <limits>

#include "winapi/QelX11PostedMessage.h"

namespace {

// X11 positions are 16-bit signed, sizes 16-bit unsigned and at least 1.
std::uint32_t XPosition(std::int32_t n) {
    return static_cast<std::uint32_t>(std::clamp<std::int32_t>(n, std::numeric_limits<std::int16_t>::min(),
                                                                std::numeric_limits<std::int16_t>::max()));
}

std::uint32_t XSize(std::int32_t n) {
    return static_cast<std::uint32_t>(std::clamp<std::int32_t>(n, 1, std::numeric_limits<std::uint16_t>::max()));
}

std::uint32_t BlackPixelOfRoot(xcb_connection_t* pConnection, xcb_window_t root) {
    for (xcb_screen_iterator_t it = xcb_setup_roots_iterator(xcb_get_setup(pConnection)); it.rem;
         xcb_screen_next(&it)) {
        if (it.data->root == root)
            return it.data->black_pixel;
    }
    return 0;
}

// Errors of requests nobody checks, such as moves of a window its parent already took
// down, arrive as events; nobody else reads them here.
void DropEvents(xcb_connection_t* pConnection) {
    while (xcb_generic_event_t* pEvent = xcb_poll_for_event(pConnection))
        std::free(pEvent);
}

}  // namespace

std::unique_ptr<QelVideoAreaWindow> QelVideoAreaWindow::Create(HWND hRenderWnd) {
    // A message queue of this process is a render window without a picture.
    const auto nId = reinterpret_cast<std::uintptr_t>(hRenderWnd);
    if (nId == 0 || nId > std::numeric_limits<std::uint32_t>::max() || IsWindow(hRenderWnd))
        return nullptr;
    std::unique_ptr<QelVideoAreaWindow> self(new QelVideoAreaWindow(hRenderWnd));
    if (!self->Start())
        return nullptr;
    return self;
}

bool QelVideoAreaWindow::Start() {
    // The display libvlc draws on: the one DISPLAY names.
    m_pConnection = xcb_connect(nullptr, nullptr);
    if (xcb_connection_has_error(m_pConnection))
        return false;
    const auto parent = static_cast<xcb_window_t>(reinterpret_cast<std::uintptr_t>(m_hRenderWnd));
    xcb_generic_error_t* pError = nullptr;
    xcb_get_geometry_reply_t* pGeometry =
        xcb_get_geometry_reply(m_pConnection, xcb_get_geometry(m_pConnection, parent), &pError);
    std::free(pError);
    if (!pGeometry)
        return false;  // no such window on this display
    const std::uint32_t values[] = {BlackPixelOfRoot(m_pConnection, pGeometry->root)};
    const std::uint32_t nWidth = std::max<std::uint32_t>(pGeometry->width, 1);
    const std::uint32_t nHeight = std::max<std::uint32_t>(pGeometry->height, 1);
    std::free(pGeometry);

    const xcb_window_t window = xcb_generate_id(m_pConnection);
    const xcb_void_cookie_t created = xcb_create_window_checked(
        m_pConnection, XCB_COPY_FROM_PARENT, window, parent, 0, 0, static_cast<std::uint16_t>(nWidth),
        static_cast<std::uint16_t>(nHeight), 0, XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT,
        XCB_CW_BACK_PIXEL, values);
    if (xcb_generic_error_t* pCreateError = xcb_request_check(m_pConnection, created)) {
        std::free(pCreateError);
        return false;
    }
    m_nWindow = window;
    xcb_intern_atom_reply_t* pAtom = xcb_intern_atom_reply(
        m_pConnection,
        xcb_intern_atom(m_pConnection, 0, sizeof(qel::kX11PostedMessageAtom) - 1, qel::kX11PostedMessageAtom),
        nullptr);
    if (pAtom)
        m_nPostedMessageAtom = pAtom->atom;
    std::free(pAtom);
    xcb_map_window(m_pConnection, m_nWindow);
    m_bMapped = true;
    xcb_flush(m_pConnection);
    return true;
}

QelVideoAreaWindow::~QelVideoAreaWindow() {
    if (!m_pConnection)
        return;
    if (m_nWindow) {
        xcb_destroy_window(m_pConnection, m_nWindow);
        xcb_flush(m_pConnection);
    }
    xcb_disconnect(m_pConnection);
}

void QelVideoAreaWindow::PostToRenderWindow(UINT nMsg, WPARAM wParam, LPARAM lParam) {
    xcb_client_message_event_t event{};
    event.response_type = XCB_CLIENT_MESSAGE;
    event.format = 32;
    event.window = static_cast<xcb_window_t>(reinterpret_cast<std::uintptr_t>(m_hRenderWnd));
    event.type = m_nPostedMessageAtom;
    qel::PackX11PostedMessage({nMsg, wParam, lParam}, event.data.data32);
    // No event mask: the event goes to the client that made the window.
    xcb_send_event(m_pConnection, 0, event.window, XCB_EVENT_MASK_NO_EVENT, reinterpret_cast<const char*>(&event));
    xcb_flush(m_pConnection);
}

void QelVideoAreaWindow::Move(std::int32_t nLeft, std::int32_t nTop, std::int32_t nWidth, std::int32_t nHeight) {
    std::lock_guard<std::mutex> lock(m_mutex);
    if (nWidth < 1 || nHeight < 1) {
        // X11 has no empty window: an empty area is an unmapped one.
        if (m_bMapped)
            xcb_unmap_window(m_pConnection, m_nWindow);
        m_bMapped = false;
    } else {
        const std::uint32_t values[] = {XPosition(nLeft), XPosition(nTop), XSize(nWidth), XSize(nHeight)};
        xcb_configure_window(m_pConnection, m_nWindow,
                             XCB_CONFIG_WINDOW_X | XCB_CONFIG_WINDOW_Y | XCB_CONFIG_WINDOW_WIDTH |
                                 XCB_CONFIG_WINDOW_HEIGHT,
                             values);
        if (!m_bMapped)
            xcb_map_window(m_pConnection, m_nWindow);
        m_bMapped = true;
    }
    // In place on return, as on Windows: the round trip waits until the server has it.
    xcb_get_input_focus_reply_t* pSync =
        xcb_get_input_focus_reply(m_pConnection, xcb_get_input_focus(m_pConnection), nullptr);
    std::free(pSync);
    DropEvents(m_pConnection);
}
