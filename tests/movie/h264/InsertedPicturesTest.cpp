#include "linux/ffmpeg/FfmpegHandles.h"
#include "movie/encoder/EncoderChoice.h"
#include "movie/h264/EncoderPreset.h"
#include "movie/h264/PictureInserter.h"
#include "movie/h264/SoftwareEncoder.h"
#include "movie/h264/X264Encoder.h"
#include "movie/writer/FailingEncoder.h"

#include <gtest/gtest.h>
#include <wels/codec_api.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <random>
#include <vector>

namespace kasto {
namespace {

constexpr int kWidth = 208;
constexpr int kHeight = 120;

using Luma = std::vector<std::uint8_t>;

// Blocks of random grey, alike enough from one seed to the next that they are predicted from each other.
PixelBufferRef blocks(unsigned seed) {
    auto picture = PixelBuffer::make(PixelFormat::i420, kWidth, kHeight);
    for (int p = 1; p < 3; ++p)
        std::memset(picture->plane(p).data, 128,
                    static_cast<std::size_t>(picture->plane(p).strideBytes * picture->plane(p).height));
    std::minstd_rand random(7);
    const auto& luma = picture->plane(0);
    for (int y = 0; y < kHeight; y += 8)
        for (int x = 0; x < kWidth; x += 8) {
            const auto grey = static_cast<int>(16 + (random() + (x < 64 ? seed * 37 : 0)) % 220);
            for (int row = y; row < y + 8; ++row)
                std::memset(luma.data + row * luma.strideBytes + x, grey, 8);
        }
    return picture;
}

Luma lumaOf(const std::uint8_t* data, std::ptrdiff_t stride) {
    Luma pixels;
    for (int y = 0; y < kHeight; ++y)
        pixels.insert(pixels.end(), data + y * stride, data + y * stride + kWidth);
    return pixels;
}

// Where two pictures of grey differ.
BlockSet changesBetween(const PixelBuffer* a, const PixelBuffer& b) {
    if (!a) return BlockSet::all(kWidth, kHeight);
    BlockSet changed(kWidth, kHeight);
    for (int y = 0; y < kHeight; ++y)
        for (int x = 0; x < kWidth; ++x) {
            const auto at = y * a->plane(0).strideBytes + x;
            if (a->plane(0).data[at] != b.plane(0).data[at]) changed.add({x, y, 1, 1});
        }
    return changed;
}

double difference(const Luma& a, const Luma& b) {
    double sum = 0;
    for (std::size_t i = 0; i < a.size(); ++i) sum += std::abs(a[i] - b[i]);
    return sum / static_cast<double>(a.size());
}

// A decoder of the stream, from its beginning or any IDR picture.
class Decoder {
public:
    explicit Decoder(std::span<const std::uint8_t> configuration)
        : context_(avcodec_alloc_context3(avcodec_find_decoder(AV_CODEC_ID_H264))) {
        context_->extradata =
            static_cast<std::uint8_t*>(av_mallocz(configuration.size() + AV_INPUT_BUFFER_PADDING_SIZE));
        std::ranges::copy(configuration, context_->extradata);
        context_->extradata_size = static_cast<int>(configuration.size());
        context_->err_recognition = AV_EF_EXPLODE | AV_EF_CRCCHECK | AV_EF_BITSTREAM;
        context_->thread_count = 1;
        EXPECT_EQ(avcodec_open2(context_.get(), nullptr, nullptr), 0);
    }

