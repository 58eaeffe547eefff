#include "product/settingspage.h"

#include <QApplication>
#include <QComboBox>
#include <QTableWidget>

namespace talo::test
{

namespace
{

// Every visible widget of a kind in the panel's window and in what stands in front of it.
template <typename W> QList<W *> visible()
{
    QList<W *> found;
    for (QWidget *window : QApplication::topLevelWidgets()) {
        for (W *candidate : window->findChildren<W *>()) {
            if (candidate->isVisible())
                found << candidate;
        }
    }
    return found;
}

QToolButton *button(const QString &name)
{
    for (QToolButton *candidate : visible<QToolButton>()) {
        if (candidate->objectName() == name)
            return candidate;
    }
    return nullptr;
}

} // namespace

QStringList shown(const Desktop &desktop)
{
    return desktop.see<QStringList>([] {
        QStringList values;
        for (const QToolButton *button : visible<QToolButton>()) {
            if (button->isCheckable() && button->text().isEmpty())
                values << button->objectName() + (button->isChecked() ? " on" : " off");
        }
        for (const QComboBox *box : visible<QComboBox>())
            values << box->accessibleName() + ": " + box->currentText();
        return values;
    });
}

QStringList listed(const Desktop &desktop)
{
    return desktop.see<QStringList>([] {
        QStringList rows;
        for (const QTableWidget *table : visible<QTableWidget>()) {
            for (int row = 0; row < table->rowCount(); ++row)
                rows << table->item(row, 1)->text() + ' ' + table->item(row, 0)->text();
        }
        return rows;
    });
}

bool shows(const char *name)
{
    return button(name) != nullptr;
}

void show(const Desktop &desktop, const QString &tab)
{
    const auto found = [&tab] { return button(tab); };
    desktop.await(tab.toStdString(), [&] { return found() != nullptr; });
    if (!desktop.see<bool>([&] { return found()->isChecked(); }))
        desktop.click(tab.toUtf8().constData());
    desktop.await(tab.toStdString() + " to be shown", [&] { return found()->isChecked(); });
}

void openSettings(const Desktop &desktop, const QStringList &tabs)
{
    desktop.click("btnSettings");
    for (const QString &tab : tabs)
        show(desktop, tab);
}

void apply(const Desktop &desktop)
{
    desktop.clickText("APPLY");
    expect(desktop.answerMessage(), kApplied);
}

void takeDefaults(const Desktop &desktop)
{
    desktop.clickText("DEFAULT");
    expect(desktop.answerMessage(), "Default settings applied successfully");
}

void awaitClosed(const Desktop &desktop)
{
    desktop.await("the dialog to close", [] { return !QApplication::activeModalWidget(); });
}

void openSettingsFile(const Desktop &desktop, const char *button)
{
    desktop.clickText("Import/Export");
    desktop.clickText(button);
}

void exclude(const Desktop &desktop, const QString &location)
{
    desktop.clickText("ADD");
    desktop.pick("Exclude Type", "Location");
    desktop.clickText("BROWSE");
    desktop.choose(location);
    desktop.clickText("OK");
}

void excludeExtension(const Desktop &desktop, const QString &extension)
{
    desktop.clickText("ADD");
    desktop.type("Extension", extension);
    desktop.clickText("OK");
}

void remove(const Desktop &desktop, const QString &row)
{
    const int number = listed(desktop).indexOf(row);
    if (number < 0)
        throw Failure("not in the list: " + row.toStdString());
    const auto table = [] { return visible<QTableWidget>().first(); };
    const QModelIndex index = desktop.see<QModelIndex>([&] {
        const QModelIndex cell = table()->model()->index(number, 0);
        table()->scrollTo(cell);
        return cell;
    });
    desktop.clickItem(index, desktop.see<QTableWidget *>(table));
    desktop.clickText("REMOVE");
    const QString entry = row.section(' ', 1);
    desktop.await("the row to go",
                  [&] { return table()->findItems(entry, Qt::MatchExactly).isEmpty(); });
}

} // namespace talo::test
