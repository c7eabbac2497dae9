#include "control/TakeInput.h"

#include "platform/HotKeyService.h"

#include <utility>

namespace kasto {

TakeInput::TakeInput(CaptureModel& model, const Desktop& desktop, std::function<void()> onQuickMenu)
    : hotKeys_(desktop.hotKeys),
      poller_(model, desktop.pointer),
      scrollPan_(model, desktop.pointer),
      touchPad_(std::make_shared<TouchPadZoomPan>(model, desktop.multitouch, desktop.pointer,
                                                  desktop.screenAccess)) {
    poller_.onQuickMenu = std::move(onQuickMenu);
}

TakeInput::~TakeInput() { stop(); }

void TakeInput::start() {
    poller_.start();
    scrollPan_.start();
    touchPad_->start();
    fnRightClick_ = hotKeys_.keepFnRightClick();
}

void TakeInput::stop() {
    fnRightClick_.reset();
    poller_.stop();
    scrollPan_.stop();
    touchPad_->stop();
}

}  // namespace kasto
