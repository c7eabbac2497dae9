#pragma once

#include "support/PrivateBus.h"
#include "support/PrivateXServer.h"
#include "support/TestFolder.h"

#include <optional>
#include <string>

namespace kasto::test {

// A media server of the test's own with a session manager, two pairs of speakers ("test.sink.a", the default,
// and "test.sink.b") and no device of the machine; the process's while this lives. Make it before the first
// use of one. Throws where it cannot be started.
class PrivatePipeWire {
public:
    explicit PrivatePipeWire(bool started = true);
    PrivatePipeWire(const PrivatePipeWire&) = delete;

    void start();  // returns when clients are served
    void kill();   // as a crash does

    // Runs one of the server's tools; what it prints.
    static std::string tool(const std::string& command);

    // Leads a client to it where the test has led itself elsewhere, as a variable of its environment.
    static inline const std::string kRemote = "PIPEWIRE_REMOTE=pipewire-0";

private:
    TestFolder folder_;
    PrivateBus bus_;
    std::optional<ChildProcess> server_, manager_;
};

}  // namespace kasto::test
