#pragma once

#include "platform/MovieWriter.h"
#include "platform/ScreenStream.h"

#include <string_view>

namespace kasto {

// The sound of a take: system sound and microphone, each in a track of its own. Sound that a track cannot
// take at once is dropped; no operation waits.
//
// open() and markAsFinished() are called while no sound flows. In between, only the audio queue uses it.
class AudioTracks {
public:
    // The settings of an AAC track at 48 kHz.
    static AudioInputSettings makeAudioInput(int channels, int bitRate);

    // Adds the wanted tracks to a writer that has not started yet and outlives this object. A track that the
    // writer refuses is left out.
    void open(MovieWriter& writer, bool systemSound, bool microphone);

    // Appends a block of sound to the track of its type, if there is one. `startT` is the movie's zero on the
    // media clock in seconds; a block that begins before it is dropped.
    void append(const AudioSamples& samples, StreamOutputType type, double startT);

    void markAsFinished();

private:
    struct Track {
        std::string_view tag;
        AudioWriterInput* input = nullptr;
        bool loggedFlowing = false;
    };

    void appendAudio(const AudioSamples& samples, Track& track, double startT);

    MovieWriter* writer_ = nullptr;
    Track system_{"sys"};
    Track microphone_{"mic"};
};

}  // namespace kasto
