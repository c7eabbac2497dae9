#include "recording/FrameChanges.h"

#include "camera/TileImage.h"
#include "recording/FrameGeometry.h"

namespace kasto {

namespace {

// Resampling draws a pixel of the frame from pixels of the picture up to this far away.
constexpr double kFilterReachPx = 1;

// The soft edge of a round tile's border reaches this far beyond the border.
constexpr double kEdgeSoftnessPx = 1;

bool hasSameDiscs(const RenderSnapshot& a, const RenderSnapshot& b) {
    return a.ripples == b.ripples && a.heldDisc == b.heldDisc;
}

}  // namespace

void FrameChanges::begin(int width, int height) {
    end();
    outW_ = width;
    outH_ = height;
    changed_ = BlockSet(width, height);
}

void FrameChanges::end() {
    last_.reset();
    lastCamera_ = {};
}

const BlockSet& FrameChanges::update(const FrameIngredients& ingredients) {
    const RenderSnapshot& now = ingredients.snapshot;
    changed_.clear();
    const Size pictureSize = sizeOf(*ingredients.screen.pixels);
    const bool isMoved = !last_ || drawnCrop(last_->cropPx) != drawnCrop(now.cropPx);
    if (isMoved || lastPictureSize_ != pictureSize) {
        changed_.fill();
    } else {
        addScreen(ingredients.screen, drawnCrop(now.cropPx));
        if (!hasSameDiscs(*last_, now)) {
            addDiscs(*last_);
            addDiscs(now);
        }
        if (last_->camRect != now.camRect || last_->camRound != now.camRound ||
            lastCamera_ != ingredients.tile.camera) {
            addTile(*last_);
            addTile(now);
        }
    }
    last_ = now;
    lastPictureSize_ = pictureSize;
    lastCamera_ = ingredients.tile.camera;
    return changed_;
}

void FrameChanges::addScreen(const ScreenPicture& screen, const Rect& cropPx) {
    const Size frame{outW_, outH_};
    const Size picture = sizeOf(*screen.pixels);
    if (picture == frame && cropPx == Rect{0, 0, outW_, outH_}) return changed_.add(screen.changed);
    const Rect fitted = fittedPx(picture, frame);
    const double scaleX = fitted.width / picture.width;
    const double scaleY = fitted.height / picture.height;
    constexpr double kSide = BlockSet::kSidePx;
    for (int row = 0; row < screen.changed.rows(); ++row)
        screen.changed.forEachRun(row, [&](int begin, int end) {
            const Rect px =
                Rect{begin * kSide, row * kSide, (end - begin) * kSide, kSide}.grown(kFilterReachPx);
            addCaptured(
                {fitted.x + px.x * scaleX, fitted.y + px.y * scaleY, px.width * scaleX, px.height * scaleY},
                cropPx);
        });
}

void FrameChanges::addDiscs(const RenderSnapshot& snapshot) {
    const Rect crop = drawnCrop(snapshot.cropPx);
    for (const RippleDisc& disc : snapshot.ripples) addCaptured(discBounds(disc.center, disc.radius), crop);
    if (const auto& disc = snapshot.heldDisc) addCaptured(discBounds(disc->center, disc->radius), crop);
}

void FrameChanges::addTile(const RenderSnapshot& snapshot) {
    if (snapshot.camRect) addFrame(snapshot.camRect->grown(tileBorderWidth(outW_) + kEdgeSoftnessPx));
}

void FrameChanges::addCaptured(const Rect& capturePx, const Rect& cropPx) {
    const double scaleX = outW_ / cropPx.width;
    const double scaleY = outH_ / cropPx.height;
    addFrame({(capturePx.x - cropPx.x) * scaleX, (capturePx.y - cropPx.y) * scaleY, capturePx.width * scaleX,
              capturePx.height * scaleY});
}

void FrameChanges::addFrame(const Rect& framePx) {
    const Rect inside = framePx.intersection({0, 0, outW_, outH_}).integral();
    changed_.add(PixelRect{static_cast<int>(inside.x), static_cast<int>(inside.y),
                           static_cast<int>(inside.width), static_cast<int>(inside.height)});
}

}  // namespace kasto
