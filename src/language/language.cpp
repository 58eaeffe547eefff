#include "language/language.h"

#include <QCoreApplication>
#include <QLibraryInfo>
#include <QLocale>
#include <QTranslator>

namespace talo
{
namespace
{

bool install(const QString &name, const QString &folder)
{
    auto *translator = new QTranslator(QCoreApplication::instance());
    if (translator->load(name, folder) && QCoreApplication::installTranslator(translator))
        return true;
    delete translator;
    return false;
}

bool isEnglish(const QString &language)
{
    const QLocale::Language known = QLocale(language).language();
    return known == QLocale::English || known == QLocale::C;
}

} // namespace

void useUserLanguage()
{
    const QLocale user = QLocale::system();
    // Who sets the locale to C reads the output by a program, whatever else the environment says.
    if (user.language() == QLocale::C)
        return;
    const QString folder =
        QCoreApplication::applicationDirPath() + QStringLiteral("/../share/translations");
    for (const QString &language : user.uiLanguages()) {
        // Those who want English before French are not to be given French for lack of an English
        // catalogue.
        if (isEnglish(language))
            return;
        const QString suffix = QLatin1Char('_') + QString(language).replace('-', '_');
        if (!install(QStringLiteral("taloantivirus") + suffix, folder))
            continue;
        install(QStringLiteral("qtbase") + suffix,
                QLibraryInfo::location(QLibraryInfo::TranslationsPath));
        return;
    }
}

} // namespace talo
