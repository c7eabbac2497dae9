#pragma once

#include "base/Geometry.h"
#include "model/RenderSnapshot.h"

#include <optional>
#include <string>
#include <vector>

namespace kasto {

// What the overlay shows of one frame, in points from the top-left corner of the screen, y downward.
struct OverlayLayout {
    struct Circle {
        Point center;
        double radius = 0;
        bool operator==(const Circle&) const = default;
    };
    struct Tile {
        Rect frame;
        double cornerRadius = 0;
        bool operator==(const Tile&) const = default;
    };

    Rect marquee;                // the middle of the outline's line
    std::vector<Circle> clicks;  // the pulses, then the held disc
    std::optional<Tile> camera;
    std::string text;  // of the heads-up display, UTF-8

    bool operator==(const OverlayLayout&) const = default;
};

// Maps a snapshot from capture pixels to a screen whose top-left corner is at `originPts`, in global points.
// None for a snapshot without a recorded area: nothing has been recorded yet.
std::optional<OverlayLayout> layOut(const RenderSnapshot& snapshot, int elapsedS,
                                    const std::string& audioSuffix, Point originPts);

struct HudLayout {
    Rect background;
    Rect text;
};

// The heads-up display for a text of this size, in a view of this width; all in points.
HudLayout layOutHud(double viewWidth, Size text);

}  // namespace kasto
