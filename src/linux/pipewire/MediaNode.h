#pragma once

#include <cstdint>
#include <string>

namespace kasto::pipewire {

// A device or a stream of the media server, as its properties describe it.
struct MediaNode {
    std::uint32_t id = 0;      // while the node exists
    std::uint64_t serial = 0;  // never used again for another node
    std::string name;          // the same whenever the device is plugged into the same place
    std::string description;   // for people; the name if the node has no description
    std::string mediaClass;    // "Audio/Sink", "Video/Source", …
    std::string role;
};

enum class MediaDefault { audioSink, audioSource, videoSource };

}  // namespace kasto::pipewire
