#pragma once

#include "platform/MovieWriter.h"

#include <cstddef>

namespace kasto {

// Chooses libx264's preset anew for each picture: a faster one before the queue of pictures is full and ticks
// are dropped, the one the take began with when there is time again. One thread at a time.
class PresetByLoad {
public:
    // `first` is one of kX264Presets by its number, the best that may be chosen.
    PresetByLoad(std::size_t first, int picturesPerSecond);

    // For the picture that is encoded next; `backlog` tells how full the queue behind it is, 0 to 1.
    std::size_t next(double backlog);

private:
    const std::size_t first_;
    const int perSecond_;
    std::size_t now_;
    int sinceChange_;        // pictures
    int sinceBacklog_ = 0;   // pictures that found the queue nearly empty
    int patience_;           // pictures before a better preset is tried
    bool isTrying_ = false;  // a better one than before
};

}  // namespace kasto