    // Exactly one picture must come out for each that goes in, at once.
    Luma decode(std::span<const std::uint8_t> sample) {
        std::vector<std::uint8_t> bytes(sample.begin(), sample.end());
        bytes.resize(sample.size() + AV_INPUT_BUFFER_PADDING_SIZE);
        packet_->data = bytes.data();
        packet_->size = static_cast<int>(sample.size());
        EXPECT_EQ(avcodec_send_packet(context_.get(), packet_.get()), 0);
        if (avcodec_receive_frame(context_.get(), frame_.get()) != 0) {
            ADD_FAILURE() << "no picture";
            return {};
        }
        return lumaOf(frame_->data[0], frame_->linesize[0]);
    }

private:
    ffmpeg::CodecContextHandle context_;
    ffmpeg::PacketHandle packet_{av_packet_alloc()};
    ffmpeg::FrameHandle frame_{av_frame_alloc()};
};

// Another maker's decoder, that a picture which only one of them understands is found.
class SecondDecoder {
public:
    explicit SecondDecoder(std::span<const std::uint8_t> configuration) {
        WelsCreateDecoder(&decoder_);
        SDecodingParam wanted{};
        wanted.sVideoProperty.eVideoBsType = VIDEO_BITSTREAM_AVC;
        EXPECT_EQ(decoder_->Initialize(&wanted), 0);
        // The SPS and then the PPS behind their number, each after its length.
        std::size_t at = 5;
        for (const int mask : {0x1f, 0xff})
            for (int sets = configuration[at++] & mask; sets > 0; --sets) {
                const auto length = static_cast<std::size_t>(configuration[at] << 8 | configuration[at + 1]);
                append(configuration.subspan(at + 2, length));
                at += 2 + length;
            }
    }
    ~SecondDecoder() { WelsDestroyDecoder(decoder_); }
    SecondDecoder(const SecondDecoder&) = delete;
    SecondDecoder& operator=(const SecondDecoder&) = delete;

    void decode(std::span<const std::uint8_t> sample) {
        while (sample.size() > 4) {
            const auto length = static_cast<std::size_t>(sample[0]) << 24 |
                                static_cast<std::size_t>(sample[1]) << 16 |
                                static_cast<std::size_t>(sample[2]) << 8 | sample[3];
            append(sample.subspan(4, length));
            sample = sample.subspan(4 + length);
        }
        std::uint8_t* planes[3] = {};
        SBufferInfo info{};
        EXPECT_EQ(
            decoder_->DecodeFrameNoDelay(stream_.data(), static_cast<int>(stream_.size()), planes, &info), 0);
        stream_.clear();
        keep(planes, info);
    }

    // All there were, in the order they are shown.
    const std::vector<Luma>& finish() {
        int held = 0;
        decoder_->GetOption(DECODER_OPTION_NUM_OF_FRAMES_REMAINING_IN_BUFFER, &held);
        for (; held > 0; --held) {
            std::uint8_t* planes[3] = {};
            SBufferInfo info{};
            decoder_->FlushFrame(planes, &info);
            keep(planes, info);
        }
        return pictures_;
    }

private:
    void append(std::span<const std::uint8_t> nal) {
        for (const std::uint8_t byte : {0, 0, 0, 1}) stream_.push_back(byte);
        stream_.insert(stream_.end(), nal.begin(), nal.end());
    }

    void keep(std::uint8_t* const* planes, const SBufferInfo& info) {
        if (info.iBufferStatus == 1)
            pictures_.push_back(lumaOf(planes[0], info.UsrData.sSystemBuffer.iStride[0]));
    }

    ISVCDecoder* decoder_ = nullptr;
    std::vector<Luma> pictures_;
    std::vector<std::uint8_t> stream_;
};

constexpr int kIdrInterval = 100;

VideoInputSettings settingsFor(std::int64_t bitRate) {
    return {.width = kWidth,
            .height = kHeight,
            .averageBitRate = bitRate,
            .maxKeyFrameInterval = kIdrInterval,
            .expectedFrameRate = 60};
}

// Encodes pictures and decodes them with both decoders.
class BothDecoders {
public:
    explicit BothDecoders(VideoEncoder& encoder)
        : encoder_(encoder),
          first_(encoder.decoderConfiguration()),
          second_(encoder.decoderConfiguration()) {}

