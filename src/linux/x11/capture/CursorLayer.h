#pragma once

#include "linux/x11/capture/PictureSet.h"
#include "linux/x11/server/Connection.h"

#include <xcb/xfixes.h>

#include <cstdint>
#include <map>
#include <vector>

namespace kasto::x11 {

// Paints the pointer's image over the pictures, because the root window's pixels do not contain it. All
// places are in pixels of the picture. One thread at a time.
class CursorLayer {
public:
    // `area` is the part of the root window that the pictures show.
    CursorLayer(const Connection& connection, const PixelRect& area);

    void noteEvent(const xcb_xfixes_cursor_notify_event_t& event);

    // Asks the server where the pointer is and, after a change, what it looks like. True if the cursor makes
    // the next picture differ from the last one. Blocks for a round trip.
    bool update();

    // Where the cursor differs between the last picture and the next one; may be empty.
    const Region& changedArea() const { return changedArea_; }

    // The screen's pixels under the cursor of the last picture.
    const Patch& patch() const { return patch_; }

    // Paints the cursor over a picture that shows the screen without it, and keeps the pixels it covers.
    void paint(const PictureSet& pictures, Picture& picture);

private:
    struct Image {
        int width = 0;
        int height = 0;
        int hotX = 0;
        int hotY = 0;
        std::vector<std::uint32_t> argb;  // premultiplied
    };
    struct Place {
        std::uint32_t serial = 0;
        int x = 0;  // of the image's corner
        int y = 0;
        bool operator==(const Place&) const = default;
    };

    void fetchImage();
    PixelRect boxOf(const Place& place) const;

    const Connection& connection_;
    PixelRect area_;
    std::map<std::uint32_t, Image> images_;
    std::uint32_t serial_ = 0;
    bool imageChanged_ = true;
    Place next_;
    Place shown_;
    Region changedArea_;
    Patch patch_;
};

}  // namespace kasto::x11
