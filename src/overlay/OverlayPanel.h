#pragma once

#include "overlay/OverlayView.h"
#include "platform/OverlaySupport.h"
#include "platform/OwnWindows.h"

#include <QRasterWindow>
#include <QRegion>
#include <memory>
#include <optional>

namespace kasto {

// Reports to OwnWindows which pixels one window has painted. While a repaint is under way it reports both the
// old area, which is still on the screen, and the new one.
class PaintedReport {
public:
    // Registers the window, with nothing painted.
    PaintedReport(OwnWindows& ownWindows, std::uint64_t nativeId);
    ~PaintedReport();

    // The window is about to show this area instead of the one before.
    void willPaint(const QRegion& areaPx);

    // The window has painted it.
    void hasPainted() { shown_ = next_; }

private:
    OwnWindows& ownWindows_;
    const std::uint64_t nativeId_;
    QRegion shown_;
    QRegion next_;
    std::optional<QRegion> reported_;
};

// The overlay's windows over one screen. They are above all other windows, on every workspace, let mouse and
// keyboard through, and are never in a movie. Main thread.
//
// Under a compositing manager, which blends translucent windows, the overlay is one window as large as the
// screen. Without one such a window would hide everything. It is then cut to the shape of what it shows, and
// the red lines get a second window: it is filled with red and cut to the dashes, so that moving the dashes
// only changes its shape and paints nothing.
class OverlayPanel final : public QRasterWindow {
public:
    // All four outlive the panel. The windows are registered as own windows, but not shown yet.
    OverlayPanel(OverlayView& view, QScreen& screen, OwnWindows& ownWindows, OverlaySupport& support);
    ~OverlayPanel() override;

    OverlayView::Canvas canvas() const;

    // Repaints what the view's last render() changed.
    void present();

    // Shows the windows, above all others.
    void appear();

    // Moves the windows to where the screen is now.
    void followScreen();

private:
    void paintEvent(QPaintEvent* event) override;
    void presentLines();

    OverlayView& view_;
    OverlaySupport& support_;
    QWindow lines_;
    std::unique_ptr<KeptAbove> above_;  // while the panel is shown
    std::optional<PaintedReport> report_;
    std::optional<PaintedReport> linesReport_;
    std::optional<std::vector<PixelRect>> linesShapePx_;
    std::optional<QRegion> shapePx_;  // none while the window is not cut to a shape
};

}  // namespace kasto
