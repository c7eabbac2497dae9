#pragma once

#include <sys/types.h>

#include <csignal>
#include <string>
#include <vector>

namespace kasto::test {

// A program that runs for a test. It is ended by its process id. One that cannot be started ends at once with
// the status 127.
class ChildProcess {
public:
    // The environment adds to the test program's own and replaces variables in it. Of two values for one
    // variable the first one counts.
    explicit ChildProcess(const std::vector<std::string>& command,
                          const std::vector<std::string>& environment = {});
    ChildProcess(ChildProcess&& other) noexcept;
    ChildProcess& operator=(ChildProcess&& other) noexcept;
    ~ChildProcess();

    void end() { endWith(SIGTERM); }   // asks it to end and waits for it
    void kill() { endWith(SIGKILL); }  // ends it at once and waits for it
    int wait();                        // the status it ended with, as a shell tells it
    pid_t pid() const { return pid_; }

private:
    void endWith(int signal);
    pid_t pid_;
};

// Starts picom there; returns when it is the compositing manager of the display. The options are its own.
ChildProcess startCompositingManager(const std::string& display,
                                     const std::vector<std::string>& options = {});

// An X server of the test's own, without a screen of the machine, and what is started on it.
class PrivateXServer {
public:
    explicit PrivateXServer(int width = 1280, int height = 720, const std::vector<std::string>& options = {});
    explicit PrivateXServer(const std::vector<std::string>& command);  // another one than Xvfb

    const std::string& display() const { return display_; }  // ":7"

    // Returns when it has taken over.
    void startCompositingManager(const std::vector<std::string>& options = {});
    void endCompositingManager();
    void startWindowManager();  // returns when windows can be shown

    // Runs a program to its end on this server; its status.
    int run(const std::vector<std::string>& command) const { return start(command).wait(); }

    void kill() { server_.kill(); }
    pid_t pid() const { return server_.pid(); }

private:
    ChildProcess start(const std::vector<std::string>& command) const;

    std::string display_;
    ChildProcess server_;
    std::vector<ChildProcess> compositor_;
    std::vector<ChildProcess> windowManager_;
};

}  // namespace kasto::test
