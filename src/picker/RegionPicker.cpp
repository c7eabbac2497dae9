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

// The screen the user works on: that of the program's window with the focus, else the pointer's.
QScreen* mainScreen() {
    if (const auto* focused = QGuiApplication::focusWindow()) return focused->screen();
    if (auto* under = QGuiApplication::screenAt(QCursor::pos())) return under;
    return QGuiApplication::primaryScreen();
}

}  // namespace

// A display that gets a panel.
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
    // The earlier completion opened the picker again: that is the newest wish.
    if (!panels_.empty() || stills_.isReading()) return completion(std::nullopt);
    completion_ = std::move(completion);
    if (support_.blendsWindows()) return open(places({}), initial);
    // Where nothing blends windows a panel hides the screen, so it shows a picture of it. All pictures are
    // read before the first panel appears, and without own windows: a menu may still be closing.
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
    support_.keepAbove(std::move(nativeIds));
    watchScreens();
    key->makeKey();
}

void RegionPicker::watchScreens() {
    // What is being picked on is no longer what the user sees. Queued: a screen that goes is still in use.
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
    support_.keepAbove({});
    for (auto& panel : std::exchange(panels_, {})) {
        // An event of one of the views may be what closes the picker.
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
