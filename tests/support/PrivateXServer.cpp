#include "support/PrivateXServer.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>
#include <xcb/xcb.h>

#include <array>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <thread>
#include <utility>

extern char** environ;

namespace kasto::test {

namespace {

constexpr auto kPatience = std::chrono::seconds(20);

// The descriptor a server writes its number to; the same number in the parent and the child.
constexpr int kDisplayFd = 60;

std::vector<char*> toPointers(std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    for (auto& text : texts) pointers.push_back(text.data());
    pointers.push_back(nullptr);
    return pointers;
}

ChildProcess startServer(int width, int height, std::string& display) {
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0 || dup2(ends[1], kDisplayFd) < 0)
        throw std::runtime_error("no pipe for the X server");
    close(ends[1]);
    const auto size = std::to_string(width) + "x" + std::to_string(height) + "x24";
    ChildProcess server({"Xvfb", "-displayfd", std::to_string(kDisplayFd), "-nolisten", "tcp", "-noreset",
                         "-screen", "0", size, "+extension", "Composite", "+extension", "DAMAGE",
                         "+extension", "RENDER", "+extension", "RANDR", "-dpi", "96"});
    close(kDisplayFd);
    std::string number;
    for (char letter = 0; read(ends[0], &letter, 1) == 1 && letter != '\n';) number += letter;
    close(ends[0]);
    if (number.empty()) throw std::runtime_error("the X server did not start");
    display = ":" + number;
    return server;
}

}  // namespace

ChildProcess::ChildProcess(const std::vector<std::string>& command,
                           const std::vector<std::string>& environment) {
    auto arguments = command;
    auto variables = environment;
    for (char** variable = environ; *variable; ++variable) {
        const std::string name(*variable, std::strcspn(*variable, "=") + 1);
        bool replaced = false;
        for (const auto& given : environment) replaced |= given.starts_with(name);
        if (!replaced) variables.emplace_back(*variable);
    }
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    const int error = posix_spawnp(&pid_, arguments.front().c_str(), &actions, nullptr,
                                   toPointers(arguments).data(), toPointers(variables).data());
    posix_spawn_file_actions_destroy(&actions);
    if (error != 0) throw std::runtime_error("cannot start " + command.front());
}

ChildProcess::ChildProcess(ChildProcess&& other) noexcept : pid_(std::exchange(other.pid_, 0)) {}

ChildProcess& ChildProcess::operator=(ChildProcess&& other) noexcept {
    std::swap(pid_, other.pid_);
    return *this;
}

ChildProcess::~ChildProcess() { end(); }

void ChildProcess::end() { endWith(SIGTERM); }

void ChildProcess::kill() { endWith(SIGKILL); }

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

PrivateXServer::PrivateXServer(int width, int height) : server_(startServer(width, height, display_)) {}

std::vector<std::string> PrivateXServer::environment() const { return {"DISPLAY=" + display_}; }

void PrivateXServer::startCompositingManager() {
    compositor_.emplace_back(
        std::vector<std::string>{"picom", "--backend", "xrender", "--config", "/dev/null"}, environment());
    waitForSelection("_NET_WM_CM_S0", true);
}

void PrivateXServer::endCompositingManager() {
    compositor_.clear();
    waitForSelection("_NET_WM_CM_S0", false);
}

void PrivateXServer::startWindowManager() {
    windowManager_.emplace_back(std::vector<std::string>{"openbox", "--sm-disable"}, environment());
    waitForSelection("WM_S0", true);
}

int PrivateXServer::run(const std::vector<std::string>& command) const {
    return ChildProcess(command, environment()).wait();
}

void PrivateXServer::waitForSelection(const std::string& selection, bool owned) const {
    const std::unique_ptr<xcb_connection_t, decltype(&xcb_disconnect)> c(
        xcb_connect(display_.c_str(), nullptr), xcb_disconnect);
    const std::unique_ptr<xcb_intern_atom_reply_t, decltype(&std::free)> atom(
        xcb_intern_atom_reply(
            c.get(),
            xcb_intern_atom(c.get(), 0, static_cast<std::uint16_t>(selection.size()), selection.c_str()),
            nullptr),
        std::free);
    if (!atom) throw std::runtime_error("no X server");
    const auto until = std::chrono::steady_clock::now() + kPatience;
    while (std::chrono::steady_clock::now() < until) {
        const std::unique_ptr<xcb_get_selection_owner_reply_t, decltype(&std::free)> reply(
            xcb_get_selection_owner_reply(c.get(), xcb_get_selection_owner(c.get(), atom->atom), nullptr),
            std::free);
        if (reply && (reply->owner != XCB_NONE) == owned) return;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    throw std::runtime_error("nobody took or gave up " + selection);
}

}  // namespace kasto::test
