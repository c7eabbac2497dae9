#pragma once

#include "platform/Workspace.h"

#include <QPointer>

class QFileDialog;
class QWidget;

namespace kasto::freedesktop {

// Shows files with org.freedesktop.FileManager1, opens folders and links with the desktop's programs for
// them, and asks for folders with Qt's dialog. Needs the application object; main thread.
class DesktopWorkspace : public Workspace {
public:
    // `prepare` is called with each window before it is shown.
    explicit DesktopWorkspace(std::function<void(QWidget& window)> prepare);
    ~DesktopWorkspace() override;
    void openFolder(const std::filesystem::path& folder) override;
    void openLink(const std::string& link) override;
    void reveal(const std::filesystem::path& file) override;
    void relaunch() override;
    void chooseFolder(const FolderQuestion& question,
                      std::function<void(std::optional<std::filesystem::path>)> done) override;

private:
    const std::function<void(QWidget& window)> prepare_;
    QPointer<QFileDialog> chooser_;
};

}  // namespace kasto::freedesktop
