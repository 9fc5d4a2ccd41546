// Linux: an Xvfb server of a test's own, and what the test sees of it and does on it
// through an xcb connection of its own (windows, geometry, pixels read back, keys).
#pragma once

#include <xcb/xcb.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

namespace qel::test {

// An Xvfb server on a display number nobody uses, ended with the object.
class XvfbServer {
public:
    // Null when no server could be started.
    static std::unique_ptr<XvfbServer> Start();
    ~XvfbServer();
    XvfbServer(const XvfbServer&) = delete;
    XvfbServer& operator=(const XvfbServer&) = delete;

    const std::string& Display() const { return m_strDisplay; }

private:
    explicit XvfbServer(std::string strDisplay) : m_strDisplay(std::move(strDisplay)) {}
    bool Launch();

    std::string m_strDisplay;
    int m_pid = -1;
};

struct Rect {
    int nLeft, nTop, nWidth, nHeight;
};
std::ostream& operator<<(std::ostream& os, const Rect& rc);
bool operator==(const Rect& a, const Rect& b);

class X11Display {
public:
    explicit X11Display(const std::string& strDisplay);
    ~X11Display();
    X11Display(const X11Display&) = delete;
    X11Display& operator=(const X11Display&) = delete;

    bool Ok() const;

    // A mapped top-level window with a black background, as a host's render window.
    xcb_window_t MakeWindow(int nWidth, int nHeight);
    void DestroyWindow(xcb_window_t window);
    // The top-level window of that title (WM_NAME); 0 when there is none.
    xcb_window_t TopLevelNamed(const std::string& strTitle);

    std::vector<xcb_window_t> Children(xcb_window_t window);
    std::optional<Rect> Geometry(xcb_window_t window);
    bool Viewable(xcb_window_t window);

    // The pixels of a rectangle of the window, children included, as 0xRRGGBB; empty when
    // they cannot be read.
    std::vector<std::uint32_t> Pixels(xcb_window_t window, const Rect& rc);
    // The columns and rows of a rectangle of the window that hold a pixel that is not
    // black; empty when all of it is black.
    struct Extent {
        int nFirstColumn = -1, nLastColumn = -1, nFirstRow = -1, nLastRow = -1;
        bool Empty() const { return nFirstColumn < 0; }
    };
    Extent PictureExtent(xcb_window_t window, const Rect& rc);

    // A key press sent to the window, as the key with this keysym produces it.
    void PressKey(xcb_window_t window, std::uint32_t nKeysym);

    void Sync();

private:
    xcb_connection_t* m_pConnection;
    xcb_screen_t* m_pScreen = nullptr;
};

}  // namespace qel::test
