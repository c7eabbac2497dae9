#pragma once

#include "platform/Desktop.h"
#include "platform/ExportSession.h"
#include "platform/HotKeyService.h"
#include "platform/OwnWindows.h"
#include "platform/RunningInstance.h"
#include "platform/ScreenAccess.h"
#include "platform/Workspace.h"
#include "support/FakeDisplays.h"
#include "support/FakeMovieWriter.h"
#include "support/FakeScreenCapture.h"
#include "support/TestFolder.h"

#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace kasto::test {

class FakeScreenAccess : public ScreenAccess {
public:
    bool granted = true;
    int requests = 0;

    bool preflight() const override { return granted; }
    void request() override { ++requests; }
    std::optional<std::string> settingsLink() const override { return "settings:screen-recording"; }
    bool accessibilityTrusted() const override { return false; }
};

class FakeRunningInstance : public RunningInstance {
public:
    Result<bool> claimed = true;
    std::vector<std::string> forwarded;
    std::function<void(const std::vector<std::string>&)> onOpenUrls;

    Result<bool> claim() override { return claimed; }
    Result<void> forward(const std::vector<std::string>& urls) override {
        forwarded = urls;
        return {};
    }
    void setOnOpenUrls(std::function<void(const std::vector<std::string>&)> callback) override {
        onOpenUrls = std::move(callback);
    }
};

// Takes every chord but those that are taken, and presses it when told to.
class FakeHotKeys : public HotKeyService {
public:
    bool taken = false;
    std::function<void()> onPress;
    std::optional<KeyChord> chord;

    std::unique_ptr<HotKeyRegistration> registerChord(const KeyChord& wanted,
                                                      std::function<void()> callback) override {
        if (taken) return nullptr;
        chord = wanted;
        onPress = std::move(callback);
        return std::make_unique<HotKeyRegistration>();
    }
};

// Remembers what it was asked to show.
class FakeWorkspace : public Workspace {
public:
    std::vector<std::filesystem::path> openedFolders;
    std::vector<std::string> openedLinks;
    std::vector<std::filesystem::path> revealed;
    int relaunches = 0;
    std::optional<FolderQuestion> question;
    std::optional<std::filesystem::path> answer;

    void openFolder(const std::filesystem::path& folder) override { openedFolders.push_back(folder); }
    void openLink(const std::string& link) override { openedLinks.push_back(link); }
    void reveal(const std::filesystem::path& file) override { revealed.push_back(file); }
    void relaunch() override { ++relaunches; }
    void chooseFolder(const FolderQuestion& asked,
                      std::function<void(std::optional<std::filesystem::path>)> done) override {
        question = asked;
        done(answer);
    }
};

// Rewraps by writing a text.
class FakeMovieExports : public MovieExports {
public:
    struct Session : ExportSession {
        Result<void> result;
        Result<void> exportMpeg4(const std::filesystem::path& destination) override {
            writeFile(destination, "rewrapped");
            return result;
        }
    };
    bool refused = false;
    Result<void> result;

    Result<std::unique_ptr<ExportSession>> makePassthroughSession(const std::filesystem::path&) override {
        if (refused) return failure("no such thing");
        auto session = std::make_unique<Session>();
        session->result = result;
        return session;
    }
};

// A desktop with one display of 640 x 360 points at scale 1, where everything is granted.
struct FakeDesktop {
    FakeDisplays displays;
    FakePointer pointer;
    FakeScreenAccess screenAccess;
    FakeScreenCapture screenCapture;
    FakeMovieWriters movieWriters;
    FakeMovieExports movieExports;
    OwnWindows ownWindows;
    FakeRunningInstance runningInstance;
    FakeHotKeys hotKeys;
    FakeWorkspace workspace;

    Desktop record() {
        return {displays,     pointer,    screenAccess,    screenCapture, movieWriters,
                movieExports, ownWindows, runningInstance, hotKeys,       workspace};
    }
};

}  // namespace kasto::test
