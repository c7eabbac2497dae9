#include "picker/ScreenStills.h"

#include "base/AppIdentity.h"
#include "platform/Displays.h"
#include "platform/ScreenStream.h"

#include <QCoreApplication>
#include <QImage>
#include <chrono>
#include <cmath>
#include <condition_variable>
#include <mutex>
#include <utility>

namespace kasto {

namespace {

constexpr std::chrono::seconds kPatience{2};

// Keeps the first picture of a stream.
class FirstPicture final : public StreamOutput, public StreamDelegate {
public:
    void streamDidOutputSampleBuffer(const SampleBuffer& buffer, StreamOutputType) override {
        const auto* frame = std::get_if<ScreenFrame>(&buffer);
        if (!frame || !frame->pixels) return;
        const std::scoped_lock held(mutex_);
        if (!picture_) picture_ = frame->pixels;
        changed_.notify_one();
    }

    void streamDidStopWithError(const Error&) override {
        const std::scoped_lock held(mutex_);
        isOver_ = true;
        changed_.notify_one();
    }

    PixelBufferRef wait() {
        std::unique_lock held(mutex_);
        changed_.wait_for(held, kPatience, [this] { return picture_ || isOver_; });
        return picture_;
    }

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    PixelBufferRef picture_;
    bool isOver_ = false;
};

QImage readStill(ScreenCapture& capture, const Display& display) {
    StreamConfiguration configuration;
    configuration.width = static_cast<int>(std::lround(display.boundsPts.width * display.scale));
    configuration.height = static_cast<int>(std::lround(display.boundsPts.height * display.scale));
    configuration.minimumFrameIntervalS = 1.0 / 60;
    configuration.showsCursor = false;
    FirstPicture first;
    SerialQueue queue("app.tolvane.kasto.still", QueuePriority::userInteractive);
    const ContentFilter filter{display.id, {{std::string(kBundleIdentifier)}}};
    const auto stream = capture.makeStream(filter, configuration, first);
    if (!stream || !(*stream)->addStreamOutput(first, StreamOutputType::screen, queue) ||
        !(*stream)->startCapture())
        return {};
    const auto picture = first.wait();
    static_cast<void>((*stream)->stopCapture());
    queue.drain();
    if (!picture) return {};
    const auto& plane = picture->plane(0);
    return QImage(plane.data, picture->width(), picture->height(), plane.strideBytes, QImage::Format_RGB32)
        .copy();
}

}  // namespace

void ScreenStills::read(std::vector<Display> displays, std::function<void(Pictures)> done) {
    wanted_ = std::make_shared<Done>(std::move(done));
    queue_.async([this, displays = std::move(displays), wanted = std::weak_ptr(wanted_)] {
        std::vector<std::pair<DisplayId, QImage>> images;
        for (const auto& display : displays)
            if (!wanted.expired()) images.emplace_back(display.id, readStill(capture_, display));
        const auto deliver = [this, wanted, images = std::move(images)] {
            const auto done = wanted.lock();
            if (!done) return;
            wanted_.reset();
            Pictures pictures;
            for (const auto& [id, image] : images)
                if (!image.isNull()) pictures[id] = QPixmap::fromImage(image);
            (*done)(std::move(pictures));
        };
        QMetaObject::invokeMethod(QCoreApplication::instance(), deliver, Qt::QueuedConnection);
    });
}

}  // namespace kasto
