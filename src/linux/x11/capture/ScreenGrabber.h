#pragma once

#include "base/Geometry.h"
#include "base/Result.h"
#include "linux/x11/capture/CursorLayer.h"
#include "linux/x11/capture/ImageReader.h"
#include "linux/x11/capture/PictureSet.h"
#include "linux/x11/exclusion/HiddenWindows.h"

#include <xcb/damage.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace kasto::x11 {

struct GrabSettings {
    std::string serverName;  // empty takes $DISPLAY
    DisplayId display = 0;
    PixelRect displayPx;  // where the display lies in the root window
    PixelRect capturePx;  // the part of it to show, in the root window
    int pictureLimit = 8;
    bool showsCursor = true;
    ReadWay readWay = ReadWay::best;
    const OwnWindows* hiddenWindows = nullptr;  // kept out of the pictures; none shows all windows
};

struct GrabbedPicture {
    PixelBufferRef pixels;
    std::vector<PixelRect> changedPx;
    double timeS = 0;
};

// Keeps a picture of a part of the screen up to date: each grab reads what the server reported as damaged
// since the last one, and nothing else. Made and used by one thread; the pictures outlive it.
class ScreenGrabber {
public:
    static Result<std::unique_ptr<ScreenGrabber>> open(const GrabSettings& settings);

    // The next picture; none when it would be the same as the last one, or when every picture is held by
    // somebody (what changed is then in a later one). An error is the end: the display is gone or changed, or
    // the server is lost.
    Result<std::optional<GrabbedPicture>> grab();

private:
    ScreenGrabber(const GrabSettings& settings, Connection connection);
    Result<void> begin();
    Result<void> takeEvents();
    Result<void> checkDisplay() const;
    Region takeDamage();
    Region takeChanged(double nowS);
    Result<std::optional<GrabbedPicture>> take(Picture& target);
    Result<Region> read(const Region& wanted, const Region& beneath, Picture& target);
    Result<bool> settle(Region& beneath, Picture& target);
    std::optional<GrabbedPicture> giveUp(const Region& read, const Region& beneath, Picture& target);
    const Patch& patch() const;

    GrabSettings settings_;
    Connection connection_;
    PictureSet pictures_;
    ImageReader reader_;
    std::unique_ptr<CursorLayer> cursor_;
    std::unique_ptr<HiddenWindows> hidden_;
    ServerObject<xcb_damage_destroy> rootDamage_;
    ServerObject<xcb_xfixes_destroy_region> damagedRegion_;
    std::uint8_t damageEvent_ = 0;
    std::uint8_t xfixesEvent_ = 0;
    std::uint8_t randrEvent_ = 0;
    bool rootDamaged_ = false;
    bool displayChanged_ = false;
    Region refused_;  // by the server, of the last read
    Region dirty_;    // to be read whatever the server reports, in pixels of the picture
    Region doubted_;  // reported by the server, but nobody else than hidden windows seems to have drawn there
    double checksDoubtedS_ = 0;
};

}  // namespace kasto::x11
