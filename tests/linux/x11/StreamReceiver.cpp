#include "StreamReceiver.h"

#include <chrono>
#include <cstring>

namespace kasto::test {

namespace {

constexpr auto kPatience = std::chrono::seconds(10);

std::uint32_t pixelAt(const ScreenFrame& frame, int x, int y) {
    const auto& plane = frame.pixels->plane(0);
    std::uint32_t pixel = 0;
    std::memcpy(&pixel, plane.data + y * plane.strideBytes + x * 4, 4);
    return pixel & 0xffffff;
}

}  // namespace

Pixels toPixels(const ScreenFrame& frame) {
    Pixels pixels{frame.pixels->width(), frame.pixels->height(), {}};
    for (int y = 0; y < pixels.height; ++y)
        for (int x = 0; x < pixels.width; ++x) pixels.rgb.push_back(pixelAt(frame, x, y));
    return pixels;
}

bool StreamReceiver::tellsItsChanges(const ScreenFrame& before, const ScreenFrame& after) {
    if (after.generation != before.generation + 1) return false;
    if (!before.pixels || after.changedPx.empty()) return true;
    auto patched = toPixels(before);
    const auto now = toPixels(after);
    for (const auto& rect : after.changedPx)
        for (int y = rect.y; y < rect.maxY(); ++y)
            for (int x = rect.x; x < rect.maxX(); ++x)
                patched.rgb[static_cast<std::size_t>(y * now.width + x)] = now.at(x, y);
    return patched == now;
}

void StreamReceiver::streamDidOutputSampleBuffer(const SampleBuffer& buffer, StreamOutputType type) {
    const auto* frame = std::get_if<ScreenFrame>(&buffer);
    if (!frame || type != StreamOutputType::screen) return;
    if (inspect_) inspect_(*frame);
    const bool honest = tellsItsChanges(last(), *frame);
    {
        const std::scoped_lock held(mutex_);
        last_ = *frame;
        ++count_;
        if (!honest) ++falseReports_;
    }
    changed_.notify_all();
}

void StreamReceiver::streamDidStopWithError(const Error& error) {
    {
        const std::scoped_lock held(mutex_);
        ends_.push_back(error.description);
    }
    changed_.notify_all();
}

bool StreamReceiver::waitFor(const std::function<bool(const ScreenFrame&)>& condition) {
    std::unique_lock held(mutex_);
    return changed_.wait_for(held, kPatience, [&] { return last_.pixels && condition(last_); });
}

bool StreamReceiver::waitForPicture(const Pixels& expected) {
    return waitFor([&](const ScreenFrame& frame) { return toPixels(frame) == expected; });
}

bool StreamReceiver::waitForEnd() {
    std::unique_lock held(mutex_);
    return changed_.wait_for(held, kPatience, [&] { return !ends_.empty(); });
}

ScreenFrame StreamReceiver::last() {
    const std::scoped_lock held(mutex_);
    return last_;
}

std::uint64_t StreamReceiver::count() {
    const std::scoped_lock held(mutex_);
    return count_;
}

std::vector<std::string> StreamReceiver::ends() {
    const std::scoped_lock held(mutex_);
    return ends_;
}

std::uint64_t StreamReceiver::falseReports() {
    const std::scoped_lock held(mutex_);
    return falseReports_;
}

}  // namespace kasto::test
