#include "movie/container/FragmentBoxes.h"

#include "movie/container/BoxWriter.h"

namespace kasto {

namespace {

// sample_flags: a sync sample depends on no other; the rest depend on others and are no sync samples.
constexpr std::uint32_t kSyncSample = 0x02000000;
constexpr std::uint32_t kNonSyncSample = 0x01010000;
constexpr std::size_t kBoxHeaderBytes = 8;

void writeFragmentDefaults(BoxWriter& out, std::size_t trackCount) {
    const auto mvex = out.box("mvex");
    for (std::size_t i = 0; i < trackCount; ++i) {
        const auto trex = out.box("trex");
        out.versionAndFlags(0, 0);
        out.u32(static_cast<std::uint32_t>(i) + 1);
        out.u32(1);  // default_sample_description_index
        out.zeros(12);
    }
}

void writeRun(BoxWriter& out, const FragmentRun& run, std::uint64_t fragmentOffset,
              std::uint32_t dataOffset) {
    constexpr std::uint32_t kBaseOffset = 0x000001;
    constexpr std::uint32_t kDataOffsetDurationSizeFlags = 0x000701;
    const auto traf = out.box("traf");
    {
        const auto tfhd = out.box("tfhd");
        out.versionAndFlags(0, kBaseOffset);
        out.u32(static_cast<std::uint32_t>(run.track) + 1);
        out.u64(fragmentOffset);
    }
    {
        const auto tfdt = out.box("tfdt");
        out.versionAndFlags(1, 0);
        out.u64(static_cast<std::uint64_t>(run.firstTimeUnits));
    }
    const auto trun = out.box("trun");
    out.versionAndFlags(0, kDataOffsetDurationSizeFlags);
    out.u32(static_cast<std::uint32_t>(run.samples.size()));
    out.u32(dataOffset);
    for (const auto& sample : run.samples) {
        out.u32(sample.durationUnits);
        out.u32(sample.sizeBytes);
        out.u32(sample.isSync ? kSyncSample : kNonSyncSample);
    }
}

void writeFragment(BoxWriter& out, std::uint32_t sequence, std::uint64_t fileOffset,
                   std::span<const FragmentRun> runs, std::uint32_t firstDataOffset) {
    const auto moof = out.box("moof");
    {
        const auto mfhd = out.box("mfhd");
        out.versionAndFlags(0, 0);
        out.u32(sequence);
    }
    for (const auto& run : runs) {
        writeRun(out, run, fileOffset, firstDataOffset);
        firstDataOffset += static_cast<std::uint32_t>(run.dataBytes);
    }
}

}  // namespace

MovieHead movieHead(std::span<const MovieTrack> tracks) {
    MovieHead head;
    BoxWriter out(head.bytes);
    {
        const auto ftyp = out.box("ftyp");
        out.text("qt  ");
        out.u32(0);
        out.text("qt  ");
    }
    head.placeholderOffset = out.size();
    {
        const auto placeholder = out.box("free");
        out.zeros(kPlaceholderBytes - kBoxHeaderBytes);
    }
    {
        const auto moov = out.box("moov");
        writeMovieContents(out, tracks);
        writeFragmentDefaults(out, tracks.size());
    }
    return head;
}

std::vector<std::uint8_t> fragmentHead(std::uint32_t sequence, std::uint64_t fileOffset,
                                       std::span<const FragmentRun> runs) {
    std::vector<std::uint8_t> bytes;
    BoxWriter out(bytes);
    // The data offsets within moof depend on its size, which does not depend on them: it is written twice.
    writeFragment(out, sequence, fileOffset, runs, 0);
    const auto dataOffset = static_cast<std::uint32_t>(bytes.size() + kBoxHeaderBytes);
    bytes.clear();
    writeFragment(out, sequence, fileOffset, runs, dataOffset);
    std::uint64_t dataBytes = 0;
    for (const auto& run : runs) dataBytes += run.dataBytes;
    out.u32(static_cast<std::uint32_t>(kBoxHeaderBytes + dataBytes));
    out.text("mdat");
    return bytes;
}

std::vector<std::uint8_t> completeMovie(std::span<const MovieTrack> tracks) {
    std::vector<std::uint8_t> bytes;
    BoxWriter out(bytes);
    {
        const auto moov = out.box("moov");
        writeMovieContents(out, tracks);
    }
    return bytes;
}

std::vector<std::uint8_t> mediaBoxHeader(std::uint64_t boxBytes) {
    std::vector<std::uint8_t> bytes;
    BoxWriter out(bytes);
    out.u32(1);  // the size follows in 64 bits
    out.text("mdat");
    out.u64(boxBytes);
    return bytes;
}

}  // namespace kasto
