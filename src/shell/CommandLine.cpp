#include "shell/CommandLine.h"

#include "shell/Intents.h"
#include "shell/UrlCommands.h"

#include <QUrl>
#include <algorithm>

namespace kasto {

Result<CommandLine> parseCommandLine(const std::vector<std::string>& arguments) {
    CommandLine line;
    for (auto at = arguments.begin(); at != arguments.end(); ++at) {
        const auto& argument = *at;
        if (argument == "--help") {
            line.task = CommandLine::Task::showHelp;
        } else if (argument == "--version") {
            line.task = CommandLine::Task::showVersion;
        } else if (argument == "--action" && at + 1 != arguments.end()) {
            if (!findIntent(*++at)) return failure("not an action: " + *at);
            line.actions.push_back(*at);
        } else if (argument == "-session" && at + 1 != arguments.end()) {
            // How a session manager brings the program back. Qt reads the session's name by itself.
            ++at;
        } else if (const QUrl url(QString::fromStdString(argument)); url.scheme() == "kasto") {
            line.urls.push_back(argument);
        } else {
            return failure("not an option or a kasto URL: " + argument);
        }
    }
    return line;
}

bool onlyStops(const CommandLine& line) {
    return line.urls.size() + line.actions.size() > 0 &&
           std::ranges::all_of(line.urls, [](const auto& url) { return commandWord(url) == "stop"; }) &&
           std::ranges::all_of(line.actions, [](const auto& id) { return id == StopRecordingIntent.id; });
}

}  // namespace kasto
