#pragma once

#include "linux/ffmpeg/FfmpegHandles.h"
#include "movie/encoder/VideoEncoder.h"

#include <span>
#include <string>
#include <vector>

namespace kasto::ffmpeg {

struct CodecOption {
    const char* name;
    const char* value;
};

// A codec context with everything the take asks of every encoder, still to be opened. Fails if the library
// was built without this encoder.
Result<CodecContextHandle> makeEncoderContext(const char* encoderName, const VideoInputSettings& settings);

// An encoder of libavcodec.
class LibavEncoder : public VideoEncoder {
public:
    // Moves a picture in memory to where the encoder wants it.
    using Upload = std::function<Result<FrameHandle>(FrameHandle)>;

    // Sets the options, opens the context and reads the parameter sets. Without `upload` the encoder reads
    // pictures from memory, in place.
    static Result<std::unique_ptr<VideoEncoder>> open(CodecContextHandle context,
                                                      std::span<const CodecOption> options,
                                                      Upload upload = nullptr);

    std::span<const std::uint8_t> decoderConfiguration() const override { return configuration_; }
    Result<void> encode(const PictureToEncode& picture, const PictureSink& sink) override;
    Result<void> finish(const PictureSink& sink) override;

private:
    LibavEncoder(CodecContextHandle context, std::vector<std::uint8_t> configuration, Upload upload);
    Result<void> receive(const PictureSink& sink);

    CodecContextHandle context_;
    std::vector<std::uint8_t> configuration_;
    Upload upload_;
    PacketHandle packet_;
    std::vector<std::uint8_t> sample_;
};

}  // namespace kasto::ffmpeg
