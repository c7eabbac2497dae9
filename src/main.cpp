// Picks what serves the program on this desktop, builds the controller and runs the loop.

#include "base/DebugLog.h"
#include "base/HomeFolders.h"
#include "linux/evdev/EvdevMultitouch.h"
#include "linux/ffmpeg/AacEncoder.h"
#include "linux/ffmpeg/FfmpegExports.h"
#include "linux/ffmpeg/HardwareEncoders.h"
#include "linux/freedesktop/DBusAutomation.h"
#include "linux/freedesktop/DBusCameraPortal.h"
#include "linux/freedesktop/DBusRunningInstance.h"
#include "linux/freedesktop/DesktopWorkspace.h"
#include "linux/freedesktop/QuitSignals.h"
#include "linux/freedesktop/TrayStatusItems.h"
#include "linux/pipewire/PipeWireConnection.h"
#include "linux/pipewire/PipeWireSound.h"
#include "linux/pipewire/PortalCameras.h"
#include "linux/x11/capture/X11ScreenCapture.h"
#include "linux/x11/input/X11HotKeys.h"
#include "linux/x11/input/X11Pointer.h"
#include "linux/x11/server/X11Displays.h"
#include "linux/x11/server/X11OverlaySupport.h"
#include "linux/x11/server/X11ScreenAccess.h"
#include "movie/encoder/EncoderChoice.h"
#include "movie/h264/SoftwareEncoder.h"
#include "movie/writer/MovieFileWriters.h"
#include "platform/OwnWindows.h"
#include "platform/ScreenCaptureWithSound.h"
#include "shell/AppDelegate.h"
#include "shell/CommandLine.h"
#include "shell/Intents.h"
#include "ui/Brand.h"
#include "ui/OwnWindowWatch.h"

#include <QAbstractNativeEventFilter>
#include <QApplication>
#include <QTimer>
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <string>
#include <utility>

namespace {

using namespace kasto;

constexpr int kFailed = 1;
constexpr int kMisused = 2;

int complain(const Error& error, int status) {
    std::fprintf(stderr, "kasto: %s\n", error.description.c_str());
    return status;
}

// The connection Qt has to an X server; none where it draws elsewhere.
xcb_connection_t* uiConnection(const QGuiApplication& application) {
    const auto* x11 = application.nativeInterface<QNativeInterface::QX11Application>();
    return x11 ? x11->connection() : nullptr;
}

// The hot keys of an X server by the connection that Qt has to it; none where Qt draws elsewhere.
class UiHotKeys final : public HotKeyService, private QAbstractNativeEventFilter {
public:
    explicit UiHotKeys(QGuiApplication& application) {
        auto* connection = uiConnection(application);
        if (!connection) return;
        keys_.emplace(connection);
        application.installNativeEventFilter(this);
    }

    std::unique_ptr<HotKeyRegistration> registerChord(const KeyChord& chord,
                                                      std::function<void()> onPress) override {
        return keys_ ? keys_->registerChord(chord, std::move(onPress)) : nullptr;
    }

    std::unique_ptr<HotKeyRegistration> keepFnRightClick() override {
        return keys_ ? keys_->keepFnRightClick() : nullptr;
    }

private:
    bool nativeEventFilter(const QByteArray& eventType, void* message, qintptr*) override {
        return eventType == "xcb_generic_event_t" &&
               keys_->handleEvent(static_cast<const xcb_generic_event_t*>(message));
    }

