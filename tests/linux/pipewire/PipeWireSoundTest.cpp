// Sound of a real media server: speakers that play and a microphone that hears a beep at every full second.

#include "linux/pipewire/PipeWireConnection.h"
#include "linux/pipewire/sound/PipeWireSound.h"
#include "support/LogLines.h"
#include "support/PrivatePipeWire.h"
#include "support/WaitUntil.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

namespace kasto::test {

using namespace pipewire;
namespace {

// Listens for the beeps: where in a second they begin, and where sound is missing.
class Listener : public StreamOutput {
public:
    struct Heard {
        int channels = 0;
        double loudest = 0;          // since it was asked last
        std::vector<double> beepsS;  // begin, since the full second
        std::size_t blocks = 0;
    };

    void streamDidOutputSampleBuffer(const SampleBuffer& buffer, StreamOutputType) override {
        const auto& sound = std::get<AudioSamples>(buffer);
        heard_.with([&](Heard& heard) {
            ++heard.blocks;
            heard.channels = sound.channels;
            for (std::size_t i = 0; i < sound.samples.size(); ++i) {
                const double level = std::abs(sound.samples[i]);
                heard.loudest = std::max(heard.loudest, level);
                const double timeS = sound.presentationS + static_cast<double>(i) / sound.channels / 48'000.0;
                if (level > 0.2 && timeS - loudS_ > 0.5) heard.beepsS.push_back(std::remainder(timeS, 1));
                if (level > 0.2) loudS_ = timeS;
            }
        });
    }

    Heard heard() const { return heard_.copy(); }
    void forget() { heard_.set({}); }

private:
    Guarded<Heard> heard_;
    double loudS_ = 0;

public:
    // Last, so that it has run dry before the rest goes.
    SerialQueue queue{"app.tolvane.kasto.audio", QueuePriority::userInteractive};
};

class PipeWireSoundTest : public testing::Test {
protected:
    static ChildProcess play() { return ChildProcess({TEST_SOUND, "play", "1000"}); }
    static ChildProcess plugIn(const std::string& name, const std::vector<std::string>& properties = {}) {
        std::vector<std::string> command{TEST_SOUND, "microphone", name, "700"};
        command.insert(command.end(), properties.begin(), properties.end());
        return ChildProcess(command);
    }
    static auto run(PipeWireSound& sound, StreamOutputType type, Listener& listener) {
        auto run = sound.start(type, listener, listener.queue);
        EXPECT_TRUE(run.has_value());
        return std::move(run.value());
    }
    static bool waitForSound(Listener& listener) {
        listener.forget();
        return waitUntil([&] { return listener.heard().loudest > 0.04; });
    }
    bool waitForLine(const std::string& line) {
        return waitUntil([&] { return log.count("kasto: " + line) > 0; });
    }

