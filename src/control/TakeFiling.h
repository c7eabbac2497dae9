#pragma once

#include <filesystem>

namespace kasto {

// Moves a finished take from where it was recorded to the folder the user's options name: the cloud folder
// where there is one and it is switched on, else the chosen output folder, else nowhere. Never overwrites a
// file. Where the take is afterwards: a move that fails is logged and leaves it where it was. Blocks for as
// long as a copy to another file system takes; any thread.
std::filesystem::path fileTake(const std::filesystem::path& take);

}  // namespace kasto
