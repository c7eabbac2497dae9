#pragma once

#include "support/WaitUntil.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <memory>

namespace kasto::test {

// The platform and its options.
inline QByteArray offscreenPlatform = "offscreen";

// Qt's application without a desktop, for all tests of the program that includes this. It goes before main()
// ends: with typefaces registered, Qt can no longer be taken down where static objects are.
class OffscreenQt : public testing::Environment {
    void SetUp() override {
        qputenv("QT_QPA_PLATFORM", offscreenPlatform);
        application_ = std::make_unique<QApplication>(argc_, nullptr);
        QApplication::setQuitOnLastWindowClosed(false);
    }
    void TearDown() override { application_.reset(); }

    int argc_ = 0;
    std::unique_ptr<QApplication> application_;
};

// Runs the event loop until the condition holds; false if it does not come about.
template <class Condition>
bool loopUntil(Condition&& condition) {
    return waitUntil([&] { return QCoreApplication::processEvents(), condition(); });
}

inline testing::Environment* const offscreenQt = testing::AddGlobalTestEnvironment(new OffscreenQt);

}  // namespace kasto::test
