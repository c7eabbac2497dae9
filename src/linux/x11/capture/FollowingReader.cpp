#include "linux/x11/capture/FollowingReader.h"

#include "base/MediaClock.h"
#include "base/log/DebugLog.h"

#include <utility>

namespace kasto::x11 {

namespace {

constexpr double kMaxMissingS = 2;
constexpr double kLookIntervalS = 0.1;

// Up to two pixels are left out at the start, so that the size of the movie is even.
bool isAlmost(int sizePx, int firstSizePx) { return sizePx >= firstSizePx && sizePx <= firstSizePx + 2; }

}  // namespace

Result<FollowingReader> FollowingReader::open(ReadSettings settings, const SourceLocator& locator) {
    auto reader = ScreenReader::open(settings);
    if (!reader) return std::unexpected(reader.error());
    return FollowingReader(std::move(settings), locator, std::move(*reader));
}

FollowingReader::FollowingReader(ReadSettings settings, const SourceLocator& locator,
                                 std::unique_ptr<ScreenReader> reader)
    : settings_(std::move(settings)),
      locator_(locator),
      reader_(std::move(reader)),
      firstDisplayPx_(settings_.displayPx),
      firstScale_(settings_.scale),
      firstCapturePx_(settings_.capturePx) {}

Result<std::optional<ScreenPicture>> FollowingReader::readPicture() {
    if (auto followed = follow(); !followed) return std::unexpected(followed.error());
    auto picture = reader_->readPicture();
    if (!picture || !*picture) return picture;
    (*picture)->areaPts = areaPts_;
    // A reader knows nothing of the pictures of the one before.
    if (std::exchange(isFirstPicture_, false)) (*picture)->changedPx.clear();
    return picture;
}

Result<void> FollowingReader::follow() {
    const double scale = locator_.scale();
    if (!reader_->isOutdated() && scale == settings_.scale) return {};
    const double nowS = mediaClockNow();
    if (nowS < nextLookS_) return {};
    nextLookS_ = nowS + kLookIntervalS;
    const auto displayPx = reader_->findDisplay();
    if (!displayPx) return std::unexpected(displayPx.error());
    if (!*displayPx) {
        if (!missingSinceS_) missingSinceS_ = nowS;
        return nowS - *missingSinceS_ < kMaxMissingS ? Result<void>{} : failure("the display is gone");
    }
    missingSinceS_.reset();
    return readFrom(**displayPx, scale);
}

// The old reader stays until the new one is made, so that the server keeps the contents of covered windows.
Result<void> FollowingReader::readFrom(const PixelRect& displayPx, double scale) {
    auto source = locator_.locate(displayPx, scale);
    if (source.px.isEmpty()) return {};
    auto settings = settings_;
    settings.displayPx = displayPx;
    settings.scale = scale;
    settings.capturePx = source.px;
    settings.excludedBefore = reader_->excludedInRoot();
    if (isAlmost(source.px.width, firstCapturePx_.width) &&
        isAlmost(source.px.height, firstCapturePx_.height)) {
        settings.capturePx.width = firstCapturePx_.width;
        settings.capturePx.height = firstCapturePx_.height;
        source.pts.width = firstCapturePx_.width / scale;
        source.pts.height = firstCapturePx_.height / scale;
    }
    auto reader = ScreenReader::open(settings);
    if (!reader) return std::unexpected(reader.error());
    const bool isAsAtFirst = displayPx == firstDisplayPx_ && scale == firstScale_;
    areaPts_ = isAsAtFirst ? Rect{} : source.pts;
    reader_ = std::move(*reader);
    settings_ = std::move(settings);
    isFirstPicture_ = true;
    DebugLog::log("display changed: reading " + std::to_string(settings_.capturePx.width) + "×" +
                  std::to_string(settings_.capturePx.height));
    return {};
}

}  // namespace kasto::x11
