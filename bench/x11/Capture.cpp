// Captures the main display for some seconds and throws the pictures away.
//   x11_capture SECONDS FPS

#include "linux/x11/capture/X11ScreenCapture.h"
#include "linux/x11/server/X11Displays.h"
#include "platform/OwnWindows.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <thread>

namespace {

class Discard : public kasto::StreamOutput, public kasto::StreamDelegate {
public:
    void streamDidOutputSampleBuffer(const kasto::SampleBuffer& buffer, kasto::StreamOutputType) override {
        newest_ = std::get<kasto::ScreenFrame>(buffer);
        ++pictures;
    }
    void streamDidStopWithError(const kasto::Error& error) override {
        std::fprintf(stderr, "%s\n", error.description.c_str());
    }
    int pictures = 0;

private:
    kasto::ScreenFrame newest_;  // kept until the next one comes, as the recorder keeps it
};

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) return 2;
    const auto displays = kasto::x11::X11Displays::open("");
    if (!displays || (*displays)->all().empty()) return 1;
    const auto display = (*displays)->all().front();
    const kasto::OwnWindows ownWindows;
    kasto::x11::X11ScreenCapture capture("", **displays, ownWindows);
    Discard discard;
    kasto::SerialQueue queue("capture", kasto::QueuePriority::userInteractive);
    kasto::StreamConfiguration configuration;
    configuration.width = static_cast<int>(display.boundsPts.width * display.scale);
    configuration.height = static_cast<int>(display.boundsPts.height * display.scale);
    configuration.minimumFrameIntervalS = 1 / std::atof(argv[2]);
    const auto stream = capture.makeStream({display.id, {}}, configuration, discard);
    if (!stream || !(*stream)->addStreamOutput(discard, kasto::StreamOutputType::screen, queue)) return 1;
    if (!(*stream)->startCapture()) return 1;
    std::this_thread::sleep_for(std::chrono::duration<double>(std::atof(argv[1])));
    if (!(*stream)->stopCapture()) return 1;
    queue.drain();
    std::printf("%d\n", discard.pictures);
}
