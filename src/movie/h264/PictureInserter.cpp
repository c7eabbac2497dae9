#include "movie/h264/PictureInserter.h"

#include "movie/container/BoxWriter.h"
#include "movie/h264/BitStream.h"

#include <algorithm>
#include <utility>

namespace kasto {

namespace {

using Bytes = std::span<const std::uint8_t>;

enum NalType { nonIdrSlice = 1, idrSlice = 5 };
constexpr int kPicOrderCntLsbBits = 16;
constexpr std::uint32_t kMaxFrameNumBits = 16;
constexpr std::uint32_t kMaxSideMbs = 4096;
constexpr std::uint32_t kMaxPpsId = 255;
constexpr std::uint32_t kMaxSpsId = 31;

int nalType(Bytes nal) { return nal[0] & 0x1f; }

std::size_t u16At(Bytes bytes, std::size_t at) {
    return at + 2 <= bytes.size() ? static_cast<std::size_t>(bytes[at] << 8 | bytes[at + 1]) : bytes.size();
}

// The position of rbsp_stop_one_bit; 0 if there is none.
std::size_t stopBit(Bytes unit) {
    auto last = unit.size() * 8;
    while (last > 1 && !(unit[(last - 1) / 8] >> (7 - (last - 1) % 8) & 1)) --last;
    return last - 1;
}

// The PPS of inserted pictures, chosen so that a skip picture is as small as can be.
std::vector<std::uint8_t> insertedPps(std::uint32_t ppsId, std::uint32_t spsId) {
    BitWriter out;
    out.bits(0x68, 8);  // nal_unit_type 8
    out.ue(ppsId);
    out.ue(spsId);
    out.flag(false);  // CAVLC
    out.flag(false);  // bottom_field_pic_order_in_frame_present
    out.ue(0);        // one slice group
    out.ue(0);        // one reference in list 0
    out.ue(0);        // one reference in list 1
    out.bits(0, 3);   // no weighted prediction
    out.ue(0);        // pic_init_qp
    out.ue(0);        // pic_init_qs
    out.ue(0);        // chroma_qp_index_offset
    out.flag(true);   // slices tell their deblocking
    out.flag(false);  // constrained_intra_pred
    out.flag(false);  // redundant_pic_cnt_present
    out.stop();
    std::vector<std::uint8_t> nal;
    appendWithEmulationPrevention(out.bytes(), nal);
    return nal;
}

// Appends a macroblock's samples of one plane, row by row. Beyond the picture's right and lower edge its last
// column and row are repeated.
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

Result<PictureInserter> PictureInserter::open(Bytes configuration) {
    constexpr std::size_t kBytesBeforeSps = 6;
    const auto unknown = [] { return failure("the encoder's stream cannot be rewritten"); };
    const auto spsLength = u16At(configuration, kBytesBeforeSps);
    const auto ppsAt = kBytesBeforeSps + 2 + spsLength + 1;
    const auto ppsLength = u16At(configuration, ppsAt);
    const auto end = ppsAt + 2 + ppsLength;
    if (spsLength < 4 || ppsLength == 0 || end > configuration.size()) return unknown();

    PictureInserter inserter;
    const auto sps = inserter.rewrittenSps(configuration.subspan(kBytesBeforeSps + 2, spsLength));
    if (!sps) return unknown();
    const auto encodersPps = configuration.subspan(ppsAt + 2, ppsLength);
    BitReader in(encodersPps);
    in.bits(8);  // NAL unit header
    inserter.ppsId_ = in.ue() + 1;
    const auto spsId = in.ue();
    if (inserter.ppsId_ > kMaxPpsId || spsId > kMaxSpsId) return unknown();
    const auto pps = insertedPps(inserter.ppsId_, spsId);
    BoxWriter out(inserter.configuration_);
    out.bytes(configuration.first(kBytesBeforeSps));
    out.u16(static_cast<std::uint16_t>(sps->size()));
    out.bytes(*sps);
    out.u8(2);
    out.u16(static_cast<std::uint16_t>(ppsLength));
    out.bytes(encodersPps);
    out.u16(static_cast<std::uint16_t>(pps.size()));
    out.bytes(pps);
    out.bytes(configuration.subspan(end));
    return inserter;
}

Result<std::vector<std::uint8_t>> PictureInserter::rewrittenSps(Bytes nal) {
    const auto unit = withoutEmulationPrevention(nal);
    BitReader in(unit);
    in.bits(32);  // NAL unit type, profile, constraints, level
    in.ue();      // seq_parameter_set_id
    // chroma_format_idc, both bit depths, transform bypass, scaling matrix
    const bool isPlain420 = in.ue() == 1 && in.ue() == 0 && in.ue() == 0 && in.bits(2) == 0;
    const auto frameNumBits = in.ue() + 4;
    const auto pocTypeAt = in.position();
    const bool isPocType2 = in.ue() == 2;
    const auto afterPocType = in.position();
    in.ue();     // max_num_ref_frames
    in.bits(1);  // gaps_in_frame_num_value_allowed
    const auto widthMbs = in.ue() + 1;
    const auto heightMbs = in.ue() + 1;
    const bool isProgressive = in.flag();
    const bool isSane = frameNumBits <= kMaxFrameNumBits && widthMbs <= kMaxSideMbs &&
                        heightMbs <= kMaxSideMbs && in.position() <= stopBit(unit);
    if (!isPlain420 || !isPocType2 || !isProgressive || !isSane) return failure("");
    frameNumBits_ = static_cast<int>(frameNumBits);
    widthMbs_ = widthMbs;
    macroblocks_ = widthMbs * heightMbs;

    BitWriter out;
    out.copy(unit, 0, pocTypeAt);
    out.ue(0);                        // pic_order_cnt_type
    out.ue(kPicOrderCntLsbBits - 4);  // log2_max_pic_order_cnt_lsb_minus4
    out.copy(unit, afterPocType, stopBit(unit));
    out.stop();
    std::vector<std::uint8_t> sps;
    appendWithEmulationPrevention(out.bytes(), sps);
    return sps;
}

void PictureInserter::addNal(Bytes payload) {
    const auto at = sample_.size();
    sample_.resize(at + 4);
    appendWithEmulationPrevention(payload, sample_);
    const auto length = static_cast<std::uint32_t>(sample_.size() - at - 4);
    for (int i = 0; i < 4; ++i)
        sample_[at + static_cast<std::size_t>(i)] = static_cast<std::uint8_t>(length >> (24 - 8 * i));
}

void PictureInserter::addSlice(Bytes nal) {
    auto unit = withoutEmulationPrevention(nal);
    BitReader in(unit);
    in.bits(8);  // NAL unit header
    in.ue();     // first_mb_in_slice
    in.ue();     // slice_type
    in.ue();     // pic_parameter_set_id
    frameNum_ = in.bits(frameNumBits_);
    if (nalType(nal) == idrSlice) in.ue();  // idr_pic_id
    const auto at = in.position() / 8;
    const int bitsBefore = static_cast<int>(in.position() % 8);
    if (at >= unit.size()) return addNal(unit);  // too short for a slice: left as it is
    // The 16 bits go in the middle of the byte `at`: three bytes replace it.
    const std::uint8_t split = unit[at];
    const auto head = static_cast<std::uint32_t>(split >> (8 - bitsBefore)) << 16 | picOrderCntLsb();
    const auto tail = static_cast<std::uint8_t>(split & (0xff >> bitsBefore));
    const auto joined = head << (8 - bitsBefore) | tail;
    unit.insert(unit.begin() + static_cast<std::ptrdiff_t>(at), 2, 0);
    for (std::size_t i = 0; i < 3; ++i) unit[at + i] = static_cast<std::uint8_t>(joined >> (16 - 8 * i));
    addNal(unit);
}

Bytes PictureInserter::rewritten(Bytes sample) {
    sample_.clear();
    for (bool isFirstSlice = true; sample.size() > 4;) {
        const auto length = static_cast<std::size_t>(sample[0]) << 24 |
                            static_cast<std::size_t>(sample[1]) << 16 |
                            static_cast<std::size_t>(sample[2]) << 8 | sample[3];
        const auto nal = sample.subspan(4, std::min(length, sample.size() - 4));
        sample = sample.subspan(4 + nal.size());
        if (nal.empty()) continue;
        const int type = nalType(nal);
        if (type == nonIdrSlice || type == idrSlice) {
            if (std::exchange(isFirstSlice, false))
                picturesSinceIdr_ = type == idrSlice ? 0 : picturesSinceIdr_ + 1;
            addSlice(nal);
        } else {
            BoxWriter out(sample_);
            out.u32(static_cast<std::uint32_t>(nal.size()));
            out.bytes(nal);
        }
    }
    return sample_;
}

BitWriter PictureInserter::beginInsertedSlice() {
    constexpr std::uint32_t kAllSlicesAreP = 5;
    ++picturesSinceIdr_;
    BitWriter out;
    out.bits(nonIdrSlice, 8);  // nal_ref_idc 0
    out.ue(0);                 // first_mb_in_slice
    out.ue(kAllSlicesAreP);
    out.ue(ppsId_);
    out.bits(frameNum_ + 1, frameNumBits_);
    out.bits(picOrderCntLsb(), kPicOrderCntLsbBits);
    out.flag(false);  // num_ref_idx_active_override
    out.flag(false);  // ref_pic_list_modification
    out.ue(0);        // slice_qp_delta
    out.ue(1);        // no deblocking
    return out;
}

Bytes PictureInserter::skipPicture() {
    BitWriter out = beginInsertedSlice();
    out.ue(macroblocks_);  // mb_skip_run
    out.stop();
    sample_.clear();
    addNal(out.bytes());
    return sample_;
}

Bytes PictureInserter::patchPicture(const PixelBuffer& picture, std::span<const std::uint32_t> macroblocks) {
    constexpr std::uint32_t kIPcmInPSlice = 30;
    BitWriter out = beginInsertedSlice();
    out.bytes().reserve(patchBytes(macroblocks.size()));
    std::uint32_t next = 0;
    for (const std::uint32_t macroblock : macroblocks) {
        out.ue(macroblock - next);  // mb_skip_run
        out.ue(kIPcmInPSlice);
        out.align();
        for (int p = 0; p < picture.planeCount(); ++p)
            appendSamples(picture.plane(p), macroblock % widthMbs_, macroblock / widthMbs_, p == 0 ? 16 : 8,
                          out.bytes());
        next = macroblock + 1;
    }
    if (next < macroblocks_) out.ue(macroblocks_ - next);
    out.stop();
    sample_.clear();
    addNal(out.bytes());
    return sample_;
}

}  // namespace kasto
