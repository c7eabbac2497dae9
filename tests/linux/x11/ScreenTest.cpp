#include "ScreenTest.h"

#include "support/WaitUntil.h"

namespace kasto::test {

using namespace x11;

namespace {

bool tellsItsChanges(const ScreenFrame& before, const ScreenFrame& after) {
    if (after.generation != before.generation + 1) return false;
    if (!before.pixels || after.changedPx.empty()) return true;
    if (after.pixels->width() != before.pixels->width()) return false;
    auto patched = toPixels(before);
    auto now = toPixels(after);
    for (const auto& rect : after.changedPx)
        for (int y = rect.y; y < rect.maxY(); ++y)
            for (int x = rect.x; x < rect.maxX(); ++x) patched.at(x, y) = now.at(x, y);
    return patched == now;
}

}  // namespace

Pixels toPixels(const ScreenFrame& frame) {
    const auto& plane = frame.pixels->plane(0);
    return {frame.pixels->width(), frame.pixels->height(), plane.data, plane.strideBytes};
}

void StreamReceiver::streamDidOutputSampleBuffer(const SampleBuffer& buffer, StreamOutputType) {
    const auto& frame = std::get<ScreenFrame>(buffer);
    if (inspect) inspect(frame);
    falseReports += !tellsItsChanges(last.copy(), frame);
    last.set(frame);
    ++count;
}

bool StreamReceiver::waitFor(const std::function<bool(const ScreenFrame&)>& condition) const {
    std::uint64_t looked = 0;
    return waitUntil([&] {
        const auto now = count.load();
        return std::exchange(looked, now) != now && condition(last.copy());
    });
}

bool StreamReceiver::waitForPicture(const Pixels& expected) const {
    return waitFor([&](const ScreenFrame& frame) { return toPixels(frame) == expected; });
}

bool StreamReceiver::waitForEnds(std::size_t times) const {
    return waitUntil([&] { return ends.copy().size() == times; });
}

}  // namespace kasto::test
