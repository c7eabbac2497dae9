#include "linux/ffmpeg/FfmpegExports.h"

#include "linux/ffmpeg/ExportFile.h"
#include "linux/ffmpeg/FfmpegHandles.h"

#include <cerrno>
#include <optional>

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

// Samples of one track that lie together, in microseconds. Shorter chunks make a larger index.
constexpr int kChunkUs = 1'000'000;

// The most that a track's tables take: stsz, stts, stss and sdtp, and co64 and stsc for its chunks. None if
// the samples are not known before they are read, as in a movie in fragments.
std::optional<std::int64_t> maxTableBytes(AVStream& track, std::int64_t durationUs) {
    const int samples = avformat_index_get_entries_count(&track);
    if (samples == 0 || samples < track.nb_frames) return std::nullopt;
    std::int64_t durations = 0, syncSamples = 0, lastDuration = -1;
    for (int i = 0; i < samples; ++i) {
        const auto* entry = avformat_index_get_entry(&track, i);
        const auto* next = avformat_index_get_entry(&track, i + 1);
        syncSamples += (entry->flags & AVINDEX_KEYFRAME) != 0;
        const auto duration = next ? next->timestamp - entry->timestamp : -1;
        durations += duration != lastDuration;
        lastDuration = duration;
    }
    const auto chunks = std::min<std::int64_t>(samples, 2 * (durationUs / kChunkUs + 2));
    return 5 * samples + 8 * durations + 4 * syncSamples + 20 * chunks;
}

// Has the index written before the data: into room that is left for it, or, where its size cannot be
// foretold, by moving the data afterwards.
void putIndexFirst(const AVFormatContext& movie, AVDictionary** options) {
    std::int64_t bytes = 1 << 15;  // the boxes around the tables
    for (unsigned i = 0; i < movie.nb_streams; ++i) {
        const auto tables = maxTableBytes(*movie.streams[i], movie.duration);
        if (!tables) {
            av_dict_set(options, "movflags", "faststart", 0);
            return;
        }
        bytes += *tables;
    }
    av_dict_set_int(options, "moov_size", bytes, 0);
}

class PassthroughSession : public ExportSession {
public:
    explicit PassthroughSession(Input movie) : movie_(std::move(movie)) {}

    Result<void> exportMpeg4(const fs::path& destination) override {
        auto file = ExportFile::create(destination);
        if (!file) return std::unexpected(file.error());
        if (const auto written = write(file->openPath(), destination.string()); !written) return written;
        return file->publish();
    }

private:
    Result<void> write(const std::string& path, const std::string& name) {
        AVFormatContext* made = nullptr;
        int code = avformat_alloc_output_context2(&made, nullptr, "mp4", path.c_str());
        if (code < 0) return std::unexpected(libavError(name, code));
        Output output(made);
        output->max_chunk_duration = kChunkUs;
        if (auto copied = copyTracks(*output); !copied) return copied;

        code = avio_open(&output->pb, path.c_str(), AVIO_FLAG_WRITE);
        if (code < 0) return std::unexpected(libavError(name, code));
        AVDictionary* options = nullptr;
        putIndexFirst(*movie_, &options);
        code = avformat_write_header(output.get(), &options);
        av_dict_free(&options);
        if (code < 0) return std::unexpected(libavError(name, code));

        if (auto copied = copySamples(*output, name); !copied) return copied;
        code = av_write_trailer(output.get());
        if (code >= 0) code = avio_closep(&output->pb);
        if (code < 0) return std::unexpected(libavError(name, code));
        return {};
    }

    Result<void> copyTracks(AVFormatContext& output) {
        av_dict_copy(&output.metadata, movie_->metadata, 0);
        for (unsigned i = 0; i < movie_->nb_streams; ++i) {
            const AVStream& from = *movie_->streams[i];
            AVStream* to = avformat_new_stream(&output, nullptr);
            if (!to || avcodec_parameters_copy(to->codecpar, from.codecpar) < 0)
                return failure("out of memory", ENOMEM);
            to->codecpar->codec_tag = 0;  // MP4 has tags of its own
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
