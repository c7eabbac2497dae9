#pragma once

#include "platform/ScreenStream.h"
#include "platform/SoundCapture.h"

namespace kasto {

// Makes streams that deliver the pictures of a screen capture and the sound of a sound capture. If sound
// cannot be captured, that is logged and the stream delivers the pictures only.
class ScreenCaptureWithSound final : public ScreenCapture {
public:
    // Both outlive this object and its streams.
    ScreenCaptureWithSound(ScreenCapture& screen, SoundCapture& sound) : screen_(screen), sound_(sound) {}

    Result<ShareableContent> shareableContent() override { return screen_.shareableContent(); }

    Result<std::unique_ptr<ScreenStream>> makeStream(const ContentFilter& filter,
                                                     const StreamConfiguration& configuration,
                                                     StreamDelegate& delegate) override;

    bool deliversMicrophone() const override { return sound_.deliversMicrophone(); }

private:
    ScreenCapture& screen_;
    SoundCapture& sound_;
};

}  // namespace kasto
