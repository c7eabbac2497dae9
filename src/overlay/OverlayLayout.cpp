#include "overlay/OverlayLayout.h"

#include "base/NumberText.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>

namespace kasto {

namespace {

constexpr double kZoomShown = 1.02;

std::string hudText(const RenderSnapshot& snapshot, int elapsedS, const std::string& audioSuffix) {
    constexpr int kMinuteS = 60;
    elapsedS = std::max(elapsedS, 0);  // the clock may have been set back
    std::array<char, 32> time{};
    std::snprintf(time.data(), time.size(), "%d:%02d", elapsedS / kMinuteS, elapsedS % kMinuteS);
    std::string text = std::string("● rec ") + time.data();
    if (snapshot.zoom > kZoomShown) text += " · " + fixedText(snapshot.zoom, 1) + "x";
    if (snapshot.panned) text += " · panned";
    return text + audioSuffix;
}

}  // namespace

std::optional<OverlayLayout> layOut(const RenderSnapshot& snapshot, int elapsedS,
                                    const std::string& audioSuffix, Point originPts) {
    constexpr double kInsetZoomed = 1;
    constexpr double kInset = 3;
    const CaptureArea& area = snapshot.area;
    if (area.isEmpty()) return std::nullopt;
    const double sx = area.sx();
    const double sy = area.sy();
    const Vector offset{area.boundsPts().x - originPts.x, area.boundsPts().y - originPts.y};
    const auto toPoints = [&](const Rect& px) {
        return Rect{px.x / sx + offset.dx, px.y / sy + offset.dy, px.width / sx, px.height / sy};
    };
    // The horizontal scale serves for both axes of a radius, so that a circle stays one.
    const auto toCircle = [&](const RippleDisc& disc) {
        return OverlayLayout::Circle{{disc.center.x / sx + offset.dx, disc.center.y / sy + offset.dy},
                                     disc.radius / sx};
    };

    OverlayLayout layout;
    const Rect shown = area.shownPts().translated(-originPts.x, -originPts.y);
    layout.outline = toPoints(snapshot.cropPx)
                         .intersection(shown)
                         .grown(snapshot.zoom > kZoomShown ? -kInsetZoomed : -kInset);
    for (const auto& ripple : snapshot.ripples) layout.pulses.push_back(toCircle(ripple));
    if (snapshot.heldDisc) layout.pulses.push_back(toCircle(*snapshot.heldDisc));
    if (snapshot.camRect) {
        const auto frame = toPoints(*snapshot.camRect);
        layout.tile = {frame, snapshot.camRound ? std::min(frame.width, frame.height) / 2 : 0};
    }
    layout.text = hudText(snapshot, elapsedS, audioSuffix);
    return layout;
}

HudLayout layOutHud(double viewWidth, Size text) {
    constexpr double kPaddingX = 8;
    constexpr double kPaddingY = 4;
    constexpr double kRight = 14;
    constexpr double kTop = 38;
    constexpr double kSlack = 2;
    const double width = std::ceil(text.width);
    const double height = std::ceil(text.height);
    HudLayout hud;
    hud.background = {0, kTop, width + 2 * kPaddingX, height + 2 * kPaddingY};
    hud.background.x = viewWidth - hud.background.width - kRight;
    hud.text = {hud.background.x + kPaddingX, (hud.background.height - text.height) / 2 + kTop,
                width + kSlack, height};
    return hud;
}

}  // namespace kasto
