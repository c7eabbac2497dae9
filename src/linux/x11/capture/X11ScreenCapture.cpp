#include "linux/x11/capture/X11ScreenCapture.h"

#include "base/AppIdentity.h"
#include "linux/x11/capture/X11ScreenStream.h"
#include "linux/x11/server/X11Displays.h"

#include <algorithm>
#include <utility>

namespace kasto::x11 {

namespace {

// A size that was rounded down to an even number leaves out a column or row; one that was computed in points
// may leave out another.
bool isPictureSizeOf(int sizePx, int sourceSizePx) {
    constexpr int kMaxLeftOut = 2;
    return sizePx > 0 && sizePx <= sourceSizePx && sizePx >= sourceSizePx - kMaxLeftOut;
}

std::string sizeText(int width, int height) { return std::to_string(width) + "x" + std::to_string(height); }

}  // namespace

X11ScreenCapture::X11ScreenCapture(std::string displayName, const X11Displays& displays,
                                   const OwnWindows& ownWindows)
    : displayName_(std::move(displayName)), displays_(displays), ownWindows_(ownWindows) {}

Result<ShareableContent> X11ScreenCapture::shareableContent() {
    ShareableContent content;
    for (const auto& display : displays_.all()) content.displays.push_back(display.id);
    content.applications.push_back({std::string(kBundleIdentifier)});
    return content;
}

Result<std::unique_ptr<ScreenStream>> X11ScreenCapture::makeStream(const ContentFilter& filter,
                                                                   const StreamConfiguration& configuration,
                                                                   StreamDelegate& delegate) {
    constexpr int kMinPictures = 3;  // the newest, an older one that is still held, and the next
    const auto displayPx = displays_.boundsPx(filter.display);
    if (!displayPx) return failure("the display is gone");
    const SourceLocator locator(displays_, configuration.sourceRectPts);
    const double scale = locator.scale();
    auto capturePx = locator.locate(*displayPx, scale).px;
    if (!isPictureSizeOf(configuration.width, capturePx.width) ||
        !isPictureSizeOf(configuration.height, capturePx.height))
        return failure(
            "the screen is recorded in its own pixels: " + sizeText(capturePx.width, capturePx.height) +
            ", not " + sizeText(configuration.width, configuration.height));
    if (!(configuration.minimumFrameIntervalS > 0)) return failure("the frame interval must be positive");
    capturePx.width = configuration.width;
    capturePx.height = configuration.height;
    const bool excludesOwn = std::ranges::any_of(filter.excludedApplications, [](const auto& application) {
        return application.bundleIdentifier == kBundleIdentifier;
    });
    return std::make_unique<X11ScreenStream>(
        ReadSettings{.serverName = displayName_,
                     .display = filter.display,
                     .displayPx = *displayPx,
                     .scale = scale,
                     .capturePx = capturePx,
                     .pictureLimit = std::max(configuration.queueDepth, kMinPictures),
                     .showsCursor = configuration.showsCursor,
                     .excludedWindows = excludesOwn ? &ownWindows_ : nullptr},
        locator, configuration.minimumFrameIntervalS, delegate, configuration.firstNeededS);
}

}  // namespace kasto::x11
