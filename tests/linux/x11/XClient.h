#pragma once

#include "base/Geometry.h"

#include <xcb/xcb.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace kasto::test {

// A picture as 0xRRGGBB, row by row.
struct Pixels {
    int width = 0;
    int height = 0;
    std::vector<std::uint32_t> rgb;
    std::uint32_t at(int x, int y) const {
        return rgb[static_cast<std::size_t>(y) * static_cast<std::size_t>(width) +
                   static_cast<std::size_t>(x)];
    }
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
    explicit XClient(const std::string& display);

    xcb_window_t makeWindow(const PixelRect& boundsPx, WindowKind kind, std::uint32_t color);
    void show(xcb_window_t window);
    void hide(xcb_window_t window);
    void destroy(xcb_window_t window);
    void move(xcb_window_t window, int x, int y);
    void raise(xcb_window_t window);
    void lower(xcb_window_t window);
    void fill(xcb_window_t window, const PixelRect& rect, std::uint32_t color);
    void shape(xcb_window_t window, const std::vector<PixelRect>& rects);
    void movePointer(int x, int y);
    void setRootColor(std::uint32_t color);

    // What the server shows, read over the core protocol.
    Pixels screen(const PixelRect& rect) const;

    xcb_connection_t* raw() const { return connection_.get(); }
    xcb_window_t root() const { return screen_->root; }
    void sync() const;

private:
    void restack(xcb_window_t window, std::uint32_t mode);

    struct Disconnect {
        void operator()(xcb_connection_t* connection) const { xcb_disconnect(connection); }
    };
    std::unique_ptr<xcb_connection_t, Disconnect> connection_;
    const xcb_screen_t* screen_;
};

}  // namespace kasto::test
