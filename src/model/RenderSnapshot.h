#pragma once

#include "base/Geometry.h"
#include "model/CaptureArea.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <optional>

namespace kasto {

// A filled circle in capture pixels: one click pulse, or the disc of a held button.
struct RippleDisc {
    Point center;
    double radius = 0;
    double alpha = 0;  // opacity, 0 to 1

    bool operator==(const RippleDisc&) const = default;
};

// The pulses of one frame, oldest first. They are stored in the object itself, so that making or copying a
// snapshot allocates nothing.
class RippleDiscs {
public:
    static constexpr std::size_t kMax = 24;

    // Ignored when there are `kMax` already.
    void push_back(const RippleDisc& disc) {
        if (count_ < kMax) discs_[count_++] = disc;
    }
    std::size_t size() const { return count_; }
    bool empty() const { return count_ == 0; }
    const RippleDisc& operator[](std::size_t i) const { return discs_[i]; }
    const RippleDisc* begin() const { return discs_.data(); }
    const RippleDisc* end() const { return discs_.data() + count_; }
    bool operator==(const RippleDiscs& other) const {
        return std::equal(begin(), end(), other.begin(), other.end());
    }

private:
    std::array<RippleDisc, kMax> discs_{};
    std::size_t count_ = 0;
};

// What one frame of the movie shows. All geometry is in capture pixels: origin top-left, y downward.
struct RenderSnapshot {
    CaptureArea area;  // the recorded area at that moment; empty before the first take
    Rect cropPx;       // the part of the captured picture that fills the frame
    double zoom = 1;   // 1 to 8
    bool panned = false;
    RippleDiscs ripples;
    std::optional<RippleDisc> heldDisc;
    std::optional<Rect> camRect;  // where the webcam tile goes; none when it is off
    bool camRound = false;        // the tile is a circle, its rectangle a square

    bool operator==(const RenderSnapshot&) const = default;
};

}  // namespace kasto
