#pragma once

#include "imaging/BlockSet.h"
#include "recording/FrameIngredients.h"

#include <optional>

namespace kasto {

// Finds the dirty blocks of a frame: those that may differ from the frame before. One thread at a time.
//
// Goal. On a still desktop nothing is composed, converted or encoded anew, and a blinking text cursor costs a
// few blocks of 16x16 pixels, not a frame. The result is used three times: the compositor draws only the
// dirty blocks, a frame without any is the previous buffer again, and the encoder skips the macroblocks of
// all others.
//
// Idea. A frame is a function of its ingredients: the screen's picture, the snapshot (crop, pulses, held
// disc, tile) and the webcam's picture. So no pixels are compared. The ingredients of this frame are compared
// with those of the frame before, and each one that differs makes the blocks dirty that it covers, both where
// it was and where it is now:
//
//   screen     the stream reports the rectangles that changed, and LatestPicture collects them as blocks of
//              the picture. They are mapped through the crop to blocks of the frame. Resampling reads the
//              neighbouring pixel too, so each rectangle is first grown by one pixel. A picture of another
//              size than the one before changes every block.
//   crop       any move or zoom of the view that is drawn differently (drawnCrop) changes every block.
//   discs      pulses and the held disc, each with its bounding square.
//   tile       its rectangle with border and soft edge.
//
// Invariants. A block may be reported dirty although it looks the same; a block that differs is never
// missing. Reports add up: a caller that drops a frame must keep its blocks until a frame is written
// (FrameCompositor does that for each buffer). Pictures of the camera are compared by address, which is sound
// because a reference to the last one is held: its buffer cannot be reused while it stands here.
//
// What was tried. The first version compared the ingredients as a whole: any difference composed and encoded
// the whole frame, so a blinking cursor cost as much as a film. Blocks have the size of macroblocks, so that
// the encoder can use them as they are.
class FrameChanges {
public:
    // Begins a movie of this size in pixels.
    void begin(int width, int height);

    // Drops the camera's picture. The next frame is dirty everywhere.
    void end();

    // The dirty blocks of the frame made from these ingredients, against the frame of the previous call. The
    // reference is valid until the next call.
    const BlockSet& update(const FrameIngredients& ingredients);

private:
    void addScreen(const ScreenPicture& screen, const Rect& cropPx);
    void addDiscs(const RenderSnapshot& snapshot);
    void addTile(const RenderSnapshot& snapshot);
    void addCaptured(const Rect& capturePx, const Rect& cropPx);
    void addFrame(const Rect& framePx);

    double outW_ = 0;
    double outH_ = 0;
    BlockSet changed_;

    // The ingredients of the frame before.
    std::optional<RenderSnapshot> last_;
    Size lastPictureSize_;
    // Held so that its buffer is not reused: an equal address then means the same picture.
    PixelBufferRef lastCamera_;
};

}  // namespace kasto
