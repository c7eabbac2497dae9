#include "movie/container/MovieFile.h"

#include <utility>

namespace kasto {

namespace {

// So many fragments in memory mean that the disk has not written for as many intervals.
constexpr int kMaxWaitingFragments = 3;

// Room for the boxes of the final moov around the tables: in all, and for each track.
constexpr std::uint64_t kMovieBytes = 1024;
constexpr std::uint64_t kTrackBytes = 1024;

}  // namespace

// A track and its samples in the open fragment.
struct MovieFile::Track {
    TrackFormat format;
    SampleTable written;
    std::vector<SampleRecord> open;
    std::vector<std::uint8_t> data;
    std::int64_t firstTimeUnits = 0;
    std::int64_t lastTimeUnits = 0;
};

struct MovieFile::Fragment {
    std::vector<std::vector<std::uint8_t>> pieces;
    std::uint64_t bytes = 0;
    std::uint64_t tableBytes = kMovieBytes;  // of the final moov if this fragment is the last one
};

Result<std::unique_ptr<MovieFile>> MovieFile::create(const std::filesystem::path& file,
                                                     MediaTime fragmentInterval) {
    auto created = OutputFile::create(file);
    if (!created) return std::unexpected(created.error());
    return std::unique_ptr<MovieFile>(new MovieFile(std::move(*created), fragmentInterval));
}

MovieFile::MovieFile(OutputFile file, MediaTime fragmentInterval)
    : file_(std::move(file)),
      fragmentInterval_(fragmentInterval),
      writing_("app.tolvane.kasto.file", QueuePriority::utility) {}

MovieFile::~MovieFile() = default;

std::size_t MovieFile::addTrack(TrackFormat format) {
    tracks_.push_back({.format = std::move(format), .written = {}, .open = {}, .data = {}});
    return tracks_.size() - 1;
}

Result<void> MovieFile::begin() {
    const auto head = movieHead(movieTracks(Tracks::all));
    placeholderOffset_ = head.placeholderOffset;
    nextOffset_ = head.bytes.size();
    const std::span<const std::uint8_t> piece(head.bytes);
    return file_.append({&piece, 1});
}

void MovieFile::append(std::size_t index, const MovieSample& sample) {
    auto& track = tracks_[index];
    if (!track.open.empty() && track.open.back().durationUnits == 0)
        track.open.back().durationUnits = static_cast<std::uint32_t>(sample.timeUnits - track.lastTimeUnits);
    if (endsFragment(track, sample)) closeFragment(Close::atSample);
    if (track.open.empty()) track.firstTimeUnits = sample.timeUnits;
    track.lastTimeUnits = sample.timeUnits;
    track.open.push_back(
        {static_cast<std::uint32_t>(sample.data.size()), sample.durationUnits, sample.isSync});
    track.data.insert(track.data.end(), sample.data.begin(), sample.data.end());
}

bool MovieFile::endsFragment(const Track& track, const MovieSample& sample) const {
    if (track.open.empty()) return false;
    const bool isVideo = track.format.kind == TrackKind::video;
    if (isVideo && !sample.isSync) return false;
    const double lastedS =
        static_cast<double>(sample.timeUnits - track.firstTimeUnits) / track.format.timescale;
    return lastedS >= fragmentInterval_.seconds() * (isVideo ? 1 : 2);
}

// The open samples of a track that go into the fragment. How long a sample lasts may be known only when the
// next one comes: such a sample waits for it, unless the movie ends.
std::size_t MovieFile::closableSamples(Track& track, Close how) {
    if (track.open.empty() || track.open.back().durationUnits != 0) return track.open.size();
    if (how == Close::atSample) return track.open.size() - 1;
    track.open.back().durationUnits = track.format.sampleDuration;
    return track.open.size();
}

void MovieFile::closeFragment(Close how) {
    std::vector<FragmentRun> runs;
    for (std::size_t i = 0; i < tracks_.size(); ++i) {
        auto& track = tracks_[i];
        const std::size_t samples = closableSamples(track, how);
        if (samples == 0) continue;
        const auto waiting = samples < track.open.size() ? track.open.back().sizeBytes : 0;
        runs.push_back({i, track.firstTimeUnits, track.data.size() - waiting,
                        std::span<const SampleRecord>(track.open).first(samples)});
    }
    if (runs.empty()) return;

    Fragment fragment;
    fragment.pieces.push_back(fragmentHead(++fragments_, nextOffset_, runs));
    fragment.bytes = fragment.pieces.front().size();
    for (const auto& run : runs) {
        auto& track = tracks_[run.track];
        track.written.addChunk(nextOffset_ + fragment.bytes, run.firstTimeUnits, run.samples);
        moveToFragment(track, run.samples.size(), fragment);
    }
    nextOffset_ += fragment.bytes;
    for (const auto& track : tracks_)
        fragment.tableBytes += kTrackBytes + track.format.sampleEntry.size() + track.written.maxTableBytes();
    ++waitingFragments_;
    writing_.async([this, closed = std::move(fragment)] { write(closed); });
}

// Moves the first samples of a track to the fragment. At most the last one stays in the open fragment.
void MovieFile::moveToFragment(Track& track, std::size_t samples, Fragment& fragment) {
    auto data = std::exchange(track.data, {});
    track.data.reserve(data.size());
    track.open.erase(track.open.begin(), track.open.begin() + static_cast<std::ptrdiff_t>(samples));
    if (!track.open.empty()) {
        const auto rest = data.end() - static_cast<std::ptrdiff_t>(track.open.front().sizeBytes);
        track.data.assign(rest, data.end());
        data.erase(rest, data.end());
        track.firstTimeUnits = track.lastTimeUnits;
    }
    fragment.bytes += data.size();
    fragment.pieces.push_back(std::move(data));
}

void MovieFile::write(const Fragment& fragment) {
    const std::vector<std::span<const std::uint8_t>> pieces(fragment.pieces.begin(), fragment.pieces.end());
    if (!error()) {
        auto written = file_.reserve(fragment.bytes + fragment.tableBytes);
        if (written) written = file_.append(pieces);
        if (written) written = file_.sync();
        if (!written) fail(written.error());
    }
    --waitingFragments_;
}

Result<void> MovieFile::finish() {
    closeFragment(Close::atEnd);
    writing_.drain();
    for (auto& track : tracks_) track.written.dropFrom(file_.sizeBytes());
    if (tracks_.empty() || tracks_.front().written.isEmpty()) {
        if (const auto failed = error()) return std::unexpected(*failed);
        return failure("the movie has no pictures");
    }
    // Without its tables the movie stays in fragments, and plays.
    if (const auto completed = complete(); !completed) fail(completed.error());
    file_.release();
    return {};
}

Result<void> MovieFile::complete() {
    const std::uint64_t mediaEnd = file_.sizeBytes();
    const auto tables = completeMovie(movieTracks(Tracks::withSamples));
    const std::span<const std::uint8_t> piece(tables);
    // The tables must be on the disk before the header that hides the fragments: after a power cut between
    // the two the movie is still in fragments.
    if (auto appended = file_.append({&piece, 1}); !appended) return appended;
    if (auto synced = file_.sync(); !synced) return synced;
    const auto header = mediaBoxHeader(mediaEnd - placeholderOffset_);
    if (auto patched = file_.overwrite(placeholderOffset_, header); !patched) return patched;
    return file_.sync();
}

std::vector<MovieTrack> MovieFile::movieTracks(Tracks which) const {
    std::vector<MovieTrack> tracks;
    for (const auto& track : tracks_)
        if (which == Tracks::all || !track.written.isEmpty()) tracks.push_back({track.format, track.written});
    return tracks;
}

bool MovieFile::isKeepingUp() const { return waitingFragments_ < kMaxWaitingFragments; }

void MovieFile::fail(const Error& error) {
    const bool isFirst = error_.with([&](auto& held) {
        if (held) return false;
        held = error;
        return true;
    });
    if (isFirst && onFailure_) onFailure_(error);
}

}  // namespace kasto
