#include "movie/container/TrackFormat.h"

#include "base/MediaRates.h"
#include "movie/container/BoxWriter.h"

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

// An MPEG-4 descriptor of less than 128 bytes.
void writeDescriptor(BoxWriter& out, std::uint8_t tag, std::span<const std::uint8_t> contents) {
    out.u8(tag);
    out.u8(static_cast<std::uint8_t>(contents.size()));
    out.bytes(contents);
}

std::vector<std::uint8_t> decoderDescription(const AudioInputSettings& settings,
                                             std::span<const std::uint8_t> configuration) {
    constexpr std::uint8_t kDecoderSpecific = 5;
    std::vector<std::uint8_t> bytes;
    BoxWriter out(bytes);
    out.u8(0x40);   // MPEG-4 audio
    out.u8(0x15);   // an audio stream
    out.u8(0);      // the buffer's size has three bytes:
    out.u16(6144);  // the largest packet of two channels
    out.u32(static_cast<std::uint32_t>(settings.bitRate));
    out.u32(static_cast<std::uint32_t>(settings.bitRate));
    writeDescriptor(out, kDecoderSpecific, configuration);
    return bytes;
}

void writeEsds(BoxWriter& out, const AudioInputSettings& settings,
               std::span<const std::uint8_t> configuration) {
    constexpr std::uint8_t kEsDescriptor = 3, kDecoderConfig = 4, kSlConfig = 6;
    std::vector<std::uint8_t> bytes;
    BoxWriter stream(bytes);
    stream.u16(0);  // ES_ID
    stream.u8(0);   // flags
    writeDescriptor(stream, kDecoderConfig, decoderDescription(settings, configuration));
    const std::uint8_t predefinedForFiles[] = {2};
    writeDescriptor(stream, kSlConfig, predefinedForFiles);
    const auto esds = out.box("esds");
    out.versionAndFlags(0, 0);
    writeDescriptor(out, kEsDescriptor, bytes);
}

// QuickTime's form: a sound description of version 1 with the esds box inside a wave box.
void writeAacEntry(TrackFormat& format, const AudioInputSettings& settings,
                   std::span<const std::uint8_t> configuration) {
    constexpr std::uint16_t kVariableRate = 0xfffe;
    BoxWriter out(format.sampleEntry);
    const auto entry = out.box("mp4a");
    out.zeros(6);
    out.u16(1);  // the data are in this file
    out.u16(1);
    out.zeros(6);
    out.u16(static_cast<std::uint16_t>(settings.channels));
    out.u16(16);  // bits, by convention
    out.u16(kVariableRate);
    out.u16(0);
    out.u16(kSoundRate);
    out.u16(0);
    out.u32(kAacPacketFrames);
    out.u32(0);  // bytes of a packet and of a frame vary
    out.u32(0);
    out.u32(2);
    const auto wave = out.box("wave");
    {
        const auto frma = out.box("frma");
        out.text("mp4a");
    }
    {
        const auto mp4a = out.box("mp4a");
        out.u32(0);
    }
    writeEsds(out, settings, configuration);
    out.u32(8);  // a terminator: a box of type 0 without contents
    out.u32(0);
}

}  // namespace

TrackFormat aacTrackFormat(const AudioInputSettings& settings, std::span<const std::uint8_t> configuration,
                           int primingFrames) {
    TrackFormat format{
        .kind = TrackKind::sound,
        .timescale = kSoundRate,
        .sampleDuration = static_cast<std::uint32_t>(kAacPacketFrames),
        .primingUnits = static_cast<std::uint32_t>(primingFrames),
        .sampleEntry = {},
    };
    writeAacEntry(format, settings, configuration);
    return format;
}

TrackFormat avcTrackFormat(const VideoInputSettings& settings, std::span<const std::uint8_t> configuration) {
    TrackFormat format{
        .kind = TrackKind::video,
        .timescale = kMovieTimescale,
        .sampleDuration =
            static_cast<std::uint32_t>(std::max(1, kMovieTimescale / settings.expectedFrameRate)),
        .width = settings.width,
        .height = settings.height,
        .sampleEntry = {},
    };
    writeAvcEntry(format, configuration);
    return format;
}

}  // namespace kasto
