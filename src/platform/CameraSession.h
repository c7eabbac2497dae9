#pragma once

#include "base/Result.h"
#include "base/SerialQueue.h"
#include "imaging/PixelBuffer.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace kasto {

// A camera the user may choose.
struct CameraDevice {
    std::string id;    // stays the same while the camera is plugged into the same place
    std::string name;  // for people

    bool operator==(const CameraDevice&) const = default;
};

// The right to use cameras.
enum class CameraAccess {
    notDetermined,  // the user has not been asked yet
    authorised,
    denied,      // the user refused
    restricted,  // nobody can grant it here
};

// A camera that runs. Destroying it, which belongs on the queue it delivers to, stops it: nothing is
// delivered after that.
class CameraRun {
public:
    virtual ~CameraRun() = default;
};

// The cameras of the desktop. Any thread but the ones it calls back on; it outlives its runs.
class CameraSession {
public:
    // Takes the newest frame (bgra or bgrx, any size), or none when the camera is gone or has stopped
    // delivering. A frame never changes again while somebody holds it.
    using FrameHandler = std::function<void(PixelBufferRef)>;

    virtual ~CameraSession() = default;

    virtual CameraAccess access() const = 0;

    // Asks the user. `answer` is called at most once, with true when granted, on any thread and perhaps
    // before this returns; not after the session's end.
    virtual void requestAccess(std::function<void(bool granted)> answer) = 0;

    // The cameras there are now, in the desktop's order. May wait for the desktop's answer.
    virtual std::vector<CameraDevice> devices() const = 0;

    // The camera the desktop takes when none is chosen; none without a camera.
    virtual std::optional<CameraDevice> defaultDevice() const = 0;

    // Opens the camera with this id and delivers its frames on `queue`, which outlives the run. Frames that
    // come faster than they are taken replace each other; none waits behind another. May wait for the camera.
    virtual Result<std::unique_ptr<CameraRun>> run(const std::string& deviceId, SerialQueue& queue,
                                                   FrameHandler onFrame) = 0;
};

}  // namespace kasto
