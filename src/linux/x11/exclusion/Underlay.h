#pragma once

#include "linux/x11/exclusion/PictFormats.h"
#include "linux/x11/exclusion/RootBackground.h"
#include "linux/x11/exclusion/WindowTree.h"
#include "linux/x11/server/Connection.h"
#include "linux/x11/server/Region.h"

#include <map>
#include <vector>

namespace kasto::x11 {

// Composes in the server what the screen shows without the program's own windows, from the contents of the
// others. Needs the children of the root window to be redirected. One thread.
class Underlay {
public:
    Underlay(const Connection& connection, const PixelRect& area);

    // Starts composing `part`; what is asked of `pixmap` after this call sees the result. `windows` are those
    // to show, bottom to top, each within its area.
    void compose(const Region& part, const std::vector<TopLevel>& windows, bool hasCompositingManager);

    // A pixmap of the size of the picture; only the part composed last is defined.
    std::uint32_t pixmap() const { return pixmap_.id(); }

    RootBackground& background() { return background_; }

private:
    void setClip(const Region& clip);
    void paint(const TopLevel& top, bool hasCompositingManager);

    const Connection& connection_;
    PixelRect area_;
    std::map<xcb_visualid_t, PictFormat> formats_;
    PixmapObject pixmap_;
    RenderPicture picture_;
    RootBackground background_;
};

}  // namespace kasto::x11
