#pragma once

#include <expected>
#include <string>
#include <string_view>
#include <utility>

namespace kasto {

// An error for people: `description` is complete enough to be shown alone in an alert or a log line.
struct Error {
    std::string description;
    // The system's error number if there is one, else 0.
    int code = 0;

    bool operator==(const Error&) const = default;
};

template <class T>
using Result = std::expected<T, Error>;

inline std::unexpected<Error> failure(std::string description, int code = 0) {
    return std::unexpected(Error{std::move(description), code});
}

// `what`, a colon and the system's text for the error number: "open /tmp/x: Permission denied".
Error systemError(std::string_view what, int errorNumber);

}  // namespace kasto
