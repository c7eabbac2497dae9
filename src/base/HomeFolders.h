#pragma once

#include <filesystem>

namespace kasto {

// The user's folders, looked up afresh on every call; none of them is made here. Any thread.

// $HOME, else the account's home folder.
std::filesystem::path homeFolder();

// $XDG_CONFIG_HOME where that is an absolute path, else ~/.config.
std::filesystem::path configFolder();

// The user's folder for movies: the videos folder named in <configFolder>/user-dirs.dirs, else ~/Movies. A
// videos folder that is the home folder itself means, by custom, that there is none.
std::filesystem::path moviesFolder();

}  // namespace kasto
