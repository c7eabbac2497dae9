#include "linux/freedesktop/DesktopWorkspace.h"

#include "base/log/DebugLog.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDesktopServices>
#include <QFileDialog>
#include <QGridLayout>
#include <QLabel>
#include <QProcess>
#include <QUrl>
#include <utility>

namespace kasto::freedesktop {

namespace fs = std::filesystem;

namespace {

QString toQt(const fs::path& path) { return QString::fromStdString(path.string()); }

void openUrl(const QUrl& url) {
    // Qt would print a warning of its own where no program opens the URL.
    const auto former = qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
    const bool isOpened = QDesktopServices::openUrl(url);
    qInstallMessageHandler(former);
    if (!isOpened) DebugLog::log("nothing opens " + url.toDisplayString().toStdString());
}

}  // namespace

DesktopWorkspace::DesktopWorkspace(std::function<void(QWidget& window)> prepare)
    : prepare_(std::move(prepare)) {}

DesktopWorkspace::~DesktopWorkspace() { delete chooser_; }

void DesktopWorkspace::openFolder(const fs::path& folder) { openUrl(QUrl::fromLocalFile(toQt(folder))); }

void DesktopWorkspace::openLink(const std::string& link) { openUrl(QUrl(QString::fromStdString(link))); }

void DesktopWorkspace::reveal(const fs::path& file) {
    const auto bus = QDBusConnection::sessionBus();
    const auto folder = file.parent_path();
    if (!bus.isConnected()) return openFolder(folder);
    auto call =
        QDBusMessage::createMethodCall("org.freedesktop.FileManager1", "/org/freedesktop/FileManager1",
                                       "org.freedesktop.FileManager1", "ShowItems");
    call << QStringList{QUrl::fromLocalFile(toQt(file)).toString(QUrl::FullyEncoded)} << QString();
    // Its parent is the application object, because this may be destroyed before the answer comes.
    auto* answer = new QDBusPendingCallWatcher(bus.asyncCall(call), QCoreApplication::instance());
    QObject::connect(answer, &QDBusPendingCallWatcher::finished, answer, [answer, folder] {
        answer->deleteLater();
        if (answer->isError()) openUrl(QUrl::fromLocalFile(toQt(folder)));
    });
}

void DesktopWorkspace::relaunch() {
    // The path is an argument of the shell, not part of its command, so it may contain any character.
    QProcess::startDetached("/bin/sh",
                            {"-c", "sleep 0.8; exec \"$0\"", QCoreApplication::applicationFilePath()});
}

void DesktopWorkspace::chooseFolder(const FolderQuestion& question,
                                    std::function<void(std::optional<fs::path>)> done) {
    if (chooser_ && chooser_->isVisible()) {
        chooser_->raise();
        chooser_->activateWindow();
        return;
    }
    delete chooser_;  // it was answered but is not deleted yet
    chooser_ = new QFileDialog(nullptr, QString(), toQt(question.startFolder));
    chooser_->setAttribute(Qt::WA_DeleteOnClose);
    chooser_->setFileMode(QFileDialog::Directory);
    chooser_->setOption(QFileDialog::ShowDirsOnly);
    // The desktop's own dialog cannot show the message.
    chooser_->setOption(QFileDialog::DontUseNativeDialog);
    chooser_->setLabelText(QFileDialog::Accept, QString::fromStdString(question.prompt));
    if (auto* grid = qobject_cast<QGridLayout*>(chooser_->layout())) {
        auto* message = new QLabel(QString::fromStdString(question.message), chooser_);
        message->setObjectName("message");
        message->setWordWrap(true);
        grid->addWidget(message, grid->rowCount(), 0, 1, -1);
    }
    QObject::connect(chooser_, &QFileDialog::finished, chooser_,
                     [chooser = chooser_.data(), done](int result) {
                         const auto chosen = chooser->selectedFiles();
                         if (result == QDialog::Accepted && !chosen.isEmpty()) {
                             done(fs::path(chosen.first().toStdString()));
                         } else {
                             done(std::nullopt);
                         }
                     });
    chooser_->setWindowFlag(Qt::WindowStaysOnTopHint);
    prepare_(*chooser_);
    chooser_->open();
    chooser_->raise();
    chooser_->activateWindow();
}

}  // namespace kasto::freedesktop
