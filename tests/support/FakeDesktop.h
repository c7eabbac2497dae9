#pragma once

#include "platform/Desktop.h"
#include "platform/Displays.h"
#include "platform/ExportSession.h"
#include "platform/HotKeyService.h"
#include "platform/Multitouch.h"
#include "platform/OverlaySupport.h"
#include "platform/OwnWindows.h"
#include "platform/RunningInstance.h"
#include "platform/ScreenAccess.h"
#include "platform/StatusItem.h"
#include "platform/Workspace.h"
#include "support/FakeCameraSession.h"
#include "support/FakeMovieWriter.h"
#include "support/FakePointer.h"
#include "support/FakeScreenCapture.h"

#include <map>

namespace kasto::test {

// Displays as a test lists them; the first one is the main one. Set up before use from other threads.
struct FakeDisplays : Displays {
    std::vector<Display> displays{{1, "one", {0, 0, 640, 360}, 1, true}};

    std::vector<Display> all() const override { return displays; }
    std::optional<DisplayId> displayAt(Point globalPts) const override {
        for (const auto& display : displays)
            if (display.boundsPts.contains(globalPts)) return display.id;
        return std::nullopt;
    }
    DisplayId mainDisplay() const override { return displays.front().id; }
};

struct FakeScreenAccess : ScreenAccess {
    bool granted = true;
    int requests = 0;

    bool preflight() const override { return granted; }
    void request() override { ++requests; }
    std::optional<std::string> settingsLink() const override { return "settings:screen-recording"; }
    bool accessibilityTrusted() const override { return false; }
};

// Touchpads that a test touches.
struct FakeMultitouch : Multitouch {
    struct Reading : MultitouchReading {
        explicit Reading(FakeMultitouch& fake) : multitouch(fake) {}
        ~Reading() override { multitouch.onFrame = nullptr; }
        std::size_t touchpadCount() const override { return 2; }
        FakeMultitouch& multitouch;
    };

    bool unavailable = false;
    OnFrame onFrame;  // while they are read

    std::unique_ptr<MultitouchReading> read(OnFrame callback) override {
        if (unavailable) return nullptr;
        onFrame = std::move(callback);
        return std::make_unique<Reading>(*this);
    }
};

// The only one that runs.
struct FakeRunningInstance : RunningInstance {
    Result<bool> claim() override { return true; }
    Result<void> forward(const std::vector<std::string>&) override { return {}; }
    Result<void> forwardAction(const std::string&) override { return {}; }
    void release() override { ++released; }
    void setOnActivate(std::function<void()>) override {}
    void setOnOpenUrls(std::function<void(const std::vector<std::string>&)>) override {}

    int released = 0;
};

// Keeps what it is told.
struct FakeOverlaySupport : OverlaySupport {
    bool blends = true;
    std::map<std::uint64_t, std::vector<PixelRect>> shapes;
    std::vector<std::uint64_t> above;  // what was asked for last
    int keeping = 0;                   // how many users keep windows above now

    bool blendsWindows() const override { return blends; }
    void prepare(std::uint64_t, std::uint32_t, Painting) override {}
    void setShape(std::uint64_t window, std::optional<std::span<const PixelRect>> shape) override {
        shapes.erase(window);
        if (shape) shapes[window] = {shape->begin(), shape->end()};
    }
    std::unique_ptr<KeptAbove> keepAbove(std::vector<std::uint64_t> windows) override {
        struct Kept : KeptAbove {
            explicit Kept(FakeOverlaySupport& fake) : support(fake) { ++support.keeping; }
            ~Kept() override { --support.keeping; }
            FakeOverlaySupport& support;
        };
        above = std::move(windows);
        return std::make_unique<Kept>(*this);
    }
};

// Takes every chord unless they are taken; a test presses it.
struct FakeHotKeys : HotKeyService {
    bool taken = false;
    std::function<void()> onPress;

    std::unique_ptr<HotKeyRegistration> registerChord(const KeyChord&,
                                                      std::function<void()> callback) override {
        if (taken) return nullptr;
        onPress = std::move(callback);
        return std::make_unique<HotKeyRegistration>();
    }
    std::unique_ptr<HotKeyRegistration> keepFnRightClick() override { return nullptr; }
};

// Remembers what it was asked to show.
struct FakeWorkspace : Workspace {
    std::vector<std::filesystem::path> openedFolders, revealed;
    std::vector<std::string> openedLinks;
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
struct FakeMovieExports : MovieExports {
    struct Session : ExportSession {
        explicit Session(FakeMovieExports& exports) : owner(exports) {}
        Result<void> exportMpeg4(const std::filesystem::path& destination) override {
            if (owner.onExport) owner.onExport();
            writeFile(destination, "rewrapped");
            return owner.result;
        }
        FakeMovieExports& owner;
    };
    bool refused = false;
    std::function<void()> onExport;
    Result<void> result;

    Result<std::unique_ptr<ExportSession>> makePassthroughSession(const std::filesystem::path&) override {
        if (refused) return failure("no such thing");
        return std::make_unique<Session>(*this);
    }
};

// Items as a test sees and clicks them, by their id.
struct FakeStatusItems : StatusItems {
    struct Shown {
        StatusItemActions actions;
        StatusImage image = StatusImage::idle;
        std::string description, title;
    };
    std::map<std::string, Shown> shown;
    bool hosted = true;

    struct Item : StatusItem {
        Item(FakeStatusItems& items, const std::string& itemId) : all(items), id(itemId) {}
        ~Item() override { all.shown.erase(id); }
        void setImage(StatusImage image, const std::string& description) override {
            all.shown[id].image = image;
            all.shown[id].description = description;
        }
        void setTitle(const std::string& title) override { all.shown[id].title = title; }
        bool isShown() const override { return all.hosted; }
        FakeStatusItems& all;
        std::string id;
    };

    std::unique_ptr<StatusItem> make(const std::string& id, StatusItemActions actions) override {
        shown[id] = {.actions = std::move(actions), .description = {}, .title = {}};
        return std::make_unique<Item>(*this, id);
    }
};

// A desktop with one display of 640 x 360 points at scale 1, where everything is granted.
struct FakeDesktop {
    FakeDisplays displays;
    FakePointer pointer;
    FakeMultitouch multitouch;
    FakeScreenAccess screenAccess;
    FakeScreenCapture screenCapture;
    FakeCameraSession cameraSession;
    FakeMovieWriters movieWriters;
    FakeMovieExports movieExports;
    OwnWindows ownWindows;
    FakeOverlaySupport overlaySupport;
    FakeRunningInstance runningInstance;
    FakeHotKeys hotKeys;
    FakeWorkspace workspace;
    FakeStatusItems statusItems;

    Desktop record() {
        return {displays,        pointer,      multitouch,   screenAccess, screenCapture,
                cameraSession,   movieWriters, movieExports, ownWindows,   overlaySupport,
                runningInstance, hotKeys,      workspace,    statusItems};
    }
};

}  // namespace kasto::test
