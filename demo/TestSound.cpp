// Sound for private desktops, with beeps at known times.
//
//   test_sound play HZ [PROPERTY=VALUE…]               plays to the default speakers
//   test_sound microphone NAME HZ [PROPERTY=VALUE…]    makes a microphone of that name
//   test_sound speakers NAME MS [PROPERTY=VALUE…]      makes speakers of that name with a latency of MS
//
// Players and microphones give a quiet tone of HZ that is loud for the first tenth of a second of every beat
// of the monotonic clock. A beat is a second, or the property beat.ms. With the property clock.ppm the
// microphone has a clock of its own that is that many millionths too fast, and hands on its sound one buffer
// late, as devices do.

#include <pipewire/pipewire.h>
#include <spa/param/audio/format-utils.h>
#include <spa/param/latency-utils.h>

#include <array>
#include <cmath>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <numbers>
#include <string>
#include <vector>

namespace kasto::demo {
namespace {

constexpr int kRate = 48'000;
constexpr std::int64_t kSecondNs = 1'000'000'000;
constexpr float kQuiet = 0.05F;
constexpr float kLoud = 0.5F;
constexpr std::size_t kClockFrames = 1024;  // frames in one buffer of a microphone with its own clock

enum class Role { player, microphone, speakers };

struct Sound {
    Role role = Role::player;
    pw_main_loop* loop = nullptr;
    pw_stream* stream = nullptr;
    std::size_t channels = 2;
    double hz = 440;
    double phase = 0;
    std::int64_t beatNs = kSecondNs;
    spa_latency_info latency{};  // what a device reports

