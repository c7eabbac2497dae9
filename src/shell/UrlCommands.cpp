#include "shell/UrlCommands.h"

#include <QUrl>

namespace kasto {

std::string commandWord(const std::string& text) {
    const QUrl url(QString::fromStdString(text));
    if (!url.host().isEmpty()) return url.host().toLower().toStdString();
    auto path = url.path(QUrl::PrettyDecoded);
    while (path.startsWith('/')) path.remove(0, 1);
    while (path.endsWith('/')) path.chop(1);
    return path.toLower().toStdString();
}

}  // namespace kasto
