#pragma once

#include "base/Guarded.h"
#include "base/SerialQueue.h"
#include "imaging/PixelBuffer.h"
#include "platform/CameraSession.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace kasto {

// The webcam behind the picture-in-picture tile: runs one camera at a time and keeps its newest frame.
//
// start(), stop() and devices() belong to the main thread. Opening, closing and delivery happen on a queue of
// its own, in the order asked for; what fails there is told in the system log only and leaves no frame.
class CameraSource {
public:
    // Takes every picture of the camera, and none when the camera has gone.
    using PictureHandler = std::function<void(const PixelBufferRef&)>;

    // The session outlives the source. Nothing runs yet. `onPicture` is called with each picture before that
    // is the newest, on the source's own queue, and with none when the camera is gone or has stopped.
    explicit CameraSource(CameraSession& session, PictureHandler onPicture = {})
        : session_(session), onPicture_(std::move(onPicture)) {}

    // Stops the camera and waits for that.
    ~CameraSource();

    CameraSource(const CameraSource&) = delete;
    CameraSource& operator=(const CameraSource&) = delete;

    // The cameras the user may choose, in the desktop's order.
    std::vector<CameraDevice> devices() const { return session_.devices(); }

    // Runs the camera with this id; without one, or where it is not there, the default camera. Asks for the
    // right to it where the user has not been asked. Returns at once. A camera that runs already goes on, be
    // it another one: stop() comes first then.
    void start(const std::optional<std::string>& deviceID);

    // Stops the camera, drops its frame and forgets a start that waits for the user. Returns at once.
    void stop();

    // Takes a frame of the camera (bgra or bgrx) in the place of the one before, or none. One thread at a
    // time: the queue of its own while a camera runs.
    void captureOutput(PixelBufferRef frame);

    // The newest frame (bgra or bgrx), or none; the reader's reference keeps it alive. Any thread.
    PixelBufferRef latest() const { return latest_.copy(); }

private:
    // What an answer to a request for access finds: what is wanted by now, which may be nothing any more.
    struct Wish {
        CameraSource* source = nullptr;
        std::optional<std::string> deviceID;
    };

    void configureAndRun(const std::optional<std::string>& deviceID);
    void openCamera(const std::optional<std::string>& deviceID);
    std::optional<CameraDevice> chooseDevice(const std::optional<std::string>& deviceID) const;

    CameraSession& session_;
    const std::shared_ptr<Guarded<Wish>> wish_ = std::make_shared<Guarded<Wish>>();
    const PictureHandler onPicture_;
    Guarded<PixelBufferRef> latest_;
    std::unique_ptr<CameraRun> run_;  // the queue's; there while a camera runs
    SerialQueue queue_{"app.tolvane.kasto.camera", QueuePriority::userInteractive};
};

}  // namespace kasto
