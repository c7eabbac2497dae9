#pragma once

#include "base/Guarded.h"
#include "platform/MovieWriter.h"
#include "support/TestFolder.h"

#include <atomic>
#include <chrono>
#include <thread>
#include <utility>
#include <vector>

namespace kasto::test {

using WrittenFrames = std::vector<std::pair<PixelBufferRef, MediaTime>>;
using WrittenTimes = Guarded<std::vector<MediaTime>>;

// What has been written to one movie. It outlives its writer.
struct WrittenMovie {
    std::filesystem::path file;
    std::vector<AudioInputSettings> audio;
    Guarded<WrittenFrames> frames;
    std::vector<WrittenTimes> sounds{2};  // in the order the tracks were added
    WrittenTimes sessions;
    std::atomic<int> tracksFinished = 0;
    std::atomic<WriterStatus> status = WriterStatus::unknown;
    std::atomic<bool> usedAfterEnd = false;
    std::function<void(const Error&)> onFailure;

    std::size_t frameCount() const { return frames.copy().size(); }
};

// Writers that keep what they are given. How they behave is set here before a take, the atomic fields at any
// time.
class FakeMovieWriters : public MovieWriters {
public:
    std::optional<Error> makeError, startError, error;
    bool completes = true;
    int poolLimit = 8;
    std::atomic<bool> hasPool = true, ready = true;

    std::vector<std::shared_ptr<WrittenMovie>> movies;
    WrittenMovie& newest() { return *movies.back(); }

    Result<std::unique_ptr<MovieWriter>> makeWriter(const std::filesystem::path& file, MediaTime) override {
        if (makeError) return std::unexpected(*makeError);
        movies.push_back(std::make_shared<WrittenMovie>());
        newest().file = file;
        return std::make_unique<Writer>(*this, movies.back());
    }

private:
    struct Audio : AudioWriterInput {
        Audio(FakeMovieWriters& writers, WrittenMovie& to)
            : owner(writers), movie(to), times(to.sounds[to.audio.size() - 1]) {}

        bool isReadyForMoreMediaData() const override { return owner.ready; }
        void markAsFinished() override { ++movie.tracksFinished; }
        bool append(const AudioSamples&, MediaTime time) override {
            if (movie.tracksFinished > 0) movie.usedAfterEnd = true;
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
            if (!owner.error) times.with([&](auto& all) { all.push_back(time); });
            return !owner.error;
        }

        FakeMovieWriters& owner;
        WrittenMovie& movie;
        WrittenTimes& times;
    };

    // The writer, and its one video track.
    struct Writer : MovieWriter, WriterInput, PixelBufferAdaptor {
        Writer(FakeMovieWriters& writers, std::shared_ptr<WrittenMovie> to)
            : owner(writers), movie(std::move(to)) {}

        WriterInput* addVideoInput(const VideoInputSettings& settings) override {
            pool.emplace(PixelFormat::bgra, settings.width, settings.height, owner.poolLimit);
            return this;
        }
        AudioWriterInput* addAudioInput(const AudioInputSettings& settings) override {
            movie->audio.push_back(settings);
            return audio.emplace_back(std::make_unique<Audio>(owner, *movie)).get();
        }
        PixelBufferAdaptor* adaptor(WriterInput&) override { return this; }
        void setOnFailure(std::function<void(const Error&)> onFailure) override {
            movie->onFailure = std::move(onFailure);
        }
        bool startWriting() override {
            if (owner.startError) return false;
            movie->status = WriterStatus::writing;
            writeFile(movie->file, "movie");
            return true;
        }
        void startSession(MediaTime time) override {
            movie->sessions.with([&](auto& all) { all.push_back(time); });
        }
        void finishWriting() override {
            movie->status = owner.completes ? WriterStatus::completed : WriterStatus::failed;
        }
        void cancelWriting() override { movie->status = WriterStatus::cancelled; }
        WriterStatus status() const override { return movie->status; }
        std::optional<Error> error() const override { return owner.error; }

        bool isReadyForMoreMediaData() const override { return owner.ready; }
        void markAsFinished() override { ++movie->tracksFinished; }
        PixelBufferPool* pixelBufferPool() override { return owner.hasPool ? &*pool : nullptr; }
        bool append(const PixelBufferRef& buffer, MediaTime time, const BlockSet&) override {
            if (movie->tracksFinished > 0) movie->usedAfterEnd = true;
            movie->frames.with([&](auto& all) { all.emplace_back(buffer, time); });
            return true;
        }

        FakeMovieWriters& owner;
        std::shared_ptr<WrittenMovie> movie;
        std::optional<PixelBufferPool> pool;
        std::vector<std::unique_ptr<Audio>> audio;
    };
};

}  // namespace kasto::test
