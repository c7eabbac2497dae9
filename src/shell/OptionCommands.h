#pragma once

#include "picker/RegionPicker.h"

#include <memory>

namespace kasto {

struct Desktop;

// The commands of menus and settings that set an option by asking the user, or go back to its default. Each
// change is logged. Main thread.
class OptionCommands {
public:
    // The desktop's services outlive it.
    explicit OptionCommands(const Desktop& desktop) : desktop_(desktop) {}

    // Lets the user pick the region for the next takes, beginning with the stored one, and keeps the answer.
    // Returns at once.
    void setRegion();

    // The next takes record whole displays again.
    void clearRegion();

    // Lets the user choose the folder for finished takes and keeps the answer. Returns at once.
    void chooseOutputFolder();

    // Finished takes stay in the default folder again.
    void clearOutputFolder();

    // Shows the folder where takes land in the file browser.
    void openFolder();

private:
    const Desktop& desktop_;
    std::unique_ptr<RegionPicker> picker_;  // made when it is first needed
};

}  // namespace kasto
