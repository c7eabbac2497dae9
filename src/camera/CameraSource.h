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

// Runs the webcam, one camera at a time, and keeps its newest picture.
//
// start(), stop() and devices() belong to the main thread. Cameras are opened, closed and read on a queue of
// the source's own, in the order of the calls. A failure there is written to the system log only; there is
// then no picture.
class CameraSource {
public:
    // Called with a picture of the camera, or with none.
    using PictureHandler = std::function<void(const PixelBufferRef&)>;

    // The session outlives the source. Nothing runs yet. `onPicture` is called with each picture just before
    // it becomes the newest one, and with none when the camera has gone or was stopped; on the thread that
    // calls captureOutput().
    explicit CameraSource(CameraSession& session, PictureHandler onPicture = {})
        : session_(session), onPicture_(std::move(onPicture)) {}

    // Stops the camera and waits for that.
    ~CameraSource();

    CameraSource(const CameraSource&) = delete;
    CameraSource& operator=(const CameraSource&) = delete;

    // The cameras the user may choose, in the desktop's order.
    std::vector<CameraDevice> devices() const { return session_.devices(); }

    // Runs the camera with this id, or the default camera if there is no id or no camera of that id. Asks the
    // user for access if that has not been decided. Returns at once. A camera that runs already goes on, even
    // if it is another one: call stop() first to change it.
    void start(const std::optional<std::string>& deviceID);

    // Stops the camera, drops its picture and cancels a start that waits for the user's decision. Returns at
    // once.
    void stop();

    // Replaces the newest picture (bgra or bgrx) by this one, which may be none. One thread at a time: the
    // source's own queue while a camera runs.
    void captureOutput(PixelBufferRef frame);

    // The newest picture (bgra or bgrx), or none. It never changes. Any thread.
    PixelBufferRef latest() const { return latest_.copy(); }

private:
    // The start that waits for the user's decision. The answer may come after a stop(), and after the source
    // has been destroyed; it then finds no source here.
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
    std::unique_ptr<CameraRun> run_;  // used on the queue only; set while a camera runs
    SerialQueue queue_{"app.tolvane.kasto.camera", QueuePriority::userInteractive};
};

}  // namespace kasto
