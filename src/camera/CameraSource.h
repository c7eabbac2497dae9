#pragma once

#include "base/Guarded.h"
#include "imaging/PixelBuffer.h"

namespace kasto {

// The webcam behind the picture-in-picture tile: keeps its newest frame for the compositor. Any thread.
class CameraSource {
public:
    // The newest frame, or none; the reader's reference keeps it alive.
    PixelBufferRef latest() const { return latest_.copy(); }

    // Takes a frame of the camera (bgra or bgrx), which replaces the one before.
    void captureOutput(PixelBufferRef frame) { latest_.set(std::move(frame)); }

    // Drops the frame: the tile shows that there is none.
    void stop() { latest_.set({}); }

private:
    Guarded<PixelBufferRef> latest_;
};

}  // namespace kasto
