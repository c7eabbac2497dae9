#pragma once

#include "platform/OwnWindows.h"
#include "platform/ScreenStream.h"

#include <string>

namespace kasto::x11 {
class X11Displays;

// Records an X screen. Streams need the extensions MIT-SHM, DAMAGE, XFIXES and RANDR, and to leave windows of
// the program out also Composite, RENDER and SHAPE. Only the program itself is told as a running application,
// and only its own windows can be excluded: those that are registered with SharingType::none.
class X11ScreenCapture : public ScreenCapture {
public:
    // The references must outlive the capture and its streams. An empty name takes $DISPLAY.
    X11ScreenCapture(std::string displayName, const X11Displays& displays, const OwnWindows& ownWindows);

    Result<ShareableContent> shareableContent() override;

    // The picture's size must be that of the source in pixels; up to two columns and rows less leave out the
    // last ones.
    Result<std::unique_ptr<ScreenStream>> makeStream(const ContentFilter& filter,
                                                     const StreamConfiguration& configuration,
                                                     StreamDelegate& delegate) override;

    bool deliversMicrophone() const override { return false; }

private:
    std::string displayName_;
    const X11Displays& displays_;
    const OwnWindows& ownWindows_;
};

}  // namespace kasto::x11
