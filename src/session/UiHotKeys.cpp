#include "session/UiHotKeys.h"

#include <QGuiApplication>
#include <utility>

namespace kasto {

xcb_connection_t* uiConnection(const QGuiApplication& application) {
    const auto* x11 = application.nativeInterface<QNativeInterface::QX11Application>();
    return x11 ? x11->connection() : nullptr;
}

UiHotKeys::UiHotKeys(QGuiApplication& application) {
    auto* connection = uiConnection(application);
    if (!connection) return;
    keys_.emplace(connection);
    application.installNativeEventFilter(this);
}

std::unique_ptr<HotKeyRegistration> UiHotKeys::registerChord(const KeyChord& chord,
                                                             std::function<void()> onPress) {
    return keys_ ? keys_->registerChord(chord, std::move(onPress)) : nullptr;
}

std::unique_ptr<HotKeyRegistration> UiHotKeys::keepFnRightClick() {
    return keys_ ? keys_->keepFnRightClick() : nullptr;
}

bool UiHotKeys::nativeEventFilter(const QByteArray& eventType, void* message, qintptr*) {
    return eventType == "xcb_generic_event_t" &&
           keys_->handleEvent(static_cast<const xcb_generic_event_t*>(message));
}

}  // namespace kasto
