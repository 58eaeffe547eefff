// No text is clipped, cut or covered: each text that a page, tab, dialog or message shows is
// measured against the room it has, in the fonts that desktops come with. CMake runs this at twice
// the density too. TALO_SCREENSHOTS names a folder for a picture of every stop.
#include "app/panelwalk.h"
#include "support/clippedtexts.h"

#include <QApplication>
#include <QFontInfo>
#include <QtTest>

namespace
{

constexpr int kDesktopSize = 11; // the largest that desktops begin with

} // namespace

class ClippingTest : public QObject
{
    Q_OBJECT

private slots:
    void textsAreWhole_data();
    void textsAreWhole();

private:
    void look(const QString &stop, QWidget *window);

    QString pictures_;
    QStringList complaints_;
    int measured_ = 0;
};

void ClippingTest::textsAreWhole_data()
{
    QTest::addColumn<QString>("family");
    for (const char *family : {"DejaVu Sans", "Cantarell", "Noto Sans"})
        QTest::newRow(family) << family;
}

void ClippingTest::look(const QString &stop, QWidget *window)
{
    const talo::test::Measured texts = talo::test::measureTexts(stop, window);
    measured_ += texts.measured;
    for (const QString &complaint : texts.complaints)
        qWarning("%s", qPrintable(complaint));
    complaints_ << texts.complaints;
    if (!pictures_.isEmpty())
        QVERIFY(window->grab().save(pictures_ + '/' + stop + ".png"));
}

void ClippingTest::textsAreWhole()
{
    QFETCH(QString, family);
    const QFont font(family, kDesktopSize);
    if (QFontInfo(font).family() != family)
        QSKIP(qPrintable("the font is not installed: " + family));
    QApplication::setFont(font);
    // Pictures of all stops on request, of the first font only.
    pictures_ = family == "DejaVu Sans" ? qEnvironmentVariable("TALO_SCREENSHOTS") : QString();
    complaints_.clear();
    measured_ = 0;
    const auto visit = [this](const QString &stop, QWidget *window) { look(stop, window); };
    const QString fault = talo::test::walkPanel(visit);
    talo::test::walkSignatureUpdate(visit);
    QCOMPARE(fault, QString());
    QVERIFY2(complaints_.isEmpty(), "see the warnings above");
    QVERIFY(measured_ > 500);
}

QTEST_MAIN(ClippingTest)
#include "clipping_test.moc"
