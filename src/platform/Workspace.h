#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <string>

namespace kasto {

struct FolderQuestion {
    std::filesystem::path startFolder;
    std::string prompt;   // the text of the button that confirms
    std::string message;  // what the folder is for
};

// The desktop's file browser and folder chooser. Main thread. If something cannot be shown, that is logged
// and the caller is not told.
class Workspace {
public:
    virtual ~Workspace() = default;

    // Shows a folder in the file browser.
    virtual void openFolder(const std::filesystem::path& folder) = 0;

    // Opens a link with the desktop's default program.
    virtual void openLink(const std::string& link) = 0;

    // Shows a file, selected, in the file browser, or only its folder if the file browser cannot select.
    virtual void reveal(const std::filesystem::path& file) = 0;

    // Starts the program again, without arguments, after a short time in which this process must end.
    virtual void relaunch() = 0;

    // Lets the user choose or make a folder, in a window in front of all others, and calls `done` on the main
    // thread with the folder, or with none if the user cancelled. If a chooser is open already, it is raised
    // and this question is dropped.
    virtual void chooseFolder(const FolderQuestion& question,
                              std::function<void(std::optional<std::filesystem::path>)> done) = 0;
};

}  // namespace kasto
