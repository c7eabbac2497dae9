#pragma once

#include "base/Geometry.h"
#include "linux/x11/server/Connection.h"

#include <string>
#include <vector>

namespace kasto::test {

using namespace x11;

// A picture as 0xRRGGBB, row by row.
struct Pixels {
    int width = 0;
    int height = 0;
    std::vector<std::uint32_t> rgb;

    // Of 32-bit pixels with rows so many bytes apart.
    Pixels(int columns, int rows, const std::uint8_t* data, std::ptrdiff_t strideBytes);
    std::uint32_t& at(int x, int y) { return rgb[static_cast<std::size_t>(y * width + x)]; }
    std::uint32_t at(int x, int y) const { return rgb[static_cast<std::size_t>(y * width + x)]; }
    bool operator==(const Pixels&) const = default;
};

enum class WindowKind {
    managed,           // as a window manager likes it
    overrideRedirect,  // placed by itself, opaque
    argb,              // placed by itself, 32 bits with alpha, transparent until something is filled
};

// A client of the X server that draws in plain colours. What it did has happened when an operation returns.
class XClient {
public:
    explicit XClient(const std::string& display) : connection_(Connection::open(display).value()) {}

    xcb_window_t makeWindow(const PixelRect& boundsPx, WindowKind kind, std::uint32_t color);
    xcb_window_t showWindow(const PixelRect& boundsPx, std::uint32_t color);  // opaque, placed by itself
    void show(xcb_window_t window) { sync(xcb_map_window(raw(), window)); }
    void hide(xcb_window_t window) { sync(xcb_unmap_window(raw(), window)); }
    void destroy(xcb_window_t window) { sync(xcb_destroy_window(raw(), window)); }
    void move(xcb_window_t window, int x, int y);
    void restack(xcb_window_t window, std::uint32_t mode);
    void fill(xcb_window_t window, const PixelRect& rect, std::uint32_t color);
    void shape(xcb_window_t window, const std::vector<PixelRect>& rects);
    void movePointer(int x, int y);
    void listenForPresses(xcb_window_t window);
    std::vector<int> pressed();  // the buttons, since it was last in step with the server
    void setRootColor(std::uint32_t color);
    void setResources(const std::string& text);  // the root window's RESOURCE_MANAGER

    // What the server shows, read over the core protocol.
    Pixels screen(const PixelRect& rect) const;

    xcb_connection_t* raw() const { return connection_.raw(); }
    xcb_window_t root() const { return connection_.root(); }
    void sync(xcb_void_cookie_t = {}) const;

private:
    Connection connection_;
};

}  // namespace kasto::test
