#include "shell/AppDelegate.h"
#include "ui/OwnWindowWatch.h"

namespace kasto {

QMessageBox& AppDelegate::showAlert(const std::string& message, const std::string& informativeText,
                                    const std::vector<std::string>& buttons) {
    // A second alert replaces the first: they say the same of the newest attempt. The event loop goes on
    // meanwhile, so that the program can still be told to quit.
    delete alert_;
    alert_ =
        new QMessageBox(QMessageBox::NoIcon, "kasto", QString::fromStdString(message), QMessageBox::NoButton);
    for (const auto& text : buttons) {
        auto* button = alert_->addButton(QString::fromStdString(text), QMessageBox::AcceptRole);
        if (!alert_->defaultButton()) alert_->setDefaultButton(button);
    }
    alert_->setEscapeButton(alert_->buttons().last());
    alert_->setInformativeText(QString::fromStdString(informativeText));
    alert_->setTextFormat(Qt::PlainText);
    alert_->setAttribute(Qt::WA_DeleteOnClose);
    watchOwnWindow(*alert_, desktop_.ownWindows);
    alert_->show();
    alert_->raise();
    alert_->activateWindow();
    return *alert_;
}

}  // namespace kasto
