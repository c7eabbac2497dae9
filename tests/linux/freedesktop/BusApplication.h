#pragma once

#include "support/PrivateBus.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <memory>

namespace kasto::test {

// The application and its bus, once for all tests of the program: a process finds its bus only once.
class BusApplication : public testing::Environment {
    void SetUp() override {
        qputenv("QT_QPA_PLATFORM", "offscreen");
        session_ = std::make_unique<Session>();
    }
    void TearDown() override { session_.reset(); }

    struct Session {
        PrivateBus bus;
        int argc = 0;
        QApplication application{argc, nullptr};
    };
    std::unique_ptr<Session> session_;
};

inline testing::Environment* const kBusApplication = testing::AddGlobalTestEnvironment(new BusApplication);

}  // namespace kasto::test
