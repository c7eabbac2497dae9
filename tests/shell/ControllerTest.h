#pragma once

#include "shell/AppDelegate.h"
#include "support/FakeDesktop.h"
#include "support/ForgetOptions.h"
#include "support/LogLines.h"
#include "support/OffscreenQt.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace kasto::test {

// A launched controller on a desktop of fakes.
class ControllerTest : public testing::Test {
protected:
    ControllerTest() {
        forgetOptions();
        launch();
    }

    // In the place of the controller there is.
    void launch() {
        delegate = std::make_unique<AppDelegate>(desktop.record());
        QObject::connect(delegate.get(), &AppDelegate::readyToTerminate, [this] { ++terminations; });
        delegate->applicationDidFinishLaunching();
    }

    // Starts a take as soon as the controller is idle.
    void record() {
        ASSERT_TRUE(loopUntil([&] {
            delegate->startRecording();
            return delegate->isRecording();
        }));
    }

    // The status item shows the gear from the end of a take until its file is in its place.
    bool isIdle() {
        const auto& item = desktop.statusItems.shown.at("kasto");
        return item.image == StatusImage::idle && item.title.empty();
    }

    std::ptrdiff_t stopsLogged() const { return countOf("kasto: stopped "); }
    std::ptrdiff_t countOf(const std::string& beginning) const {
        return std::ranges::count_if(log.all(),
                                     [&](const auto& line) { return line.starts_with(beginning); });
    }

    static QMessageBox* alert() {
        for (auto* widget : QApplication::topLevelWidgets())
            if (auto* box = qobject_cast<QMessageBox*>(widget); box && box->isVisible()) return box;
        return nullptr;
    }

    FakeDesktop desktop;
    LogLines log;
    int terminations = 0;
    std::unique_ptr<AppDelegate> delegate;
};

}  // namespace kasto::test
