// Opens the desktop session, builds the controller and runs the event loop.

#include "base/log/DebugLog.h"
#include "linux/freedesktop/QuitSignals.h"
#include "options/Prefs.h"
#include "platform/RunningInstance.h"
#include "session/Session.h"
#include "shell/AppDelegate.h"
#include "shell/CommandLine.h"
#include "shell/Intents.h"
#include "shell/QuitRequests.h"
#include "ui/Brand.h"

#include <QApplication>
#include <QTimer>
#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
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

void makeLogFolder() {
    // Without the folder the log goes to the system log alone.
    std::error_code ignored;
    std::filesystem::create_directories(DebugLog::fileLocation().parent_path(), ignored);
}

AppDelegate* running = nullptr;  // while the event loop runs

// Qt calls exit() under the event loop when the X server goes. A take that runs is finished then.
void finishTakeAtExit() {
    if (auto* delegate = std::exchange(running, nullptr)) delegate->finishNow();
    Prefs::flush();
    DebugLog::flush();
}

// Somebody who asks twice does not want to wait for a folder that hangs.
void insist(AppDelegate& delegate) {
    if (delegate.skipFiling()) return;
    DebugLog::log("quits without moving the take");
    DebugLog::flush();
    std::_Exit(0);
}

int runEventLoop(AppDelegate& delegate) {
    running = &delegate;
    std::atexit(finishTakeAtExit);
    const int status = QApplication::exec();
    running = nullptr;
    return status;
}

int runApplication(Session& session, const CommandLine& line) {
    const Desktop desktop = session.desktop();
    AppDelegate delegate(desktop);
    desktop.runningInstance.setOnActivate([&] { delegate.activate(); });
    desktop.runningInstance.setOnOpenUrls(
        [&](const std::vector<std::string>& opened) { delegate.openUrls(opened); });
    const auto perform = [&](const std::string& actionId) { performIntent(actionId, delegate); };
    session.automation().offer(KastoShortcuts::shortcuts("kasto"), perform);
    QObject::connect(&delegate, &AppDelegate::terminating, qApp, [&] { session.automation().withdraw(); });
    QObject::connect(&delegate, &AppDelegate::readyToTerminate, qApp, [] { QCoreApplication::exit(0); });
    const QuitRequests quitRequests([&] { delegate.terminate(); });
    const auto quitSignals =
        freedesktop::QuitSignals::install([&] { delegate.terminate(); }, [&] { insist(delegate); });
    if (!quitSignals) return complain(quitSignals.error(), kFailed);

    QTimer::singleShot(0, &delegate, [&] {
        delegate.applicationDidFinishLaunching();
        delegate.openUrls(line.urls);
        std::ranges::for_each(line.actions, perform);
    });
    const int status = runEventLoop(delegate);
    desktop.runningInstance.setOnActivate({});
    desktop.runningInstance.setOnOpenUrls({});
    session.automation().withdraw();
    return status;
}

// Hands what this start was asked for to the kasto that runs.
Result<void> forwardToRunning(RunningInstance& instance, const CommandLine& line) {
    Result<void> sent;
    if (!line.urls.empty() || line.actions.empty()) sent = instance.forward(line.urls);
    for (const auto& action : line.actions)
        if (sent) sent = instance.forwardAction(action);
    return sent;
}

// Becomes the running kasto, or hands everything to the one that is.
int claimAndRun(Session& session, const CommandLine& line) {
    auto& instance = session.desktop().runningInstance;
    auto claimed = instance.claim();
    if (claimed && !*claimed) {
        const auto sent = forwardToRunning(instance, line);
        if (sent) return 0;
        // It may have begun to quit in between.
        claimed = instance.claim();
        if (!claimed || !*claimed) return complain(sent.error(), kFailed);
    }
    if (claimed && onlyStops(line)) return 0;
    makeLogFolder();
    if (!claimed) DebugLog::log("runs alone: " + claimed.error().description);
    session.connectMedia();
    return runApplication(session, line);
}

int start(int& argc, char** argv, const CommandLine& line) {
    const auto server = openDisplayServer();
    if (!server) return complain(server.error(), kFailed);
    QApplication application(argc, argv);
    QApplication::setApplicationName("kasto");
    QApplication::setApplicationVersion(KASTO_VERSION);
    QApplication::setDesktopFileName("app.tolvane.kasto");
    QApplication::setWindowIcon(Brand::icon());
    QApplication::setQuitOnLastWindowClosed(false);
    const auto session = (*server)->openSession(application);
    if (!session) return complain(session.error(), kFailed);
    return claimAndRun(**session, line);
}

}  // namespace

int main(int argc, char** argv) {
    // A write beyond a limit on file sizes is then an error like any other.
    std::signal(SIGXFSZ, SIG_IGN);
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
    const int status = start(argc, argv, *line);
    Prefs::flush();
    DebugLog::flush();
    return status;
}
