#include "overlay/OverlayPanel.h"

#include "ui/Brand.h"

#include <QPaintEvent>
#include <QPainter>
#include <QScreen>
#include <utility>

namespace kasto {

namespace {

constexpr Qt::WindowFlags kFlags = Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint |
                                   Qt::WindowTransparentForInput | Qt::X11BypassWindowManagerHint |
                                   Qt::WindowDoesNotAcceptFocus | Qt::NoDropShadowWindowHint;

std::vector<PixelRect> rectsOf(const QRegion& region) {
    std::vector<PixelRect> rects;
    for (const auto& rect : region) rects.push_back({rect.x(), rect.y(), rect.width(), rect.height()});
    return rects;
}

// The region in other units, each rectangle rounded outwards.
QRegion scaled(const QRegion& region, double factor) {
    if (factor == 1) return region;
    QRegion around;
    for (const auto& rect : region)
        around += QRectF(rect.x() * factor, rect.y() * factor, rect.width() * factor, rect.height() * factor)
                      .toAlignedRect();
    return around;
}

}  // namespace

PaintedReport::PaintedReport(OwnWindows& ownWindows, std::uint64_t nativeId)
    : ownWindows_(ownWindows), nativeId_(nativeId) {
    willPaint({});
}

PaintedReport::~PaintedReport() { ownWindows_.remove(nativeId_); }

void PaintedReport::willPaint(const QRegion& areaPx) {
    next_ = areaPx;
    const auto all = shown_ + next_;
    if (reported_ == all) return;
    reported_ = all;
    ownWindows_.set({.nativeId = nativeId_, .sharing = SharingType::none, .paintedPx = rectsOf(all)});
}

OverlayPanel::OverlayPanel(OverlayView& view, QScreen& screen, OwnWindows& ownWindows,
                           OverlaySupport& support)
    : view_(view), support_(support) {
    auto translucent = format();
    translucent.setAlphaBufferSize(8);
    setFormat(translucent);
    for (QWindow* window : {static_cast<QWindow*>(this), &lines_}) {
        window->setFlags(kFlags);
        window->setScreen(&screen);
        window->setGeometry(screen.geometry());
        window->create();
    }
    support_.prepare(winId(), 0, OverlaySupport::Painting::byClient);
    support_.prepare(lines_.winId(), Brand::accent().rgb(), OverlaySupport::Painting::fillOnly);
    report_.emplace(ownWindows, winId());
    linesReport_.emplace(ownWindows, lines_.winId());
}

OverlayPanel::~OverlayPanel() {
    above_.reset();
    // The windows stay registered until they are gone, because they may be visible until then.
    lines_.destroy();
    destroy();
}

OverlayView::Canvas OverlayPanel::canvas() const {
    return {.sizePts = {double(width()), double(height())},
            .scale = devicePixelRatio(),
            .blends = support_.blendsWindows()};
}

void OverlayPanel::appear() {
    show();
    above_ = support_.keepAbove({lines_.winId(), winId()});
}

void OverlayPanel::followScreen() {
    setGeometry(screen()->geometry());
    lines_.setGeometry(screen()->geometry());
}

void OverlayPanel::present() {
    const auto dirty = view_.takeDirty();
    report_->willPaint(view_.paintedPx());
    if (!dirty.isEmpty()) update(scaled(dirty, 1 / devicePixelRatio()));
    if (view_.isBlended()) {
        if (std::exchange(shapePx_, {})) support_.setShape(winId(), std::nullopt);
    } else if (auto shape = view_.shapePx(); shapePx_ != shape) {
        support_.setShape(winId(), rectsOf(shape));
        shapePx_ = std::move(shape);
    }
    presentLines();
}

void OverlayPanel::presentLines() {
    auto shape = view_.linesPx();
    linesReport_->willPaint(view_.linesAreaPx());
    if (shape != linesShapePx_) {
        support_.setShape(lines_.winId(), shape);
        linesShapePx_ = std::move(shape);
    }
    linesReport_->hasPainted();
    const bool isWanted = isVisible() && !view_.isBlended();
    if (lines_.isVisible() != isWanted) lines_.setVisible(isWanted);
}

void OverlayPanel::paintEvent(QPaintEvent* event) {
    QPainter painter(this);
    painter.setClipRegion(event->region());
    painter.setCompositionMode(QPainter::CompositionMode_Source);
    painter.fillRect(event->region().boundingRect(), Qt::transparent);
    painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
    view_.paint(painter, scaled(event->region(), devicePixelRatio()));
    report_->hasPainted();
}

}  // namespace kasto
