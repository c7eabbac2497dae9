#pragma once

#include "linux/x11/input/X11HotKeys.h"
#include "platform/HotKeyService.h"

#include <QAbstractNativeEventFilter>
#include <optional>

class QGuiApplication;

namespace kasto {

// The connection Qt has to an X server; null where Qt draws elsewhere.
xcb_connection_t* uiConnection(const QGuiApplication& application);

// Hot keys by Qt's own connection to the X server, because a key grabbed on another one would keep Qt's menus
// from grabbing the keyboard while it is down. No chord can be had where Qt draws elsewhere. Main thread.
class UiHotKeys final : public HotKeyService, private QAbstractNativeEventFilter {
public:
    // The application outlives it.
    explicit UiHotKeys(QGuiApplication& application);

    std::unique_ptr<HotKeyRegistration> registerChord(const KeyChord& chord,
                                                      std::function<void()> onPress) override;
    std::unique_ptr<HotKeyRegistration> keepFnRightClick() override;

private:
    bool nativeEventFilter(const QByteArray& eventType, void* message, qintptr* result) override;

    std::optional<x11::X11HotKeys> keys_;
};

}  // namespace kasto
