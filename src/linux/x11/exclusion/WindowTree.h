#pragma once

#include "linux/x11/server/Connection.h"
#include "linux/x11/server/Region.h"

#include <span>
#include <vector>

namespace kasto::x11 {

// All coordinates are in pixels of the picture, which shows a part of the root window.

// A visible child of the root window that another client draws into.
struct TopLevel {
    std::uint32_t id = 0;
    PixelRect outer;  // with its border
    int borderPx = 0;
    std::uint32_t visual = 0;
    double opacity = 1;  // 0 to 1, asked of the compositing manager
    Region area;         // its shape, without own windows inside it
};

// Where one of our own windows is. A window manager puts a window into a frame, which is then the child of
// the root window and counts as own, too. A tray icon is embedded into a panel, which stays a foreign window.
struct OwnPlace {
    std::uint32_t id = 0;
    bool isFramed = false;
    bool isViewable = false;     // the window, or its frame
    std::uint32_t topLevel = 0;  // the frame, or the child of the root window it is in, or the window itself
    int x = 0;                   // the window's corner, inside its border
    int y = 0;
    PixelRect topLevelOuter = {};  // with its border
    Region shape;                  // of the window, or of its frame
};

struct WindowTree {
    bool hasCompositingManager = false;
    std::vector<TopLevel> others;  // bottom to top
    std::vector<OwnPlace> own;
};

// Asks the server for its windows, their places and shapes. Blocks for a few round trips. One thread.
class WindowTreeReader {
public:
    WindowTreeReader(const Connection& connection, const PixelRect& area);

    // The windows of the moment. `own` are the ids of our own windows; those of destroyed windows are
    // skipped. Empty over a lost connection.
    WindowTree read(std::span<const std::uint32_t> own) const;

    // The selection that a compositing manager owns while it runs.
    xcb_atom_t managerSelection() const { return managerSelection_; }

private:
    std::vector<OwnPlace> placeOwn(std::span<const std::uint32_t> own) const;
    std::uint32_t topLevelOf(std::uint32_t window, std::uint32_t parent) const;
    void placeTopLevel(OwnPlace& place) const;
    bool isEmbedded(xcb_window_t window) const;
    static void cutOut(const std::vector<OwnPlace>& places, std::vector<TopLevel>& others);
    std::vector<TopLevel> describe(std::span<const std::uint32_t> children) const;
    Region shapeOf(xcb_window_t window, int x, int y) const;
    std::uint32_t overlayWindow() const;

    const Connection& connection_;
    PixelRect area_;
    xcb_atom_t managerSelection_;
    xcb_atom_t opacity_;
    xcb_atom_t embedding_;
};

}  // namespace kasto::x11
