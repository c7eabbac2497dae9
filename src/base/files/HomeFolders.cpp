#include "base/files/HomeFolders.h"

#include <pwd.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <fstream>
#include <optional>
#include <string>
#include <string_view>

namespace kasto {

namespace {

namespace fs = std::filesystem;

std::optional<fs::path> absolutePathIn(const char* variable) {
    const char* value = std::getenv(variable);
    if (!value || !fs::path(value).is_absolute()) return std::nullopt;
    return value;
}

// Removes blanks from the front of the text, then `token`. False if the token is not there.
bool take(std::string_view& text, std::string_view token) {
    text.remove_prefix(std::min(text.find_first_not_of(" \t"), text.size()));
    if (!text.starts_with(token)) return false;
    text.remove_prefix(token.size());
    return true;
}

// The text up to the closing quote, without the backslashes that escape characters in it.
std::optional<std::string> untilQuote(std::string_view text) {
    std::string value;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '"') return value;
        if (text[i] == '\\' && ++i == text.size()) break;
        value += text[i];
    }
    return std::nullopt;
}

// The path in a line XDG_VIDEOS_DIR="$HOME/…" or XDG_VIDEOS_DIR="/…". The format of the file allows no other
// forms.
std::optional<fs::path> videosFolder(std::string_view line, const fs::path& home) {
    if (!take(line, "XDG_VIDEOS_DIR") || !take(line, "=") || !take(line, "\"")) return std::nullopt;
    const bool inHome = line.starts_with("$HOME/") || line.starts_with("$HOME\"");
    if (inHome) line.remove_prefix(std::string_view("$HOME").size());
    const auto value = untilQuote(line);
    if (!value) return std::nullopt;
    const fs::path folder = inHome ? fs::path(home.string() + *value) : fs::path(*value);
    if (!folder.is_absolute()) return std::nullopt;
    // With a slash at the end, "/home/me" and "/home/me/" are normalised to the same path.
    const auto plain = (folder / "").lexically_normal();
    return plain.has_relative_path() ? plain.parent_path() : plain;
}

}  // namespace

fs::path homeFolder() {
    if (const auto home = absolutePathIn("HOME")) return *home;
    passwd entry{};
    passwd* found = nullptr;
    std::array<char, 16384> texts;
    if (getpwuid_r(getuid(), &entry, texts.data(), texts.size(), &found) == 0 && found) return found->pw_dir;
    return "/";
}

fs::path configFolder() { return absolutePathIn("XDG_CONFIG_HOME").value_or(homeFolder() / ".config"); }

fs::path moviesFolder() {
    const fs::path home = homeFolder();
    std::optional<fs::path> folder;
    std::ifstream file(configFolder() / "user-dirs.dirs");
    for (std::string line; std::getline(file, line);) {
        // The file is a shell script, so the last assignment is the valid one.
        if (const auto named = videosFolder(line, home)) folder = named;
    }
    if (!folder || *folder / "" == (home / "").lexically_normal()) return home / "Movies";
    return *folder;
}

}  // namespace kasto
