// A dark desktop theme changes nothing: every text keeps the colour that the style sheet gives it,
// on the background that the style sheet gives it.
#include "app/panelwalk.h"

#include <QApplication>
#include <QImage>
#include <QMap>
#include <QPainter>
#include <QScrollBar>
#include <QtTest>

namespace
{

QPalette darkPalette()
{
    QPalette palette;
    for (const QPalette::ColorRole role :
         {QPalette::Window, QPalette::Base, QPalette::AlternateBase, QPalette::Button,
          QPalette::ToolTipBase, QPalette::Light, QPalette::Midlight, QPalette::Mid, QPalette::Dark,
          QPalette::Shadow})
        palette.setColor(role, QColor(35, 38, 41));
    for (const QPalette::ColorRole role :
         {QPalette::WindowText, QPalette::Text, QPalette::ButtonText, QPalette::ToolTipText,
          QPalette::BrightText, QPalette::PlaceholderText})
        palette.setColor(role, QColor(252, 252, 252));
    palette.setColor(QPalette::Highlight, QColor(160, 30, 160));
    return palette;
}

// Without what the desktop's style draws itself: scroll bars and the marks of a tree.
QImage lookOf(QWidget *window)
{
    if (QWidget *now = window->focusWidget())
        now->clearFocus(); // a text cursor blinks
    QImage image = window->grab().toImage().convertToFormat(QImage::Format_RGB32);
    QPainter painter(&image);
    const auto blank = [&](QWidget *part) {
        if (part->isVisible())
            painter.fillRect(QRect(part->mapTo(window, QPoint()), part->size()), Qt::white);
    };
    for (QWidget *bar : window->findChildren<QScrollBar *>())
        blank(bar);
    for (QWidget *icon : window->findChildren<QWidget *>("qt_msgboxex_icon_label"))
        blank(icon);
    for (QWidget *tree : window->findChildren<QWidget *>())
        if (tree->inherits("QTreeView"))
            blank(tree);
    return image;
}

// How many pixels differ by more than a shade.
int difference(const QImage &one, const QImage &two)
{
    if (one.size() != two.size())
        return one.width() * one.height();
    int count = 0;
    for (int y = 0; y < one.height(); ++y)
        for (int x = 0; x < one.width(); ++x)
            count += qAbs(qGray(one.pixel(x, y)) - qGray(two.pixel(x, y))) > 40 ? 1 : 0;
    return count;
}

} // namespace

class DarkThemeTest : public QObject
{
    Q_OBJECT

private slots:
    void looksTheSame();
};

void DarkThemeTest::looksTheSame()
{
    QMap<QString, QImage> light;
    const auto keep = [&](const QString &stop, QWidget *window) { light[stop] = lookOf(window); };
    QCOMPARE(talo::test::walkPanel(keep), QString());
    talo::test::walkSignatureUpdate(keep);

    QApplication::setPalette(darkPalette());
    const QString pictures = qEnvironmentVariable("TALO_SCREENSHOTS");
    QStringList complaints;
    const auto compare = [&](const QString &stop, QWidget *window) {
        if (!pictures.isEmpty())
            window->grab().save(pictures + "/dark-" + stop + ".png");
        const int pixels = difference(light[stop], lookOf(window));
        if (pixels > 0)
            complaints << QString("%1: %2 pixels").arg(stop).arg(pixels);
    };
    QCOMPARE(talo::test::walkPanel(compare), QString());
    talo::test::walkSignatureUpdate(compare);
    QVERIFY2(complaints.isEmpty(), qPrintable('\n' + complaints.join('\n')));
    QVERIFY(light.size() > 60);
}

QTEST_MAIN(DarkThemeTest)
#include "darktheme_test.moc"
