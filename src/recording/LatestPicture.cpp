#include "recording/LatestPicture.h"

#include <utility>

namespace kasto {

void LatestPicture::begin(int width, int height) {
    newest_.set({.picture = {.pixels = {}, .changed = BlockSet::all(width, height)},
                 .width = width,
                 .height = height});
}

void LatestPicture::end() { newest_.set({}); }

void LatestPicture::put(const ScreenFrame& frame) {
    PixelBufferRef pixels = frame.pixels;  // holds the former picture in the end: freed without the lock
    newest_.with([&](Newest& newest) {
        const bool isResized = pixels->width() != newest.width || pixels->height() != newest.height;
        if (isResized) {
            newest.width = pixels->width();
            newest.height = pixels->height();
            newest.picture.changed = BlockSet(newest.width, newest.height);
        }
        const bool follows =
            !isResized && frame.generation == newest.generation + 1 && !frame.changedPx.empty();
        if (follows) {
            for (const PixelRect& rect : frame.changedPx) newest.picture.changed.add(rect);
        } else if (isResized || frame.generation != newest.generation) {
            newest.picture.changed.fill();
        }
        newest.generation = frame.generation;
        std::swap(newest.picture.pixels, pixels);
    });
}

bool LatestPicture::take(ScreenPicture& picture) {
    return newest_.with([&](Newest& newest) {
        if (!newest.picture.pixels) return false;
        picture.pixels = newest.picture.pixels;
        std::swap(picture.changed, newest.picture.changed);
        const bool fits = newest.picture.changed.columns() == picture.changed.columns() &&
                          newest.picture.changed.rows() == picture.changed.rows();
        if (!fits) newest.picture.changed = picture.changed;
        newest.picture.changed.clear();
        return true;
    });
}

}  // namespace kasto