    LogLines log;
};

TEST_F(PipeWireSoundTest, tellsWhenEachSortOfSoundIsHeard) {
    struct Case {
        std::vector<std::string> speakers;    // other than those of the server, which drive it
        std::vector<std::string> microphone;  // its properties
    };
    // Wireless headphones; devices with clocks of their own.
    for (const auto& [speakers, properties] : std::vector<Case>{
             {{}, {}},
             {{TEST_SOUND, "speakers", "wireless", "180"}, {"clock.ppm=200"}},
             {{TEST_SOUND, "speakers", "wired", "0"}, {"clock.ppm=-200"}},
         }) {
        SCOPED_TRACE(speakers.empty() ? "the server's" : speakers[2]);
        const PrivatePipeWire server;
        std::optional<ChildProcess> others;
        if (!speakers.empty()) others.emplace(speakers);
        ASSERT_TRUE(waitUntil([&] {
            return speakers.empty() ||
                   PrivatePipeWire::tool("pw-metadata 0 default.audio.sink").find(speakers[2]) !=
                       std::string::npos;
        }));
        const auto player = play();
        const auto microphone = plugIn("mic one", properties);
        PipeWireConnection connection;
        PipeWireSound sound(connection);
        EXPECT_TRUE(sound.deliversMicrophone());
        Listener played;
        Listener spoken;
        const auto playedRun = run(sound, StreamOutputType::audio, played);
        const auto spokenRun = run(sound, StreamOutputType::microphone, spoken);
        ASSERT_TRUE(waitForSound(played));
        ASSERT_TRUE(waitForSound(spoken));
        // What came in while the devices were linked is none of theirs.
        for (auto* listener : {&played, &spoken}) listener->forget();
        for (auto* listener : {&played, &spoken}) {
            ASSERT_TRUE(waitUntil([&] { return listener->heard().beepsS.size() >= 4; }));
            auto heard = listener->heard();
            EXPECT_EQ(heard.channels, listener == &played ? 2 : 1);
            // A round is 21 ms; a busy machine wakes a device some milliseconds late, and one beep's more.
            std::ranges::sort(heard.beepsS);
            EXPECT_NEAR(heard.beepsS[heard.beepsS.size() / 2], 0, 0.008) << (listener == &played);
            EXPECT_NEAR(heard.loudest, 0.5, 0.02);
        }
    }
}

TEST_F(PipeWireSoundTest, followsTheDefaultDevices) {
    const PrivatePipeWire server;
    PipeWireConnection connection;
    PipeWireSound sound(connection);
    Listener played;
    Listener spoken;
    const auto playedRun = run(sound, StreamOutputType::audio, played);
    const auto spokenRun = run(sound, StreamOutputType::microphone, spoken);
    // There is no microphone: the speakers' monitor is not to take its place.
    const auto player = play();
    ASSERT_TRUE(waitForSound(played));
    EXPECT_TRUE(waitForLine("microphone does not arrive"));
    EXPECT_EQ(spoken.heard().blocks, 0u);

    PrivatePipeWire::tool(
        "pw-metadata 0 default.configured.audio.sink '{ \"name\": \"test.sink.b\" }' Spa:String:JSON");
    ASSERT_TRUE(waitUntil([] {
        return PrivatePipeWire::tool("pw-link -l").find("test.sink.b:playback_FL") != std::string::npos;
    }));
    EXPECT_TRUE(waitForSound(played));
    PrivatePipeWire::tool("pw-cli destroy test.sink.b");
    EXPECT_TRUE(waitForSound(played));

    std::optional<ChildProcess> microphone = plugIn("mic one");
    EXPECT_TRUE(waitForLine("microphone: mic one"));
    EXPECT_TRUE(waitForSound(spoken));
    microphone.reset();
    EXPECT_TRUE(waitForLine("microphone is gone"));
    microphone.emplace(plugIn("mic two"));
    EXPECT_TRUE(waitForLine("microphone: mic two"));
    EXPECT_TRUE(waitForSound(spoken));
}

TEST_F(PipeWireSoundTest, outlivesTheServer) {
    PrivatePipeWire server(false);
    PipeWireConnection connection;
    PipeWireSound sound(connection);
    EXPECT_TRUE(sound.deliversMicrophone());
    EXPECT_EQ(log.all(),
              std::vector<std::string>{"kasto: no media server, so no sound and no camera: Host is down"});
    Listener played;
    auto playedRun = run(sound, StreamOutputType::audio, played);
    for (int times = 0; times < 2; ++times) {
        server.start();
        const auto player = play();
        EXPECT_TRUE(waitForSound(played));
        server.kill();
    }
    EXPECT_TRUE(waitForLine("media server gone"));
    playedRun.reset();
    const auto before = played.heard().blocks;
    log.clear();
    server.start();
    EXPECT_TRUE(waitForLine("media server reached"));
    EXPECT_EQ(played.heard().blocks, before);
}

}  // namespace
}  // namespace kasto::test
