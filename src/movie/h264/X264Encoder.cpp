#include "movie/h264/X264Encoder.h"

#include "movie/encoder/AvcConfiguration.h"

#include <x264.h>

#include <algorithm>
#include <array>
#include <thread>

namespace kasto {

namespace {

// Each thread encodes one slice of a picture. More slices gain little time and cost bits.
constexpr unsigned kMaxThreads = 8;

constexpr int kMiddleQp = (kMinQp + kMaxQp) / 2;

constexpr int kBt709 = 1;
// The compositor makes each chroma sample the mean of two by two pixels.
constexpr int kChromaInTheCenter = 1;

// The preset ultrafast switches CABAC and the 8x8 transform off; without them the stream would not be High,
// so both are asked for. B pictures and lookahead are off: on screen content they buy no quality, and
// pictures that the encoder holds back are lost in a crash. Adaptive quantisation is off because it takes
// bits from text for flat areas (1.9 dB worse on scrolling text).
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
    // Loss in chroma is seen first, on coloured text and lines.
    {"chroma-qp-offset", "-3"},
    // With a variable frame rate libx264 holds each picture until it knows the time of the next one.
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
    // Each picture is given its QP (see RateControl). With constant QP as the method, libx264 does not
    // measure how hard a picture is, which saves a tenth of its work. It still limits a given QP by the
    // factors between kinds of pictures, so these are set wide.
    wanted.rc.i_rc_method = X264_RC_CQP;
    wanted.rc.i_qp_constant = kMiddleQp;
    wanted.rc.f_ip_factor = wanted.rc.f_pb_factor = 10;
    wanted.i_keyint_max = settings.maxKeyFrameInterval;
    // All threads work on slices of one picture. Threads that work on several pictures would hold them back.
    wanted.b_sliced_threads = 1;
    wanted.i_threads = static_cast<int>(std::clamp(std::thread::hardware_concurrency(), 1u, kMaxThreads));
    wanted.b_repeat_headers = 0;
    // Each NAL unit after its length, as a movie file has it.
    wanted.b_annexb = 0;
    wanted.analyse.b_mb_info = 1;
    wanted.vui.i_sar_width = wanted.vui.i_sar_height = 1;
    wanted.vui.i_colorprim = wanted.vui.i_transfer = wanted.vui.i_colmatrix = kBt709;
    wanted.vui.b_fullrange = 0;
    wanted.vui.i_chroma_loc = kChromaInTheCenter;
    for (const auto& [name, value] : kParameters)
        if (x264_param_parse(&wanted, name, value) < 0) return false;
    return x264_param_apply_profile(&wanted, "high") == 0;
}

constexpr std::size_t kLengthBytes = 4;

// The NAL unit of a type, without its length; empty if there is none.
std::span<const std::uint8_t> nalOfType(std::span<const x264_nal_t> nals, int type) {
    for (const auto& nal : nals)
        if (nal.i_type == type)
            return std::span<const std::uint8_t>(nal.p_payload, static_cast<std::size_t>(nal.i_payload))
                .subspan(kLengthBytes);
    return {};
}

}  // namespace

void X264Encoder::Close::operator()(x264_t* encoder) const { x264_encoder_close(encoder); }

Result<X264Encoder> X264Encoder::open(const VideoInputSettings& settings, const char* preset,
                                      int parameterSetId) {
    x264_param_t wanted;
    if (!isPrepared(wanted, settings, preset)) return failure("libx264 does not accept these settings");
    wanted.i_sps_id = parameterSetId;
    X264Encoder made;
    made.encoder_.reset(x264_encoder_open(&wanted));
    if (!made.encoder_ || x264_encoder_maximum_delayed_frames(made.encoder_.get()) != 0)
        return failure("libx264 does not start");

    x264_nal_t* nals = nullptr;
    int count = 0;
    if (x264_encoder_headers(made.encoder_.get(), &nals, &count) <= 0)
        return failure("libx264 does not start");
    const std::span<const x264_nal_t> headers(nals, static_cast<std::size_t>(count));
    auto configuration = avcDecoderConfiguration(nalOfType(headers, NAL_SPS), nalOfType(headers, NAL_PPS));
    if (!configuration) return std::unexpected(configuration.error());
    made.configuration_ = std::move(*configuration);
    return made;
}

void X264Encoder::usePreset(const char* preset) {
    x264_param_t other;
    if (x264_param_default_preset(&other, preset, nullptr) < 0) return;
    x264_param_t wanted;
    x264_encoder_parameters(encoder_.get(), &wanted);
    wanted.b_deblocking_filter = other.b_deblocking_filter;
    wanted.i_frame_reference = other.i_frame_reference;
    wanted.analyse.intra = other.analyse.intra;
    wanted.analyse.inter = other.analyse.inter;
    wanted.analyse.i_me_method = other.analyse.i_me_method;
    // libx264 cannot leave level 0 again.
    wanted.analyse.i_subpel_refine = std::max(1, other.analyse.i_subpel_refine);
    // If libx264 refuses, it goes on with the settings it has.
    (void)x264_encoder_reconfig(encoder_.get(), &wanted);
}

Result<EncodedPicture> X264Encoder::encode(const PixelBuffer& picture, std::int64_t timeUnits, int qp,
                                           bool asIdr, const BlockSet& changed) {
    mbInfo_.assign(static_cast<std::size_t>(changed.columns() * changed.rows()), X264_MBINFO_CONSTANT);
    for (int row = 0; row < changed.rows(); ++row)
        changed.forEachRun(row, [&](int begin, int end) {
            std::fill_n(mbInfo_.begin() + row * changed.columns() + begin, end - begin, std::uint8_t{0});
        });
    x264_picture_t in;
    x264_picture_init(&in);
    in.i_type = asIdr ? X264_TYPE_IDR : X264_TYPE_AUTO;
    in.i_qpplus1 = qp + 1;
    in.i_pts = timeUnits;
    in.prop.mb_info = mbInfo_.data();
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
    return EncodedPicture{.data = {nals[0].p_payload, static_cast<std::size_t>(size)},
                          .timeUnits = timeUnits,
                          .isIdr = out.b_keyframe != 0};
}

}  // namespace kasto
