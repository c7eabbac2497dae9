#pragma once

#include "platform/MovieWriter.h"

#include <cstddef>

namespace kasto {

// Chooses the QP of each encoded picture so that the movie keeps its average bit rate.
//
// libx264's own control counts the pictures it encodes. Here it sees only some of the ticks, so it would take
// the first picture after a still screen for a burst and encode it far too coarsely (at 20 dB). This control
// counts ticks instead: every tick earns a tick's share of the bit rate, and every picture, inserted ones
// included, spends its size. The difference is kept as a debt in seconds of the average rate, negative while
// there are savings. QP rises linearly with the debt. Savings are limited to a second, so that the bit rate
// cannot rise far above its average anywhere, and the debt to six seconds, so that QP recovers after a burst.
//
// A picture that has stayed for some ticks is encoded again at a lower QP, as far as the savings allow.
//
// One thread at a time.
class RateControl {
public:
    explicit RateControl(const VideoInputSettings& settings);

    // Counts a tick whose picture has this size.
    void spend(std::size_t bytes);

    // The QP for a new picture.
    int qp(bool isIdr) const;

    // The QP for a picture that has been shown for some ticks and is likely to stay.
    int stillQp() const;

    // Whether a still picture that was encoded with this QP is to be encoded once more with `stillQp`.
    bool isWorthRefining(int qp) const;

    // Whether the savings cover so many bytes.
    bool allows(std::size_t bytes) const { return bytesPerSecond_ * -debtS_ >= static_cast<double>(bytes); }

private:
    double bytesPerSecond_;
    double secondsPerTick_;
    double debtS_ = -0.5;  // the savings that the first picture may spend
};

}  // namespace kasto
