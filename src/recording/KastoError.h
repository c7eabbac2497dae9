#pragma once

#include "base/Result.h"

#include <string>
#include <string_view>

namespace kasto {

// The failures of a take that the recorder itself finds. Failures of the desktop are passed on unchanged.
enum class KastoError {
    noDisplay,     // there is no display that may be recorded
    writerFailed,  // the movie writer refuses the video track, or does not start
};

// The text that the user reads.
constexpr std::string_view description(KastoError error) {
    switch (error) {
        case KastoError::noDisplay:
            return "no shareable display found (screen recording permission?)";
        case KastoError::writerFailed:
            return "could not start the movie writer";
    }
    return {};
}

inline std::unexpected<Error> failure(KastoError error) { return failure(std::string(description(error))); }

}  // namespace kasto
