#include "base/Result.h"

#include <system_error>

namespace kasto {

Error systemError(std::string_view what, int errorNumber) {
    return {std::string(what) + ": " + std::generic_category().message(errorNumber), errorNumber};
}

}  // namespace kasto
