// A webcam for private desktops: a video source of the media server that shows a face that nods.
//
//   test_webcam NAME DESCRIPTION FORMATS SIZES FPS [JPEG]
//
// It offers each of the formats (BGRx NV12 I420 YUY2 GRAY8 MJPG, separated by commas) in each of the sizes
// (WIDTHxHEIGHT). Ending the program unplugs the webcam. In the format MJPG it shows the file JPEG. In every
// other format a patch in the top left corner is red and one in the bottom right corner is blue.

#include <libyuv.h>
#include <pipewire/pipewire.h>
#include <spa/param/video/format-utils.h>
#include <spa/pod/builder.h>

#include <QImage>
#include <QPainter>
#include <QStringList>
#include <array>
#include <cmath>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace kasto::demo {
namespace {

struct RawFormat {
    const char* name;
    spa_video_format format;
    int bytesPerTwoPixels;  // in the first plane
    bool hasChromaPlanes;   // chroma follows, half as many bytes as luma
};
constexpr std::array kRawFormats{
    RawFormat{"BGRx", SPA_VIDEO_FORMAT_BGRx, 8, false},   RawFormat{"NV12", SPA_VIDEO_FORMAT_NV12, 2, true},
    RawFormat{"I420", SPA_VIDEO_FORMAT_I420, 2, true},    RawFormat{"YUY2", SPA_VIDEO_FORMAT_YUY2, 4, false},
    RawFormat{"GRAY8", SPA_VIDEO_FORMAT_GRAY8, 2, false},
};

QImage scene(int width, int height, double seconds) {
    QImage image(width, height, QImage::Format_RGB32);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    QLinearGradient room(0, 0, width, height);
    room.setColorAt(0, QColor(92, 112, 120));
    room.setColorAt(1, QColor(188, 160, 128));
    painter.fillRect(image.rect(), room);
    const double unit = height / 10.0;
    painter.translate(width / 2.0 + 0.6 * unit * std::sin(seconds * 1.1), 0);
    painter.setBrush(QColor(52, 64, 98));
    painter.drawEllipse(QPointF(0, 10.6 * unit), 4 * unit, 3.6 * unit);
    const double nod = 0.25 * unit * std::sin(seconds * 3);
    painter.setBrush(QColor(226, 184, 152));
    painter.drawEllipse(QPointF(0, 4.6 * unit + nod), 2.1 * unit, 2.7 * unit);
    painter.setBrush(QColor(66, 44, 34));
    painter.drawChord(QRectF(-2.2 * unit, 1.7 * unit + nod, 4.4 * unit, 4 * unit), 16 * 10, 16 * 160);
    for (const double side : {-0.8, 0.8})
        painter.drawEllipse(QPointF(side * unit, 4.5 * unit + 1.2 * nod), 0.22 * unit, 0.28 * unit);
    painter.drawChord(QRectF(-0.9 * unit, 5.2 * unit + 1.2 * nod, 1.8 * unit, 1.1 * unit), 16 * 200,
                      16 * 140);
    painter.resetTransform();
    const int patch = height / 8;
    painter.fillRect(0, 0, patch, patch, QColor(200, 30, 20));
    painter.fillRect(width - patch, height - patch, patch, patch, QColor(20, 30, 200));
    return image;
}

class Webcam {
public:
    Webcam(const QStringList& formats, const QStringList& sizes, int fps, const char* jpegFile);

    // Runs until the program is told to end; returns its exit status.
    int run(const char* name, const char* description);

private:
    void addFormat(const QString& format, const QString& size);
    void formatChanged(const spa_pod* parameter);
    void stateChanged(pw_stream_state state);
    void processBuffer();
    std::uint32_t paint(std::uint8_t* memory) const;
    std::uint32_t frameBytes() const;
    int stride() const { return raw_ ? (width_ + 1) / 2 * raw_->bytesPerTwoPixels : 0; }

    const spa_fraction rate_;
    std::vector<char> jpeg_;
    std::vector<std::uint8_t> podMemory_ = std::vector<std::uint8_t>(65536);
    spa_pod_builder builder_{};
    std::vector<const spa_pod*> offers_;

