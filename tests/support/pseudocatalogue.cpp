#include "support/pseudocatalogue.h"

#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QStandardPaths>

namespace talo::test
{
namespace
{

QString tool(const QString &name)
{
    const QString found = QStandardPaths::findExecutable(name, {"/usr/lib/qt5/bin"});
    return found.isEmpty() ? QStandardPaths::findExecutable(name) : found;
}

// What the program has to say against it; empty where it did its work.
QString run(const QString &program, const QStringList &arguments)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(program, arguments);
    if (!process.waitForFinished(120000))
        return program + " does not end";
    const QString said = QString::fromUtf8(process.readAll());
    return process.exitCode() == 0 ? QString() : program + ": " + said;
}

QString decorated(QString source, const QString &mark)
{
    static const QRegularExpression kPlaceholder("(%(?:L?[0-9]+|n))");
    return QChar(0xab) + mark + source.replace(kPlaceholder, QString::fromUtf8("»\\1«")) +
           QChar(0xbb);
}

QString translated(const QString &message)
{
    static const QRegularExpression kSource("<source>(.*?)</source>",
                                            QRegularExpression::DotMatchesEverythingOption);
    static const QRegularExpression kNothing("<translation type=\"unfinished\">.*?</translation>",
                                             QRegularExpression::DotMatchesEverythingOption);
    const QString source = kSource.match(message).captured(1);
    QString translation = decorated(source, QString());
    if (message.startsWith("<message numerus=\"yes\">"))
        translation = QString("<numerusform>%1</numerusform><numerusform>%2</numerusform>")
                          .arg(decorated(source, "1"), decorated(source, "2"));
    const auto place = kNothing.match(message);
    return message.left(place.capturedStart()) + "<translation>" + translation + "</translation>" +
           message.mid(place.capturedEnd());
}

QString translateAll(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadWrite))
        return path + " cannot be opened";
    const QString texts = QString::fromUtf8(file.readAll());
    static const QRegularExpression kMessage("<message[ >].*?</message>",
                                             QRegularExpression::DotMatchesEverythingOption);
    QString result;
    int done = 0;
    for (auto all = kMessage.globalMatch(texts); all.hasNext();) {
        const auto message = all.next();
        result += texts.mid(done, message.capturedStart() - done) + translated(message.captured());
        done = message.capturedEnd();
    }
    result += texts.mid(done);
    const QByteArray bytes = result.toUtf8();
    return file.resize(0) && file.seek(0) && file.write(bytes) == bytes.size()
               ? QString()
               : path + " cannot be written";
}

} // namespace

bool canMakeCatalogues()
{
    return !tool("lupdate").isEmpty() && !tool("lrelease").isEmpty();
}

QString makePseudoCatalogue(const QString &folder)
{
    const QString name = folder + "/taloantivirus_" + kPseudoLanguage;
    QString problem =
        run(TALO_SOURCE_DIR "/scripts/translations.sh", {kPseudoLanguage, name + ".ts"});
    if (problem.isEmpty())
        problem = translateAll(name + ".ts");
    if (problem.isEmpty())
        problem = run(tool("lrelease"), {name + ".ts", "-qm", name + ".qm"});
    return problem;
}

QStringList untranslatedWords(const QString &text)
{
    static const QRegularExpression kTranslated(QString::fromUtf8("«[^«»]*»"));
    static const QRegularExpression kPath("/[^\\s,:]*");
    static const QRegularExpression kWord("[A-Za-z][-A-Za-z0-9]*");
    const QString rest = QString(text).replace(kTranslated, " ").remove(kPath);
    QStringList words;
    for (auto all = kWord.globalMatch(rest); all.hasNext();)
        words << all.next().captured();
    return words;
}

} // namespace talo::test
