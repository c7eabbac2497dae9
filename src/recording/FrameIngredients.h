#pragma once

#include "imaging/BlockSet.h"
#include "imaging/PixelBuffer.h"
#include "model/RenderSnapshot.h"
#include "recording/CameraTile.h"

namespace kasto {

// The newest picture of the screen.
struct ScreenPicture {
    PixelBufferRef pixels;  // bgrx or bgra, of the movie's size
    BlockSet changed;       // where it may differ from the picture of the frame before; of the movie's size
};

// All that one frame of the movie is made from.
struct FrameIngredients {
    ScreenPicture screen;
    RenderSnapshot snapshot;
    PixelBufferRef camera;  // none shows the tile without a picture
    TilePicture tile;       // spares the tile's drawing if it is of this picture and at this place
};

}  // namespace kasto