    pw_main_loop* loop_ = nullptr;
    pw_stream* stream_ = nullptr;
    spa_source* timer_ = nullptr;
    const RawFormat* raw_ = nullptr;  // none: the JPEG file is shown
    int width_ = 0;
    int height_ = 0;
    int frames_ = 0;
};

Webcam::Webcam(const QStringList& formats, const QStringList& sizes, int fps, const char* jpegFile)
    : rate_{static_cast<std::uint32_t>(fps), 1} {
    if (jpegFile) {
        std::ifstream file(jpegFile, std::ios::binary);
        jpeg_.assign(std::istreambuf_iterator(file), {});
    }
    spa_pod_builder_init(&builder_, podMemory_.data(), static_cast<std::uint32_t>(podMemory_.size()));
    for (const auto& format : formats)
        for (const auto& size : sizes) addFormat(format, size);
}

void Webcam::addFormat(const QString& format, const QString& size) {
    const auto sides = size.split('x');
    const spa_rectangle rectangle{sides[0].toUInt(), sides[1].toUInt()};
    if (format == "MJPG") {
        spa_video_info_mjpg info{};
        info.size = rectangle;
        info.framerate = rate_;
        offers_.push_back(spa_format_video_mjpg_build(&builder_, SPA_PARAM_EnumFormat, &info));
    }
    for (const auto& raw : kRawFormats) {
        if (format != raw.name) continue;
        spa_video_info_raw info{};
        info.format = raw.format;
        info.size = rectangle;
        info.framerate = rate_;
        offers_.push_back(spa_format_video_raw_build(&builder_, SPA_PARAM_EnumFormat, &info));
    }
}

int Webcam::run(const char* name, const char* description) {
    loop_ = pw_main_loop_new(nullptr);
    auto* loop = pw_main_loop_get_loop(loop_);
    static const pw_stream_events kEvents = [] {
        pw_stream_events events{};
        events.version = PW_VERSION_STREAM_EVENTS;
        events.state_changed = [](void* self, pw_stream_state, pw_stream_state state, const char*) {
            static_cast<Webcam*>(self)->stateChanged(state);
        };
        events.param_changed = [](void* self, std::uint32_t id, const spa_pod* parameter) {
            if (id == SPA_PARAM_Format && parameter) static_cast<Webcam*>(self)->formatChanged(parameter);
        };
        events.process = [](void* self) { static_cast<Webcam*>(self)->processBuffer(); };
        return events;
    }();
    timer_ = pw_loop_add_timer(
        loop,
        [](void* self, std::uint64_t) { pw_stream_trigger_process(static_cast<Webcam*>(self)->stream_); },
        this);
    stream_ = pw_stream_new_simple(
        loop, name,
        pw_properties_new(PW_KEY_MEDIA_TYPE, "Video", PW_KEY_MEDIA_CLASS, "Video/Source", PW_KEY_MEDIA_ROLE,
                          "Camera", PW_KEY_NODE_NAME, name, PW_KEY_NODE_DESCRIPTION, description, nullptr),
        &kEvents, this);
    const auto flags = static_cast<pw_stream_flags>(PW_STREAM_FLAG_DRIVER | PW_STREAM_FLAG_MAP_BUFFERS);
    if (!stream_ || pw_stream_connect(stream_, PW_DIRECTION_OUTPUT, PW_ID_ANY, flags, offers_.data(),
                                      static_cast<std::uint32_t>(offers_.size())) < 0) {
        std::fputs("test_webcam: there is no media server\n", stderr);
        return 1;
    }
    const auto end = [](void* self, int) { pw_main_loop_quit(static_cast<Webcam*>(self)->loop_); };
    for (const int signal : {SIGINT, SIGTERM}) pw_loop_add_signal(loop, signal, end, this);
    pw_main_loop_run(loop_);
    pw_stream_destroy(stream_);
    pw_main_loop_destroy(loop_);
    return 0;
}

void Webcam::stateChanged(pw_stream_state state) {
    timespec first{};
    timespec interval{};
    if (state == PW_STREAM_STATE_STREAMING) {
        first.tv_nsec = 1;
        interval.tv_nsec = static_cast<long>(SPA_NSEC_PER_SEC / rate_.num) % SPA_NSEC_PER_SEC;
        interval.tv_sec = rate_.num == 1 ? 1 : 0;
    }
    pw_loop_update_timer(pw_main_loop_get_loop(loop_), timer_, &first, &interval, false);
    // Called when the media server has gone.
    if (state == PW_STREAM_STATE_ERROR) pw_main_loop_quit(loop_);
}

void Webcam::formatChanged(const spa_pod* parameter) {
    spa_video_info_raw raw{};
    spa_video_info_mjpg mjpg{};
    raw_ = nullptr;
    if (spa_format_video_raw_parse(parameter, &raw) >= 0 && raw.format != SPA_VIDEO_FORMAT_UNKNOWN) {
        for (const auto& known : kRawFormats)
            if (known.format == raw.format) raw_ = &known;
    } else if (spa_format_video_mjpg_parse(parameter, &mjpg) >= 0) {
        raw.size = mjpg.size;
    }
    width_ = static_cast<int>(raw.size.width);
    height_ = static_cast<int>(raw.size.height);

    std::array<std::uint8_t, 1024> memory{};
    spa_pod_builder builder{};
    spa_pod_builder_init(&builder, memory.data(), memory.size());
    constexpr int kMapped = (1 << SPA_DATA_MemFd) | (1 << SPA_DATA_MemPtr);
    const auto* buffers = static_cast<const spa_pod*>(spa_pod_builder_add_object(
        &builder, SPA_TYPE_OBJECT_ParamBuffers, SPA_PARAM_Buffers, SPA_PARAM_BUFFERS_buffers,
        SPA_POD_CHOICE_RANGE_Int(4, 2, 8), SPA_PARAM_BUFFERS_blocks, SPA_POD_Int(1), SPA_PARAM_BUFFERS_size,
        SPA_POD_Int(static_cast<int>(frameBytes())), SPA_PARAM_BUFFERS_stride, SPA_POD_Int(stride()),
        SPA_PARAM_BUFFERS_dataType, SPA_POD_CHOICE_FLAGS_Int(kMapped)));
    pw_stream_update_params(stream_, &buffers, 1);
}

std::uint32_t Webcam::frameBytes() const {
    if (!raw_) return static_cast<std::uint32_t>(jpeg_.size());
    const auto first = static_cast<std::uint32_t>(stride() * height_);
    return raw_->hasChromaPlanes
               ? first + static_cast<std::uint32_t>((width_ + 1) / 2 * 2 * ((height_ + 1) / 2))
               : first;
}

void Webcam::processBuffer() {
    auto* buffer = pw_stream_dequeue_buffer(stream_);
    if (!buffer) return;
    auto& block = buffer->buffer->datas[0];
    if (block.data) {
        block.chunk->offset = 0;
        block.chunk->size = paint(static_cast<std::uint8_t*>(block.data));
        block.chunk->stride = stride();
        ++frames_;
    }
    pw_stream_queue_buffer(stream_, buffer);
}

std::uint32_t Webcam::paint(std::uint8_t* memory) const {
    if (!raw_) {
        std::memcpy(memory, jpeg_.data(), jpeg_.size());
        return frameBytes();
    }
    const auto image = scene(width_, height_, static_cast<double>(frames_) / rate_.num);
    const auto* pixels = image.constBits();
    const int rowBytes = static_cast<int>(image.bytesPerLine());
    const int half = (width_ + 1) / 2;
    auto* chroma = memory + stride() * height_;
    switch (raw_->format) {
        case SPA_VIDEO_FORMAT_BGRx:
            libyuv::ARGBCopy(pixels, rowBytes, memory, stride(), width_, height_);
            break;
        case SPA_VIDEO_FORMAT_NV12:
            libyuv::ARGBToNV12(pixels, rowBytes, memory, stride(), chroma, 2 * half, width_, height_);
            break;
        case SPA_VIDEO_FORMAT_I420:
            libyuv::ARGBToI420(pixels, rowBytes, memory, stride(), chroma, half,
                               chroma + half * ((height_ + 1) / 2), half, width_, height_);
            break;
        case SPA_VIDEO_FORMAT_YUY2:
            libyuv::ARGBToYUY2(pixels, rowBytes, memory, stride(), width_, height_);
            break;
        default:
            libyuv::ARGBToI400(pixels, rowBytes, memory, stride(), width_, height_);
    }
    return frameBytes();
}

}  // namespace
}  // namespace kasto::demo

int main(int argc, char** argv) {
    if (argc < 6) {
        std::fputs("usage: test_webcam NAME DESCRIPTION FORMATS SIZES FPS [JPEG]\n", stderr);
        return 2;
    }
    pw_init(nullptr, nullptr);
    kasto::demo::Webcam webcam(QString(argv[3]).split(','), QString(argv[4]).split(','), std::atoi(argv[5]),
                               argc > 6 ? argv[6] : nullptr);
    const int status = webcam.run(argv[1], argv[2]);
    pw_deinit();
    return status;
}
