#include "service/log.h"

#include "files/printable.h"

#include <QString>
#include <QtGlobal>

#include <cstdio>
#include <cstdlib>

namespace talo::service
{

namespace
{

const char *word(Level level)
{
    switch (level) {
    case Level::Error:
        return "error: ";
    case Level::Warning:
        return "warning: ";
    case Level::Info:
        break;
    }
    return "";
}

void fromQt(QtMsgType type, const QMessageLogContext &, const QString &text)
{
    const bool minor = type == QtDebugMsg || type == QtInfoMsg;
    log(minor ? Level::Info : Level::Warning, files::printable(text.toStdString()));
    if (type == QtFatalMsg)
        std::abort();
}

} // namespace

void log(Level level, const std::string &text)
{
    // The journal reads the level from the line's beginning; a person reads a word.
    static const bool journal = std::getenv("JOURNAL_STREAM") != nullptr;
    const std::string line = journal ? "<" + std::to_string(static_cast<int>(level)) + ">" + text
                                     : "talod: " + (word(level) + text);
    std::fprintf(stderr, "%s\n", line.c_str());
}

void logQtMessages()
{
    qInstallMessageHandler(fromQt);
}

} // namespace talo::service
