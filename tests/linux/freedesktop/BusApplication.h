#pragma once

#include "support/PrivateBus.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QDBusReply>
#include <QTest>
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

// An object that another program calls on the bus, while its owner, this thread, goes on.
struct BusPeer {
    QDBusConnection bus;
    QString service, path, interface;

    QDBusMessage call(const QString& method, const QVariantList& arguments = {}) const {
        auto message = QDBusMessage::createMethodCall(service, path, interface, method);
        message.setArguments(arguments);
        auto pending = bus.asyncCall(message);
        EXPECT_TRUE(QTest::qWaitFor([&] { return pending.isFinished(); }));
        EXPECT_FALSE(pending.isError()) << pending.error().message().toStdString();
        return pending.reply();
    }
    // The first thing it returns.
    QVariant ask(const QString& method, const QVariantList& arguments = {}) const {
        return call(method, arguments).arguments().value(0);
    }
};

inline testing::Environment* const kBusApplication = testing::AddGlobalTestEnvironment(new BusApplication);

}  // namespace kasto::test