    // One more picture. Exactly one must come out, at once.
    void show(const PixelBufferRef& picture, double backlog = 0) {
        int count = 0;
        const auto changed = changesBetween(before_.get(), *picture);
        EXPECT_TRUE(
            encoder_.encode({picture, 10 * static_cast<std::int64_t>(seen_.size()), false, changed, backlog},
                            [&](const EncodedPicture& made) {
                                sample.assign(made.data.begin(), made.data.end());
                                isIdr = made.isIdr;
                                ++count;
                            }));
        EXPECT_EQ(count, 1) << "picture " << seen_.size();
        before_ = picture;
        shown = lumaOf(picture->plane(0).data, picture->plane(0).strideBytes);
        decoded = first_.decode(sample);
        second_.decode(sample);
        seen_.push_back(decoded);
    }

    bool agree() { return second_.finish() == seen_; }

    // Of the last picture.
    std::vector<std::uint8_t> sample;
    bool isIdr = false;
    Luma shown, decoded;

private:
    VideoEncoder& encoder_;
    Decoder first_;
    SecondDecoder second_;
    PixelBufferRef before_;
    std::vector<Luma> seen_;
};

class InsertedPicturesTest : public testing::TestWithParam<std::size_t> {};

TEST_P(InsertedPicturesTest, DecodeAsThePictureBeforeThem) {
    constexpr std::size_t kMaxSkipBytes = 24;
    const auto encoder = openSoftwareEncoderWithPreset(settingsFor(2'000'000), GetParam()).value();
    BothDecoders both(*encoder);
    std::minstd_rand random(3);
    std::optional<Decoder> fromIdr;
    Luma previous;
    unsigned pictures = 0, skips = 0, sinceIdr = 0;
    for (unsigned change = 0; change < 12; ++change) {
        const auto picture = blocks(change);
        for (auto ticks = change == 11 ? 250 : 1 + random() % 90; ticks > 0; --ticks, ++pictures) {
            SCOPED_TRACE(pictures);
            // A high backlog changes the preset, but not what the stream promises.
            both.show(picture, change % 4 == 1 ? 1 : 0);
            if (both.sample.size() <= kMaxSkipBytes) {
                ++skips;
                EXPECT_TRUE(both.decoded == previous);
            }
            EXPECT_LT(difference(both.decoded, both.shown), 6);
            sinceIdr = both.isIdr ? 0 : sinceIdr + 1;
            EXPECT_LT(sinceIdr, static_cast<unsigned>(kIdrInterval));
            // Decoding that begins at an IDR picture shows the same.
            if (both.isIdr) fromIdr.emplace(encoder->decoderConfiguration());
            EXPECT_TRUE(fromIdr->decode(both.sample) == both.decoded);
            previous = both.decoded;
        }
    }
    EXPECT_GT(skips, pictures / 3);
    EXPECT_TRUE(both.agree());
}

// A small square moves, stays and goes: the movie shows exactly that where it is and where it was.
TEST_P(InsertedPicturesTest, ShowSmallChangesAsTheyAre) {
    const auto encoder = openSoftwareEncoderWithPreset(settingsFor(40'000'000), GetParam()).value();
    BothDecoders both(*encoder);
    std::minstd_rand random(5);
    unsigned patches = 0;
    PixelBufferRef picture;
    int x = 0, y = 0;
    for (int tick = 0; tick < 300; ++tick) {
        // Steps of an odd size, up to the last columns and rows; now and then it rests for a while.
        if (tick % 40 < 20 || tick % 40 == 25) {
            picture = blocks(0);
            x = static_cast<int>(random() % (kWidth - 10));
            y = static_cast<int>(random() % (kHeight - 10));
            const auto& luma = picture->plane(0);
            for (int row = y; row < y + 10; ++row)
                std::memset(luma.data + row * luma.strideBytes + x, 235 - row % 4, 10);
        }
        both.show(picture);
        EXPECT_LT(difference(both.decoded, both.shown), 4) << "tick " << tick;
        // Inserted pictures have nal_ref_idc 0, and skip pictures are smaller.
        if (both.sample[4] != 1 || both.sample.size() < 300) continue;
        ++patches;
        for (int row = y; row < y + 10; ++row) {
            const auto at = row * kWidth + x;
            ASSERT_TRUE(std::equal(&both.decoded[at], &both.decoded[at] + 10, &both.shown[at])) << tick;
        }
    }
    EXPECT_GT(patches, 100u);
    EXPECT_TRUE(both.agree());
}

// A hardware encoder that fails is replaced within the stream.
TEST_P(InsertedPicturesTest, GoOnAfterTheEncoderWasReplaced) {
    const auto settings = settingsFor(2'000'000);
    int usesAfterwards = 0;
    const auto open = [&](const VideoInputSettings& wanted) {
        return openSoftwareEncoderWithPreset(wanted, GetParam());
    };
    const auto hardware = test::FailingEncoder::maker(open, 70, usesAfterwards);
    const auto choose = preferHardware({hardware}, openSoftwareEncoder, openReplacementEncoder);
    const auto encoder = choose(settings).value();
    BothDecoders both(*encoder);
    for (unsigned tick = 0; tick < 150; ++tick) {
        both.show(blocks(tick / 15));
        EXPECT_TRUE(tick != 70 || both.isIdr);
        EXPECT_LT(difference(both.decoded, both.shown), 6) << "tick " << tick;
    }
    EXPECT_TRUE(both.agree());
    EXPECT_EQ(usesAfterwards, 0);
}

// The encoder's stream as it is, and with others between its pictures: one decoder sees the same as the
// other.
TEST_P(InsertedPicturesTest, LeaveTheEncodersPicturesAsTheyAre) {
    auto encoder = X264Encoder::open({kWidth, kHeight, 2'000'000, 60, 60}, kX264Presets[GetParam()]).value();
    auto inserter = PictureInserter::open(encoder.decoderConfiguration()).value();
    Decoder plain(encoder.decoderConfiguration());
    Decoder mixed(inserter.decoderConfiguration());
    const auto all = BlockSet::all(kWidth, kHeight);
    std::minstd_rand random(23);
    const auto upTo = [&](unsigned limit) { return static_cast<unsigned>(random()) % limit; };
    for (int i = 0; i < 150; ++i) {
        const auto made =
            encoder.encode(*blocks(upTo(7)), i * 10, 8 + static_cast<int>(upTo(36)), i % 40 == 0, all);
        ASSERT_TRUE(made);
        const auto shown = plain.decode(made->data);
        ASSERT_TRUE(mixed.decode(inserter.rewritten(made->data)) == shown) << "picture " << i;
        for (unsigned more = upTo(4); more > 0; --more) {
            ASSERT_TRUE(mixed.decode(inserter.skipPicture()) == shown) << "after picture " << i;
            const auto other = blocks(7 + upTo(7));
            constexpr unsigned kAcross = kWidth / 16;
            const unsigned patch = upTo(kAcross * ((kHeight + 15) / 16));
            auto expected = shown;
            for (unsigned y = patch / kAcross * 16; y < std::min(patch / kAcross * 16 + 16, 0u + kHeight);
                 ++y)
                std::copy_n(other->plane(0).data + y * other->plane(0).strideBytes + patch % kAcross * 16, 16,
                            expected.begin() + y * kWidth + patch % kAcross * 16);
            ASSERT_TRUE(mixed.decode(inserter.patchPicture(*other, std::array{patch})) == expected)
                << "after picture " << i << ", macroblock " << patch;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Presets, InsertedPicturesTest, testing::Range<std::size_t>(0, kX264Presets.size()),
                         [](const auto& test) { return kX264Presets[test.param]; });

}  // namespace
}  // namespace kasto
