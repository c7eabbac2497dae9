#pragma once

namespace kasto {

// The program's accent colour, opaque sRGB with components from 0 to 1: of the pulses in the movie, the
// overlay's lines, the switches in the settings and the red of the status item.
struct AccentColour {
    static constexpr double kRed = 0.92;
    static constexpr double kGreen = 0.26;
    static constexpr double kBlue = 0.30;
};

}  // namespace kasto
