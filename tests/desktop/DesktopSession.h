#pragma once

#include "support/PrivateXServer.h"
#include "support/TestFolder.h"

#include <cstddef>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace kasto::test {

// A private desktop with a home, a session bus and a window manager, and the program on it. Throws where it
// cannot be started.
class DesktopSession {
public:
    DesktopSession();

    const std::filesystem::path& home() const { return home_.path(); }

    // Starts a program there; `changes` replaces variables of the desktop's environment.
    ChildProcess start(const std::vector<std::string>& command,
                       const std::vector<std::string>& changes = {}) const;

    // Runs a program there to its end; its status.
    int run(const std::vector<std::string>& command, const std::vector<std::string>& changes = {}) const {
        return start(command, changes).wait();
    }

    // Writes the preferences that kasto starts with.
    void setOptions(const std::string& json) const;

    // Shows the colour chart, or the scene of moving things; returns when it is on the screen.
    ChildProcess showChart() const;
    ChildProcess showScene() const;

    // Starts kasto; returns when it is ready for commands. `changes` as above.
    ChildProcess startKasto(const std::vector<std::string>& changes = {}) const;

    // Gives the desktop a compositing manager; returns when windows are composited.
    ChildProcess startCompositingManager() const;

    // Runs xdotool: moves, clicks, types.
    int xdotool(std::vector<std::string> command) const;

    // Has kasto running do what the word of a URL says.
    int command(const std::string& word) const;

    // Starts or stops a take by a URL; true when the program has logged that so many takes have begun or are
    // in their files.
    bool startTake(std::size_t takes = 1) const;
    bool stopTake(std::size_t takes = 1) const;

    // Ends the X server as a crash does.
    void killXServer() const;

    // Waits until the program has logged so many lines that hold this text; false if it does not.
    bool waitForLog(const std::string& text, std::size_t times = 1) const;
    std::size_t timesLogged(const std::string& text) const;

    // The movies there are in the default folder.
    std::vector<std::filesystem::path> movies() const;

private:
    ChildProcess show(const std::string& what, const std::string& title) const;

    // The value of a variable of the desktop's environment.
    std::string variable(const std::string& name) const;

    TestFolder home_;
    // The desktop ends when this end of its input is closed, however this program ends.
    std::unique_ptr<FILE, int (*)(FILE*)> desktop_;
    std::vector<std::string> environment_;
};

}  // namespace kasto::test
