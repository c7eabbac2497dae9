#pragma once

#include "platform/MovieWriter.h"

#include <cstddef>

namespace kasto {

// Chooses libx264's preset anew for each picture. When the queue of pictures fills up it takes a faster
// preset before ticks are dropped; when there is time again it returns step by step to the preset of the
// start. A return that was too early doubles the wait before the next one. One thread at a time.
class PresetByLoad {
public:
    // `first` is the best preset that may be chosen, an index of kX264Presets.
    PresetByLoad(std::size_t first, int picturesPerSecond);

    // The preset for the picture that is encoded next; `backlog` is how full the queue behind it is, 0 to 1.
    std::size_t next(double backlog);

private:
    const std::size_t first_;
    const int perSecond_;
    std::size_t current_;
    int sinceChange_;        // pictures since the preset changed
    int sinceBacklog_ = 0;   // pictures that found the queue nearly empty, in a row
    int wait_;               // as many of them before a better preset is tried
    bool isTrying_ = false;  // the last change was to a better preset
};

}  // namespace kasto
