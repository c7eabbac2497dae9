#pragma once

#include <memory>
#include <string>
#include <vector>

namespace kasto::test {

// A session manager for one client, as desktops have them (XSMP), at a socket of its own. Throws where it
// cannot listen.
class SessionManager {
public:
    SessionManager();
    ~SessionManager();

    // For the client's environment.
    std::string variable() const;

    // Waits until the client has registered and answered the first question; false if it does not.
    bool waitForClient();

    // Asks the client to save itself and waits for its answer; false if none comes.
    bool save(bool isShutdown);

    void cancelShutdown();
    void die();

    // How the client wants to be started again.
    const std::vector<std::string>& restartCommand() const;

private:
    class Listener;
    std::unique_ptr<Listener> listener_;
};

}  // namespace kasto::test
