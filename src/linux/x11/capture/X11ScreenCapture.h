#pragma once

#include "platform/OwnWindows.h"
#include "platform/ScreenStream.h"

#include <string>

namespace kasto::x11 {
class X11Displays;

// Records displays of an X screen. Streams need the extensions MIT-SHM, DAMAGE, XFIXES and RANDR; leaving out
// own windows also needs Composite, RENDER and SHAPE. The program itself is the only running application that
// is listed, and its windows are the only ones that can be left out: those registered with SharingType::none.
class X11ScreenCapture : public ScreenCapture {
public:
    // `displays` and `ownWindows` must outlive the capture and its streams. An empty name takes $DISPLAY.
    X11ScreenCapture(std::string displayName, const X11Displays& displays, const OwnWindows& ownWindows);

    Result<ShareableContent> shareableContent() override;

    // The picture's size must be that of the source in pixels. It may be up to two columns and rows smaller,
    // which leaves out the last ones.
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
