#pragma once

#include "support/PrivateXServer.h"
#include "support/TestFolder.h"

#include <string>

namespace kasto::test {

// A session bus of the test's own, on which nothing is started that the test does not start; the process's
// session bus while this lives. Make it before the first use of a bus. Throws where it cannot be started.
class PrivateBus {
public:
    PrivateBus();

    std::string address() const { return "unix:path=" + (folder_ / "bus").string(); }

private:
    TestFolder folder_;
    ChildProcess bus_;
};

}  // namespace kasto::test
