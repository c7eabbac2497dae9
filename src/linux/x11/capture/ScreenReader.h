#pragma once

#include "base/Geometry.h"
#include "base/Result.h"
#include "linux/x11/capture/CursorLayer.h"
#include "linux/x11/capture/ImageReader.h"
#include "linux/x11/capture/PictureSet.h"
#include "linux/x11/exclusion/WindowExclusion.h"

#include <xcb/damage.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace kasto::x11 {

struct ReadSettings {
    std::string serverName;  // empty takes $DISPLAY
    DisplayId display = 0;
    PixelRect displayPx;  // where the display lies in the root window
    double scale = 1;     // pixels per point
    PixelRect capturePx;  // the part of the root window that the pictures show
    int pictureLimit = 8;
    bool showsCursor = true;
    ReadMethod readMethod = ReadMethod::best;
    const OwnWindows* excludedWindows = nullptr;  // kept out of the pictures; none shows all windows
    Region excludedBefore = {};  // where own windows may still be visible, in the root window
};

struct ScreenPicture {
    PixelBufferRef pixels;
    std::vector<PixelRect> changedPx;  // since the last picture, in pixels of the picture; empty = all of it
    double timeS = 0;                  // media clock
    Rect areaPts;  // what it shows, in global points; empty = what the stream was made for
};

// Keeps a picture of a part of the screen up to date: each reading asks the server for what it reported as
// damaged since the last one, and for nothing else. Made and used by one thread; the pictures outlive it.
class ScreenReader {
public:
    static Result<std::unique_ptr<ScreenReader>> open(const ReadSettings& settings);

    // The next picture; none when it would be the same as the last one, when our own windows cannot be left
    // out yet, when all pictures are held (a later picture then shows what changed), and when the reader is
    // outdated. Fails when the server is lost or gives no memory. Blocks for a few round trips.
    Result<std::optional<ScreenPicture>> readPicture();

    // True once the display is no longer where the settings say: another reader has to be made.
    bool isOutdated() const { return isOutdated_; }

    // Where the display lies in the root window now; none while it is not attached. Fails when the server is
    // lost. Blocks for two round trips.
    Result<std::optional<PixelRect>> findDisplay() const;

    // Where own windows may be visible, in the root window.
    Region excludedInRoot() const;

private:
    ScreenReader(const ReadSettings& settings, Connection connection);
    Result<void> begin();
    Result<void> askForExtensions();
    Result<void> takeEvents();
    Result<void> checkDisplay();
    Region takeDamage();
    Result<std::optional<ScreenPicture>> readInto(Picture& target, bool cursorMoves, double nowS);
    Result<Region> read(const PixelSources& sources, Picture& target);
    Result<void> requestUnderlay(const Region& part, Picture& target);
    Result<bool> recompose(Region& underlay, Picture& target);
    void drop(Picture& target, TickEnd end);
    const Patch& patch() const;

    ReadSettings settings_;
    Connection connection_;
    PictureSet pictures_;
    ImageReader images_;
    std::unique_ptr<CursorLayer> cursor_;
    std::unique_ptr<WindowExclusion> exclusion_;
    ServerObject<xcb_damage_destroy> rootDamage_;
    ServerObject<xcb_xfixes_destroy_region> damagedRegion_;
    std::uint8_t damageEvent_ = 0;
    std::uint8_t xfixesEvent_ = 0;
    std::uint8_t randrEvent_ = 0;
    bool isRootDamaged_ = false;
    bool layoutChanged_ = false;
    bool isOutdated_ = false;
    Region refused_;  // by the server, in the last reading
};

}  // namespace kasto::x11
