#include "shell/Alerts.h"

#include "ui/OwnWindowWatch.h"

namespace kasto {

QMessageBox& Alerts::show(const std::string& message, const std::string& informativeText,
                          const std::vector<std::string>& buttons) {
    close();
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
    watchOwnWindow(*alert_, ownWindows_);
    alert_->show();
    alert_->raise();
    alert_->activateWindow();
    return *alert_;
}

}  // namespace kasto
