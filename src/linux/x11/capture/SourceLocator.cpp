#include "linux/x11/capture/SourceLocator.h"

#include "linux/x11/server/X11Displays.h"

#include <cmath>

namespace kasto::x11 {

double SourceLocator::scale() const { return displays_.scale(); }

Source SourceLocator::locate(const PixelRect& displayPx, double scale) const {
    auto px = displayPx;
    if (partPts_) {
        const auto toPx = [&](double pts) { return static_cast<int>(std::lround(pts * scale)); };
        px = PixelRect{displayPx.x + toPx(partPts_->x), displayPx.y + toPx(partPts_->y),
                       toPx(partPts_->width), toPx(partPts_->height)}
                 .intersection(displayPx);
    }
    return {px, {px.x / scale, px.y / scale, px.width / scale, px.height / scale}};
}

}  // namespace kasto::x11
