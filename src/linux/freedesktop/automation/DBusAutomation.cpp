#include "linux/freedesktop/automation/DBusAutomation.h"

#include "base/AppIdentity.h"
#include "base/log/DebugLog.h"
#include "linux/freedesktop/automation/DBusRunningInstance.h"
#include "linux/freedesktop/automation/SearchAdaptors.h"

#include <QDBusConnection>
#include <QDBusError>
#include <utility>

namespace kasto::freedesktop {

namespace {

// Not the program's own name: asking it would start the program, because a service file activates that name.
const QString kSearchName = QString::fromUtf8(kBundleIdentifier.data(), kBundleIdentifier.size()) + ".search";

}  // namespace

class DBusAutomation::Search {
public:
    explicit Search(SearchedShortcuts shortcuts) : searched_(std::move(shortcuts)) {
        const bool isOffered = connection_.registerObject("/search", &shell_) &&
                               connection_.registerObject("/runner", &runner_) &&
                               connection_.registerService(kSearchName);
        if (!isOffered) {
            const auto text = connection_.lastError().message().toStdString();
            DebugLog::log("no search for shortcuts: " + (text.empty() ? "no session bus" : text));
        }
    }

    ~Search() { QDBusConnection::disconnectFromBus(kSearchName); }

private:
    const SearchedShortcuts searched_;
    QObject shell_;
    QObject runner_;
    ShellSearchAdaptor shellAdaptor_{&shell_, searched_};
    RunnerAdaptor runnerAdaptor_{&runner_, searched_};
    QDBusConnection connection_ = QDBusConnection::connectToBus(QDBusConnection::SessionBus, kSearchName);
};

DBusAutomation::DBusAutomation(DBusRunningInstance& instance) : instance_(instance) {}

DBusAutomation::~DBusAutomation() = default;

void DBusAutomation::offer(std::vector<Shortcut> shortcuts,
                           std::function<void(const std::string& actionId)> perform) {
    withdraw();
    instance_.setOnAction(perform);
    search_ = std::make_unique<Search>(SearchedShortcuts{std::move(shortcuts), std::move(perform)});
}

void DBusAutomation::withdraw() {
    instance_.setOnAction({});
    search_.reset();
}

}  // namespace kasto::freedesktop
