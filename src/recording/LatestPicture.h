#pragma once

#include "base/Guarded.h"
#include "platform/ScreenStream.h"
#include "recording/FrameIngredients.h"

#include <cstdint>

namespace kasto {

// The newest picture of the screen, between the stream that delivers at its own pace and the frames that take
// it: a newer picture replaces the one before, and what changed adds up until it is taken. Any thread.
class LatestPicture {
public:
    // Waits for the first picture of a movie of this size in pixels.
    void begin(int width, int height);

    // Lets the picture go.
    void end();

    // A picture that is complete, and has pixels.
    void put(const ScreenFrame& frame);

    // The newest picture, with what may have changed since the one taken before; false if there is none yet.
    // A set that `picture` holds already is used again: nothing is allocated.
    bool take(ScreenPicture& picture);

private:
    struct Newest {
        ScreenPicture picture;
        std::uint64_t generation = 0;
    };

    Guarded<Newest> newest_;
};

}  // namespace kasto
