#pragma once

#include "platform/MovieWriter.h"

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace kasto {

enum class TrackKind { video, sound };

// What a movie says about a track besides its samples.
struct TrackFormat {
    TrackKind kind = TrackKind::video;
    std::int32_t timescale = 0;        // units per second of the track's times
    std::uint32_t sampleDuration = 0;  // units the last sample lasts, as nothing follows that would tell
    int width = 0;                     // of the picture in pixels; 0 for sound
    int height = 0;
    std::vector<std::uint8_t> sampleEntry;  // the whole box that describes the samples
};

// The format of an H.264 track, BT.709 limited range. `configuration` is the contents of its avcC box.
TrackFormat avcTrackFormat(const VideoInputSettings& settings, std::span<const std::uint8_t> configuration);

}  // namespace kasto
