#pragma once

#include "platform/MovieWriter.h"
#include "platform/ScreenStream.h"

#include <string_view>

namespace kasto {

// The sound of a take: system sound and microphone, each a track of its own. What cannot be appended is
// dropped; nothing here waits.
//
// Opened and finished by the recorder while no sound flows; in between used on the audio queue only.
class AudioTracks {
public:
    // AAC at 48 kHz.
    static AudioInputSettings makeAudioInput(int channels, int bitRate);

    // Adds the wanted tracks to a writer that has not started yet and outlives this. A track the writer does
    // not accept is absent.
    void open(MovieWriter& writer, bool systemSound, bool microphone);

    // Appends sound of one of the two sorts to its track, if there is one. `startT` is the movie's zero on
    // the media clock; sound from before it is dropped.
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
