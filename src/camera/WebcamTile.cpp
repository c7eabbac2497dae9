#include "camera/WebcamTile.h"

#include "model/CaptureModel.h"

#include <algorithm>
#include <utility>

namespace kasto {

namespace {

// A picture that is much wider or higher than cameras make them is cut to fit the tile.
constexpr double kMinAspect = 0.4;
constexpr double kMaxAspect = 3.0;

double aspectOf(const PixelBuffer& picture) {
    const double aspect = static_cast<double>(picture.width()) / std::max(picture.height(), 1);
    return std::clamp(aspect, kMinAspect, kMaxAspect);
}

}  // namespace

WebcamTile::WebcamTile(CaptureModel& model, CameraSession& session)
    : model_(model), source_(session, [this](const PixelBufferRef& camera) { pictureArrived(camera); }) {}

void WebcamTile::apply(const Options& options) {
    if (options.isShown)
        source_.start(options.cameraId);
    else
        source_.stop();
    model_.setPip(options.isShown, options.isRound);
}

void WebcamTile::changeCamera(const std::optional<std::string>& cameraId) {
    source_.stop();
    source_.start(cameraId);
}

void WebcamTile::pictureArrived(const PixelBufferRef& camera) {
    const auto place = state_.with([](const State& state) { return state.wanted; });
    TilePicture next = place && camera ? painter_.draw(camera, *place) : TilePicture{.camera = camera};
    state_.with([&](State& state) {
        // The take has ended meanwhile, or the tile has moved.
        if (state.wanted != place) next.pixels = {};
        std::swap(state.newest, next);
    });
}

TilePicture WebcamTile::takeFor(const RenderSnapshot& snapshot) {
    std::optional<TilePlace> wanted;
    if (snapshot.camRect) wanted = TilePlace{snapshot.area.sizePx(), *snapshot.camRect, snapshot.camRound};
    TilePicture tile = state_.with([&](State& state) {
        state.wanted = wanted;
        return state.newest;
    });
    if (!wanted) return {};
    if (tile.camera) model_.setCamAspect(aspectOf(*tile.camera));
    return tile;
}

void WebcamTile::endTake() {
    TilePicture dropped;  // destroyed after the lock is released
    state_.with([&](State& state) {
        state.wanted.reset();
        dropped = std::exchange(state.newest, {.camera = state.newest.camera});
    });
}

}  // namespace kasto
