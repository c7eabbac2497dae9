#include "overlay/OverlayController.h"

#include "base/MediaClock.h"
#include "model/CaptureModel.h"
#include "overlay/OverlayPanel.h"
#include "ui/DisplayScreen.h"

#include <QGuiApplication>
#include <QScreen>
#include <algorithm>
#include <cmath>

namespace kasto {

namespace {

constexpr double kTickS = 1.0 / 60;

// The windows are registered as own windows this many ticks before they are shown. In that time the screen
// stream reads what is under them, so that it has the underlay when they appear.
constexpr int kTicksBeforeShown = 5;

std::optional<Display> displayOrMain(const Displays& displays, DisplayId id) {
    const auto all = displays.all();
    auto found = std::ranges::find(all, id, &Display::id);
    if (found == all.end()) found = std::ranges::find(all, true, &Display::isMain);
    return found == all.end() ? std::nullopt : std::optional(*found);
}

}  // namespace

OverlayController::OverlayController(const CaptureModel& model, const Displays& displays,
                                     OwnWindows& ownWindows, OverlaySupport& support)
    : model_(model), displays_(displays), ownWindows_(ownWindows), support_(support) {
    timer_.setTimerType(Qt::PreciseTimer);
    timer_.setSingleShot(true);
    connect(&timer_, &QTimer::timeout, this, [this] {
        scheduleTick();
        tick();
    });
}

OverlayController::~OverlayController() { stop(); }

void OverlayController::start(DisplayId displayID, std::chrono::system_clock::time_point startDate) {
    stop();
    startDate_ = startDate;
    const auto display = displayOrMain(displays_, displayID);
    auto* screen = display ? screenOf(*display) : nullptr;
    if (!screen) screen = QGuiApplication::primaryScreen();
    if (!display || !screen) return;
    displayId_ = displayID;
    panel_ = std::make_unique<OverlayPanel>(view_, *screen, ownWindows_, support_);
    followScreens(*screen);
    ticks_ = 0;
    nextTickS_ = mediaClockNow();
    scheduleTick();
}

// Qt's intervals are whole milliseconds, so each one is computed from the time the tick is due.
void OverlayController::scheduleTick() {
    const double now = mediaClockNow();
    nextTickS_ += kTickS;
    if (nextTickS_ < now) nextTickS_ = now;
    timer_.start(std::chrono::milliseconds(std::lround((nextTickS_ - now) * 1000)));
}

void OverlayController::followScreens(QScreen& screen) {
    connect(&screen, &QScreen::geometryChanged, panel_.get(), [this] { panel_->followScreen(); });
    connect(qGuiApp, &QGuiApplication::screenRemoved, panel_.get(), [this, ours = &screen](QScreen* removed) {
        if (removed == ours) stop();
    });
}

void OverlayController::stop() {
    timer_.stop();
    panel_.reset();
    view_.setCanvas({});
}

void OverlayController::tick() {
    if (!panel_) return;
    const auto elapsed = std::chrono::system_clock::now() - startDate_;
    const auto elapsedS = std::chrono::duration_cast<std::chrono::seconds>(elapsed).count();
    // Asked each time: the display may move in mid-take.
    const auto display = displayOrMain(displays_, displayId_);
    if (!display) return;
    view_.setCanvas(panel_->canvas());
    view_.render(model_.snapshot(), static_cast<int>(elapsedS), audioSuffix,
                 {display->boundsPts.x, display->boundsPts.y}, mediaClockNow());
    panel_->present();
    if (ticks_++ == kTicksBeforeShown) panel_->appear();
}

void OverlayController::setCameraLayer(std::function<PixelBufferRef()> latestFrame) {
    view_.setCameraPreview(std::move(latestFrame));
}

}  // namespace kasto
