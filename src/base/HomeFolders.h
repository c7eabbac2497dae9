#pragma once

#include <filesystem>

namespace kasto {

// $HOME, else the account's home folder.
std::filesystem::path homeFolder();

// $XDG_CONFIG_HOME, else ~/.config.
std::filesystem::path configFolder();

// The user's folder for movies: the XDG videos folder where one is set, else ~/Movies.
std::filesystem::path moviesFolder();

}  // namespace kasto
