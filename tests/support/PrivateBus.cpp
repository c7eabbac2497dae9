#include "support/PrivateBus.h"

#include "support/WaitUntil.h"

#include <cstdlib>
#include <filesystem>
#include <stdexcept>

namespace kasto::test {

namespace {

// Without folders of services.
std::string configuration(const TestFolder& folder, const std::string& address) {
    const auto file = folder / "bus.conf";
    writeFile(file,
              R"(<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
                   "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
                 <busconfig><type>session</type><listen>)" +
                  address +
                  R"(</listen><auth>EXTERNAL</auth><policy context="default">
                 <allow send_destination="*" eavesdrop="true"/><allow eavesdrop="true"/><allow own="*"/>
                 </policy></busconfig>)");
    return file.string();
}

}  // namespace

PrivateBus::PrivateBus()
    : bus_({"dbus-daemon", "--nofork", "--nopidfile", "--config-file=" + configuration(folder_, address())}) {
    if (!waitUntil([&] { return std::filesystem::exists(folder_ / "bus"); }))
        throw std::runtime_error("no session bus");
    setenv("DBUS_SESSION_BUS_ADDRESS", address().c_str(), 1);
}

}  // namespace kasto::test
