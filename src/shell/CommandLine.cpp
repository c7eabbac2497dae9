#include "shell/CommandLine.h"

#include <QUrl>

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
            line.actions.push_back(*++at);
        } else if (const QUrl url(QString::fromStdString(argument)); url.scheme() == "kasto") {
            line.urls.push_back(argument);
        } else {
            return failure("not an option or a kasto URL: " + argument);
        }
    }
    return line;
}

}  // namespace kasto
