#pragma once

#include "linux/x11/server/Connection.h"
#include "linux/x11/server/Region.h"

#include <span>
#include <vector>

namespace kasto::x11 {

// All places are in pixels of the picture, which shows a part of the root window.

// A viewable child of the root window that draws.
struct TopLevel {
    std::uint32_t id = 0;
    PixelRect outer;  // with its border
    int borderPx = 0;
    std::uint32_t visual = 0;
    double opacity = 1;
    Region area;  // its shape
};

// A window of the program's own, wherever it is in the tree.
struct OwnPlace {
    std::uint32_t id = 0;
    bool isViewable = false;
    std::uint32_t topLevel = 0;  // itself, or the frame around it
    int x = 0;                   // of its corner inside the border
    int y = 0;
    int frameX = 0;  // of that top level, its corner outside the border
    int frameY = 0;
    Region shape;
};

struct WindowTree {
    bool hasCompositingManager = false;
    std::vector<TopLevel> topLevels;  // bottom to top
    std::vector<OwnPlace> own;
};

// Reads what the server knows of the windows of the moment. `own` are the ids to place; ids of windows that
// are gone are left out.
class WindowTreeReader {
public:
    WindowTreeReader(const Connection& connection, const PixelRect& area);

    WindowTree read(std::span<const std::uint32_t> own) const;

    // The selection a compositing manager owns.
    xcb_atom_t managerSelection() const { return managerSelection_; }

private:
    std::vector<OwnPlace> placeOwn(std::span<const std::uint32_t> own) const;
    std::uint32_t topLevelOf(std::uint32_t window, std::uint32_t parent) const;
    void placeFrame(OwnPlace& place) const;
    std::vector<TopLevel> describe(std::span<const std::uint32_t> children) const;
    Region shapeOf(xcb_window_t window, int x, int y) const;
    std::uint32_t managersCanvas() const;

    const Connection& connection_;
    PixelRect area_;
    xcb_atom_t managerSelection_;
    xcb_atom_t opacity_;
};

}  // namespace kasto::x11
