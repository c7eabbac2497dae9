#include "movie/h264/AvcConfiguration.h"

#include "movie/container/BoxWriter.h"

namespace kasto {

Result<std::vector<std::uint8_t>> avcDecoderConfiguration(std::span<const std::uint8_t> sps,
                                                          std::span<const std::uint8_t> pps) {
    constexpr std::uint8_t kProfileHigh = 100;
    if (sps.size() < 4 || pps.empty()) return failure("the encoder gave no usable parameter sets");
    if (sps[1] != kProfileHigh) return failure("the encoder does not encode H.264 High");

    std::vector<std::uint8_t> bytes;
    BoxWriter out(bytes);
    out.u8(1);                     // version
    out.bytes(sps.subspan(1, 3));  // profile, constraints, level
    out.u8(0xff);                  // the length before a NAL unit has four bytes
    out.u8(0xe1);                  // one SPS
    out.u16(static_cast<std::uint16_t>(sps.size()));
    out.bytes(sps);
    out.u8(1);  // one PPS
    out.u16(static_cast<std::uint16_t>(pps.size()));
    out.bytes(pps);
    out.u8(0xfd);  // 4:2:0
    out.u8(0xf8);  // 8 bits of luma
    out.u8(0xf8);  // 8 bits of chroma
    out.u8(0);     // no SPS extensions
    return bytes;
}

}  // namespace kasto
