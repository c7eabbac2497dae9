#pragma once

#include <filesystem>

namespace kasto {

// The user's folders. Each call looks them up again, and none creates a folder. Any thread.

// $HOME if that is an absolute path, else the account's home folder.
std::filesystem::path homeFolder();

// $XDG_CONFIG_HOME where that is an absolute path, else ~/.config.
std::filesystem::path configFolder();

// The user's folder for movies: the videos folder that <configFolder>/user-dirs.dirs names, else ~/Movies. If
// that file names the home folder itself, there is no videos folder; this is a convention of the file.
std::filesystem::path moviesFolder();

}  // namespace kasto
