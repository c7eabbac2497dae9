#pragma once

#include "support/TestFolder.h"

#include <sys/mount.h>

#include <string>

namespace kasto::test {

// A file system of a given size in memory, of its own, for as long as this lives; empty without the right to
// mount.
class SmallFileSystem {
public:
    explicit SmallFileSystem(const std::string& size)
        : mounted_(mount("kasto-test", folder_.path().c_str(), "tmpfs", 0, ("size=" + size).c_str()) == 0) {}
    ~SmallFileSystem() {
        if (mounted_) umount2(folder_.path().c_str(), MNT_DETACH);
    }
    SmallFileSystem(const SmallFileSystem&) = delete;
    SmallFileSystem& operator=(const SmallFileSystem&) = delete;

    explicit operator bool() const { return mounted_; }
    const std::filesystem::path& path() const { return folder_.path(); }

private:
    TestFolder folder_;
    bool mounted_;
};

}  // namespace kasto::test