    // Of a microphone with a clock of its own:
    bool hasClock = false;
    double samplesPerS = kRate;
    spa_source* timer = nullptr;
    spa_io_position* position = nullptr;
    double roundNs = 0;  // when the present buffer was due
};

std::int64_t monotonicNs() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return SPA_TIMESPEC_TO_NSEC(&now);
}

double roundLengthNs(const Sound& sound) { return kClockFrames / sound.samplesPerS * kSecondNs; }

// The time at which the first sample of this buffer is heard: from the speakers, or by the microphone.
double firstNs(const Sound& sound) {
    if (sound.hasClock) return sound.roundNs - roundLengthNs(sound);
    pw_time time{};
    pw_stream_get_time_n(sound.stream, &time, sizeof time);
    double delayNs = 0;
    if (sound.role == Role::player && time.rate.denom > 0)
        delayNs = static_cast<double>(time.delay) * kSecondNs * time.rate.num / time.rate.denom;
    return static_cast<double>(time.now) + delayNs;
}

void wakeAt(const Sound& sound, double ns) {
    const auto atNs = static_cast<std::int64_t>(ns);
    timespec due{atNs / kSecondNs, atNs % kSecondNs};
    pw_loop_update_timer(pw_main_loop_get_loop(sound.loop), sound.timer, &due, nullptr, true);
}

void beginRound(void* data, std::uint64_t) {
    auto& sound = *static_cast<Sound*>(data);
    sound.roundNs += roundLengthNs(sound);
    wakeAt(sound, sound.roundNs + roundLengthNs(sound));
    if (sound.position) {
        auto& clock = sound.position->clock;
        clock.nsec = static_cast<std::uint64_t>(monotonicNs());
        clock.rate = SPA_FRACTION(1, kRate);
        clock.position += kClockFrames;
        clock.duration = kClockFrames;
        clock.rate_diff = sound.samplesPerS / kRate;
        clock.next_nsec = clock.nsec + kClockFrames * kSecondNs / kRate;
    }
    pw_stream_trigger_process(sound.stream);
}

void process(void* data) {
    auto& sound = *static_cast<Sound*>(data);
    pw_buffer* buffer = pw_stream_dequeue_buffer(sound.stream);
    if (!buffer) return;
    spa_data& memory = buffer->buffer->datas[0];
    const std::size_t frameBytes = sound.channels * sizeof(float);
    std::size_t frames = memory.maxsize / frameBytes;
    if (buffer->requested > 0) frames = std::min<std::size_t>(frames, buffer->requested);
    if (sound.hasClock) frames = std::min(frames, kClockFrames);
    const double beginNs = firstNs(sound);
    auto* samples = static_cast<float*>(memory.data);
    for (std::size_t i = 0; i < frames; ++i) {
        const auto atNs =
            static_cast<std::int64_t>(beginNs + static_cast<double>(i) / sound.samplesPerS * kSecondNs);
        const float level = atNs % sound.beatNs < kSecondNs / 10 ? kLoud : kQuiet;
        sound.phase = std::fmod(sound.phase + sound.hz / kRate, 1);
        const auto value = level * static_cast<float>(std::sin(2 * std::numbers::pi * sound.phase));
        for (std::size_t channel = 0; channel < sound.channels; ++channel) *samples++ = value;
    }
    *memory.chunk = {.offset = 0,
                     .size = static_cast<std::uint32_t>(frames * frameBytes),
                     .stride = static_cast<std::int32_t>(frameBytes),
                     .flags = 0};
    pw_stream_queue_buffer(sound.stream, buffer);
}

void stateChanged(void* data, pw_stream_state, pw_stream_state state, const char*) {
    auto& sound = *static_cast<Sound*>(data);
    if (state == PW_STREAM_STATE_ERROR || state == PW_STREAM_STATE_UNCONNECTED) pw_main_loop_quit(sound.loop);
    if (state != PW_STREAM_STATE_STREAMING || !sound.hasClock) return;
    sound.roundNs = static_cast<double>(monotonicNs());
    wakeAt(sound, sound.roundNs + roundLengthNs(sound));
}

void quit(void* data, int) { pw_main_loop_quit(static_cast<Sound*>(data)->loop); }

// Speakers play nothing. They only take each buffer and give it back.
void consume(void* data) {
    auto& sound = *static_cast<Sound*>(data);
    if (auto* buffer = pw_stream_dequeue_buffer(sound.stream)) pw_stream_queue_buffer(sound.stream, buffer);
}

// Reads the arguments. Returns none if they make no sense.
pw_properties* propertiesOf(Sound& sound, const std::vector<std::string>& arguments) {
    const std::string what = arguments.empty() ? "" : arguments[0];
    if (what == "microphone") sound.role = Role::microphone;
    if (what == "speakers") sound.role = Role::speakers;
    const bool isDevice = sound.role != Role::player;
    if (arguments.size() < (isDevice ? 3 : 2) || (!isDevice && what != "play")) return nullptr;

    auto* properties = pw_properties_new(PW_KEY_MEDIA_TYPE, "Audio", nullptr);
    const double number = std::strtod(arguments[isDevice ? 2 : 1].c_str(), nullptr);
    sound.hz = number;
    if (isDevice) {
        pw_properties_set(properties, PW_KEY_NODE_NAME, arguments[1].c_str());
        pw_properties_set(properties, PW_KEY_NODE_DESCRIPTION, arguments[1].c_str());
        // Without this priority, other devices stay the default microphone and the default speakers.
        pw_properties_set(properties, PW_KEY_PRIORITY_SESSION, "2000");
    }
    if (sound.role == Role::microphone) {
        sound.channels = 1;
        pw_properties_set(properties, PW_KEY_MEDIA_CLASS, "Audio/Source");
        sound.latency = SPA_LATENCY_INFO(SPA_DIRECTION_OUTPUT);
    } else if (sound.role == Role::speakers) {
        pw_properties_set(properties, PW_KEY_MEDIA_CLASS, "Audio/Sink");
        sound.latency = SPA_LATENCY_INFO(SPA_DIRECTION_INPUT);
        sound.latency.min_ns = sound.latency.max_ns =
            static_cast<std::uint64_t>(number * (static_cast<double>(kSecondNs) / 1000));
    } else {
        pw_properties_set(properties, PW_KEY_MEDIA_CATEGORY, "Playback");
    }
    for (std::size_t i = isDevice ? 3 : 2; i < arguments.size(); ++i) {
        const auto equals = arguments[i].find('=');
        if (equals == std::string::npos) continue;
        const auto key = arguments[i].substr(0, equals);
        const auto value = arguments[i].substr(equals + 1);
        if (key == "beat.ms") {
            sound.beatNs = std::stoll(value) * (kSecondNs / 1000);
        } else if (key == "clock.ppm" && sound.role == Role::microphone) {
            sound.hasClock = true;
            sound.samplesPerS = kRate * (1 + std::stod(value) / 1e6);
            sound.latency.min_quantum = sound.latency.max_quantum = 1;
        } else {
            pw_properties_set(properties, key.c_str(), value.c_str());
        }
    }
    return properties;
}

bool connect(Sound& sound) {
    spa_audio_info_raw format{};
    format.format = SPA_AUDIO_FORMAT_F32;
    format.rate = kRate;
    format.channels = static_cast<std::uint32_t>(sound.channels);
    format.position[0] = sound.channels == 1 ? SPA_AUDIO_CHANNEL_MONO : SPA_AUDIO_CHANNEL_FL;
    format.position[1] = SPA_AUDIO_CHANNEL_FR;
    std::array<std::uint8_t, 1024> memory{};
    spa_pod_builder builder{};
    spa_pod_builder_init(&builder, memory.data(), memory.size());
    std::vector<const spa_pod*> offered{spa_format_audio_raw_build(&builder, SPA_PARAM_EnumFormat, &format)};
    if (sound.role != Role::player)
        offered.push_back(spa_latency_build(&builder, SPA_PARAM_Latency, &sound.latency));
    int flags = PW_STREAM_FLAG_MAP_BUFFERS;
    flags |= sound.hasClock ? PW_STREAM_FLAG_DRIVER : PW_STREAM_FLAG_RT_PROCESS;
    if (sound.role == Role::player) flags |= PW_STREAM_FLAG_AUTOCONNECT;
    const auto direction = sound.role == Role::speakers ? PW_DIRECTION_INPUT : PW_DIRECTION_OUTPUT;
    return pw_stream_connect(sound.stream, direction, PW_ID_ANY, static_cast<pw_stream_flags>(flags),
                             offered.data(), static_cast<std::uint32_t>(offered.size())) >= 0;
}

int run(const std::vector<std::string>& arguments) {
    Sound sound;
    auto* properties = propertiesOf(sound, arguments);
    if (!properties) {
        std::fputs("usage: test_sound play HZ | microphone NAME HZ | speakers NAME MS, and PROPERTY=VALUE\n",
                   stderr);
        return 2;
    }
    sound.loop = pw_main_loop_new(nullptr);
    pw_loop* loop = pw_main_loop_get_loop(sound.loop);
    pw_loop_add_signal(loop, SIGINT, quit, &sound);
    pw_loop_add_signal(loop, SIGTERM, quit, &sound);
    if (sound.hasClock) sound.timer = pw_loop_add_timer(loop, beginRound, &sound);
    pw_stream_events events{};
    events.version = PW_VERSION_STREAM_EVENTS;
    events.process = sound.role == Role::speakers ? consume : process;
    events.state_changed = stateChanged;
    events.io_changed = [](void* data, std::uint32_t id, void* area, std::uint32_t) {
        if (id == SPA_IO_Position) static_cast<Sound*>(data)->position = static_cast<spa_io_position*>(area);
    };
    sound.stream = pw_stream_new_simple(loop, "test sound", properties, &events, &sound);
    if (!sound.stream || !connect(sound)) return 1;
    pw_main_loop_run(sound.loop);
    pw_stream_destroy(sound.stream);
    pw_main_loop_destroy(sound.loop);
    return 0;
}

}  // namespace
}  // namespace kasto::demo

int main(int argc, char** argv) {
    pw_init(nullptr, nullptr);
    const int status = kasto::demo::run({argv + 1, argv + argc});
    pw_deinit();
    return status;
}
