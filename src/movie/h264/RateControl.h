#pragma once

#include "platform/MovieWriter.h"

#include <cstddef>

namespace kasto {

// Chooses quantisers so that a movie keeps its average bit rate, counted over all its ticks: pictures that
// cost little save up for those that cost much. One thread at a time.
class RateControl {
public:
    explicit RateControl(const VideoInputSettings& settings);

    // One tick has passed and its picture took so much.
    void spend(std::size_t bytes);

    // For a picture that is new.
    int quantiser(bool isKey) const;

    // For one that has been shown before, and is likely to stay.
    int quantiserOfStill() const;

    // Whether a still picture of this quantiser is to be encoded once more, as a better one.
    bool isWorthRefining(int quantiser) const;

    // True when what was saved pays for so much.
    bool allows(std::size_t bytes) const { return bytesPerSecond_ * -debtS_ >= static_cast<double>(bytes); }

private:
    double bytesPerSecond_;
    double secondsPerTick_;
    // Seconds of the average rate that were spent too much; below zero: saved. The first picture gets some.
    double debtS_ = -0.5;
};

}  // namespace kasto
