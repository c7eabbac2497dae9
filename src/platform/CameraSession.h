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
    std::string id;    // the same each time the camera is plugged into the same port
    std::string name;  // shown to the user

    bool operator==(const CameraDevice&) const = default;
};

// The right to use cameras.
enum class CameraAccess {
    notDetermined,  // the user has not been asked yet
    authorised,
    denied,      // the user refused
    restricted,  // it cannot be granted on this system
};

// A camera that runs. Destroying it stops it: nothing is delivered after that. It must be destroyed on the
// queue that it delivers to.
class CameraRun {
public:
    virtual ~CameraRun() = default;
};

// The cameras of the desktop. Any thread, except those on which it calls back. It outlives its runs.
class CameraSession {
public:
    // Called with the newest picture (bgra or bgrx, any size), or with none when the camera is gone or has
    // stopped delivering. A picture never changes again while a reference to it is held.
    using FrameHandler = std::function<void(PixelBufferRef)>;

    virtual ~CameraSession() = default;

    virtual CameraAccess access() const = 0;

    // Asks the user for access. `answer` is called at most once, with true if it was granted, on any thread,
    // possibly before this returns. It is not called after the session's end.
    virtual void requestAccess(std::function<void(bool granted)> answer) = 0;

    // The cameras that are present now, in the desktop's order. May wait for the desktop's answer.
    virtual std::vector<CameraDevice> devices() const = 0;

    // The camera that the desktop uses when none is chosen, or none if there is no camera.
    virtual std::optional<CameraDevice> defaultDevice() const = 0;

    // Opens the camera with this id and delivers its pictures on `queue`, which outlives the run. If pictures
    // come faster than the queue takes them, newer ones replace older ones. May wait for the camera.
    virtual Result<std::unique_ptr<CameraRun>> run(const std::string& deviceId, SerialQueue& queue,
                                                   FrameHandler onFrame) = 0;
};

}  // namespace kasto
