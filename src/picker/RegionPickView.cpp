#include "picker/RegionPickView.h"

#include "picker/PickPainter.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <algorithm>
#include <cmath>
#include <utility>

namespace kasto {

namespace {

constexpr double kGapPts = 10;          // between a selection's bottom edge and its buttons
constexpr double kButtonGapPts = 8;     // between the buttons
constexpr double kScreenMarginPts = 6;  // between the buttons and the screen's bottom and left edge

Point pointOf(const QMouseEvent& event) { return {event.position().x(), event.position().y()}; }

}  // namespace

RegionPickView::RegionPickView(std::optional<QPixmap> screenPicture, QWidget* parent)
    : QWidget(parent), screenPicture_(std::move(screenPicture)) {
    setFocusPolicy(Qt::StrongFocus);
    // Every repaint paints all of the view.
    setAttribute(Qt::WA_NoSystemBackground);
}

void RegionPickView::setSelection(const std::optional<Rect>& rect) {
    rect_ = rect;
    update();
}

std::vector<RegionPickView::Handle> RegionPickView::handles(const Rect& rect) {
    const std::array xs{rect.minX(), rect.midX(), rect.maxX()};
    const std::array ys{rect.minY(), rect.midY(), rect.maxY()};
    std::vector<Handle> handles;
    for (int hy = -1; hy <= 1; ++hy)
        for (int hx = -1; hx <= 1; ++hx)
            if (hx != 0 || hy != 0)
                handles.push_back({hx, hy, {xs[std::size_t(hx + 1)], ys[std::size_t(hy + 1)]}});
    return handles;
}

RegionPickView::Buttons RegionPickView::buttons(const Rect& rect, double viewHeight) {
    double y = rect.maxY() + kGapPts;
    if (viewHeight - kScreenMarginPts < y + kButtonSidePts) y = rect.maxY() - kButtonSidePts - kGapPts;
    const double x = std::max(kScreenMarginPts, rect.maxX() - kButtonSidePts);
    return {.confirm = {x, y, kButtonSidePts, kButtonSidePts},
            .cancel = {x - kButtonSidePts - kButtonGapPts, y, kButtonSidePts, kButtonSidePts}};
}

bool RegionPickView::isConfirmable() const {
    return rect_ && rect_->width >= kMinSidePts && rect_->height >= kMinSidePts;
}

void RegionPickView::confirm() {
    if (isConfirmable()) finish(rect_->integral());
}

void RegionPickView::finish(const std::optional<Rect>& result) {
    if (const auto done = std::exchange(onDone, {})) done(result);
}

void RegionPickView::mousePressEvent(QMouseEvent* event) {
    if (event->button() == Qt::RightButton) {
        finish(std::nullopt);
    } else if (event->button() == Qt::LeftButton) {
        press(pointOf(*event));
    } else {
        QWidget::mousePressEvent(event);
    }
}

void RegionPickView::press(Point p) {
    if (rect_) {
        const auto placed = buttons(*rect_, height());
        if (placed.confirm.contains(p)) return confirm();
        if (placed.cancel.contains(p)) return finish(std::nullopt);
        for (const auto& handle : handles(*rect_)) {
            if (std::abs(p.x - handle.centre.x) > kHitPts || std::abs(p.y - handle.centre.y) > kHitPts)
                continue;
            drag_ = Resize{handle.hx, handle.hy, *rect_};
            return;
        }
        if (rect_->contains(p)) {
            drag_ = Move{p, *rect_};
            return;
        }
    }
    drag_ = Fresh{p};
    setSelection(std::nullopt);
}

void RegionPickView::mouseMoveEvent(QMouseEvent* event) {
    const auto p = pointOf(*event);
    std::visit(
        [&](const auto& drag) {
            if constexpr (!std::is_same_v<std::decay_t<decltype(drag)>, std::monostate>)
                setSelection(dragged(drag, p));
        },
        drag_);
}

Rect RegionPickView::dragged(const Fresh& drag, Point p) const {
    return {std::min(p.x, drag.start.x), std::min(p.y, drag.start.y), std::abs(p.x - drag.start.x),
            std::abs(p.y - drag.start.y)};
}

Rect RegionPickView::dragged(const Move& drag, Point p) const {
    auto moved = drag.startRect.translated(p.x - drag.start.x, p.y - drag.start.y);
    moved.x = std::min(width() - moved.width, std::max(0.0, moved.x));
    moved.y = std::min(height() - moved.height, std::max(0.0, moved.y));
    return moved;
}

Rect RegionPickView::dragged(const Resize& drag, Point p) const {
    const double px = std::min<double>(width(), std::max(0.0, p.x));
    const double py = std::min<double>(height(), std::max(0.0, p.y));
    double minX = drag.startRect.minX();
    double minY = drag.startRect.minY();
    double maxX = drag.startRect.maxX();
    double maxY = drag.startRect.maxY();
    if (drag.hx < 0) minX = std::min(maxX - kMinSidePts, px);
    if (drag.hx > 0) maxX = std::max(minX + kMinSidePts, px);
    if (drag.hy < 0) minY = std::min(maxY - kMinSidePts, py);
    if (drag.hy > 0) maxY = std::max(minY + kMinSidePts, py);
    return {minX, minY, maxX - minX, maxY - minY};
}

void RegionPickView::mouseReleaseEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton) return QWidget::mouseReleaseEvent(event);
    if (std::holds_alternative<Fresh>(drag_) && !isConfirmable()) setSelection(std::nullopt);
    drag_ = {};
}

void RegionPickView::keyPressEvent(QKeyEvent* event) {
    switch (event->key()) {
        case Qt::Key_Return:
        case Qt::Key_Enter:
            return confirm();
        case Qt::Key_Escape:
            return finish(std::nullopt);
        default:
            QWidget::keyPressEvent(event);
    }
}

void RegionPickView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    PickPainter(painter, size(), screenPicture_ ? &*screenPicture_ : nullptr).paint(rect_);
}

}  // namespace kasto
