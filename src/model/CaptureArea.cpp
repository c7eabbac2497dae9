#include "model/CaptureArea.h"

#include <algorithm>

namespace kasto {

CaptureArea::CaptureArea(const Rect& boundsPts, Size sizePx)
    : boundsPts_(boundsPts),
      sizePx_(sizePx),
      sx_(sizePx.width / boundsPts.width),
      sy_(sizePx.height / boundsPts.height) {}

Point CaptureArea::toPx(Point globalPts) const {
    return {std::clamp(globalPts.x - boundsPts_.minX(), 0.0, boundsPts_.width) * sx_,
            std::clamp(globalPts.y - boundsPts_.minY(), 0.0, boundsPts_.height) * sy_};
}

}  // namespace kasto
