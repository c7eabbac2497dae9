#include "base/DebugLog.h"
#include "shell/AppDelegate.h"

#include <QUrl>

namespace kasto {

namespace {

// Characters that would break a log line stay percent-encoded.
QString commandWord(const QUrl& url) {
    if (!url.host().isEmpty()) return url.host().toLower();
    auto path = url.path(QUrl::PrettyDecoded);
    while (path.startsWith('/')) path.remove(0, 1);
    while (path.endsWith('/')) path.chop(1);
    return path.toLower();
}

}  // namespace

void AppDelegate::openUrls(const std::vector<std::string>& urls) {
    for (const auto& url : urls) {
        const auto word = commandWord(QUrl(QString::fromStdString(url))).toStdString();
        DebugLog::log("url command: " + word);
        runCommand(word);
    }
}

void AppDelegate::runCommand(const std::string& word) {
    if (word == "record" || word == "start") startRecording();
    if (word == "stop") stopFromCommand();
    if (word == "toggle") toggleRecording();
    if (word == "settings") showSettings();
}

}  // namespace kasto
