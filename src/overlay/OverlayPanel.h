#pragma once

#include "overlay/OverlayView.h"
#include "platform/OverlaySupport.h"
#include "platform/OwnWindows.h"

#include <QRasterWindow>
#include <QRegion>
#include <memory>
#include <optional>

namespace kasto {

// Tells of one window what it paints: what is on the screen and what is about to be, together, until the one
// has replaced the other.
class PaintedReport {
public:
    // Registers the window as having painted nothing.
    PaintedReport(OwnWindows& ownWindows, std::uint64_t nativeId);
    ~PaintedReport();

    void willPaint(const QRegion& areaPx);
    void hasPainted() { shown_ = next_; }

private:
    OwnWindows& ownWindows_;
    const std::uint64_t nativeId_;
    QRegion shown_;
    QRegion next_;
    std::optional<QRegion> said_;
};

// The windows of the overlay over one screen: above all others, on every workspace, never in the way of the
// mouse or the keyboard, and never in a recording.
//
// Where translucent windows are blended it is one window as large as the screen. Elsewhere that would hide
// everything, so it is cut to what it shows, and the red lines get a window of their own: a step of the
// dashes is then a new shape and nothing to paint. Main thread.
class OverlayPanel final : public QRasterWindow {
public:
    // What is passed outlives the panel. Nothing is shown yet, but the windows are registered.
    OverlayPanel(OverlayView& view, QScreen& screen, OwnWindows& ownWindows, OverlaySupport& support);
    ~OverlayPanel() override;

    OverlayView::Canvas canvas() const;

    // Brings what the view rendered to the screen.
    void present();

    // Shows the windows, above all others.
    void appear();

    // Moves to where the screen is now.
    void followScreen();

private:
    void paintEvent(QPaintEvent* event) override;
    void presentLines();

    OverlayView& view_;
    OverlaySupport& support_;
    QWindow lines_;
    std::optional<PaintedReport> report_;
    std::optional<PaintedReport> linesReport_;
    std::optional<std::vector<PixelRect>> linesShapePx_;
    std::optional<QRegion> shapePx_;  // none while the window is not cut
};

}  // namespace kasto
