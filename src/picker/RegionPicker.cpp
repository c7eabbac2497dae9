#include "picker/RegionPicker.h"

#include "picker/KeyablePanel.h"
#include "platform/Displays.h"
#include "platform/OverlaySupport.h"
#include "ui/DisplayScreen.h"
#include "ui/OwnWindowWatch.h"

#include <QCursor>
#include <QGuiApplication>
#include <QWindow>
#include <algorithm>
#include <utility>

namespace kasto {

namespace {

void ignoreChoice(const std::optional<RegionChoice>&) {}

// The screen that the user works on: that of the program's focused window, else the one under the pointer.
QScreen* mainScreen() {
    if (const auto* focused = QGuiApplication::focusWindow()) return focused->screen();
    if (auto* under = QGuiApplication::screenAt(QCursor::pos())) return under;
    return QGuiApplication::primaryScreen();
}

}  // namespace

// A display and what its panel needs.
struct RegionPicker::Place {
    DisplayId display;
    QScreen* screen;
    std::optional<QPixmap> picture;
};

RegionPicker::RegionPicker(Displays& displays, ScreenCapture& capture, OwnWindows& ownWindows,
                           OverlaySupport& support)
    : displays_(displays),
      ownWindows_(ownWindows),
      support_(support),
      stills_(capture),
      completion_(ignoreChoice) {}

RegionPicker::~RegionPicker() { close(); }

void RegionPicker::begin(const std::optional<RegionChoice>& initial, Completion completion) {
    end(std::nullopt);
    // The completion of the earlier picker has opened the picker again. That newer picker stays.
    if (!panels_.empty() || stills_.isReading()) return completion(std::nullopt);
    completion_ = std::move(completion);
    if (support_.blendsWindows()) return open(places({}), initial);
    // Without a compositing manager a panel hides the screen, so it shows a picture of the screen instead.
    // All pictures are read before the first panel appears, and without own windows: a menu may still be
    // closing.
    std::vector<Display> displays;
    for (const auto& display : displays_.all())
        if (screenOf(display)) displays.push_back(display);
    stills_.read(std::move(displays),
                 [this, initial](const auto& pictures) { open(places(pictures), initial); });
}

std::vector<RegionPicker::Place> RegionPicker::places(const ScreenStills::Pictures& pictures) const {
    const bool blends = support_.blendsWindows();
    std::vector<Place> places;
    for (const auto& display : displays_.all()) {
        auto* screen = screenOf(display);
        if (!screen) continue;
        std::optional<QPixmap> picture;
        if (const auto read = pictures.find(display.id); read != pictures.end())
            picture = read->second;
        else if (!blends)
            picture = screen->grabWindow(0);
        places.push_back(
            {display.id != 0 ? display.id : displays_.mainDisplay(), screen, std::move(picture)});
    }
    return places;
}

void RegionPicker::open(std::vector<Place> places, const std::optional<RegionChoice>& initial) {
    if (places.empty()) return;
    QGuiApplication::setOverrideCursor(Qt::CrossCursor);
    const auto* keyScreen = mainScreen();
    KeyablePanel* key = nullptr;
    std::vector<std::uint64_t> nativeIds;
    for (auto& place : places) {
        auto& panel =
            *panels_.emplace_back(std::make_unique<KeyablePanel>(*place.screen, std::move(place.picture)));
        if (initial && initial->display == place.display) panel.view().setSelection(initial->rect);
        panel.view().onDone = [this, display = place.display](const std::optional<Rect>& rect) {
            end(rect ? std::optional(RegionChoice{display, *rect}) : std::nullopt);
        };
        watchOwnWindow(panel, ownWindows_);
        nativeIds.push_back(panel.winId());
        support_.prepare(panel.winId(), 0, OverlaySupport::Painting::byClient);
        panel.show();
        panel.raise();
        if (!key || place.screen == keyScreen) key = &panel;
    }
    above_ = support_.keepAbove(std::move(nativeIds));
    watchScreens();
    key->makeKey();
}

void RegionPicker::watchScreens() {
    // When the displays change, the picker is cancelled. The connections are queued because Qt still uses a
    // screen that is being removed while it sends the signal.
    whileOpen_ = std::make_unique<QObject>();
    const auto cancel = [this] { end(std::nullopt); };
    auto* application = qGuiApp;
    QObject::connect(application, &QGuiApplication::screenAdded, whileOpen_.get(), cancel,
                     Qt::QueuedConnection);
    QObject::connect(application, &QGuiApplication::screenRemoved, whileOpen_.get(), cancel,
                     Qt::QueuedConnection);
    for (const auto* screen : QGuiApplication::screens())
        QObject::connect(screen, &QScreen::geometryChanged, whileOpen_.get(), cancel, Qt::QueuedConnection);
}

void RegionPicker::close() {
    stills_.cancel();
    if (panels_.empty()) return;
    whileOpen_.reset();
    QGuiApplication::restoreOverrideCursor();
    above_.reset();
    for (auto& panel : std::exchange(panels_, {})) {
        // Deleted later, because this may be called from an event of one of the views.
        panel->view().onDone = {};
        panel->orderOut();
        panel.release()->deleteLater();
    }
}

void RegionPicker::end(const std::optional<RegionChoice>& result) {
    close();
    const auto completion = std::exchange(completion_, ignoreChoice);
    completion(result);
}

}  // namespace kasto
