#pragma once

#include "camera/WebcamTile.h"
#include "control/TakeController.h"
#include "input/HotKey.h"
#include "model/CaptureModel.h"
#include "options/OptionTable.h"
#include "platform/Desktop.h"
#include "shell/Alerts.h"
#include "shell/LiveTake.h"
#include "shell/MainQueue.h"
#include "shell/OptionCommands.h"
#include "shell/ScreenAccessWatch.h"
#include "shell/StatusController.h"
#include "shell/menus/MenuHost.h"

#include <QObject>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace kasto {

class SettingsController;
class MainMenu;
class StatusMenus;

// The one object that every trigger of the program reaches: status item, menus, hot key, URLs, automations
// and the session. It owns the components and passes wishes on to them: takes are run by TakeController, what
// the user sees of them by StatusController and LiveTake, the right to record by ScreenAccessWatch.
//
// Main thread only. A request that does not fit the phase of the take is ignored.
class AppDelegate final : public QObject, public MenuHost, private TakeObserver {
    Q_OBJECT

public:
    // The desktop's services outlive the controller.
    explicit AppDelegate(const Desktop& desktop);

    // Completes the movie of a take that still runs, without its move or reveal, and waits for it.
    ~AppDelegate() override;

    // Once, when the event loop is about to run. All else comes after it.
    void applicationDidFinishLaunching();

    // Ends the program: at once when idle, else after the take that is being started, recorded or finished
    // is safely in its file. `readyToTerminate` tells when. Meanwhile the next start of the program finds no
    // kasto running, and runs by itself.
    void terminate() override;

    // After terminate(): leaves the movie where it is recorded. False if the process has to be ended for
    // that, because a move is under way; the movie is complete then.
    bool skipFiling() { return take_.skipFiling(); }

    // What a start without any wish does: shows the settings, where the status item is to be seen nowhere.
    void activate();

    // Runs the command word of each URL, in order: its host, else its path without slashes at its ends.
    void openUrls(const std::vector<std::string>& urls);

    // Starts a take when idle. Without the right to record the screen, asks for that instead.
    void startRecording() { take_.start(); }

    // Stops the take that runs, else starts one.
    void toggleRecording() override { take_.toggle(); }

    // Stops the take that runs, if one does.
    void stopFromCommand() { take_.stop(); }

    // What the stop button does.
    void stopFromBar() { toggleRecording(); }

    // Ends the take that runs, if one does, and finishes its file. `reveal` shows the file to the user in the
    // end. Returns at once.
    void finishStop(bool reveal);

    // Finishes the take that is under way before it returns, and shows nothing: for a process that is about
    // to end without its event loop. No take can be started after it.
    void finishNow();

    // Brings camera and tile of the take that runs in line with the options.
    void applyPipState() { live_.applyPipState(); }

    // Commands of menus and settings.
    std::vector<CameraDevice> cameras() override { return tile_.source().devices(); }
    void chooseOutputFolder() override { optionCommands_.chooseOutputFolder(); }
    void clearOutputFolder() override { optionCommands_.clearOutputFolder(); }
    void openFolder() override { optionCommands_.openFolder(); }
    void beginSetRegion() override;
    void clearRegion() override { optionCommands_.clearRegion(); }
    bool mayRecordScreen() const override { return screenAccess_.isGranted(); }
    void openPrivacyPane() override { screenAccess_.openPrivacyPane(); }

    // Opens the options at the pointer while a take runs.
    void showQuickMenu();

    // Shows the settings window, or hides it.
    void showSettings() override;

    bool isRecording() const override { return take_.isRecording(); }

signals:
    void terminating();
    void readyToTerminate();

private:
    // TakeObserver
    bool mayStartTake() override;
    void takeBegan() override;
    void takeFailed(const Error& error) override;
    void takeEnding() override;
    void takeEnded(const EndedTake& take) override;
    void quickMenuWanted() override { showQuickMenu(); }
    void mayTerminate() override { emit readyToTerminate(); }

    void tellWhyEnded(const Error& reason, const std::optional<std::filesystem::path>& file);

    void buildMainMenu();
    void makeStatusItem();
    void registerHotKey();
    SettingsController& settings();
    void runCommand(const std::string& word);
    TakeController::RunOnMain runOnMain();

    const Desktop desktop_;
    const std::shared_ptr<MainQueue> mainQueue_ = std::make_shared<MainQueue>();
    OptionCommands optionCommands_{desktop_};
    CaptureModel model_;
    WebcamTile tile_{model_, desktop_.cameraSession};
    LiveTake live_{model_, tile_, desktop_};
    Alerts alerts_{desktop_.ownWindows};
    ScreenAccessWatch screenAccess_{desktop_, alerts_, [this] { terminate(); }};
    TakeController take_{model_, tile_, desktop_, runOnMain(), *this};

    std::unique_ptr<SettingsController> settings_;  // made when it is first shown
    // From launch to exit.
    std::unique_ptr<HotKey> hotKey_;  // none where the chord is taken
    std::unique_ptr<MainMenu> mainMenu_;
    std::unique_ptr<StatusMenus> menus_;
    std::unique_ptr<StatusController> status_;
    std::shared_ptr<const void> optionObservation_;
};

}  // namespace kasto
