#pragma once

#include "linux/x11/exclusion/PictFormats.h"
#include "linux/x11/exclusion/RootBackground.h"
#include "linux/x11/exclusion/WindowTree.h"
#include "linux/x11/server/Connection.h"
#include "linux/x11/server/Region.h"

#include <map>
#include <set>
#include <vector>

namespace kasto::x11 {

// Composes in the server what the screen shows without the program's own windows: the root window's
// background and the contents of the windows of other clients. While it exists, the children of the root
// window are redirected (Composite), so that the server keeps what they draw where they are covered. All
// regions are in pixels of the picture, which shows the part `area` of the root window. One thread.
class Underlay {
public:
    Underlay(const Connection& connection, const PixelRect& area);
    ~Underlay();
    Underlay(const Underlay&) = delete;
    Underlay& operator=(const Underlay&) = delete;

    // Ends the redirection of this window, until it is destroyed.
    void leaveUnredirected(std::uint32_t window);

    // The window's id may be another window's from now on.
    void noteDestroyed(std::uint32_t window) { unredirected_.erase(window); }

    // Starts composing `part`; requests sent after this call see the result in `pixmap`. `windows` are those
    // to show, bottom to top, each within its area. Only a compositing manager blends windows by their alpha.
    void compose(const Region& part, const std::vector<TopLevel>& windows, bool hasCompositingManager);

    // A pixmap of the picture's size; only the part composed last is defined.
    std::uint32_t pixmap() const { return pixmap_.id(); }

    RootBackground& background() { return background_; }

private:
    void setClip(const Region& clip);
    void paint(const TopLevel& top, bool hasCompositingManager);

    const Connection& connection_;
    PixelRect area_;
    std::set<std::uint32_t> unredirected_;
    std::map<xcb_visualid_t, PictFormat> formats_;
    PixmapObject pixmap_;
    RenderPicture picture_;
    RootBackground background_;
};

}  // namespace kasto::x11
