#pragma once

#include "base/Result.h"
#include "linux/x11/capture/ScreenReader.h"
#include "linux/x11/capture/SourceLocator.h"

#include <memory>
#include <optional>

namespace kasto::x11 {

// Reads the part of a display that a stream shows, and follows the display when it moves or changes its size,
// rotation or scale: a reader for the new place takes the old one's place. One thread.
class FollowingReader {
public:
    // `settings` say where the display was when the stream was made.
    static Result<FollowingReader> open(ReadSettings settings, const SourceLocator& locator);

    // As ScreenReader::readPicture. After a change the pictures have the new size, and say which area of the
    // desktop they show. None while the display does not show the part, or is missing for less than 2 s: some
    // programs that change the layout detach it for a moment. Fails when it stays missing.
    Result<std::optional<ScreenPicture>> readPicture();

private:
    FollowingReader(ReadSettings settings, const SourceLocator& locator,
                    std::unique_ptr<ScreenReader> reader);
    Result<void> follow();
    Result<void> readFrom(const PixelRect& displayPx, double scale);

    ReadSettings settings_;
    SourceLocator locator_;
    std::unique_ptr<ScreenReader> reader_;
    PixelRect firstDisplayPx_;
    double firstScale_;
    PixelRect firstCapturePx_;
    Rect areaPts_;  // empty = what the stream was made for
    bool isFirstPicture_ = true;
    double nextLookS_ = 0;
    std::optional<double> missingSinceS_;
};

}  // namespace kasto::x11
