#include "movie/h264/RepeatStream.h"

#include "movie/container/BoxWriter.h"
#include "movie/h264/BitStream.h"

#include <algorithm>
#include <utility>

namespace kasto {

namespace {

using Bytes = std::span<const std::uint8_t>;

constexpr int kSlice = 1;
constexpr int kKeySlice = 5;
constexpr int kPlaceBits = 16;
constexpr std::uint32_t kMostNumberBits = 16;
constexpr std::uint32_t kMostAcross = 4096;     // macroblocks
constexpr std::uint32_t kRepeatParameters = 1;  // the id of the repeating pictures' own parameter set

int nalType(Bytes nal) { return nal[0] & 0x1f; }

std::size_t u16At(Bytes bytes, std::size_t at) {
    return at + 2 <= bytes.size() ? static_cast<std::size_t>(bytes[at] << 8 | bytes[at + 1]) : bytes.size();
}

// The position of the bit that ends the unit; 0 without one.
std::size_t stopBit(Bytes unit) {
    auto last = unit.size() * 8;
    while (last > 1 && !(unit[(last - 1) / 8] >> (7 - (last - 1) % 8) & 1)) --last;
    return last - 1;
}

// Variable-length codes, no weights, deblocking told by each slice: what makes repeating pictures smallest.
std::vector<std::uint8_t> repeatParameters() {
    BitWriter out;
    out.bits(0x68, 8);
    out.ue(kRepeatParameters);
    out.ue(0);        // of sequence parameters 0
    out.flag(false);  // variable-length codes
    out.flag(false);
    out.ue(0);  // one slice group
    out.ue(0);  // one reference
    out.ue(0);
    out.bits(0, 3);  // no weights
    out.ue(0);       // quantisers as they are by default
    out.ue(0);
    out.ue(0);
    out.flag(true);  // slices tell their deblocking
    out.flag(false);
    out.flag(false);
    out.stop();
    std::vector<std::uint8_t> nal;
    appendWithEmulationPrevention(out.bytes(), nal);
    return nal;
}

// A macroblock's samples of one plane, row by row. Beyond the picture's edges its last ones go on.
void appendSamples(const Plane& plane, std::uint32_t column, std::uint32_t row, int side,
                   std::vector<std::uint8_t>& out) {
    const int left = static_cast<int>(column) * side;
    const int inside = std::min(side, plane.width - left);
    for (int i = 0; i < side; ++i) {
        const int y = std::min(static_cast<int>(row) * side + i, plane.height - 1);
        const std::uint8_t* const from = plane.data + y * plane.strideBytes + left;
        out.insert(out.end(), from, from + inside);
        out.insert(out.end(), static_cast<std::size_t>(side - inside), from[inside - 1]);
    }
}

}  // namespace

Result<RepeatStream> RepeatStream::open(Bytes configuration) {
    constexpr std::size_t kBeforeSets = 6;
    const auto unknown = [] { return failure("the encoder's stream is of an unknown kind"); };
    const auto spsLength = u16At(configuration, kBeforeSets);
    const auto ppsAt = kBeforeSets + 2 + spsLength + 1;
    const auto ppsLength = u16At(configuration, ppsAt);
    const auto end = ppsAt + 2 + ppsLength;
    if (spsLength < 4 || ppsLength == 0 || end > configuration.size()) return unknown();

    RepeatStream stream;
    const auto sps = stream.changedSequenceParameters(configuration.subspan(kBeforeSets + 2, spsLength));
    if (!sps) return unknown();
    const auto pps = repeatParameters();
    BoxWriter out(stream.configuration_);
    out.bytes(configuration.first(kBeforeSets));
    out.u16(static_cast<std::uint16_t>(sps->size()));
    out.bytes(*sps);
    out.u8(2);
    out.u16(static_cast<std::uint16_t>(ppsLength));
    out.bytes(configuration.subspan(ppsAt + 2, ppsLength));
    out.u16(static_cast<std::uint16_t>(pps.size()));
    out.bytes(pps);
    out.bytes(configuration.subspan(end));
    return stream;
}

Result<std::vector<std::uint8_t>> RepeatStream::changedSequenceParameters(Bytes nal) {
    const auto unit = withoutEmulationPrevention(nal);
    BitReader in(unit);
    in.bits(32);  // type, profile, constraints, level
    in.ue();
    const bool isPlain420 = in.ue() == 1 && in.ue() == 0 && in.ue() == 0 && in.bits(2) == 0;
    const auto numberBits = in.ue() + 4;
    const auto orderAt = in.position();
    const bool isInOrder = in.ue() == 2;
    const auto afterOrder = in.position();
    in.ue();
    in.bits(1);
    const auto width = in.ue() + 1;
    const auto height = in.ue() + 1;
    const bool isProgressive = in.flag();
    const bool isSound = numberBits <= kMostNumberBits && width <= kMostAcross && height <= kMostAcross &&
                         in.position() <= stopBit(unit);
    if (!isPlain420 || !isInOrder || !isProgressive || !isSound) return failure("");
    frameNumberBits_ = static_cast<int>(numberBits);
    macroblocksAcross_ = width;
    macroblocks_ = width * height;

    BitWriter out;
    out.copy(unit, 0, orderAt);
    out.ue(0);  // the place in the showing order is told
    out.ue(kPlaceBits - 4);
    out.copy(unit, afterOrder, stopBit(unit));
    out.stop();
    std::vector<std::uint8_t> changed;
    appendWithEmulationPrevention(out.bytes(), changed);
    return changed;
}

void RepeatStream::addNal(Bytes bytes) {
    const auto at = sample_.size();
    sample_.resize(at + 4);
    appendWithEmulationPrevention(bytes, sample_);
    const auto length = static_cast<std::uint32_t>(sample_.size() - at - 4);
    for (int i = 0; i < 4; ++i)
        sample_[at + static_cast<std::size_t>(i)] = static_cast<std::uint8_t>(length >> (24 - 8 * i));
}

void RepeatStream::addSlice(Bytes nal) {
    auto unit = withoutEmulationPrevention(nal);
    BitReader in(unit);
    in.bits(8);
    in.ue();
    in.ue();
    in.ue();
    frameNumber_ = in.bits(frameNumberBits_);
    if (nalType(nal) == kKeySlice) in.ue();
    // Sixteen bits more are two bytes more: all that follows keeps its place within its byte.
    const auto at = in.position() / 8;
    const int kept = static_cast<int>(in.position() % 8);
    if (at >= unit.size()) return addNal(unit);  // what is no slice stays none
    const std::uint8_t split = unit[at];
    const auto bits = static_cast<std::uint32_t>(split >> (8 - kept)) << 16 | (place() & 0xffff);
    const auto rest = static_cast<std::uint8_t>(split & (0xff >> kept));
    const auto inserted = bits << (8 - kept) | rest;
    unit.insert(unit.begin() + static_cast<std::ptrdiff_t>(at), 2, 0);
    for (std::size_t i = 0; i < 3; ++i) unit[at + i] = static_cast<std::uint8_t>(inserted >> (16 - 8 * i));
    addNal(unit);
}

Bytes RepeatStream::encoded(Bytes sample) {
    sample_.clear();
    for (bool isFirst = true; sample.size() > 4;) {
        const auto length = static_cast<std::size_t>(sample[0]) << 24 |
                            static_cast<std::size_t>(sample[1]) << 16 |
                            static_cast<std::size_t>(sample[2]) << 8 | sample[3];
        const auto nal = sample.subspan(4, std::min(length, sample.size() - 4));
        sample = sample.subspan(4 + nal.size());
        if (nal.empty()) continue;
        const int type = nalType(nal);
        if (type == kSlice || type == kKeySlice) {
            if (std::exchange(isFirst, false)) sinceKey_ = type == kKeySlice ? 0 : sinceKey_ + 1;
            addSlice(nal);
        } else {
            BoxWriter out(sample_);
            out.u32(static_cast<std::uint32_t>(nal.size()));
            out.bytes(nal);
        }
    }
    return sample_;
}

BitWriter RepeatStream::beginUnreferredPicture() {
    constexpr std::uint32_t kPredictedSlice = 5;
    ++sinceKey_;
    BitWriter out;
    out.bits(kSlice, 8);  // nobody refers to it
    out.ue(0);
    out.ue(kPredictedSlice);
    out.ue(kRepeatParameters);
    out.bits(frameNumber_ + 1, frameNumberBits_);
    out.bits(place(), kPlaceBits);
    out.flag(false);  // the number of references is the default one
    out.flag(false);  // in their order
    out.ue(0);        // the default quantiser
    out.ue(1);        // no deblocking
    return out;
}

Bytes RepeatStream::repeated() {
    BitWriter out = beginUnreferredPicture();
    out.ue(macroblocks_);  // all of them skipped
    out.stop();
    sample_.clear();
    addNal(out.bytes());
    return sample_;
}

Bytes RepeatStream::patched(const PixelBuffer& picture, std::span<const std::uint32_t> macroblocks) {
    constexpr std::uint32_t kUncompressed = 30;
    BitWriter out = beginUnreferredPicture();
    out.bytes().reserve(patchBytes(macroblocks.size()));
    std::uint32_t next = 0;
    for (const std::uint32_t macroblock : macroblocks) {
        out.ue(macroblock - next);  // skipped up to here
        out.ue(kUncompressed);
        out.align();
        for (int p = 0; p < picture.planeCount(); ++p)
            appendSamples(picture.plane(p), macroblock % macroblocksAcross_, macroblock / macroblocksAcross_,
                          p == 0 ? 16 : 8, out.bytes());
        next = macroblock + 1;
    }
    if (next < macroblocks_) out.ue(macroblocks_ - next);
    out.stop();
    sample_.clear();
    addNal(out.bytes());
    return sample_;
}

}  // namespace kasto
