#pragma once

#include "camera/TilePainter.h"
#include "imaging/BlockSet.h"
#include "imaging/PixelBuffer.h"
#include "model/RenderSnapshot.h"

namespace kasto {

// The newest picture of the screen.
struct ScreenPicture {
    PixelBufferRef pixels;  // bgrx or bgra; fitted into the frame if it has another size
    BlockSet changed;       // the blocks in which it may differ from the picture used for the frame before
};

// Everything that one frame of the movie is made from.
struct FrameIngredients {
    ScreenPicture screen;
    RenderSnapshot snapshot;
    TilePicture tile;  // the webcam's; without a picture the tile has a plain colour
};

}  // namespace kasto
