#include "app/panelwalksteps.h"

#include "support/widgets.h"

#include <QAbstractButton>
#include <QApplication>
#include <QMessageBox>
#include <QPointer>
#include <QStackedWidget>
#include <QTableWidget>
#include <QTimer>
#include <QToolButton>
#include <QTreeView>
#include <QtTest>

namespace talo::test
{

PanelWalkSteps::PanelWalkSteps(Visit visit)
    : visit_(std::move(visit)), window_(std::make_unique<TaloAntivirus_Linux_App>(nullptr))
{
    window_->show();
    if (!QTest::qWaitForWindowActive(window_.get()))
        complain("the panel does not become the active window");
}

void PanelWalkSteps::answer(const char *function, Answer answer)
{
    ScriptedEngine::instance().answer(function, std::move(answer));
}

void PanelWalkSteps::complain(const QString &fault)
{
    if (fault_.isEmpty())
        fault_ = fault + ", after " + last_;
}

void PanelWalkSteps::stop(const QString &name, QWidget *dialog)
{
    last_ = name;
    visit_(name, dialog);
}

QWidget *PanelWalkSteps::page() const
{
    const auto *center = window_->findChild<QWidget *>("center");
    return center->findChild<QStackedWidget *>(QString(), Qt::FindDirectChildrenOnly)
        ->currentWidget();
}

QToolButton *PanelWalkSteps::named(const char *name) const
{
    for (QToolButton *button : page()->findChildren<QToolButton *>(name))
        if (button->isVisible())
            return button;
    return nullptr;
}

QToolButton *PanelWalkSteps::numbered(QWidget *area, int number)
{
    QList<QToolButton *> visible;
    for (QToolButton *button : area->findChildren<QToolButton *>())
        if (button->isVisible() && button->focusPolicy() != Qt::NoFocus)
            visible << button;
    return visible.value(number);
}

QToolButton *PanelWalkSteps::numbered(const char *area, int number) const
{
    for (QWidget *candidate : page()->findChildren<QWidget *>(area))
        if (QToolButton *button = numbered(candidate, number))
            return button;
    return nullptr;
}

void PanelWalkSteps::press(QWidget *button)
{
    if (!click(button))
        complain("a button cannot be pressed");
}

void PanelWalkSteps::select(int row)
{
    for (QTableWidget *table : page()->findChildren<QTableWidget *>()) {
        if (!table->isVisible())
            continue;
        if (row < 0)
            table->setCurrentItem(nullptr);
        else
            table->selectRow(row);
    }
}

void PanelWalkSteps::choose(QDialog *chooser, const QString &path)
{
    if (!clickPath(chooser->findChild<QTreeView *>(), path))
        complain(path + " cannot be chosen");
}

void PanelWalkSteps::answerYes(QDialog *question)
{
    if (auto *box = qobject_cast<QMessageBox *>(question))
        box->button(QMessageBox::Yes)->click();
}

void PanelWalkSteps::modals(const std::function<void()> &open, const QList<Modal> &expected)
{
    QPointer<QWidget> last = QApplication::activeModalWidget();
    int met = 0;
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, window_.get(), [&] {
        const QPointer<QDialog> dialog = qobject_cast<QDialog *>(QApplication::activeModalWidget());
        if (!dialog || dialog == last || !dialog->isVisible())
            return;
        timer.stop(); // what `use` brings up is its own
        last = dialog;
        const Modal &one = expected.at(met);
        if (!one.name.isEmpty())
            stop(one.name, dialog);
        if (one.use)
            one.use(dialog);
        if (dialog && dialog->isVisible())
            dialog->reject();
        if (++met < expected.size())
            timer.start();
    });
    timer.start(5);
    open();
    if (!QTest::qWaitFor([&] { return met == expected.size(); }))
        complain("nothing came for " + expected.at(met).name);
}

void PanelWalkSteps::modal(const QString &name, const std::function<void()> &open,
                           const UseDialog &use)
{
    modals(open, {{name, use}});
}

void PanelWalkSteps::modal(const QString &name, QWidget *button, const UseDialog &use)
{
    modals([&] { press(button); }, {{name, use}});
}

} // namespace talo::test
