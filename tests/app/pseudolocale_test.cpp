// Every text that the panel shows can be translated. A catalogue made of the sources puts
// guillemets round all that it is asked for: a text without them was not asked for, or translators
// never get it.
#include "app/panelwalk.h"
#include "support/pseudocatalogue.h"

#include <QAbstractButton>
#include <QAbstractItemView>
#include <QApplication>
#include <QCalendarWidget>
#include <QComboBox>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTranslator>
#include <QtTest>

namespace
{

// The buttons of Qt's message boxes, whose catalogues are Qt's.
class QtsTexts : public QTranslator
{
public:
    bool isEmpty() const override { return false; }
    QString translate(const char *context, const char *source, const char *, int) const override
    {
        return *context == 'Q' ? QString::fromUtf8("«%1»").arg(source) : QString();
    }
};

// Texts that stay as they are in every language.
bool mayStay(const QString &text)
{
    static const QRegularExpression kAllowed(
        "^("
        "|TALO Antivirus"                 // the product's name
        "|Facebook|Twitter|Google Plus"   // names of others
        "|[-0-9:.\\s%]+"                  // numbers, versions, dates
        "|0 KB(/s)?"                      // figures that a signature update begins with
        "|Eicar.*|/.*"                    // paths
        "|TALO Antivirus scan report.*"   // as the engine wrote it
        "|(Scheduled )?(Full|Quick) Scan" // a kind of scan in the engine's lists
        "|(Daily|Every Wednesday) at .*"  // when a schedule runs, in the engine's words
        "|Nightly1|Weekend1|iso|vmdk"     // what the user has entered
        "|holiday.jpg|report.pdf"         // names of files
        "|Pending|Shredded"               // marks that the shredder's list goes by
        ")$",
        QRegularExpression::DotMatchesEverythingOption);
    return kAllowed.match(text.trimmed()).hasMatch();
}

QStringList textsOf(const QWidget *widget)
{
    QStringList texts = {widget->accessibleName(), widget->toolTip()};
    if (const auto *label = qobject_cast<const QLabel *>(widget))
        texts << label->text();
    if (const auto *button = qobject_cast<const QAbstractButton *>(widget))
        texts << button->text();
    if (const auto *field = qobject_cast<const QLineEdit *>(widget))
        texts << field->placeholderText();
    if (const auto *box = qobject_cast<const QComboBox *>(widget))
        for (int i = 0; i < box->count(); ++i)
            texts << box->itemText(i);
    if (const auto *header = qobject_cast<const QHeaderView *>(widget)) {
        for (int i = 0; i < header->count(); ++i)
            texts << header->model()->headerData(i, header->orientation()).toString();
    } else if (const auto *view = qobject_cast<const QAbstractItemView *>(widget)) {
        const QAbstractItemModel *model = view->model();
        if (!model->inherits("QFileSystemModel"))
            for (int row = 0; row < model->rowCount(); ++row)
                for (int column = 0; column < model->columnCount(); ++column)
                    texts << model->index(row, column).data().toString();
    }
    return texts;
}

// Names of days and months come with the desktop's language.
bool belongsToCalendar(const QWidget *widget)
{
    for (const QWidget *up = widget; up; up = up->parentWidget())
        if (qobject_cast<const QCalendarWidget *>(up))
            return true;
    return false;
}

} // namespace

class PseudoLocaleTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void everyTextIsTranslated();
    void signatureUpdateIsTranslated();

private:
    void look(const QString &stop, const QWidget *window);

    QTemporaryDir folder_;
    QTranslator language_;
    QtsTexts qt_;
    QStringList missed_;
    int translated_ = 0;
};

void PseudoLocaleTest::initTestCase()
{
    if (!talo::test::canMakeCatalogues())
        QSKIP("lupdate and lrelease are not installed (qttools5-dev-tools)");
    QCOMPARE(talo::test::makePseudoCatalogue(folder_.path()), QString());
    QVERIFY(language_.load("taloantivirus_eo", folder_.path()));
    QVERIFY(QCoreApplication::installTranslator(&qt_));
    QVERIFY(QCoreApplication::installTranslator(&language_));
}

void PseudoLocaleTest::look(const QString &stop, const QWidget *window)
{
    QStringList texts = {window->windowTitle()};
    for (const QWidget *widget : window->findChildren<QWidget *>())
        if (widget->isVisible() && !belongsToCalendar(widget))
            texts << textsOf(widget);
    for (const QString &text : qAsConst(texts)) {
        if (text.contains(QChar(0xab)) && text.contains(QChar(0xbb)))
            ++translated_;
        else if (!mayStay(text))
            missed_ << QString("%1: \"%2\"").arg(stop, text);
    }
}

void PseudoLocaleTest::everyTextIsTranslated()
{
    const QString fault =
        talo::test::walkPanel([this](const QString &stop, QWidget *window) { look(stop, window); });
    missed_.removeDuplicates();
    QVERIFY2(missed_.isEmpty(), qPrintable('\n' + missed_.join('\n')));
    QCOMPARE(fault, QString());
    QVERIFY(translated_ > 300);
}

void PseudoLocaleTest::signatureUpdateIsTranslated()
{
    missed_.clear();
    talo::test::walkSignatureUpdate(
        [this](const QString &stop, QWidget *window) { look(stop, window); });
    QVERIFY2(missed_.isEmpty(), qPrintable('\n' + missed_.join('\n')));
}

QTEST_MAIN(PseudoLocaleTest)
#include "pseudolocale_test.moc"
