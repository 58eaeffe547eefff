// A catalogue of a made-up translation, from the texts as translators get them.
#pragma once

#include <QString>
#include <QStringList>

namespace talo::test
{

// A language that nobody uses the product in, and the form in which the environment names it.
constexpr char kPseudoLanguage[] = "eo";

// Whether this machine has the tools for it.
bool canMakeCatalogues();

// Collects the texts of the sources, translates them and compiles the catalogue into this folder,
// as taloantivirus_eo.qm. Every text is put between guillemets, its placeholders outside of them:
// «Scanning »%1«». Plurals begin with a digit, 1 or 2, for their form. Returns what went wrong.
QString makePseudoCatalogue(const QString &folder);

// The words of a text that stand outside of all guillemets: nobody can translate them. Paths,
// numbers and dates are no words.
QStringList untranslatedWords(const QString &text);

} // namespace talo::test
