#include "linux/ffmpeg/AnnexB.h"

#include <gtest/gtest.h>

namespace kasto::ffmpeg {
namespace {

using Bytes = std::vector<std::uint8_t>;

TEST(AnnexBTest, samplesHoldLengthsInsteadOfStartCodes) {
    const Bytes expected{0, 0, 0, 2, 0x65, 7, 0, 0, 0, 5, 0x41, 0, 1, 3, 9};
    for (const Bytes& stream : {
             Bytes{0, 0, 0, 1, 0x65, 7, 0, 0, 1, 0x41, 0, 1, 3, 9},
             Bytes{0, 0, 1, 0x65, 7, 0, 0, 0, 0, 0, 1, 0x41, 0, 1, 3, 9, 0, 0},
             Bytes{0, 0, 1, 0, 0, 1, 0x65, 7, 0, 0, 1, 0x41, 0, 1, 3, 9},
             Bytes{0, 0, 1, 9, 16,   0, 0, 1, 0x67, 1,    0, 0, 1, 0x68,
                   2, 0, 0, 1, 0x65, 7, 0, 0, 1,    0x41, 0, 1, 3, 9},
         }) {
        Bytes sample;
        appendAvcSample(stream, sample);
        EXPECT_EQ(sample, expected);
    }
}

TEST(AnnexBTest, decoderConfigurationNeedsOneSetOfEachKindOfProfileHigh) {
    EXPECT_TRUE(avcDecoderConfiguration(Bytes{0, 0, 1, 0x67, 100, 0, 42, 0, 0, 1, 0x68, 1, 0, 0, 1, 6, 9}));
    for (const Bytes& stream :
         {Bytes{}, Bytes{0, 0}, Bytes{0, 0, 1}, Bytes{1, 2, 3, 4}, Bytes{0, 0, 1, 0x67, 100, 0, 42},
          Bytes{0, 0, 1, 0x68, 1, 2}, Bytes{0, 0, 1, 0x67, 77, 0, 42, 0, 0, 1, 0x68, 1},
          Bytes{0, 0, 1, 0x67, 100, 0, 42, 0, 0, 1, 0x68, 1, 0, 0, 1, 0x68, 2}})
        EXPECT_FALSE(avcDecoderConfiguration(stream));
}

}  // namespace
}  // namespace kasto::ffmpeg
