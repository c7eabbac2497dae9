#include "session/SessionServices.h"

#include "ui/OwnWindowWatch.h"

#include <QWidget>

namespace kasto {

SessionServices::SessionServices()
    : workspace([this](QWidget& window) { watchOwnWindow(window, ownWindows); }) {}

}  // namespace kasto
