#include "support/TestX11.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <filesystem>

#include "support/TestEventually.h"

namespace qel::test {

using namespace std::chrono_literals;

std::unique_ptr<XvfbServer> XvfbServer::Start() {
    for (int nTry = 0, nDisplay = 90 + static_cast<int>(getpid() % 400); nTry < 20; ++nTry, ++nDisplay) {
        const std::string strNumber = std::to_string(nDisplay);
        if (std::filesystem::exists("/tmp/.X" + strNumber + "-lock") ||
            std::filesystem::exists("/tmp/.X11-unix/X" + strNumber))
            continue;
        std::unique_ptr<XvfbServer> pServer(new XvfbServer(":" + strNumber));
        if (pServer->Launch())
            return pServer;
    }
    return nullptr;
}

XvfbServer::~XvfbServer() {
    if (m_pid > 0) {
        kill(m_pid, SIGTERM);
        waitpid(m_pid, nullptr, 0);
    }
}

bool XvfbServer::Launch() {
    // No reset when the last client goes: the next test would find the server away.
    std::vector<std::string> vecArgs = {"Xvfb", m_strDisplay, "-screen", "0", "640x480x24", "-nolisten", "tcp",
                                        "-noreset"};
    std::vector<char*> vecArgv;
    for (std::string& strArg : vecArgs)
        vecArgv.push_back(strArg.data());
    vecArgv.push_back(nullptr);
    m_pid = fork();
    if (m_pid == 0) {
        // Ends with the test process, even one that a sanitizer stops short.
        prctl(PR_SET_PDEATHSIG, SIGTERM);
        const int nNull = open("/dev/null", O_WRONLY);
        dup2(nNull, STDOUT_FILENO);
        dup2(nNull, STDERR_FILENO);
        execvp(vecArgv[0], vecArgv.data());
        _exit(127);
    }
    if (m_pid < 0)
        return false;
    // Up once a client can connect; gone at once when the number was taken after all.
    return Eventually(
               [this] {
                   if (waitpid(m_pid, nullptr, WNOHANG) == m_pid) {
                       m_pid = -1;
                       return true;
                   }
                   xcb_connection_t* pConnection = xcb_connect(m_strDisplay.c_str(), nullptr);
                   const bool bUp = !xcb_connection_has_error(pConnection);
                   xcb_disconnect(pConnection);
                   return bUp;
               },
               10s) &&
           m_pid > 0;
}

std::ostream& operator<<(std::ostream& os, const Rect& rc) {
    return os << "(" << rc.nLeft << ", " << rc.nTop << ", " << rc.nWidth << " x " << rc.nHeight << ")";
}

bool operator==(const Rect& a, const Rect& b) {
    return a.nLeft == b.nLeft && a.nTop == b.nTop && a.nWidth == b.nWidth && a.nHeight == b.nHeight;
}

X11Display::X11Display(const std::string& strDisplay) : m_pConnection(xcb_connect(strDisplay.c_str(), nullptr)) {
    m_pScreen = xcb_setup_roots_iterator(xcb_get_setup(m_pConnection)).data;
}

X11Display::~X11Display() {
    xcb_disconnect(m_pConnection);
}

bool X11Display::Ok() const {
    return !xcb_connection_has_error(m_pConnection);
}

xcb_window_t X11Display::MakeWindow(int nWidth, int nHeight) {
    const xcb_window_t window = xcb_generate_id(m_pConnection);
    const std::uint32_t values[] = {m_pScreen->black_pixel};
    xcb_create_window(m_pConnection, XCB_COPY_FROM_PARENT, window, m_pScreen->root, 20, 20,
                      static_cast<std::uint16_t>(nWidth), static_cast<std::uint16_t>(nHeight), 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, m_pScreen->root_visual, XCB_CW_BACK_PIXEL, values);
    xcb_map_window(m_pConnection, window);
    xcb_flush(m_pConnection);
    Eventually([&] { return Viewable(window); }, 5s);
    return window;
}

void X11Display::DestroyWindow(xcb_window_t window) {
    xcb_destroy_window(m_pConnection, window);
    Sync();
}

xcb_window_t X11Display::TopLevelNamed(const std::string& strTitle) {
    for (xcb_window_t window : Children(m_pScreen->root)) {
        auto* pName = xcb_get_property_reply(
            m_pConnection,
            xcb_get_property(m_pConnection, 0, window, XCB_ATOM_WM_NAME, XCB_ATOM_STRING, 0, 1024), nullptr);
        const bool bNamed =
            pName && std::string(static_cast<const char*>(xcb_get_property_value(pName)),
                                 static_cast<std::size_t>(xcb_get_property_value_length(pName))) == strTitle;
        std::free(pName);
        if (bNamed)
            return window;
    }
    return 0;
}

std::vector<xcb_window_t> X11Display::Children(xcb_window_t window) {
    std::vector<xcb_window_t> vecChildren;
    if (auto* pTree = xcb_query_tree_reply(m_pConnection, xcb_query_tree(m_pConnection, window), nullptr)) {
        const xcb_window_t* pChildren = xcb_query_tree_children(pTree);
        vecChildren.assign(pChildren, pChildren + xcb_query_tree_children_length(pTree));
        std::free(pTree);
    }
    return vecChildren;
}

std::optional<Rect> X11Display::Geometry(xcb_window_t window) {
    auto* pGeometry = xcb_get_geometry_reply(m_pConnection, xcb_get_geometry(m_pConnection, window), nullptr);
    if (!pGeometry)
        return std::nullopt;
    const Rect rc{pGeometry->x, pGeometry->y, pGeometry->width, pGeometry->height};
    std::free(pGeometry);
    return rc;
}

bool X11Display::Viewable(xcb_window_t window) {
    auto* pAttributes =
        xcb_get_window_attributes_reply(m_pConnection, xcb_get_window_attributes(m_pConnection, window), nullptr);
    const bool bViewable = pAttributes && pAttributes->map_state == XCB_MAP_STATE_VIEWABLE;
    std::free(pAttributes);
    return bViewable;
}

std::vector<std::uint32_t> X11Display::Pixels(xcb_window_t window, const Rect& rc) {
    std::vector<std::uint32_t> vecPixels;
    auto* pImage = xcb_get_image_reply(
        m_pConnection,
        xcb_get_image(m_pConnection, XCB_IMAGE_FORMAT_Z_PIXMAP, window, static_cast<std::int16_t>(rc.nLeft),
                      static_cast<std::int16_t>(rc.nTop), static_cast<std::uint16_t>(rc.nWidth),
                      static_cast<std::uint16_t>(rc.nHeight), ~0u),
        nullptr);
    if (!pImage)
        return vecPixels;
    // Depth 24 comes as 32 bits a pixel.
    const std::size_t nCount = static_cast<std::size_t>(rc.nWidth) * static_cast<std::size_t>(rc.nHeight);
    if (static_cast<std::size_t>(xcb_get_image_data_length(pImage)) >= nCount * 4) {
        vecPixels.resize(nCount);
        std::memcpy(vecPixels.data(), xcb_get_image_data(pImage), nCount * 4);
        for (std::uint32_t& nPixel : vecPixels)
            nPixel &= 0xFFFFFF;
    }
    std::free(pImage);
    return vecPixels;
}

X11Display::Extent X11Display::PictureExtent(xcb_window_t window, const Rect& rc) {
    Extent extent;
    const std::vector<std::uint32_t> vecPixels = Pixels(window, rc);
    for (int y = 0; y < rc.nHeight && !vecPixels.empty(); ++y) {
        for (int x = 0; x < rc.nWidth; ++x) {
            if (vecPixels[static_cast<std::size_t>(y * rc.nWidth + x)] == 0)
                continue;
            if (extent.Empty() || x < extent.nFirstColumn)
                extent.nFirstColumn = x;
            extent.nLastColumn = std::max(extent.nLastColumn, x);
            if (extent.nFirstRow < 0)
                extent.nFirstRow = y;
            extent.nLastRow = y;
        }
    }
    return extent;
}

void X11Display::PressKey(xcb_window_t window, std::uint32_t nKeysym) {
    const xcb_setup_t* pSetup = xcb_get_setup(m_pConnection);
    auto* pMap = xcb_get_keyboard_mapping_reply(
        m_pConnection,
        xcb_get_keyboard_mapping(m_pConnection, pSetup->min_keycode,
                                 static_cast<std::uint8_t>(pSetup->max_keycode - pSetup->min_keycode + 1)),
        nullptr);
    if (!pMap)
        return;
    const xcb_keysym_t* pKeysyms = xcb_get_keyboard_mapping_keysyms(pMap);
    const int nCount = xcb_get_keyboard_mapping_keysyms_length(pMap);
    xcb_key_press_event_t event{};
    event.response_type = XCB_KEY_PRESS;
    event.root = m_pScreen->root;
    event.event = window;
    event.same_screen = 1;
    for (int i = 0; i < nCount; i += pMap->keysyms_per_keycode) {
        if (pKeysyms[i] == nKeysym) {
            event.detail = static_cast<xcb_keycode_t>(pSetup->min_keycode + i / pMap->keysyms_per_keycode);
            break;
        }
    }
    std::free(pMap);
    xcb_send_event(m_pConnection, 0, window, XCB_EVENT_MASK_KEY_PRESS, reinterpret_cast<const char*>(&event));
    Sync();
}

void X11Display::Sync() {
    std::free(xcb_get_input_focus_reply(m_pConnection, xcb_get_input_focus(m_pConnection), nullptr));
}

}  // namespace qel::test
