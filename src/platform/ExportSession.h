#pragma once

#include "base/Result.h"

#include <filesystem>
#include <memory>

namespace kasto {

// One rewrap of a movie into another container, without re-encoding.
class ExportSession {
public:
    virtual ~ExportSession() = default;

    // Writes an MPEG-4 file: every sample of every track as it is, tracks in their order with their languages
    // and colour tags, the index before the data. Blocks until the file is complete and on the disk;
    // before that nothing has the destination's name, and a failed export leaves nothing. The destination
    // must not exist. Once.
    virtual Result<void> exportMpeg4(const std::filesystem::path& destination) = 0;
};

// Makes export sessions. Any thread.
class MovieExports {
public:
    virtual ~MovieExports() = default;

    // An error if the file cannot be opened as a movie, or holds what an MPEG-4 file cannot.
    virtual Result<std::unique_ptr<ExportSession>> makePassthroughSession(
        const std::filesystem::path& movie) = 0;
};

}  // namespace kasto
