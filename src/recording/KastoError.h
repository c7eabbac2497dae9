#pragma once

#include "base/Result.h"

#include <string>
#include <string_view>

namespace kasto {

// The failures of a take that are the recorder's own; those of the desktop are passed on as they come.
enum class KastoError {
    noDisplay,     // there is nothing to record
    writerFailed,  // the movie writer takes no video track, or does not start
};

// What the user reads.
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
