#pragma once

#include "base/Geometry.h"
#include "base/Result.h"
#include "platform/Desktop.h"
#include "platform/MovieWriter.h"
#include "platform/ScreenStream.h"

namespace kasto {

// The first tick comes this long after the start of the capture, so that the stream has a picture by then.
// The other ticks follow at the frame rate.
inline constexpr double kFirstFrameS = 0.05;

// What a take records and how. It is decided before anything is opened.
struct TakePlan {
    ContentFilter filter;        // names the recorded display
    Rect areaGlobalPts;          // the capture area, in global points
    StreamConfiguration stream;  // its width and height are the movie's, in pixels, even
    VideoInputSettings video;    // its frame rate is the take's
};

// Makes the plan from the user's options and the displays there are now: the saved region if its display is
// there, else the whole display under the pointer, else the main display. A region that cannot be recorded is
// logged. Blocks while the desktop is asked. Fails with the desktop's error, or with KastoError::noDisplay.
Result<TakePlan> planTake(const Desktop& desktop);

// The settings for a movie of this size in pixels: 0.08 bit per pixel and frame, at most 60 Mbit/s.
VideoInputSettings videoInputSettings(int width, int height, int fps);

}  // namespace kasto
