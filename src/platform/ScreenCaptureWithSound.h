#pragma once

#include "platform/ScreenStream.h"
#include "platform/SoundCapture.h"

namespace kasto {

// Joins the pictures of one capture and the sound of another into streams that have both. Sound that cannot
// be had is logged, and missing; the pictures are recorded all the same.
class ScreenCaptureWithSound final : public ScreenCapture {
public:
    // Both must outlive the capture and its streams.
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
