#pragma once

#include "base/Result.h"

#include <nlohmann/json.hpp>
#include <sys/stat.h>

#include <filesystem>
#include <optional>

namespace kasto {

// The file of a `PreferenceStore`: one JSON object. Where the path is a link, what it links to is read and
// replaced. One thread at a time; a copy stands for the same file.
class PreferenceFile {
public:
    explicit PreferenceFile(const std::filesystem::path& file);

    // True if the file differs in identity, size or time from what was last read or written here.
    bool hasChanged() const { return look() != seen_; }

    // The object in the file, which is empty if there is no file. None if the file is damaged: no JSON
    // object, or nested far deeper than options are. Fails if the file cannot be read.
    Result<std::optional<nlohmann::json>> read();

    // Moves a damaged file to "<name>.damaged-<time>" beside it. Fails if it cannot be moved.
    Result<void> setAside() const;

    // Replaces the file atomically: written aside, synced, renamed. Blocks on the disk. All texts in the
    // object must be UTF-8. Call `noteWritten` afterwards, or the new file counts as changed.
    Result<void> write(const nlohmann::json& object) const;
    void noteWritten() { seen_ = look(); }

private:
    struct Look {
        dev_t device = 0;
        ino_t inode = 0;
        off_t size = -1;  // no file
        timespec modified{};
        bool operator==(const Look& other) const;
    };

    Look look() const;

    const std::filesystem::path target_;
    Look seen_;
};

}  // namespace kasto
