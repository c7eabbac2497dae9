#pragma once

#include <array>
#include <cstdint>

namespace kasto::demo {

struct Colour {
    std::uint8_t red, green, blue;  // sRGB
};

// A chart that fills the screen: large patches of known colours, and below them a strip in which things move.
namespace chart {

inline constexpr int kScreenWidth = 1280;
inline constexpr int kScreenHeight = 720;
inline constexpr int kColumns = 8;
inline constexpr int kPatchWidth = kScreenWidth / kColumns;
inline constexpr int kPatchHeight = 160;
inline constexpr int kStripTop = 4 * kPatchHeight;

// The patches, row by row: primaries and their mixtures, greys, skin tones and everyday colours.
inline constexpr std::array<Colour, 32> kPatches{{
    {255, 0, 0},     {0, 255, 0},     {0, 0, 255},     {0, 255, 255},   {255, 0, 255},  {255, 255, 0},
    {0, 0, 0},       {255, 255, 255}, {16, 16, 16},    {48, 48, 48},    {86, 86, 86},   {118, 118, 118},
    {128, 128, 128}, {160, 160, 160}, {200, 200, 200}, {240, 240, 240}, {115, 82, 68},  {194, 150, 130},
    {98, 122, 157},  {87, 108, 67},   {133, 128, 177}, {103, 189, 170}, {214, 126, 44}, {80, 91, 166},
    {193, 90, 99},   {94, 60, 108},   {157, 188, 64},  {224, 163, 46},  {56, 61, 150},  {70, 148, 73},
    {241, 194, 167}, {65, 40, 28},
}};
static_assert(kPatches.size() == 4 * kColumns);

}  // namespace chart

}  // namespace kasto::demo
