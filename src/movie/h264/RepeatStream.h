#pragma once

#include "base/Result.h"
#include "imaging/PixelBuffer.h"
#include "movie/h264/BitStream.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace kasto {

// Makes room in an encoder's H.264 stream for pictures the encoder never made: such a picture says of its
// macroblocks that they are as in the encoder's last one, or what they are instead, uncompressed.
//
// The encoder counts only its own pictures, and its stream says that pictures are shown in the order they are
// decoded. So that others may stand between them, each picture gets its place in the showing order written
// into its slices. Such a picture is never referred to: the encoder's next picture is predicted as if it
// was not there. The pictures decode to the same, bit by bit. One thread at a time.
class RepeatStream {
public:
    // From the contents of an encoder's avcC box. Fails if the stream is of a kind this does not know: the
    // encoder must use no later pictures for prediction, no fields, and one set of parameters.
    static Result<RepeatStream> open(std::span<const std::uint8_t> decoderConfiguration);

    // The avcC box's contents for the stream that results.
    std::span<const std::uint8_t> decoderConfiguration() const { return configuration_; }

    // Passes on a picture of the encoder; NAL units each after its length in four bytes. Valid until the next
    // call.
    std::span<const std::uint8_t> encoded(std::span<const std::uint8_t> sample);

    // One more picture that shows the encoder's last one. Valid until the next call.
    std::span<const std::uint8_t> repeated();

    // One more picture that shows the encoder's last one, but for some macroblocks, given by their numbers in
    // ascending order: those are taken from `picture` as they are. The picture has the encoder's size, i420.
    // Only after one that was encoded. Valid until the next call.
    std::span<const std::uint8_t> patched(const PixelBuffer& picture,
                                          std::span<const std::uint32_t> macroblocks);

    // About what a picture with so many patches takes.
    static std::size_t patchBytes(std::size_t macroblocks) { return 32 + 388 * macroblocks; }

private:
    RepeatStream() = default;
    Result<std::vector<std::uint8_t>> changedSequenceParameters(std::span<const std::uint8_t> nal);
    void addSlice(std::span<const std::uint8_t> nal);
    void addNal(std::span<const std::uint8_t> bytes);
    BitWriter beginUnreferredPicture();
    std::uint32_t place() const { return 2 * sinceKey_; }

    std::vector<std::uint8_t> configuration_;
    std::vector<std::uint8_t> sample_;
    std::uint32_t macroblocksAcross_ = 0;
    std::uint32_t macroblocks_ = 0;
    int frameNumberBits_ = 0;
    std::uint32_t frameNumber_ = 0;  // of the encoder's last picture
    std::uint32_t sinceKey_ = 0;     // pictures of both kinds
};

}  // namespace kasto
