#include "settings/SettingsAccessibility.h"

#include "settings/SettingsView.h"

#include <QAccessible>
#include <QAccessibleWidget>
#include <QPointer>
#include <algorithm>
#include <vector>

namespace kasto {

namespace {

// One control, by its index. Its interface lives as long as the view's.
class ControlInterface final : public QAccessibleInterface, public QAccessibleActionInterface {
public:
    ControlInterface(SettingsView& view, std::size_t index) : view_(&view), index_(index) {}

    bool isValid() const override { return view_ && index_ < view_->controls().size(); }
    QObject* object() const override { return nullptr; }
    QWindow* window() const override { return view_->window()->windowHandle(); }
    QAccessibleInterface* parent() const override { return QAccessible::queryAccessibleInterface(view_); }
    QAccessibleInterface* child(int) const override { return nullptr; }
    QAccessibleInterface* childAt(int, int) const override { return nullptr; }
    int childCount() const override { return 0; }
    int indexOfChild(const QAccessibleInterface*) const override { return -1; }
    void setText(QAccessible::Text, const QString&) override {}

    QString text(QAccessible::Text kind) const override {
        const auto control = this->control();
        switch (kind) {
            case QAccessible::Name:
                return control.name;
            case QAccessible::Description:
                return control.description;
            case QAccessible::Value:
                return control.value;
            default:
                return {};
        }
    }

    QRect rect() const override {
        const auto rect = control().rect.toAlignedRect();
        return {view_->mapToGlobal(rect.topLeft()), rect.size()};
    }

    QAccessible::Role role() const override {
        return isSwitch() ? QAccessible::CheckBox : QAccessible::PushButton;
    }

    QAccessible::State state() const override {
        const auto control = this->control();
        QAccessible::State state;
        state.focusable = control.isEnabled;
        state.focused = view_->hasFocus() && view_->focusedControl() == index_;
        state.disabled = !control.isEnabled;
        state.checkable = isSwitch();
        state.checked = control.isOn;
        state.invisible = !view_->isVisible();
        state.offscreen = !view_->rect().intersects(control.rect.toAlignedRect());
        return state;
    }

    void* interface_cast(QAccessible::InterfaceType type) override {
        return type == QAccessible::ActionInterface ? static_cast<QAccessibleActionInterface*>(this)
                                                    : nullptr;
    }

    QStringList actionNames() const override {
        if (!control().isEnabled) return {};
        return {isSwitch() ? toggleAction() : pressAction(), setFocusAction()};
    }

    void doAction(const QString& action) override {
        if (action == setFocusAction()) {
            view_->setFocusedControl(index_);
        } else {
            view_->use(control());
        }
    }

    QStringList keyBindingsForAction(const QString&) const override { return {}; }

private:
    SettingsControl control() const { return view_->controls()[index_]; }
    bool isSwitch() const { return control().kind == SettingsControl::Kind::onOff; }

    const QPointer<SettingsView> view_;
    const std::size_t index_;
};

class ViewInterface final : public QAccessibleWidget {
public:
    explicit ViewInterface(SettingsView& view)
        : QAccessibleWidget(&view, QAccessible::Pane, "settings"), view_(view) {
        for (std::size_t i = 0; i < view.controls().size(); ++i)
            children_.push_back(QAccessible::registerAccessibleInterface(new ControlInterface(view, i)));
    }

    ~ViewInterface() override {
        for (const auto id : children_) QAccessible::deleteAccessibleInterface(id);
    }

    int childCount() const override { return int(children_.size()); }

    QAccessibleInterface* child(int index) const override {
        if (index < 0 || index >= childCount()) return nullptr;
        return QAccessible::accessibleInterface(children_[std::size_t(index)]);
    }

    int indexOfChild(const QAccessibleInterface* wanted) const override {
        for (int i = 0; i < childCount(); ++i)
            if (child(i) == wanted) return i;
        return -1;
    }

    // The last one first: the header's controls lie over the rows.
    QAccessibleInterface* childAt(int x, int y) const override {
        for (int i = childCount() - 1; i >= 0; --i)
            if (child(i)->rect().contains(x, y)) return child(i);
        return nullptr;
    }

    QAccessibleInterface* focusChild() const override {
        const auto focus = view_.focusedControl();
        return focus ? child(int(*focus)) : nullptr;
    }

private:
    SettingsView& view_;
    std::vector<QAccessible::Id> children_;
};

QAccessibleInterface* makeInterface(const QString&, QObject* object) {
    auto* view = dynamic_cast<SettingsView*>(object);
    return view ? new ViewInterface(*view) : nullptr;
}

}  // namespace

void describeSettingsToAssistivePrograms() { QAccessible::installFactory(makeInterface); }

void tellFocusToAssistivePrograms(SettingsView& view) {
    if (!QAccessible::isActive() || !view.focusedControl()) return;
    QAccessibleEvent event(&view, QAccessible::Focus);
    event.setChild(int(*view.focusedControl()));
    QAccessible::updateAccessibility(&event);
}

void tellChangesToAssistivePrograms(SettingsView& view, const std::vector<SettingsControl>& before) {
    if (!QAccessible::isActive()) return;
    const auto now = view.controls();
    for (std::size_t i = 0; i < std::min(before.size(), now.size()); ++i) {
        QAccessible::State changed;
        changed.checked = before[i].isOn != now[i].isOn;
        changed.disabled = before[i].isEnabled != now[i].isEnabled;
        if (changed.checked || changed.disabled) {
            QAccessibleStateChangeEvent event(&view, changed);
            event.setChild(int(i));
            QAccessible::updateAccessibility(&event);
        }
        if (before[i].value != now[i].value) {
            QAccessibleValueChangeEvent event(&view, now[i].value);
            event.setChild(int(i));
            QAccessible::updateAccessibility(&event);
        }
    }
}

}  // namespace kasto
