#include "model/CaptureArea.h"

#include <algorithm>
#include <cmath>

namespace kasto {

CaptureArea::CaptureArea(const Rect& shownPts, Size sizePx)
    : CaptureArea(fitting(shownPts, sizePx, sizePx)) {}

CaptureArea CaptureArea::fitting(const Rect& shownPts, Size picturePx, Size framePx) {
    const Rect fitted = fittedPx(picturePx, framePx);
    CaptureArea area;
    area.shownPts_ = shownPts;
    area.sizePx_ = framePx;
    area.sx_ = fitted.width / shownPts.width;
    area.sy_ = fitted.height / shownPts.height;
    area.shownInBoundsPts_ = {fitted.x / area.sx_, fitted.y / area.sy_, shownPts.width, shownPts.height};
    area.boundsPts_ = shownPts;
    const bool hasBars = fitted != Rect{0, 0, framePx.width, framePx.height};
    if (hasBars)
        area.boundsPts_ = {shownPts.x - area.shownInBoundsPts_.x, shownPts.y - area.shownInBoundsPts_.y,
                           framePx.width / area.sx_, framePx.height / area.sy_};
    return area;
}

Point CaptureArea::toPx(Point globalPts) const {
    const Rect& shown = shownInBoundsPts_;
    return {std::clamp(globalPts.x - boundsPts_.minX(), shown.minX(), shown.maxX()) * sx_,
            std::clamp(globalPts.y - boundsPts_.minY(), shown.minY(), shown.maxY()) * sy_};
}

Rect fittedPx(Size picturePx, Size framePx) {
    const double scale = std::min(framePx.width / picturePx.width, framePx.height / picturePx.height);
    const double width = std::max(1.0, std::round(picturePx.width * scale));
    const double height = std::max(1.0, std::round(picturePx.height * scale));
    return {std::floor((framePx.width - width) / 2), std::floor((framePx.height - height) / 2), width,
            height};
}

}  // namespace kasto
