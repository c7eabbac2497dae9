#include "linux/ffmpeg/MovieProbe.h"

#include "support/TestFolder.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

#include <memory>

namespace kasto::test {

namespace {

// What the library complains about is counted, or is the test's own doing.
[[maybe_unused]] const bool kQuiet = (av_log_set_level(AV_LOG_QUIET), true);

struct Deleter {
    void operator()(AVFormatContext* context) const { avformat_close_input(&context); }
    void operator()(AVCodecContext* context) const { avcodec_free_context(&context); }
    void operator()(AVFrame* frame) const { av_frame_free(&frame); }
    void operator()(AVPacket* packet) const { av_packet_free(&packet); }
};
using Format = std::unique_ptr<AVFormatContext, Deleter>;

Format openMovie(const std::filesystem::path& file) {
    AVFormatContext* context = nullptr;
    if (avformat_open_input(&context, file.c_str(), nullptr, nullptr) < 0) return nullptr;
    avformat_find_stream_info(context, nullptr);
    return Format(context);
}

void decode(AVCodecContext* codec, const AVPacket* packet, ProbedMovie& movie) {
    if (avcodec_send_packet(codec, packet) < 0) ++movie.decodeErrors;
    const std::unique_ptr<AVFrame, Deleter> frame(av_frame_alloc());
    while (avcodec_receive_frame(codec, frame.get()) >= 0) {
        const int x = frame->width / 4, y = frame->height / 4;
        movie.pictures.push_back(
            {frame->pts, frame->key_frame != 0, frame->data[0][2 * y * frame->linesize[0] + 2 * x],
             frame->data[1][y * frame->linesize[1] + x], frame->data[2][y * frame->linesize[2] + x]});
    }
}

}  // namespace

std::vector<std::int64_t> ProbedMovie::times() const {
    std::vector<std::int64_t> times;
    for (const auto& picture : pictures) times.push_back(picture.timeUnits);
    return times;
}

ProbedMovie probeMovie(const std::filesystem::path& file, std::int64_t fromUnits) {
    ProbedMovie movie;
    const Format format = openMovie(file);
    if (!format || format->nb_streams == 0) return movie;
    const AVStream& stream = *format->streams[0];
    const std::unique_ptr<AVCodecContext, Deleter> codec(
        avcodec_alloc_context3(avcodec_find_decoder(stream.codecpar->codec_id)));
    avcodec_parameters_to_context(codec.get(), stream.codecpar);
    codec->err_recognition = AV_EF_EXPLODE;
    if (avcodec_open2(codec.get(), nullptr, nullptr) < 0) return movie;

    const char* profile = avcodec_profile_name(codec->codec_id, codec->profile);
    movie.profile = profile ? profile : "";
    movie.width = codec->width;
    movie.height = codec->height;
    movie.isBt709Limited = codec->color_primaries == AVCOL_PRI_BT709 && codec->color_trc == AVCOL_TRC_BT709 &&
                           codec->colorspace == AVCOL_SPC_BT709 && codec->color_range == AVCOL_RANGE_MPEG;
    movie.isChromaCentred = codec->chroma_sample_location == AVCHROMA_LOC_CENTER;
    movie.timescale = stream.time_base.den;
    movie.durationUnits = stream.duration;

    if (fromUnits > 0) av_seek_frame(format.get(), 0, fromUnits, AVSEEK_FLAG_BACKWARD);
    const std::unique_ptr<AVPacket, Deleter> packet(av_packet_alloc());
    for (; av_read_frame(format.get(), packet.get()) >= 0; av_packet_unref(packet.get()))
        if (packet->stream_index == 0) decode(codec.get(), packet.get(), movie);
    decode(codec.get(), nullptr, movie);
    return movie;
}

std::string outermostBoxes(const std::filesystem::path& file) {
    const std::string bytes = readFile(file);
    const auto bigEndian = [&](std::size_t at, std::size_t count) {
        std::uint64_t value = 0;
        for (std::size_t i = at; i < at + count && i < bytes.size(); ++i)
            value = value << 8 | static_cast<std::uint8_t>(bytes[i]);
        return value;
    };
    std::string types;
    for (std::uint64_t at = 0; at < bytes.size();) {
        const std::uint64_t shortSize = bigEndian(at, 4);
        const std::uint64_t boxBytes = shortSize == 1 ? bigEndian(at + 8, 8) : shortSize;
        if (at) types += ' ';
        if (boxBytes < 8 || at + boxBytes > bytes.size()) return types + "…";
        types.append(bytes, at + 4, 4);
        at += boxBytes;
    }
    return types;
}

int wholeFragments(const std::filesystem::path& file) {
    const std::string boxes = outermostBoxes(file);
    int count = 0;
    for (std::size_t at = 0; (at = boxes.find("moof mdat", at)) != std::string::npos; ++at) ++count;
    return count;
}

}  // namespace kasto::test
