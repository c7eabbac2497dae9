#include "support/PrivateXServer.h"

#include "support/WaitUntil.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>
#include <xcb/xcb.h>

#include <array>
#include <csignal>
#include <cstdlib>
#include <functional>
#include <memory>
#include <stdexcept>
#include <utility>

extern char** environ;

namespace kasto::test {

namespace {

// The descriptor a server writes its number to; the same number in the parent and the child.
constexpr int kDisplayFd = 60;

template <class T>
using Reply = std::unique_ptr<T, decltype(&std::free)>;

void await(const std::function<bool()>& condition) {
    if (!waitUntil(condition)) throw std::runtime_error("the desktop does not come up");
}

std::vector<std::string> xvfb(int width, int height, const std::vector<std::string>& options) {
    const auto size = std::to_string(width) + "x" + std::to_string(height) + "x24";
    std::vector<std::string> command{"Xvfb", "-screen", "0", size, "-dpi", "96"};
    for (const char* extension : {"Composite", "DAMAGE", "RENDER", "RANDR"})
        command.insert(command.end(), {"+extension", extension});
    command.insert(command.end(), options.begin(), options.end());
    return command;
}

ChildProcess startServer(std::vector<std::string> command, std::string& display) {
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0 || dup2(ends[1], kDisplayFd) < 0)
        throw std::runtime_error("no pipe for the X server");
    close(ends[1]);
    command.insert(command.end(), {"-displayfd", std::to_string(kDisplayFd), "-nolisten", "tcp", "-noreset"});
    ChildProcess server(command);
    close(kDisplayFd);
    std::string number;
    for (char letter = 0; read(ends[0], &letter, 1) == 1 && letter != '\n';) number += letter;
    close(ends[0]);
    if (number.empty()) throw std::runtime_error("the X server did not start");
    display = ":" + number;
    return server;
}

// Waits until the display has a compositing manager, or none.
void waitForCompositingManager(const std::string& display, bool running) {
    const std::unique_ptr<xcb_connection_t, decltype(&xcb_disconnect)> c(
        xcb_connect(display.c_str(), nullptr), xcb_disconnect);
    await([&] {
        const std::string name = "_NET_WM_CM_S0";
        const auto asked = xcb_intern_atom(c.get(), 0, static_cast<std::uint16_t>(name.size()), name.c_str());
        const Reply<xcb_intern_atom_reply_t> atom(xcb_intern_atom_reply(c.get(), asked, nullptr), std::free);
        const Reply<xcb_get_selection_owner_reply_t> reply(
            xcb_get_selection_owner_reply(c.get(), xcb_get_selection_owner(c.get(), atom->atom), nullptr),
            std::free);
        return (reply->owner != XCB_NONE) == running;
    });
}

}  // namespace

ChildProcess::ChildProcess(const std::vector<std::string>& command,
                           const std::vector<std::string>& environment) {
    // Of two values of a variable, env takes the last one.
    std::vector<std::string> arguments{"env"};
    arguments.insert(arguments.end(), environment.rbegin(), environment.rend());
    arguments.insert(arguments.end(), command.begin(), command.end());
    std::vector<char*> pointers;
    for (auto& argument : arguments) pointers.push_back(argument.data());
    pointers.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    const int error = posix_spawnp(&pid_, "env", &actions, nullptr, pointers.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (error != 0) throw std::runtime_error("cannot start " + command.front());
}

ChildProcess::ChildProcess(ChildProcess&& other) noexcept : pid_(std::exchange(other.pid_, 0)) {}

ChildProcess& ChildProcess::operator=(ChildProcess&& other) noexcept {
    std::swap(pid_, other.pid_);
    return *this;
}

ChildProcess::~ChildProcess() { end(); }

void ChildProcess::endWith(int signal) {
    if (pid_ <= 0) return;
    ::kill(pid_, signal);
    wait();
}

int ChildProcess::wait() {
    int status = 0;
    waitpid(std::exchange(pid_, 0), &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

ChildProcess startCompositingManager(const std::string& display, const std::vector<std::string>& options) {
    std::vector<std::string> command{"picom", "--backend", "xrender", "--config", "/dev/null"};
    command.insert(command.end(), options.begin(), options.end());
    ChildProcess manager(command, {"DISPLAY=" + display});
    waitForCompositingManager(display, true);
    return manager;
}

PrivateXServer::PrivateXServer(int width, int height, const std::vector<std::string>& options)
    : PrivateXServer(xvfb(width, height, options)) {}

PrivateXServer::PrivateXServer(const std::vector<std::string>& command)
    : server_(startServer(command, display_)) {}

void PrivateXServer::startCompositingManager(const std::vector<std::string>& options) {
    compositor_.push_back(test::startCompositingManager(display_, options));
}

void PrivateXServer::endCompositingManager() {
    compositor_.clear();
    waitForCompositingManager(display_, false);
}

void PrivateXServer::startWindowManager() {
    // The last thing it does before it takes requests is to run this command.
    windowManager_.push_back(
        start({"openbox", "--sm-disable", "--startup", "xprop -root -f TEST_READY 8s -set TEST_READY yes"}));
    await([&] { return run({"sh", "-c", "xprop -root TEST_READY | grep yes"}) == 0; });
}

ChildProcess PrivateXServer::start(const std::vector<std::string>& command) const {
    return ChildProcess(command, {"DISPLAY=" + display_});
}

}  // namespace kasto::test
