#include "shell/Alerts.h"

#include "ui/OwnWindowWatch.h"

#include <QApplication>

namespace kasto {

namespace {

constexpr int kIconPts = 48;
constexpr int kTextWidthPts = 380;

}  // namespace

QMessageBox& Alerts::show(const std::string& message, const std::string& informativeText,
                          const std::vector<std::string>& buttons) {
    close();
    alert_ =
        new QMessageBox(QMessageBox::NoIcon, "kasto", QString::fromStdString(message), QMessageBox::NoButton);
    // The rest of the program stays usable: the region picker has to get its keys.
    alert_->setModal(false);
    alert_->setIconPixmap(QApplication::windowIcon().pixmap(kIconPts));
    // By itself the text is as wide as the row of buttons, which breaks paths in the middle of a word.
    alert_->setStyleSheet(
        QString("QLabel#qt_msgbox_informativelabel { min-width: %1px; }").arg(kTextWidthPts));
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
