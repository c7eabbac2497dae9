#pragma once

#include "base/Geometry.h"
#include "model/RenderSnapshot.h"

#include <optional>
#include <string>
#include <vector>

namespace kasto {

// The parts of the overlay for one frame, in points from the top-left corner of the screen, y downward.
struct OverlayLayout {
    struct Circle {
        Point center;
        double radius = 0;
        bool operator==(const Circle&) const = default;
    };
    struct Tile {
        Rect frame;
        double cornerRadius = 0;  // half its side if it is round
        bool operator==(const Tile&) const = default;
    };

    Rect outline;                // the line is drawn around it, half inside and half outside
    std::vector<Circle> pulses;  // with the held disc as the last one
    std::optional<Tile> tile;    // the webcam's
    std::string text;            // of the heads-up display, UTF-8

    bool operator==(const OverlayLayout&) const = default;
};

// Maps a snapshot from capture pixels to a screen whose top-left corner is at `originPts`, in global points.
// `audioSuffix` ends the heads-up display's text. None for a snapshot without a capture area: no take has
// begun.
std::optional<OverlayLayout> layOut(const RenderSnapshot& snapshot, int elapsedS,
                                    const std::string& audioSuffix, Point originPts);

struct HudLayout {
    Rect background;
    Rect text;
};

// Where the heads-up display goes in a view of this width, for a text of this size. All in points.
HudLayout layOutHud(double viewWidth, Size text);

}  // namespace kasto
