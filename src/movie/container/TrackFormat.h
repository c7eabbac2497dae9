#pragma once

#include "platform/MovieWriter.h"

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace kasto {

enum class TrackKind { video, sound };

// What a movie file tells of a track besides its samples.
struct TrackFormat {
    TrackKind kind = TrackKind::video;
    std::int32_t timescale = 0;        // units per second of the track's times
    std::uint32_t sampleDuration = 0;  // of the last sample, in units: no next one tells when it ends
    int width = 0;                     // of the picture in pixels; 0 for sound
    int height = 0;
    std::uint32_t primingUnits = 0;         // at the track's beginning, to be left out by players
    std::vector<std::uint8_t> sampleEntry;  // the whole avc1 or mp4a box
};

// The format of an H.264 track, BT.709 limited range. `configuration` is the contents of its avcC box.
TrackFormat avcTrackFormat(const VideoInputSettings& settings, std::span<const std::uint8_t> configuration);

// The format of an AAC track at 48 kHz. `configuration` is the stream's AudioSpecificConfig; the encoder has
// put `primingFrames` frames before the sound.
TrackFormat aacTrackFormat(const AudioInputSettings& settings, std::span<const std::uint8_t> configuration,
                           int primingFrames);

}  // namespace kasto
