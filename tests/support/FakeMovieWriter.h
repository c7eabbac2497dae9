#pragma once

#include "base/Guarded.h"
#include "platform/MovieWriter.h"
#include "support/TestFolder.h"

#include <atomic>
#include <chrono>
#include <filesystem>
#include <memory>
#include <optional>
#include <thread>
#include <utility>
#include <vector>

namespace kasto::test {

struct WrittenFrame {
    PixelBufferRef buffer;
    MediaTime time;
};

struct WrittenSound {
    AudioSamples samples;
    MediaTime time;
};

// What has been written to one movie. It outlives its writer.
struct WrittenMovie {
    std::filesystem::path file;
    MediaTime fragmentInterval;
    VideoInputSettings video;
    std::vector<AudioInputSettings> audio;

    Guarded<std::vector<WrittenFrame>> frames;
    std::vector<Guarded<std::vector<WrittenSound>>> sounds{2};  // in the order the tracks were added
    Guarded<std::vector<MediaTime>> sessions;
    std::atomic<int> tracksFinished = 0;
    std::atomic<WriterStatus> status = WriterStatus::unknown;
    std::atomic<bool> usedAfterEnd = false;

    std::size_t frameCount() const {
        return frames.with([](const auto& all) { return all.size(); });
    }
};

// Writers that keep what they are given. How they behave is set here before a take, the atomic fields at any
// time.
class FakeMovieWriters : public MovieWriters {
public:
    std::optional<Error> makeError;
    bool takesVideo = true;
    bool takesAudio = true;
    bool starts = true;
    bool completes = true;
    int poolLimit = 8;
    PixelFormat poolFormat = PixelFormat::bgra;

    std::atomic<bool> hasPool = true;
    std::atomic<bool> ready = true;
    std::atomic<bool> audioReady = true;
    std::atomic<bool> takesSamples = true;
    std::atomic<int> msPerSound = 0;  // how long an append of sound takes
    std::atomic<int> askedForStatus = 0;
    Guarded<std::optional<Error>> error;

    std::vector<std::shared_ptr<WrittenMovie>> movies;
    WrittenMovie& newest() { return *movies.back(); }

    Result<std::unique_ptr<MovieWriter>> makeWriter(const std::filesystem::path& file,
                                                    MediaTime fragmentInterval) override {
        if (makeError) return std::unexpected(*makeError);
        movies.push_back(std::make_shared<WrittenMovie>());
        newest().file = file;
        newest().fragmentInterval = fragmentInterval;
        return std::make_unique<Writer>(*this, movies.back());
    }

private:
    struct Video : WriterInput, PixelBufferAdaptor {
        Video(FakeMovieWriters& ownerWriters, WrittenMovie& to) : owner(ownerWriters), movie(to) {}

        bool isReadyForMoreMediaData() const override { return owner.ready; }
        void markAsFinished() override { ++movie.tracksFinished; }
        PixelBufferPool* pixelBufferPool() override { return owner.hasPool ? pool.get() : nullptr; }
        bool append(const PixelBufferRef& buffer, MediaTime time) override {
            if (movie.tracksFinished > 0) movie.usedAfterEnd = true;
            movie.frames.with([&](auto& frames) { frames.push_back({buffer, time}); });
            return true;
        }

        FakeMovieWriters& owner;
        WrittenMovie& movie;
        std::unique_ptr<PixelBufferPool> pool;
    };

    struct Audio : AudioWriterInput {
        Audio(FakeMovieWriters& ownerWriters, WrittenMovie& to, std::size_t trackNumber)
            : owner(ownerWriters), movie(to), track(trackNumber) {}

        bool isReadyForMoreMediaData() const override { return owner.audioReady; }
        void markAsFinished() override { ++movie.tracksFinished; }
        bool append(const AudioSamples& samples, MediaTime time) override {
            if (movie.tracksFinished > 0) movie.usedAfterEnd = true;
            if (!owner.takesSamples) return false;
            std::this_thread::sleep_for(std::chrono::milliseconds(owner.msPerSound));
            movie.sounds[track].with([&](auto& sounds) { sounds.push_back({samples, time}); });
            return true;
        }

        FakeMovieWriters& owner;
        WrittenMovie& movie;
        std::size_t track;
    };

    struct Writer : MovieWriter {
        Writer(FakeMovieWriters& ownerWriters, std::shared_ptr<WrittenMovie> to)
            : owner(ownerWriters), movie(std::move(to)) {}
        ~Writer() override {
            if (movie->status == WriterStatus::writing) movie->status = WriterStatus::cancelled;
        }

        WriterInput* addVideoInput(const VideoInputSettings& settings) override {
            if (!owner.takesVideo) return nullptr;
            movie->video = settings;
            video = std::make_unique<Video>(owner, *movie);
            return video.get();
        }
        AudioWriterInput* addAudioInput(const AudioInputSettings& settings) override {
            if (!owner.takesAudio) return nullptr;
            movie->audio.push_back(settings);
            audio.push_back(std::make_unique<Audio>(owner, *movie, audio.size()));
            return audio.back().get();
        }
        PixelBufferAdaptor* adaptor(WriterInput&) override { return video.get(); }
        bool startWriting() override {
            movie->status = owner.starts ? WriterStatus::writing : WriterStatus::failed;
            if (!owner.starts) return false;
            writeFile(movie->file, "movie");
            video->pool = std::make_unique<PixelBufferPool>(owner.poolFormat, movie->video.width,
                                                            movie->video.height, owner.poolLimit);
            return true;
        }
        void startSession(MediaTime time) override {
            movie->sessions.with([&](auto& sessions) { sessions.push_back(time); });
        }
        void finishWriting() override {
            movie->status = owner.completes ? WriterStatus::completed : WriterStatus::failed;
        }
        void cancelWriting() override { movie->status = WriterStatus::cancelled; }
        WriterStatus status() const override {
            ++owner.askedForStatus;
            return movie->status;
        }
        std::optional<Error> error() const override { return owner.error.copy(); }

        FakeMovieWriters& owner;
        std::shared_ptr<WrittenMovie> movie;
        std::unique_ptr<Video> video;
        std::vector<std::unique_ptr<Audio>> audio;
    };
};

}  // namespace kasto::test
