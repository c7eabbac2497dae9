#include "linux/ffmpeg/FfmpegExports.h"

#include "base/FileDescriptor.h"
#include "linux/ffmpeg/FfmpegHandles.h"

#include <fcntl.h>

#include <cerrno>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

namespace kasto::ffmpeg {

namespace fs = std::filesystem;

namespace {

struct CloseInput {
    void operator()(AVFormatContext* context) const { avformat_close_input(&context); }
};
struct FreeOutput {
    void operator()(AVFormatContext* context) const {
        if (context->pb) avio_closep(&context->pb);
        avformat_free_context(context);
    }
};
using Input = std::unique_ptr<AVFormatContext, CloseInput>;
using Output = std::unique_ptr<AVFormatContext, FreeOutput>;

// Room for the index ahead of the data, so that it need not be moved behind it afterwards: the tables'
// largest possible entries for each sample, and a little for the rest.
std::int64_t indexRoom(const AVFormatContext& movie) {
    constexpr std::int64_t kMaxBytesPerSample =
        4 + 8 + 8 + 8 + 12 + 4 + 1;  // stsz stts ctts co64 stsc stss sdtp
    constexpr std::int64_t kRest = 1 << 16;
    std::int64_t samples = 0;
    for (unsigned i = 0; i < movie.nb_streams; ++i) samples += movie.streams[i]->nb_frames;
    return samples * kMaxBytesPerSample + kRest;
}

class PassthroughSession : public ExportSession {
public:
    explicit PassthroughSession(Input movie) : movie_(std::move(movie)) {}

    Result<void> exportMpeg4(const fs::path& destination) override {
        AVFormatContext* made = nullptr;
        const auto name = destination.string();
        int code = avformat_alloc_output_context2(&made, nullptr, "mp4", name.c_str());
        if (code < 0) return std::unexpected(libavError(name, code));
        Output output(made);
        if (auto copied = copyTracks(*output); !copied) return copied;

        code = avio_open(&output->pb, name.c_str(), AVIO_FLAG_WRITE);
        if (code < 0) return std::unexpected(libavError(name, code));
        AVDictionary* options = nullptr;
        av_dict_set_int(&options, "moov_size", indexRoom(*movie_), 0);
        code = avformat_write_header(output.get(), &options);
        av_dict_free(&options);
        if (code < 0) return std::unexpected(libavError(name, code));

        if (auto copied = copySamples(*output, name); !copied) return copied;
        code = av_write_trailer(output.get());
        if (code >= 0) code = avio_closep(&output->pb);
        if (code < 0) return std::unexpected(libavError(name, code));
        return sync(name);
    }

private:
    Result<void> copyTracks(AVFormatContext& output) {
        av_dict_copy(&output.metadata, movie_->metadata, 0);
        for (unsigned i = 0; i < movie_->nb_streams; ++i) {
            const AVStream& from = *movie_->streams[i];
            AVStream* to = avformat_new_stream(&output, nullptr);
            if (!to || avcodec_parameters_copy(to->codecpar, from.codecpar) < 0)
                return failure("out of memory", ENOMEM);
            to->codecpar->codec_tag = 0;  // the same codec has another name in the other container
            to->time_base = from.time_base;
            to->avg_frame_rate = from.avg_frame_rate;
            to->disposition = from.disposition;
            av_dict_copy(&to->metadata, from.metadata, 0);
        }
        return {};
    }

    Result<void> copySamples(AVFormatContext& output, const std::string& name) {
        const PacketHandle packet(av_packet_alloc());
        if (!packet) return failure("out of memory", ENOMEM);
        while (true) {
            int code = av_read_frame(movie_.get(), packet.get());
            if (code == AVERROR_EOF) return {};
            if (code < 0) return std::unexpected(libavError(movie_->url, code));
            const AVStream& from = *movie_->streams[packet->stream_index];
            av_packet_rescale_ts(packet.get(), from.time_base,
                                 output.streams[packet->stream_index]->time_base);
            packet->pos = -1;
            code = av_interleaved_write_frame(&output, packet.get());
            if (code >= 0 && output.pb->error < 0) code = output.pb->error;
            if (code < 0) return std::unexpected(libavError(name, code));
        }
    }

    static Result<void> sync(const std::string& name) {
        const FileDescriptor file(open(name.c_str(), O_RDONLY | O_CLOEXEC));
        if (!file || fsync(file.get()) != 0) return std::unexpected(systemError(name, errno));
        return {};
    }

    Input movie_;
};

}  // namespace

Result<std::unique_ptr<ExportSession>> FfmpegExports::makePassthroughSession(const fs::path& movie) {
    silenceLibav();
    AVFormatContext* opened = nullptr;
    const auto name = movie.string();
    int code = avformat_open_input(&opened, name.c_str(), nullptr, nullptr);
    if (code < 0) return std::unexpected(libavError(name, code));
    Input input(opened);
    code = avformat_find_stream_info(input.get(), nullptr);
    if (code < 0) return std::unexpected(libavError(name, code));
    if (input->nb_streams == 0) return failure(name + ": no tracks");
    const AVOutputFormat* mp4 = av_guess_format("mp4", nullptr, nullptr);
    for (unsigned i = 0; i < input->nb_streams; ++i) {
        const auto codec = input->streams[i]->codecpar->codec_id;
        if (!mp4 || avformat_query_codec(mp4, codec, FF_COMPLIANCE_NORMAL) != 1)
            return failure(name + ": a track that MP4 cannot hold (" + avcodec_get_name(codec) + ")");
    }
    return std::make_unique<PassthroughSession>(std::move(input));
}

}  // namespace kasto::ffmpeg
