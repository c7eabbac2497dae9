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
    PixelRect capturePx;  // the part of the root window that the pictures show
    int pictureLimit = 8;
    bool showsCursor = true;
    ReadMethod readMethod = ReadMethod::best;
    const OwnWindows* excludedWindows = nullptr;  // kept out of the pictures; none shows all windows
};

struct ScreenPicture {
    PixelBufferRef pixels;
    std::vector<PixelRect> changedPx;  // since the last picture, in pixels of the picture
    double timeS = 0;                  // media clock
};

// Keeps a picture of a part of the screen up to date: each reading asks the server for what it reported as
// damaged since the last one, and for nothing else. Made and used by one thread; the pictures outlive it.
class ScreenReader {
public:
    static Result<std::unique_ptr<ScreenReader>> open(const ReadSettings& settings);

    // The next picture; none when it would be the same as the last one, when our own windows cannot be left
    // out yet, or when all pictures are held (a later picture then shows what changed). After an error the
    // reader is of no further use: the display is gone or has changed, or the server is lost. Blocks for
    // a few round trips.
    Result<std::optional<ScreenPicture>> readPicture();

private:
    ScreenReader(const ReadSettings& settings, Connection connection);
    Result<void> begin();
    Result<void> askForExtensions();
    Result<void> takeEvents();
    Result<void> checkDisplay() const;
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
    bool displayChanged_ = false;
    Region refused_;  // by the server, in the last reading
};

}  // namespace kasto::x11
