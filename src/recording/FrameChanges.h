#pragma once

#include "imaging/BlockSet.h"
#include "recording/FrameIngredients.h"

#include <optional>

namespace kasto {

// Tells where a frame may differ from the one before, by what both are made from. One thread at a time.
class FrameChanges {
public:
    // Begins a movie of this size in pixels.
    void begin(int width, int height);

    // Drops the camera's frame it keeps; the next frame differs everywhere.
    void end();

    // The blocks of the frame that may differ from the frame of the call before. Valid until the next call.
    const BlockSet& update(const FrameIngredients& ingredients);

private:
    void addScreen(const BlockSet& changed, const Rect& cropPx);
    void addDiscs(const RenderSnapshot& snapshot);
    void addTile(const RenderSnapshot& snapshot);
    void addCaptured(const Rect& capturePx, const Rect& cropPx);
    void addFrame(const Rect& framePx);

    double outW_ = 0;
    double outH_ = 0;
    BlockSet changed_;

    // What the frame before was made from, without the screen's picture.
    std::optional<RenderSnapshot> last_;
    PixelBufferRef lastCamera_;  // kept, so that its address stands for it
};

}  // namespace kasto
