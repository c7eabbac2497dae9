#pragma once

#include "platform/Workspace.h"

#include <QPointer>

class QFileDialog;
class QWidget;

namespace kasto::freedesktop {

// The file browser over org.freedesktop.FileManager1 and the desktop's openers, the folder chooser by Qt.
// Needs the application object.
class DesktopWorkspace : public Workspace {
public:
    // Each window is handed to `prepare` before it is shown.
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
