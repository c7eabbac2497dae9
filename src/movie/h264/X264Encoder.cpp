#include "movie/h264/X264Encoder.h"

#include "movie/h264/AvcStream.h"

#include <x264.h>

#include <algorithm>
#include <array>
#include <thread>

namespace kasto {

namespace {

// Slices of one picture; more of them gain little.
constexpr unsigned kMostThreads = 8;

constexpr int kMiddleQuantiser = (kFinestQuantiser + kCoarsestQuantiser) / 2;

constexpr int kBt709 = 1;
// Each sample of chroma is the mean of two by two pixels.
constexpr int kChromaInTheCenter = 1;

// ultrafast leaves out what makes the stream High, so both are asked for. No picture waits for a later one
// and nothing looks ahead: on screens that buys no quality, and what the encoder holds is lost in a crash.
// Variance-driven quantisers would spend the bits on flat areas instead of text (1.9 dB on scrolling text).
constexpr std::array<std::array<const char*, 2>, 11> kParameters{{
    {"cabac", "1"},
    {"8x8dct", "1"},
    {"bframes", "0"},
    {"weightp", "0"},
    {"scenecut", "0"},
    {"rc-lookahead", "0"},
    {"sync-lookahead", "0"},
    {"mbtree", "0"},
    {"aq-mode", "0"},
    // Coloured text and lines show what chroma loses first.
    {"chroma-qp-offset", "-3"},
    // With varying times each picture would wait for the next one's.
    {"force-cfr", "1"},
}};

bool isPrepared(x264_param_t& wanted, const VideoInputSettings& settings, const char* preset) {
    if (x264_param_default_preset(&wanted, preset, nullptr) < 0) return false;
    wanted.i_log_level = X264_LOG_NONE;
    wanted.i_width = settings.width;
    wanted.i_height = settings.height;
    wanted.i_csp = X264_CSP_I420;
    wanted.i_fps_num = static_cast<std::uint32_t>(settings.expectedFrameRate);
    wanted.i_fps_den = 1;
    wanted.i_timebase_num = 1;
    wanted.i_timebase_den = kMovieTimescale;
    // Each picture brings its own quantiser. With a constant one libx264 spares itself the look at how hard
    // a picture is, but keeps to the range it has for all kinds of pictures: that is made as wide as can be.
    wanted.rc.i_rc_method = X264_RC_CQP;
    wanted.rc.i_qp_constant = kMiddleQuantiser;
    wanted.rc.f_ip_factor = wanted.rc.f_pb_factor = 10;
    wanted.i_keyint_max = settings.maxKeyFrameInterval;
    // All threads work on one picture: none is held back.
    wanted.b_sliced_threads = 1;
    wanted.i_threads = static_cast<int>(std::clamp(std::thread::hardware_concurrency(), 1u, kMostThreads));
    wanted.b_repeat_headers = 0;
    wanted.analyse.b_mb_info = 1;
    wanted.vui.i_sar_width = wanted.vui.i_sar_height = 1;
    wanted.vui.i_colorprim = wanted.vui.i_transfer = wanted.vui.i_colmatrix = kBt709;
    wanted.vui.b_fullrange = 0;
    wanted.vui.i_chroma_loc = kChromaInTheCenter;
    for (const auto& [name, value] : kParameters)
        if (x264_param_parse(&wanted, name, value) < 0) return false;
    return x264_param_apply_profile(&wanted, "high") == 0;
}

std::span<const std::uint8_t> bytesOf(const x264_nal_t* nals, int size) {
    return {nals[0].p_payload, static_cast<std::size_t>(size)};
}

}  // namespace

void X264Encoder::Close::operator()(x264_t* encoder) const { x264_encoder_close(encoder); }

Result<X264Encoder> X264Encoder::open(const VideoInputSettings& settings, const char* preset) {
    x264_param_t wanted;
    if (!isPrepared(wanted, settings, preset)) return failure("libx264 does not accept these settings");
    X264Encoder made;
    made.encoder_.reset(x264_encoder_open(&wanted));
    if (!made.encoder_ || x264_encoder_maximum_delayed_frames(made.encoder_.get()) != 0)
        return failure("libx264 does not start");

    x264_nal_t* nals = nullptr;
    int count = 0;
    const int size = x264_encoder_headers(made.encoder_.get(), &nals, &count);
    if (size <= 0) return failure("libx264 does not start");
    auto configuration = avcDecoderConfiguration(bytesOf(nals, size));
    if (!configuration) return std::unexpected(configuration.error());
    made.configuration_ = std::move(*configuration);
    return made;
}

void X264Encoder::usePreset(const char* preset) {
    x264_param_t means;
    if (x264_param_default_preset(&means, preset, nullptr) < 0) return;
    x264_param_t wanted;
    x264_encoder_parameters(encoder_.get(), &wanted);
    wanted.b_deblocking_filter = means.b_deblocking_filter;
    wanted.i_frame_reference = means.i_frame_reference;
    wanted.analyse.intra = means.analyse.intra;
    wanted.analyse.inter = means.analyse.inter;
    wanted.analyse.i_me_method = means.analyse.i_me_method;
    // There would be no way back from none at all.
    wanted.analyse.i_subpel_refine = std::max(1, means.analyse.i_subpel_refine);
    // What it refuses stays as it was.
    (void)x264_encoder_reconfig(encoder_.get(), &wanted);
}

Result<EncodedPicture> X264Encoder::encode(const PixelBuffer& picture, std::int64_t timeUnits, int quantiser,
                                           bool asKey, const BlockSet& changed) {
    flags_.assign(static_cast<std::size_t>(changed.columns() * changed.rows()), X264_MBINFO_CONSTANT);
    for (int row = 0; row < changed.rows(); ++row)
        changed.forEachRun(row, [&](int begin, int end) {
            std::fill_n(flags_.begin() + row * changed.columns() + begin, end - begin, std::uint8_t{0});
        });
    x264_picture_t in;
    x264_picture_init(&in);
    in.i_type = asKey ? X264_TYPE_IDR : X264_TYPE_AUTO;
    in.i_qpplus1 = quantiser + 1;
    in.i_pts = timeUnits;
    in.prop.mb_info = flags_.data();
    in.img.i_csp = X264_CSP_I420;
    in.img.i_plane = picture.planeCount();
    for (int i = 0; i < picture.planeCount(); ++i) {
        in.img.plane[i] = picture.plane(i).data;
        in.img.i_stride[i] = static_cast<int>(picture.plane(i).strideBytes);
    }
    x264_picture_t out;
    x264_nal_t* nals = nullptr;
    int count = 0;
    const int size = x264_encoder_encode(encoder_.get(), &nals, &count, &in, &out);
    if (size <= 0) return failure("libx264 refused a picture");
    sample_.clear();
    appendAvcSample(bytesOf(nals, size), sample_);
    return EncodedPicture{.data = sample_, .timeUnits = timeUnits, .isKey = out.b_keyframe != 0};
}

}  // namespace kasto
