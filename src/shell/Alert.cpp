#include "shell/AppDelegate.h"
#include "shell/OwnWindowWatch.h"

namespace kasto {

void AppDelegate::showAlert(const std::string& message, const std::string& informativeText) {
    // A second alert replaces the first: they say the same of the newest attempt. The event loop goes on
    // meanwhile, so that the program can still be told to quit.
    delete alert_;
    alert_ = new QMessageBox(QMessageBox::NoIcon, "kasto", QString::fromStdString(message), QMessageBox::Ok);
    alert_->setInformativeText(QString::fromStdString(informativeText));
    alert_->setTextFormat(Qt::PlainText);
    alert_->setAttribute(Qt::WA_DeleteOnClose);
    keepOutOfRecordings(*alert_, desktop_.ownWindows);
    alert_->show();
    alert_->raise();
    alert_->activateWindow();
}

}  // namespace kasto
