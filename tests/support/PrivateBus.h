#pragma once

#include "support/PrivateXServer.h"
#include "support/TestFolder.h"

#include <cstdlib>
#include <stdexcept>
#include <string>
#include <thread>

namespace kasto::test {

// A session bus of the test's own; the process's session bus while this lives. Make it before the first use
// of a bus.
class PrivateBus {
public:
    PrivateBus() : bus_({"dbus-daemon", "--session", "--nofork", "--nopidfile", "--address=" + address()}) {
        using namespace std::chrono_literals;
        const auto deadline = std::chrono::steady_clock::now() + 10s;
        while (!std::filesystem::exists(folder_ / "bus")) {
            if (std::chrono::steady_clock::now() > deadline) throw std::runtime_error("no session bus");
            std::this_thread::sleep_for(5ms);
        }
        setenv("DBUS_SESSION_BUS_ADDRESS", address().c_str(), 1);
    }

    std::string address() const { return "unix:path=" + (folder_ / "bus").string(); }

private:
    TestFolder folder_;
    ChildProcess bus_;
};

}  // namespace kasto::test
