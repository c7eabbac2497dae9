#include "linux/freedesktop/status/TrayStatusItems.h"

#include "linux/freedesktop/status/DBusMenu.h"
#include "linux/freedesktop/status/StatusNotifier.h"
#include "linux/freedesktop/status/StatusPicture.h"

#include <QApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusServiceWatcher>
#include <QEvent>
#include <QPalette>
#include <QSystemTrayIcon>
#include <QTimer>
#include <utility>

namespace kasto::freedesktop {

namespace {

const QString kWatcher = "org.kde.StatusNotifierWatcher";
const QString kWatcherPath = "/StatusNotifierWatcher";

// True if the desktop's host shows the title beside the picture. There is no way to ask it.
bool hostShowsLabels() {
    const auto desktops = qEnvironmentVariable("XDG_CURRENT_DESKTOP").split(':');
    return desktops.contains("GNOME") || desktops.contains("Unity");
}

class TrayItem final : public QObject, public StatusItem {
    Q_OBJECT

public:
    TrayItem(const QString& id, const QString& busName, StatusItemActions actions)
        : actions_(std::move(actions)),
          busName_(busName),
          bus_(QDBusConnection::connectToBus(QDBusConnection::SessionBus, busName)),
          notifier_(id, actions_.menu ? DBusMenu::kPath : QDBusObjectPath("/NO_DBUSMENU")),
          watcher_(kWatcher, bus_, QDBusServiceWatcher::WatchForOwnerChange) {
        notifier_.onClick = [this](bool isRight) { click(isRight); };
        notifier_.setForeground(foreground());
        qApp->installEventFilter(this);
        if (!bus_.isConnected()) {
            useTray(true);
            return;
        }
        exportObjects();
        connect(&watcher_, &QDBusServiceWatcher::serviceRegistered, this, &TrayItem::registerItem);
        connect(&watcher_, &QDBusServiceWatcher::serviceUnregistered, this, [this] { useTray(true); });
        for (const char* change : {"StatusNotifierHostRegistered", "StatusNotifierHostUnregistered"})
            bus_.connect(kWatcher, kWatcherPath, kWatcher, change, this, SLOT(lookForHost()));
        registerItem();
    }

    ~TrayItem() override { QDBusConnection::disconnectFromBus(busName_); }

    void setImage(StatusImage image, const std::string& description) override {
        const bool isNew = picture_.image != image;
        picture_.image = image;
        description_ = QString::fromStdString(description);
        show();
        // The menu depends on the phase too.
        if (isNew && menu_) menu_->refresh();
    }

    void setTitle(const std::string& title) override {
        label_ = QString::fromStdString(title).trimmed();
        show();
    }

    bool isShown() const override { return tray_ ? QSystemTrayIcon::isSystemTrayAvailable() : isHostKnown_; }

private:
    void exportObjects() {
        constexpr auto kExported = QDBusConnection::ExportAllProperties |
                                   QDBusConnection::ExportScriptableSlots |
                                   QDBusConnection::ExportScriptableSignals;
        if (actions_.menu) {
            menu_ = std::make_unique<DBusMenu>(actions_.menu);
            bus_.registerObject(DBusMenu::kPath.path(), menu_.get(), kExported);
        }
        bus_.registerObject("/StatusNotifierItem", &notifier_, kExported);
        bus_.registerService(busName_);
    }

    // Does not wait for the answer: hosts ask for the item's properties before they answer.
    void registerItem() {
        auto call =
            QDBusMessage::createMethodCall(kWatcher, kWatcherPath, kWatcher, "RegisterStatusNotifierItem");
        call << busName_;
        bus_.asyncCall(call);
        lookForHost();
    }

    void show() {
        picture_.text = hostShowsLabels() && !tray_ ? QString() : label_;
        notifier_.setPicture(picture_);
        notifier_.setTexts(description_, label_);
        if (!tray_) return;
        QIcon icon;
        for (const auto& picture : picture_.inUsualSizes(foreground()))
            icon.addPixmap(QPixmap::fromImage(picture));
        tray_->setIcon(icon);
        tray_->setToolTip(notifier_.fullTitle());
    }

    void useTray(bool wanted) {
        if (wanted == (tray_ != nullptr)) return;
        tray_.reset();
        if (wanted) {
            tray_ = std::make_unique<QSystemTrayIcon>();
            connect(tray_.get(), &QSystemTrayIcon::activated, this,
                    [this](QSystemTrayIcon::ActivationReason reason) {
                        if (reason == QSystemTrayIcon::Trigger || reason == QSystemTrayIcon::MiddleClick)
                            click(false);
                        if (reason == QSystemTrayIcon::Context) click(true);
                    });
        }
        show();
        if (tray_) tray_->show();
    }

    void click(bool isRight) {
        const bool isControlHeld = QGuiApplication::queryKeyboardModifiers() & Qt::ControlModifier;
        // From the event loop, because the click may destroy this item.
        QTimer::singleShot(0, this, [this, isRight, isControlHeld] {
            const auto onClick = actions_.onClick;
            if (onClick) onClick({.isRight = isRight, .isControlHeld = isControlHeld});
        });
    }

    static QColor foreground() { return QGuiApplication::palette().color(QPalette::WindowText); }

    bool eventFilter(QObject* object, QEvent* event) override {
        if (object == qApp && event->type() == QEvent::ApplicationPaletteChange) {
            notifier_.setForeground(foreground());
            show();
        }
        return false;
    }

private slots:
    void lookForHost() {
        auto call =
            QDBusMessage::createMethodCall(kWatcher, kWatcherPath, "org.freedesktop.DBus.Properties", "Get");
        call << kWatcher << "IsStatusNotifierHostRegistered";
        call.setAutoStartService(false);
        auto* answer = new QDBusPendingCallWatcher(bus_.asyncCall(call), this);
        connect(answer, &QDBusPendingCallWatcher::finished, this, [this, answer] {
            const QDBusPendingReply<QDBusVariant> reply(*answer);
            answer->deleteLater();
            isHostKnown_ = reply.isValid() && reply.value().variant().toBool();
            useTray(!isHostKnown_);
        });
    }

private:
    const StatusItemActions actions_;
    const QString busName_;
    QDBusConnection bus_;
    StatusNotifier notifier_;
    std::unique_ptr<DBusMenu> menu_;
    QDBusServiceWatcher watcher_;
    bool isHostKnown_ = false;               // one that shows the item
    std::unique_ptr<QSystemTrayIcon> tray_;  // while no host shows the item
    StatusPicture picture_;
    QString description_;
    QString label_;
};

}  // namespace

std::unique_ptr<StatusItem> TrayStatusItems::make(const std::string& id, StatusItemActions actions) {
    const auto busName =
        QString("org.kde.StatusNotifierItem-%1-%2").arg(QCoreApplication::applicationPid()).arg(++made_);
    return std::make_unique<TrayItem>(QString::fromStdString(id), busName, std::move(actions));
}

}  // namespace kasto::freedesktop

#include "TrayStatusItems.moc"
