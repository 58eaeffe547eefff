#include "pages/shreddersupport.h"

#include "support/scriptedengine.h"
#include "support/widgets.h"

#include <QDialog>
#include <QDir>
#include <QFileInfo>
#include <QTreeView>
#include <QtTest>

namespace talo::test
{

ShredderWindow::ShredderWindow() : before_(QDir::currentPath())
{
    ScriptedEngine::instance().reset();
    QDir::setCurrent(folder_.path());
    page.show();
}

ShredderWindow::~ShredderWindow()
{
    QDir::setCurrent(before_);
}

QString ShredderWindow::file(const QString &name) const
{
    const QString path = folder_.filePath(name);
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write("x") == 1 ? path : QString();
}

QStringList ShredderWindow::rows() const
{
    QStringList lines;
    for (int row = 0; row < table()->rowCount(); ++row)
        lines << table()->item(row, 0)->text().mid(folder().size() + 1) + ' ' +
                     table()->item(row, 1)->text();
    return lines;
}

bool ShredderWindow::press(const char *text) const
{
    return click(button(&page, text));
}

bool ShredderWindow::isEnabled(const char *text) const
{
    return button(&page, text)->isEnabled();
}

QString ShredderWindow::add(const QString &path) const
{
    Dialogs dialogs;
    bool clicked = false;
    dialogs.expectDialog([&](QDialog *chooser) {
        clicked =
            clickPath(chooser->findChild<QTreeView *>(), path) && click(button(chooser, "OK"));
    });
    if (!press("ADD"))
        return "ADD cannot be clicked";
    return clicked ? dialogs.fault() : "the file cannot be clicked";
}

bool ShredderWindow::select(int row) const
{
    const QTableWidgetItem *item = table()->item(row, 0);
    if (!item)
        return false;
    table()->scrollToItem(item);
    QTest::mouseClick(table()->viewport(), Qt::LeftButton, Qt::NoModifier,
                      table()->visualItemRect(item).center());
    return table()->currentRow() == row;
}

} // namespace talo::test
