#include "movie/container/MovieBoxes.h"

#include "base/MediaRates.h"
#include "movie/container/BoxWriter.h"

#include <algorithm>
#include <ctime>
#include <functional>
#include <limits>
#include <string_view>

namespace kasto {

namespace {

constexpr std::uint32_t kFixedOne = 1u << 16;  // in 16.16
constexpr std::uint32_t kUnspecifiedLanguage = 0x7fff;

std::uint32_t nowSince1904() {
    constexpr std::int64_t kSecondsTo1970 = 2'082'844'800;
    return static_cast<std::uint32_t>(std::time(nullptr) + kSecondsTo1970);
}

std::uint32_t inMovieUnits(std::uint64_t units, std::int32_t timescale) {
    return static_cast<std::uint32_t>(units * std::uint64_t{kMovieTimescale} /
                                      static_cast<std::uint32_t>(timescale));
}

std::uint32_t startInMovie(const MovieTrack& track) {
    return inMovieUnits(static_cast<std::uint64_t>(track.samples.startUnits), track.format.timescale);
}

std::uint32_t durationInMovie(const MovieTrack& track) {
    const auto duration = track.samples.durationUnits();
    const std::uint64_t priming = track.format.primingUnits;
    return inMovieUnits(duration - std::min(duration, priming), track.format.timescale);
}

void writeIdentityMatrix(BoxWriter& out) {
    for (const std::uint32_t value : {kFixedOne, 0u, 0u, 0u, kFixedOne, 0u, 0u, 0u, 1u << 30}) out.u32(value);
}

void writeMovieHeader(BoxWriter& out, std::span<const MovieTrack> tracks) {
    std::uint32_t duration = 0;
    for (const auto& track : tracks)
        duration = std::max(duration, startInMovie(track) + durationInMovie(track));
    const auto mvhd = out.box("mvhd");
    out.versionAndFlags(0, 0);
    out.u32(nowSince1904());
    out.u32(nowSince1904());
    out.u32(std::uint32_t{kMovieTimescale});
    out.u32(duration);
    out.u32(kFixedOne);  // rate
    out.u16(0x0100);     // volume
    out.zeros(10);
    writeIdentityMatrix(out);
    out.zeros(24);
    out.u32(static_cast<std::uint32_t>(tracks.size()) + 1);  // the next track's number
}

void writeTrackHeader(BoxWriter& out, std::size_t index, const MovieTrack& track) {
    constexpr std::uint32_t kEnabledInMovie = 3;
    const auto tkhd = out.box("tkhd");
    out.versionAndFlags(0, kEnabledInMovie);
    out.u32(nowSince1904());
    out.u32(nowSince1904());
    out.u32(static_cast<std::uint32_t>(index) + 1);
    out.u32(0);
    out.u32(startInMovie(track) + durationInMovie(track));
    out.zeros(12);  // layer and group
    out.u16(track.format.kind == TrackKind::sound ? 0x0100 : 0);
    out.u16(0);
    writeIdentityMatrix(out);
    out.u32(static_cast<std::uint32_t>(track.format.width) << 16);
    out.u32(static_cast<std::uint32_t>(track.format.height) << 16);
}

// Writes an edit list where the track begins after the movie's zero, by an empty edit, or has priming, which
// the edit leaves out.
void writeEdits(BoxWriter& out, const MovieTrack& track) {
    constexpr std::uint32_t kEmptyEdit = 0xffffffff;
    const bool beginsLate = track.samples.startUnits != 0;
    if (!beginsLate && track.format.primingUnits == 0) return;
    const auto edts = out.box("edts");
    const auto elst = out.box("elst");
    out.versionAndFlags(0, 0);
    out.u32(beginsLate ? 2 : 1);
    if (beginsLate) {
        out.u32(startInMovie(track));
        out.u32(kEmptyEdit);
        out.u32(kFixedOne);
    }
    out.u32(durationInMovie(track));
    out.u32(track.format.primingUnits);
    out.u32(kFixedOne);
}

void writeHandler(BoxWriter& out, std::string_view component, std::string_view type, std::string_view name) {
    const auto hdlr = out.box("hdlr");
    out.versionAndFlags(0, 0);
    out.text(component);
    out.text(type);
    out.zeros(12);
    out.u8(static_cast<std::uint8_t>(name.size()));
    out.text(name);
}

void writeMediaInformationHeader(BoxWriter& out, TrackKind kind) {
    if (kind == TrackKind::sound) {
        const auto smhd = out.box("smhd");
        out.zeros(8);
        return;
    }
    const auto vmhd = out.box("vmhd");
    out.versionAndFlags(0, 1);
    out.zeros(8);
}

void writeDataReference(BoxWriter& out) {
    constexpr std::uint32_t kInThisFile = 1;
    const auto dinf = out.box("dinf");
    const auto dref = out.box("dref");
    out.versionAndFlags(0, 0);
    out.u32(1);
    const auto url = out.box("url ");
    out.versionAndFlags(0, kInThisFile);
}

// Calls `writeRun` for each run of equal values, and writes the number of runs before them.
template <class Values, class Equal, class WriteRun>
void writeRuns(BoxWriter& out, const Values& values, Equal&& equal, WriteRun&& writeRun) {
    const std::size_t countAt = out.size();
    std::uint32_t runs = 0;
    out.u32(0);
    for (std::size_t begin = 0; begin < values.size();) {
        std::size_t end = begin + 1;
        while (end < values.size() && equal(values[begin], values[end])) ++end;
        writeRun(begin, end - begin);
        begin = end;
        ++runs;
    }
    out.patchU32(countAt, runs);
}

void writeDurations(BoxWriter& out, const SampleTable& samples) {
    const auto stts = out.box("stts");
    out.versionAndFlags(0, 0);
    writeRuns(out, samples.durations, std::equal_to<>(), [&](std::size_t begin, std::size_t count) {
        out.u32(static_cast<std::uint32_t>(count));
        out.u32(samples.durations[begin]);
    });
}

void writeSyncSamples(BoxWriter& out, const SampleTable& samples) {
    const auto stss = out.box("stss");
    out.versionAndFlags(0, 0);
    out.u32(static_cast<std::uint32_t>(samples.syncSamples.size()));
    for (const std::uint32_t number : samples.syncSamples) out.u32(number);
}

void writeChunks(BoxWriter& out, const SampleTable& samples) {
    {
        const auto stsc = out.box("stsc");
        out.versionAndFlags(0, 0);
        const auto sameCount = [](const auto& a, const auto& b) { return a.samples == b.samples; };
        writeRuns(out, samples.chunks, sameCount, [&](std::size_t begin, std::size_t) {
            out.u32(static_cast<std::uint32_t>(begin) + 1);
            out.u32(samples.chunks[begin].samples);
            out.u32(1);
        });
    }
    {
        const auto stsz = out.box("stsz");
        out.versionAndFlags(0, 0);
        out.u32(0);
        out.u32(static_cast<std::uint32_t>(samples.sizes.size()));
        for (const std::uint32_t sizeBytes : samples.sizes) out.u32(sizeBytes);
    }
    const auto co64 = out.box("co64");
    out.versionAndFlags(0, 0);
    out.u32(static_cast<std::uint32_t>(samples.chunks.size()));
    for (const auto& chunk : samples.chunks) out.u64(chunk.fileOffset);
}

void writeSampleTable(BoxWriter& out, const MovieTrack& track) {
    const auto stbl = out.box("stbl");
    {
        const auto stsd = out.box("stsd");
        out.versionAndFlags(0, 0);
        out.u32(1);
        out.bytes(track.format.sampleEntry);
    }
    writeDurations(out, track.samples);
    // Without this table every sample is a sync sample, which is true of sound.
    if (track.format.kind == TrackKind::video && !track.samples.isEmpty())
        writeSyncSamples(out, track.samples);
    writeChunks(out, track.samples);
}

// After a day at 48 kHz a duration no longer fits 32 bits; version 1 of the box has 64.
void writeMediaTimes(BoxWriter& out, const MovieTrack& track) {
    const std::uint64_t duration = track.samples.durationUnits();
    const bool isLong = duration > std::numeric_limits<std::uint32_t>::max();
    const auto put = [&](std::uint64_t value) {
        if (isLong) return out.u64(value);
        out.u32(static_cast<std::uint32_t>(value));
    };
    out.versionAndFlags(isLong ? 1 : 0, 0);
    put(nowSince1904());
    put(nowSince1904());
    out.u32(static_cast<std::uint32_t>(track.format.timescale));
    put(duration);
}

void writeTrack(BoxWriter& out, std::size_t index, const MovieTrack& track) {
    const bool isVideo = track.format.kind == TrackKind::video;
    const auto trak = out.box("trak");
    writeTrackHeader(out, index, track);
    writeEdits(out, track);
    const auto mdia = out.box("mdia");
    {
        const auto mdhd = out.box("mdhd");
        writeMediaTimes(out, track);
        out.u16(kUnspecifiedLanguage);
        out.u16(0);
    }
    writeHandler(out, "mhlr", isVideo ? "vide" : "soun", isVideo ? "Video" : "Sound");
    const auto minf = out.box("minf");
    writeMediaInformationHeader(out, track.format.kind);
    writeHandler(out, "dhlr", "url ", "Data");
    writeDataReference(out);
    writeSampleTable(out, track);
}

}  // namespace

void writeMovieContents(BoxWriter& out, std::span<const MovieTrack> tracks) {
    writeMovieHeader(out, tracks);
    for (std::size_t i = 0; i < tracks.size(); ++i) writeTrack(out, i, tracks[i]);
}

}  // namespace kasto
