#include "movie/h264/BitStream.h"
#include "movie/h264/PictureInserter.h"
#include "movie/h264/X264Encoder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

namespace kasto {
namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr std::uint8_t kSlice = 0x41;
constexpr std::uint8_t kIdrSlice = 0x65;

class PictureInserterTest : public testing::Test {
protected:
    int upTo(int limit) { return static_cast<int>(random_() % static_cast<unsigned>(limit)); }

    // The fields before a slice's frame number.
    void begin(BitWriter& out, std::uint8_t type, int firstMacroblock) {
        out.bits(type, 8);
        out.ue(static_cast<std::uint32_t>(firstMacroblock));
        out.ue(type == kSlice ? 5 : 7);
        out.ue(0);
    }

    // A slice with any content, rich in what looks like start codes.
    Bytes slice(std::uint8_t type, int firstMacroblock) {
        BitWriter out;
        begin(out, type, firstMacroblock);
        out.bits(random_(), 4);
        if (type == kIdrSlice) out.ue(random_() % 4);
        for (int i = upTo(40); i > 0; --i) out.bits(upTo(3) ? 0 : random_(), 1 + upTo(12));
        out.stop();
        return out.bytes();
    }

    static void append(const Bytes& unit, Bytes& sample) {
        Bytes nal;
        appendWithEmulationPrevention(unit, nal);
        for (int shift = 24; shift >= 0; shift -= 8)
            sample.push_back(static_cast<std::uint8_t>(nal.size() >> shift));
        sample.insert(sample.end(), nal.begin(), nal.end());
    }

    std::minstd_rand random_{17};
    const X264Encoder encoder_ = X264Encoder::open({64, 48, 1'000'000, 60, 60}, "superfast").value();
    PictureInserter stream_ = PictureInserter::open(encoder_.decoderConfiguration()).value();
};

// All of a slice is there again, and its place in between, however the bits fall.
TEST_F(PictureInserterTest, slicesKeepEveryBit) {
    std::uint32_t sinceIdr = 0;
    for (int picture = 0; picture < 20'000; ++picture) {
        const std::uint8_t type = picture % 50 == 0 ? kIdrSlice : kSlice;
        sinceIdr = type == kIdrSlice ? 0 : sinceIdr + 1;
        if (upTo(3) == 0 && type == kSlice) {
            stream_.skipPicture();
            ++sinceIdr;
        }
        const Bytes units[] = {slice(type, 0), slice(type, 1 + upTo(9000))};
        Bytes sample;
        for (const Bytes& unit : units) append(unit, sample);
        const auto out = stream_.rewritten(sample);
        std::size_t at = 0;
        for (const Bytes& unit : units) {
            ASSERT_LE(at + 4, out.size());
            const auto length = static_cast<std::size_t>(out[at + 2] << 8 | out[at + 3]);
            const auto nal = out.subspan(at + 4, length);
            at += 4 + length;
            const Bytes emulated[] = {{0, 0, 0}, {0, 0, 1}, {0, 0, 2}};
            for (const Bytes& code : emulated) ASSERT_TRUE(std::ranges::search(nal, code).empty());
            const Bytes made = withoutEmulationPrevention(nal);
            ASSERT_EQ(made.size(), unit.size() + 2);
            BitReader before(unit);
            BitReader after(made);
            const auto same = [&](int bits) { return before.bits(bits) == after.bits(bits); };
            ASSERT_TRUE(same(8) && before.ue() == after.ue() && before.ue() == after.ue() &&
                        before.ue() == after.ue() && same(4));
            ASSERT_TRUE(type == kSlice || before.ue() == after.ue());
            ASSERT_EQ(after.bits(16), 2 * sinceIdr % 0x10000);
            while (before.position() < unit.size() * 8) ASSERT_TRUE(same(1)) << before.position();
        }
        ASSERT_EQ(at, out.size());
    }
}

// Whatever comes instead of an encoder's stream is refused or passed on; the sanitizers watch.
TEST_F(PictureInserterTest, damagedStreamsDoNoHarm) {
    const auto good = encoder_.decoderConfiguration();
    int opened = 0;
    for (int i = 0; i < 20'000; ++i) {
        Bytes configuration(good.begin(), good.end() - upTo(2) * upTo(static_cast<int>(good.size())));
        for (int flips = upTo(4); flips > 0 && !configuration.empty(); --flips)
            configuration[random_() % configuration.size()] = static_cast<std::uint8_t>(random_());
        auto stream = PictureInserter::open(configuration);
        if (!stream) continue;
        ++opened;
        Bytes sample;
        append(slice(upTo(2) ? kSlice : kIdrSlice, 0), sample);
        for (int flips = upTo(6); flips > 0; --flips)
            sample[random_() % sample.size()] = static_cast<std::uint8_t>(random_());
        sample.resize(sample.size() - random_() % sample.size());
        EXPECT_LE(stream->rewritten(sample).size(), sample.size() * 2 + 16);
        EXPECT_GT(stream->skipPicture().size(), 8u);
    }
    EXPECT_GT(opened, 2000);
    EXPECT_LT(opened, 18'000);
}

}  // namespace
}  // namespace kasto
