#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <string>

namespace kasto {

struct FolderQuestion {
    std::filesystem::path startFolder;
    std::string prompt;   // on the button that confirms
    std::string message;  // what the folder is for
};

// The desktop around the program: its file browser and its folder chooser. Main thread. What cannot be shown
// is logged; nothing here fails towards the caller.
class Workspace {
public:
    virtual ~Workspace() = default;

    // Shows a folder in the file browser.
    virtual void openFolder(const std::filesystem::path& folder) = 0;

    // Opens a link with whatever the desktop opens it with.
    virtual void openLink(const std::string& link) = 0;

    // Shows a file, selected, in the file browser; where none can select it, its folder.
    virtual void reveal(const std::filesystem::path& file) = 0;

    // Starts the program's executable again, without arguments, shortly after: this process is to end
    // meanwhile.
    virtual void relaunch() = 0;

    // Lets the user choose or make a folder, in front of all other windows, and calls `done` on the main
    // thread with the answer, none if it was cancelled. A question asked while one is open brings that to the
    // front and is dropped.
    virtual void chooseFolder(const FolderQuestion& question,
                              std::function<void(std::optional<std::filesystem::path>)> done) = 0;
};

}  // namespace kasto
