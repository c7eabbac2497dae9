#pragma once

#include "base/SerialQueue.h"
#include "camera/CameraSource.h"
#include "input/HotKey.h"
#include "input/InputPoller.h"
#include "input/ScrollPanMonitor.h"
#include "input/TouchPadZoomPan.h"
#include "model/CaptureModel.h"
#include "options/OptionTable.h"
#include "overlay/OverlayController.h"
#include "platform/Desktop.h"
#include "platform/StatusItem.h"
#include "recording/Recorder.h"
#include "shell/MainQueue.h"
#include "shell/MenuHost.h"
#include "shell/OptionCommands.h"

#include <QMessageBox>
#include <QObject>
#include <QPointer>
#include <QTimer>
#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace kasto {

class SettingsController;
class MainMenu;
class StatusMenus;

// The one controller: every trigger starts or stops a take through it.
//
// Main thread only. What has to wait for the recorder runs on a worker of its own and goes on here when that
// is done; `isRecording` and the private busy mark keep such tasks from overlapping. A request that does not
// fit the phase is ignored.
class AppDelegate final : public QObject, public MenuHost {
    Q_OBJECT

public:
    // The desktop's services outlive the controller.
    explicit AppDelegate(const Desktop& desktop);

    // Finishes a take that still runs, without its move or reveal, and waits for it.
    ~AppDelegate() override;

    // Once, when the event loop is about to run.
    void applicationDidFinishLaunching();

    // Ends the program: at once when idle, else after the take that is being started, recorded or finished
    // is safely in its file. `readyToTerminate` tells when.
    void terminate() override;

    // Runs the command word of each URL, in order: its host, else its path without slashes at its ends.
    void openUrls(const std::vector<std::string>& urls);

    // Starts a take when idle. Without the right to record the screen, asks for that instead.
    void startRecording();

    // Stops the take that runs, else starts one.
    void toggleRecording() override;

    // Stops the take that runs, if one does.
    void stopFromCommand();

    // Ends the take that runs and finishes its file, then calls `done`. Does nothing (and calls nothing)
    // when none runs. `reveal` shows the file to the user in the end.
    void finishStop(bool reveal, std::function<void()> done = {});

    // Commands of menus and settings.
    std::vector<CameraDevice> cameras() override;
    void chooseOutputFolder() override { optionCommands_.chooseOutputFolder(); }
    void clearOutputFolder() override { optionCommands_.clearOutputFolder(); }
    void openFolder() override { optionCommands_.openFolder(); }
    void beginSetRegion() override;
    void clearRegion() override { optionCommands_.clearRegion(); }
    bool mayRecordScreen() const override;

    // What the stop button does.
    void stopFromBar();

    // Opens the options at the pointer while a take runs.
    void showQuickMenu();

    // Shows the settings window, or hides it.
    void showSettings() override;

    // Opens the desktop's settings where the right to record the screen is granted.
    void openPrivacyPane() override;

    // Finishes the take that runs, or is being finished, before it returns, and shows nothing: for a process
    // that is about to end without its event loop.
    void finishNow();

    bool isRecording() const override { return isRecording_; }

    // When the newest take started.
    std::chrono::system_clock::time_point startDate() const { return startDate_; }

signals:
    void readyToTerminate();

private:
    // TakeControl.cpp
    void takeStarted(const Result<void>& started);
    void takeFailed(const Error& error);
    void streamStopped();
    void becomeIdle();

    // FinishTake.cpp
    void stopComponents();
    std::optional<std::filesystem::path> stopAndFile();
    void takeFinished(const std::optional<std::filesystem::path>& file, bool reveal);

    // ScreenPermission.cpp
    void startPermissionWatch();
    void permissionTick();
    void permissionAlert();

    // Alert.cpp: the first button is the default one, the last what Escape means.
    QMessageBox& showAlert(const std::string& message, const std::string& informativeText,
                           const std::vector<std::string>& buttons);

    // StatusBar.cpp
    void makeStatusItem();
    void updateIcon();
    void updateTitle();
    void startTitleTimer();
    void setBusyGear(bool on);
    void spawnStopButton();
    void statusClicked(const StatusClick& click);

    void closeMenus();

    // OptionEffects.cpp
    void follow(OptionId option);

    // Launch.cpp
    void buildMainMenu();

    // CameraTile.cpp: camera and tile as the options say.
    void applyPipState();
    void restartCamera();

    // LiveOverlay.cpp: while a take runs.
    void nameAudioTracks();
    void startOverlay();
    void stopOverlay();

    // UrlCommands.cpp
    void runCommand(const std::string& word);

    const Desktop desktop_;
    // Outlived by nothing that posts to it: the worker and the recorder end first.
    const std::shared_ptr<MainQueue> mainQueue_ = std::make_shared<MainQueue>();
    OptionCommands optionCommands_{desktop_};
    CaptureModel model_;
    CameraSource camera_{desktop_.cameraSession};
    Recorder recorder_{model_, camera_, desktop_};
    InputPoller poller_{model_, desktop_.pointer};
    ScrollPanMonitor scrollPan_{model_, desktop_.pointer};
    const std::shared_ptr<TouchPadZoomPan> touchPad_ = std::make_shared<TouchPadZoomPan>(
        model_, desktop_.multitouch, desktop_.pointer, desktop_.screenAccess);
    OverlayController overlay_{model_, desktop_.displays, desktop_.ownWindows, desktop_.overlaySupport};
    SerialQueue worker_{"app.tolvane.kasto.take", QueuePriority::userInteractive};

    std::chrono::system_clock::time_point startDate_ = std::chrono::system_clock::now();
    bool isRecording_ = false;
    bool isBusy_ = false;       // a start or a finish is in progress
    bool streamEnded_ = false;  // the stream of the take being started is gone already
    bool quitsWhenIdle_ = false;
    QPointer<QMessageBox> alert_;
    std::unique_ptr<QTimer> permissionTimer_;  // while the right to record is waited for
    std::unique_ptr<HotKey> hotKey_;           // none where the chord is taken

    // None before they are first asked for.
    std::unique_ptr<SettingsController> settings_;
    // From launch to exit.
    std::unique_ptr<MainMenu> mainMenu_;
    std::unique_ptr<StatusMenus> menus_;
    std::unique_ptr<StatusItem> statusItem_;
    // While a take runs.
    std::unique_ptr<StatusItem> stopItem_;
    QTimer titleTimer_;
    std::unique_ptr<HotKeyRegistration> quickClick_;
    std::shared_ptr<const void> optionObservation_;  // from launch
};

}  // namespace kasto
