#include "linux/ffmpeg/TrackFormat.h"

#include "linux/ffmpeg/BoxWriter.h"
#include "linux/ffmpeg/VideoEncoder.h"

#include <algorithm>

namespace kasto {

namespace {

constexpr std::uint32_t kDotsPerInch72 = 72u << 16;
constexpr std::uint16_t kBt709 = 1;

void writePictureDescription(BoxWriter& out, const TrackFormat& format) {
    out.zeros(6);
    out.u16(1);     // the data are in this file
    out.zeros(16);  // version, vendor, qualities
    out.u16(static_cast<std::uint16_t>(format.width));
    out.u16(static_cast<std::uint16_t>(format.height));
    out.u32(kDotsPerInch72);
    out.u32(kDotsPerInch72);
    out.u32(0);
    out.u16(1);     // one picture a sample
    out.zeros(32);  // no name of the compressor
    out.u16(24);    // bits of colour
    out.u16(0xffff);
}

void writeAvcEntry(TrackFormat& format, std::span<const std::uint8_t> configuration) {
    BoxWriter out(format.sampleEntry);
    const auto entry = out.box("avc1");
    writePictureDescription(out, format);
    {
        const auto avcC = out.box("avcC");
        out.bytes(configuration);
    }
    {
        const auto colr = out.box("colr");
        out.text("nclx");
        for (int i = 0; i < 3; ++i) out.u16(kBt709);  // primaries, transfer, matrix
        out.u8(0);                                    // limited range
    }
    {
        const auto pasp = out.box("pasp");
        out.u32(1);
        out.u32(1);
    }
}

}  // namespace

TrackFormat avcTrackFormat(const VideoInputSettings& settings, std::span<const std::uint8_t> configuration) {
    TrackFormat format{
        .kind = TrackKind::video,
        .timescale = kVideoTimescale,
        .sampleDuration =
            static_cast<std::uint32_t>(std::max(1, kVideoTimescale / settings.expectedFrameRate)),
        .width = settings.width,
        .height = settings.height,
        .sampleEntry = {},
    };
    writeAvcEntry(format, configuration);
    return format;
}

}  // namespace kasto
