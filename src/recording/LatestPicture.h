#pragma once

#include "base/Guarded.h"
#include "platform/ScreenStream.h"
#include "recording/FrameIngredients.h"

#include <cstdint>

namespace kasto {

// Holds the newest picture of the screen between the stream, which delivers at its own pace, and the ticks,
// which take it. A newer picture replaces the one before; the blocks that changed add up until they are
// taken. Any thread.
class LatestPicture {
public:
    // Begins a movie of this size in pixels: there is no picture yet.
    void begin(int width, int height);

    // Releases the picture.
    void end();

    // Takes a picture that has pixels.
    void put(const ScreenFrame& frame);

    // Fills in the newest picture and the blocks that may have changed since the picture taken before; false
    // if there is no picture yet. The block set that `picture` holds already is used again, so that nothing
    // is allocated.
    bool take(ScreenPicture& picture);

private:
    struct Newest {
        ScreenPicture picture;
        int width = 0;  // of the picture, or of the movie before there is one
        int height = 0;
        std::uint64_t generation = 0;
    };

    Guarded<Newest> newest_;
};

}  // namespace kasto
