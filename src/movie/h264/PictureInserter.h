#pragma once

#include "base/Result.h"
#include "imaging/PixelBuffer.h"
#include "movie/h264/BitStream.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace kasto {

// Inserts hand-made pictures between those of an H.264 encoder.
//
// Goal. A screen mostly shows the same picture for many ticks, or one in which only a caret or the pointer
// changed. Encoding each tick costs 6 to 15 ms of processor time at 1080p; a hand-made picture costs
// microseconds and 13 bytes.
//
// Idea. Both kinds of inserted picture are P pictures of one slice with nal_ref_idc 0:
//   skip picture   every macroblock is P_Skip, so it shows the encoder's last picture once more.
//   patch picture  some macroblocks are I_PCM and hold their samples uncompressed; the others are P_Skip.
// Nothing may refer to a non-reference picture, so the encoder need not know of them: it predicts its next
// picture from its own last one, which is what the decoder has, too. Each inserted picture is likewise
// predicted from the encoder's last picture, never from another inserted one. A change that stays therefore
// has to be in every patch picture until the encoder has encoded it.
//
// POC. The encoder's SPS says pic_order_cnt_type 2: output order is decoding order, derived from frame_num.
// That type forbids two non-reference pictures in a row. The SPS is rewritten to type 0, and every slice
// header gets a pic_order_cnt_lsb: twice the number of pictures since the last IDR, inserted ones included.
// It has 16 bits, so all bits of a slice after it keep their position within a byte. With CABAC that matters:
// its data begins at a byte boundary, and nothing behind the field has to be encoded anew.
//
// Invariants.
//   frame_num of an inserted picture is that of the encoder's last picture plus one, for all pictures of a
//   run, because frame_num only counts reference pictures.
//   The order of output is the order of decoding; no decoder has to hold a picture back.
//   Inserted pictures use a PPS of their own (CAVLC, one reference, no weights, deblocking off in the slice):
//   with the encoder's CABAC PPS a skip picture has 65 bytes.
//   The decoded pictures of the encoder stay the same, bit by bit. libavcodec and openh264 agree on that and
//   on every inserted picture, also when decoding begins at a later IDR picture (see the tests).
//
// Tried and dropped. Skip pictures that are references: the frame_num of every later slice would have to be
// rewritten, too. B pictures of the encoder: openh264 puts them out in the wrong order, and those with
// weighted prediction decode to something else. Telling libx264 which macroblocks stay the same, without
// inserted pictures: saves at most 28 % of a still picture's cost.
//
// One thread at a time.
class PictureInserter {
public:
    // From the contents of an encoder's avcC box. Fails for a stream whose headers cannot be rewritten: it
    // must be progressive 4:2:0 of 8 bits with pic_order_cnt_type 2, one SPS and one PPS.
    static Result<PictureInserter> open(std::span<const std::uint8_t> decoderConfiguration);

    // The avcC box's contents for the resulting stream: the rewritten SPS, the encoder's PPS and the inserted
    // pictures' PPS.
    std::span<const std::uint8_t> decoderConfiguration() const { return configuration_; }

    // Rewrites the slice headers of an encoder's picture; NAL units each after its length in four bytes.
    // Valid until the next call.
    std::span<const std::uint8_t> rewritten(std::span<const std::uint8_t> sample);

    // A picture that shows the encoder's last one. Valid until the next call.
    std::span<const std::uint8_t> skipPicture();

    // A picture that shows the encoder's last one except for some macroblocks, given by their addresses in
    // ascending order: their samples come from `picture`, which is i420 and has the encoder's size. The
    // encoder must have made a picture before. Valid until the next call.
    std::span<const std::uint8_t> patchPicture(const PixelBuffer& picture,
                                               std::span<const std::uint32_t> macroblocks);

    // About the size of a picture with so many patched macroblocks.
    static std::size_t patchBytes(std::size_t macroblocks) { return 32 + 388 * macroblocks; }

private:
    PictureInserter() = default;
    Result<std::vector<std::uint8_t>> rewrittenSps(std::span<const std::uint8_t> nal);
    void addSlice(std::span<const std::uint8_t> nal);
    void addNal(std::span<const std::uint8_t> payload);
    BitWriter beginInsertedSlice();
    std::uint32_t picOrderCntLsb() const { return 2 * picturesSinceIdr_ & 0xffff; }

    std::vector<std::uint8_t> configuration_;
    std::vector<std::uint8_t> sample_;
    std::uint32_t ppsId_ = 0;  // of the inserted pictures
    std::uint32_t widthMbs_ = 0;
    std::uint32_t macroblocks_ = 0;
    int frameNumBits_ = 0;
    std::uint32_t frameNum_ = 0;          // of the encoder's last picture
    std::uint32_t picturesSinceIdr_ = 0;  // the encoder's and inserted ones
};

}  // namespace kasto
