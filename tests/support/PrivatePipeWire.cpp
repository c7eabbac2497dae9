#include "support/PrivatePipeWire.h"

#include "support/WaitUntil.h"

#include <cstdlib>
#include <filesystem>
#include <stdexcept>

namespace kasto::test {

namespace {

std::string sink(const std::string& name, int priority) {
    return "  { factory = adapter args = { factory.name = support.null-audio-sink node.name = " + name +
           " media.class = Audio/Sink audio.position = [ FL FR ] object.linger = true priority.session = " +
           std::to_string(priority) + " } }\n";
}

}  // namespace

PrivatePipeWire::PrivatePipeWire(bool started) {
    namespace fs = std::filesystem;
    const fs::path config = folder_ / "config";
    for (const auto* folder :
         {"pipewire/pipewire.conf.d", "wireplumber/main.lua.d", "wireplumber/bluetooth.lua.d"})
        fs::create_directories(config / folder);
    fs::permissions(folder_.path(), fs::perms::owner_all);
    writeFile(config / "pipewire/pipewire.conf.d/50-private.conf",
              "context.objects = [\n" + sink("test.sink.a", 1000) + sink("test.sink.b", 900) + "]\n");
    writeFile(config / "wireplumber/main.lua.d/60-private.lua",
              "alsa_monitor.enabled = false\nv4l2_monitor.enabled = false\n"
              "libcamera_monitor.enabled = false\n");
    writeFile(config / "wireplumber/bluetooth.lua.d/60-private.lua", "bluez_monitor.enabled = false\n");
    setenv("XDG_RUNTIME_DIR", folder_.path().c_str(), 1);
    setenv("XDG_CONFIG_HOME", config.c_str(), 1);
    setenv("XDG_STATE_HOME", (folder_ / "state").c_str(), 1);
    for (const auto* name : {"PIPEWIRE_REMOTE", "PIPEWIRE_RUNTIME_DIR"}) unsetenv(name);
    if (started) start();
}

std::string PrivatePipeWire::tool(const std::string& command) {
    return outputOf(kRemote + " " + command + " 2>/dev/null");
}

void PrivatePipeWire::start() {
    const std::vector environment{kRemote};
    server_.emplace(std::vector<std::string>{"pipewire"}, environment);
    if (!waitUntil([&] { return std::filesystem::exists(folder_ / "pipewire-0"); }))
        throw std::runtime_error("no media server");
    manager_.emplace(std::vector<std::string>{"wireplumber"}, environment);
    const auto isServed = [] {
        return tool("pw-metadata 0 default.audio.sink").find("test.sink.a") != std::string::npos;
    };
    if (!waitUntil(isServed)) throw std::runtime_error("no session manager");
}

void PrivatePipeWire::kill() {
    manager_->kill();
    server_->kill();
    std::filesystem::remove(folder_ / "pipewire-0");
}

}  // namespace kasto::test
