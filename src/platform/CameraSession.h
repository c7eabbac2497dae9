#pragma once

#include <string>

namespace kasto {

// A camera the user may choose.
struct CameraDevice {
    std::string id;    // stays the same while the camera is plugged into the same place
    std::string name;  // for people
};

}  // namespace kasto
