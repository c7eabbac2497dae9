#pragma once

#include "base/Geometry.h"
#include "base/Result.h"
#include "platform/Desktop.h"
#include "platform/MovieWriter.h"
#include "platform/ScreenStream.h"

namespace kasto {

// The first frame is due so long after the capture starts; the others follow at the frame rate.
inline constexpr double kFirstFrameS = 0.05;

// What a take will record and how, decided before anything is opened.
struct TakePlan {
    ContentFilter filter;        // its display is the one recorded
    Rect areaGlobalPts;          // what is recorded of it, in global points
    StreamConfiguration stream;  // its width and height are the movie's, in pixels, even
    VideoInputSettings video;    // its frame rate is the take's
};

// Decides from the user's options and the desktop of the moment: the saved region if its display is there,
// else the whole display under the pointer, else the main one. What differs from the options is logged.
// Blocks while the desktop is asked. Fails with the desktop's error, or KastoError::noDisplay.
Result<TakePlan> planTake(const Desktop& desktop);

// Of a movie of this size in pixels: 0.08 bit per pixel and frame, at most 60 Mbit/s.
VideoInputSettings videoInputSettings(int width, int height, int fps);

}  // namespace kasto
