#pragma once

#include "linux/freedesktop/BusRecord.h"
#include "linux/freedesktop/status/StatusPicture.h"

#include <QByteArray>
#include <QDBusObjectPath>
#include <QList>
#include <QObject>
#include <QString>
#include <functional>

namespace kasto::freedesktop {

// The structures of the interface.
struct IconPixmap {
    int width = 0;
    int height = 0;
    QByteArray argb;  // big-endian words, row by row
    static auto fields(auto& self) { return std::tie(self.width, self.height, self.argb); }
};
struct NotifierToolTip {
    QString iconName;
    QList<IconPixmap> icon;
    QString title;
    QString text;
    static auto fields(auto& self) { return std::tie(self.iconName, self.icon, self.title, self.text); }
};

// One status item as org.kde.StatusNotifierItem. Main thread.
class StatusNotifier final : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.kde.StatusNotifierItem")
    Q_PROPERTY(QString Category READ category)
    Q_PROPERTY(QString Id READ id)
    Q_PROPERTY(QString Title READ fullTitle)
    Q_PROPERTY(QString Status READ status)
    Q_PROPERTY(int WindowId READ windowId)
    Q_PROPERTY(QString IconName READ noName)
    Q_PROPERTY(QList<kasto::freedesktop::IconPixmap> IconPixmap READ icon)
    Q_PROPERTY(QString IconAccessibleDesc READ fullTitle)
    Q_PROPERTY(QString OverlayIconName READ noName)
    Q_PROPERTY(QList<kasto::freedesktop::IconPixmap> OverlayIconPixmap READ noIcon)
    Q_PROPERTY(QString AttentionIconName READ noName)
    Q_PROPERTY(QList<kasto::freedesktop::IconPixmap> AttentionIconPixmap READ noIcon)
    Q_PROPERTY(QString AttentionMovieName READ noName)
    Q_PROPERTY(kasto::freedesktop::NotifierToolTip ToolTip READ toolTip)
    Q_PROPERTY(bool ItemIsMenu READ itemIsMenu)
    Q_PROPERTY(QDBusObjectPath Menu READ menu)
    Q_PROPERTY(QString XAyatanaLabel READ label)
    Q_PROPERTY(QString XAyatanaLabelGuide READ labelGuide)

public:
    // `menu` is the object path of the item's menu.
    StatusNotifier(const QString& id, const QDBusObjectPath& menu);

    std::function<void(bool isRight)> onClick;

    void setPicture(const StatusPicture& picture);
    void setTexts(const QString& description, const QString& label);
    void setForeground(const QColor& foreground);

    QString category() const { return "ApplicationStatus"; }
    QString id() const { return id_; }
    QString fullTitle() const;
    QString status() const { return "Active"; }
    int windowId() const { return 0; }
    QString noName() const { return {}; }
    QList<IconPixmap> icon() const;
    QList<IconPixmap> noIcon() const { return {}; }
    NotifierToolTip toolTip() const { return {{}, {}, fullTitle(), {}}; }
    bool itemIsMenu() const { return false; }
    QDBusObjectPath menu() const { return menu_; }
    QString label() const { return label_; }
    QString labelGuide() const { return "00:00"; }

public slots:
    Q_SCRIPTABLE void Activate(int, int) { onClick(false); }
    Q_SCRIPTABLE void SecondaryActivate(int, int) { onClick(false); }
    Q_SCRIPTABLE void ContextMenu(int, int) { onClick(true); }
    Q_SCRIPTABLE void Scroll(int, const QString&) {}

signals:
    Q_SCRIPTABLE void NewTitle();
    Q_SCRIPTABLE void NewIcon();
    Q_SCRIPTABLE void NewToolTip();
    Q_SCRIPTABLE void NewStatus(const QString& status);
    Q_SCRIPTABLE void XAyatanaNewLabel(const QString& label, const QString& guide);

private:
    const QString id_;
    const QDBusObjectPath menu_;
    StatusPicture picture_;
    QColor foreground_ = Qt::black;
    QString description_;
    QString label_;
};

}  // namespace kasto::freedesktop
