#include "desktop/DesktopSession.h"

#include "support/WaitUntil.h"

#include <algorithm>
#include <csignal>
#include <sstream>
#include <stdexcept>

namespace kasto::test {

namespace {

std::string desktopCommand(const std::filesystem::path& home) {
    return "exec '" KASTO_SOURCE_DIR "/scripts/desktop' '" + home.string() + "' 1280x720 >/dev/null";
}

}  // namespace

DesktopSession::DesktopSession() : desktop_(popen(desktopCommand(home()).c_str(), "we"), pclose) {
    const auto file = home_ / "desktop.env";
    if (!desktop_ || !waitUntil([&] { return exists(file); }))
        throw std::runtime_error("the private desktop did not start");
    std::istringstream lines(readFile(file));
    for (std::string line; std::getline(lines, line);) environment_.push_back(line);
}

ChildProcess DesktopSession::start(const std::vector<std::string>& command,
                                   const std::vector<std::string>& changes) const {
    auto environment = changes;
    environment.insert(environment.end(), environment_.begin(), environment_.end());
    return ChildProcess(command, environment);
}

ChildProcess DesktopSession::show(const std::string& what, const std::string& title) const {
    auto client = start({DESKTOP_CLIENTS, what});
    // A single search fails where a window goes away while it looks.
    if (!waitUntil([&] { return xdotool({"search", "--onlyvisible", "--name", title}) == 0; }))
        throw std::runtime_error(what + " did not appear");
    return client;
}

ChildProcess DesktopSession::showChart() const { return show("chart", "^chart$"); }

ChildProcess DesktopSession::showScene() const { return show("scene", "^notes$"); }

ChildProcess DesktopSession::startCompositingManager() const {
    return test::startCompositingManager(variable("DISPLAY"));
}

int DesktopSession::xdotool(std::vector<std::string> command) const {
    command.insert(command.begin(), "xdotool");
    return run(command);
}

int DesktopSession::command(const std::string& word) const { return run({KASTO, "kasto:" + word}); }

bool DesktopSession::startTake(std::size_t takes) const {
    return command("record") == 0 && waitForLog(" recording ", takes);
}

bool DesktopSession::stopTake(std::size_t takes) const {
    return command("stop") == 0 && waitForLog(" stopped → kasto-", takes);
}

void DesktopSession::setOptions(const std::string& json) const {
    std::filesystem::create_directories(home() / ".config/kasto");
    writeFile(home() / ".config/kasto/preferences.json", json);
}

ChildProcess DesktopSession::startKasto(const std::vector<std::string>& changes) const {
    const auto before = timesLogged(" launched ");
    auto kasto = start({KASTO}, changes);
    if (!waitForLog(" launched ", before + 1)) throw std::runtime_error("kasto did not start");
    return kasto;
}

void DesktopSession::killXServer() const { ::kill(std::stoi(variable("X_SERVER_PID")), SIGKILL); }

std::string DesktopSession::variable(const std::string& name) const {
    for (const auto& variable : environment_)
        if (variable.starts_with(name + "=")) return variable.substr(name.size() + 1);
    throw std::runtime_error("the private desktop has no " + name);
}

bool DesktopSession::waitForLog(const std::string& text, std::size_t times) const {
    return waitUntil([&] { return timesLogged(text) >= times; });
}

std::size_t DesktopSession::timesLogged(const std::string& text) const {
    std::istringstream lines(readFile(home() / "Library/Logs/kasto.log"));
    std::size_t times = 0;
    for (std::string line; std::getline(lines, line);) times += line.find(text) != std::string::npos;
    return times;
}

std::vector<std::filesystem::path> DesktopSession::movies() const {
    std::vector<std::filesystem::path> found;
    std::error_code none;
    for (const auto& entry : std::filesystem::directory_iterator(home() / "Movies/kasto", none))
        if (entry.path().extension() == ".mov") found.push_back(entry.path());
    std::ranges::sort(found);
    return found;
}

}  // namespace kasto::test
