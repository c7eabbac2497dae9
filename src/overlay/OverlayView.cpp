#include "overlay/OverlayView.h"

#include <utility>

namespace kasto {

void OverlayView::setCanvas(const Canvas& canvas) {
    if (canvas == canvas_) return;
    auto latestFrame = std::move(latestFrame_);
    const auto former = dirty_ + paintedPx();
    *this = {};
    canvas_ = canvas;
    latestFrame_ = std::move(latestFrame);
    dirty_ = former & screenPx();
}

void OverlayView::setCameraPreview(std::function<PixelBufferRef()> latestFrame) {
    latestFrame_ = std::move(latestFrame);
    picture_ = {};
    dirty_ += tileArea_;
}

void OverlayView::render(const RenderSnapshot& snapshot, int elapsedS, const std::string& audioSuffix,
                         Point originPts, double timeS) {
    auto layout = layOut(snapshot, elapsedS, audioSuffix, originPts);
    if (!layout) return;
    showOutline(dashedOutline(layout->outline, canvas_.scale, timeS));
    showPulses(std::move(layout->pulses));
    showTile(latestFrame_ ? layout->tile : std::nullopt);
    showHud(layout->text);
}

void OverlayView::showOutline(const DashedOutline& outline) {
    if (outline == outline_) return;
    outline_ = outline;
    QRegion sides;
    for (const auto& side : outline.sides(viewPx())) sides += QRect(side.x, side.y, side.width, side.height);
    replace(outlineArea_, std::move(sides), canvas_.blends);
}

void OverlayView::showPulses(std::vector<OverlayLayout::Circle> pulses) {
    if (pulses == pulses_) return;
    pulses_ = std::move(pulses);
    replace(pulsesArea_, areaOf(pulses_, canvas_.scale), canvas_.blends);
}

void OverlayView::showTile(const std::optional<OverlayLayout::Tile>& tile) {
    auto picture = tile ? latestFrame_() : PixelBufferRef();
    if (tile == tile_ && picture == picture_) return;
    tile_ = tile;
    picture_ = std::move(picture);
    replace(tileArea_, tile_ ? areaOf(tile_->frame, canvas_.scale) : QRegion(), true);
}

void OverlayView::showHud(const std::string& text) {
    if (text == text_) return;
    text_ = text;
    hudText_ = QString::fromStdString(text);
    hud_ = layOutHud(canvas_.sizePts.width, measureHud(hudText_));
    replace(hudArea_, areaOf(hud_.background, canvas_.scale), true);
}

void OverlayView::replace(QRegion& area, QRegion next, bool isPainted) {
    next &= screenPx();
    if (isPainted) dirty_ += area + next;
    area = std::move(next);
}

QRegion OverlayView::takeDirty() { return std::exchange(dirty_, {}); }

QRegion OverlayView::paintedPx() const {
    const auto parts = tileArea_ + hudArea_;
    return canvas_.blends ? parts + pulsesArea_ + outlineArea_ : parts;
}

QRegion OverlayView::shapePx() const {
    if (!tile_) return hudArea_;
    return hudArea_ + (shapeOf(*tile_, bool(picture_), canvas_.scale) & screenPx());
}

std::vector<PixelRect> OverlayView::linesPx() const {
    if (canvas_.blends) return {};
    auto lines = outline_.dashes(viewPx());
    for (const auto& rect : shapeOf(pulses_, canvas_.scale) & screenPx())
        lines.push_back({rect.x(), rect.y(), rect.width(), rect.height()});
    return lines;
}

QRegion OverlayView::linesAreaPx() const { return canvas_.blends ? QRegion() : outlineArea_ + pulsesArea_; }

void OverlayView::paint(QPainter& painter, const QRegion& partPx) const {
    if (canvas_.blends && partPx.intersects(outlineArea_))
        paintDashes(painter, outline_.dashes(viewPx()), canvas_.scale);
    if (canvas_.blends && partPx.intersects(pulsesArea_)) paintPulses(painter, pulses_);
    if (partPx.intersects(hudArea_)) paintHud(painter, hud_, hudText_);
    if (tile_ && partPx.intersects(tileArea_))
        paintTile(painter, *tile_, picture_, canvas_.scale, canvas_.blends);
}

PixelRect OverlayView::viewPx() const {
    const auto bounds = screenPx().boundingRect();
    return {0, 0, bounds.width(), bounds.height()};
}

QRegion OverlayView::screenPx() const {
    return areaOf(Rect{0, 0, canvas_.sizePts.width, canvas_.sizePts.height}, canvas_.scale);
}

}  // namespace kasto
