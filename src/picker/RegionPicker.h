#pragma once

#include "base/Geometry.h"
#include "picker/ScreenStills.h"

#include <QObject>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace kasto {

class Displays;
class KeyablePanel;
class KeptAbove;
class OverlaySupport;
class OwnWindows;

// A rectangle of one display, in points counted from the display's top-left corner.
struct RegionChoice {
    DisplayId display = 0;
    Rect rect;
    bool operator==(const RegionChoice&) const = default;
};

// Lets the user mark the rectangle of one display that takes shall record. Covers each display with a panel.
// It only returns the choice and stores nothing. Main thread.
class RegionPicker {
public:
    using Completion = std::function<void(std::optional<RegionChoice>)>;

    // All of them outlive the picker and the event loop.
    RegionPicker(Displays& displays, ScreenCapture& capture, OwnWindows& ownWindows, OverlaySupport& support);

    // Closes an open picker without calling its completion.
    ~RegionPicker();

    // Opens the picker on all displays, with `initial` selected on its display, and returns at once. The
    // completion is called once, after the panels have been hidden: with the choice in whole points, or with
    // none if the user cancelled, the displays changed or the picker was opened again. The completion may
    // open the picker.
    void begin(const std::optional<RegionChoice>& initial, Completion completion);

private:
    struct Place;

    std::vector<Place> places(const ScreenStills::Pictures& pictures) const;
    void open(std::vector<Place> places, const std::optional<RegionChoice>& initial);
    void watchScreens();
    void close();
    void end(const std::optional<RegionChoice>& result);

    Displays& displays_;
    OwnWindows& ownWindows_;
    OverlaySupport& support_;
    ScreenStills stills_;
    std::vector<std::unique_ptr<KeyablePanel>> panels_;  // empty while the picker is closed
    std::unique_ptr<KeptAbove> above_;                   // while it is open
    Completion completion_;
    std::unique_ptr<QObject> whileOpen_;  // owns the connections to the screens' signals
};

}  // namespace kasto
