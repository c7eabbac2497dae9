#include "camera/CameraSource.h"

#include "base/log/SystemLog.h"

#include <algorithm>
#include <utility>

namespace kasto {

CameraSource::~CameraSource() { stop(); }

void CameraSource::start(const std::optional<std::string>& deviceID) {
    switch (session_.access()) {
        case CameraAccess::authorised:
            configureAndRun(deviceID);
            break;
        case CameraAccess::notDetermined:
            wish_->set({this, deviceID});
            session_.requestAccess([wish = wish_](bool granted) {
                if (!granted) {
                    systemLog("kasto: camera denied");
                    return;
                }
                wish->with([](const Wish& now) {
                    if (now.source) now.source->configureAndRun(now.deviceID);
                });
            });
            break;
        case CameraAccess::denied:
        case CameraAccess::restricted:
            systemLog("kasto: camera access denied/restricted — pip will show a blank tile");
            break;
    }
}

void CameraSource::stop() {
    wish_->set({});
    queue_.async([this] {
        if (!run_) return;
        run_.reset();
        captureOutput({});
    });
}

void CameraSource::captureOutput(PixelBufferRef frame) {
    if (onPicture_) onPicture_(frame);
    latest_.set(std::move(frame));
}

void CameraSource::configureAndRun(const std::optional<std::string>& deviceID) {
    queue_.async([this, deviceID] { openCamera(deviceID); });
}

void CameraSource::openCamera(const std::optional<std::string>& deviceID) {
    if (run_) return;
    if (const auto device = chooseDevice(deviceID)) {
        auto run = session_.run(device->id, queue_,
                                [this](PixelBufferRef frame) { captureOutput(std::move(frame)); });
        if (run) {
            run_ = std::move(*run);
            systemLog("kasto: camera running (" + device->name + ")");
            return;
        }
    }
    systemLog("kasto: no usable camera device");
}

std::optional<CameraDevice> CameraSource::chooseDevice(const std::optional<std::string>& deviceID) const {
    if (deviceID) {
        const auto devices = session_.devices();
        const auto chosen = std::ranges::find(devices, *deviceID, &CameraDevice::id);
        if (chosen != devices.end()) return *chosen;
    }
    return session_.defaultDevice();
}

}  // namespace kasto