    std::optional<x11::X11HotKeys> keys_;
};

void makeLogFolder() {
    // Without the folder the log goes to the system log alone.
    std::error_code ignored;
    std::filesystem::create_directories(DebugLog::fileLocation().parent_path(), ignored);
}

AppDelegate* running = nullptr;  // while the event loop runs

// Qt ends the process where it stands when the X server goes, and some session managers take the answer to
// their question for the end: a take is finished in both cases.
void finishTakeAtExit() {
    if (auto* delegate = std::exchange(running, nullptr)) delegate->finishNow();
    DebugLog::flush();
}

int runApplication(const Desktop& desktop, const CommandLine& line, Automation& automation) {
    AppDelegate delegate(desktop);
    desktop.runningInstance.setOnOpenUrls(
        [&](const std::vector<std::string>& opened) { delegate.openUrls(opened); });
    const auto perform = [&](const std::string& actionId) { performIntent(actionId, delegate); };
    automation.offer(KastoShortcuts::shortcuts("kasto"), perform);
    QObject::connect(&delegate, &AppDelegate::readyToTerminate, qApp, &QCoreApplication::quit);
    const auto quitSignals = freedesktop::QuitSignals::install([&] { delegate.terminate(); });
    if (!quitSignals) return complain(quitSignals.error(), kFailed);

    QTimer::singleShot(0, &delegate, [&] {
        delegate.applicationDidFinishLaunching();
        delegate.openUrls(line.urls);
        std::ranges::for_each(line.actions, perform);
    });
    QObject::connect(
        qApp, &QGuiApplication::commitDataRequest, &delegate, [&] { delegate.finishNow(); },
        Qt::DirectConnection);
    running = &delegate;
    std::atexit(finishTakeAtExit);
    const int status = QApplication::exec();
    running = nullptr;
    desktop.runningInstance.setOnOpenUrls({});
    automation.withdraw();
    return status;
}

// Hands what this start was asked for to the kasto that runs.
int forwardToRunning(RunningInstance& instance, const CommandLine& line) {
    if (!line.urls.empty() || line.actions.empty()) {
        if (const auto sent = instance.forward(line.urls); !sent) return complain(sent.error(), kFailed);
    }
    for (const auto& action : line.actions) {
        if (const auto sent = instance.forwardAction(action); !sent) return complain(sent.error(), kFailed);
    }
    return 0;
}

// Becomes the running kasto, or hands everything to the one that is.
int claimAndRun(const Desktop& desktop, const CommandLine& line, Automation& automation,
                const pipewire::PipeWireConnection& mediaServer) {
    const auto claimed = desktop.runningInstance.claim();
    if (claimed && !*claimed) return forwardToRunning(desktop.runningInstance, line);
    makeLogFolder();
    if (!claimed) DebugLog::log("runs alone: " + claimed.error().description);
    // Here and not at the first take, whose thread gives way to others.
    static_cast<void>(mediaServer.lock());
    return runApplication(desktop, line, automation);
}

int runOnX11(int& argc, char** argv, const CommandLine& line) {
    // Qt ends the process by itself where it finds no display, so the connection is tried first.
    const auto displays = x11::X11Displays::open("");
    if (!displays) return complain(displays.error(), kFailed);
    const auto pointer = x11::X11Pointer::open("", **displays);
    if (!pointer) return complain(pointer.error(), kFailed);

    // The windows must be the X server's that is recorded, to be known there as the program's own.
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "xcb");
    QApplication application(argc, argv);
    QApplication::setApplicationName("kasto");
    QApplication::setApplicationVersion(KASTO_VERSION);
    QApplication::setDesktopFileName("app.tolvane.kasto");
    QApplication::setWindowIcon(Brand::icon());
    QApplication::setQuitOnLastWindowClosed(false);

    evdev::EvdevMultitouch multitouch;
    const auto overlaySupport = x11::X11OverlaySupport::open("", uiConnection(application));
    if (!overlaySupport) return complain(overlaySupport.error(), kFailed);
    OwnWindows ownWindows;
    x11::X11ScreenAccess screenAccess;
    x11::X11ScreenCapture pictures("", **displays, ownWindows);
    pipewire::PipeWireConnection mediaServer;
    pipewire::PipeWireSound sound(mediaServer);
    ScreenCaptureWithSound screenCapture(pictures, sound);
    freedesktop::DBusCameraPortal cameraPortal;
    pipewire::PortalCameras cameraSession(mediaServer, cameraPortal);
    MovieFileWriters movieWriters(preferHardware(ffmpeg::hardwareEncoders(), openSoftwareEncoder),
                                  ffmpeg::openAacEncoder);
    ffmpeg::FfmpegExports movieExports;
    freedesktop::DBusRunningInstance runningInstance;
    freedesktop::DBusAutomation automation(runningInstance);
    UiHotKeys hotKeys(application);
    freedesktop::DesktopWorkspace workspace([&](QWidget& window) { watchOwnWindow(window, ownWindows); });
    freedesktop::TrayStatusItems statusItems;
    return claimAndRun({.displays = **displays,
                        .pointer = **pointer,
                        .multitouch = multitouch,
                        .screenAccess = screenAccess,
                        .screenCapture = screenCapture,
                        .cameraSession = cameraSession,
                        .movieWriters = movieWriters,
                        .movieExports = movieExports,
                        .ownWindows = ownWindows,
                        .overlaySupport = **overlaySupport,
                        .runningInstance = runningInstance,
                        .hotKeys = hotKeys,
                        .workspace = workspace,
                        .statusItems = statusItems},
                       line, automation, mediaServer);
}

}  // namespace

int main(int argc, char** argv) {
    const auto line = parseCommandLine({argv + 1, argv + argc});
    if (!line) return complain(line.error(), kMisused);
    if (line->task == CommandLine::Task::showHelp) {
        std::fputs(std::string(kUsage).c_str(), stdout);
        return 0;
    }
    if (line->task == CommandLine::Task::showVersion) {
        std::puts("kasto " KASTO_VERSION);
        return 0;
    }
    const int status = runOnX11(argc, argv, *line);
    DebugLog::flush();
    return status;
}
