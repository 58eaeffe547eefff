#include "support/dialogs.h"

#include <QAbstractButton>
#include <QApplication>
#include <QDialog>
#include <QtTest>

namespace talo::test
{
namespace
{

constexpr int kPollMs = 5;
constexpr int kPatienceMs = 20000;

} // namespace

Dialogs::Dialogs()
{
    connect(&timer_, &QTimer::timeout, this, &Dialogs::poll);
    timer_.start(kPollMs);
    sinceChange_.start();
}

void Dialogs::expectBox(QMessageBox::StandardButton answer)
{
    expected_.enqueue({true, answer, {}});
    sinceChange_.restart();
}

void Dialogs::expectDialog(std::function<void(QDialog *)> act)
{
    expected_.enqueue({false, QMessageBox::NoButton, std::move(act)});
    sinceChange_.restart();
}

QString Dialogs::fault() const
{
    if (!fault_.isEmpty()) {
        return fault_;
    }
    return expected_.isEmpty() ? QString()
                               : QString("%1 dialog(s) did not come").arg(expected_.size());
}

// A timer does not fire again while its own slot runs, and answering may bring up the next dialog:
// so the answer is given from a posted event.
void Dialogs::poll()
{
    auto *dialog = qobject_cast<QDialog *>(QApplication::activeModalWidget());
    if (!dialog || !dialog->isVisible()) {
        sinceChange_.restart();
        return;
    }
    if (!met_.contains(dialog)) {
        met_ << dialog;
        connect(dialog, &QDialog::finished, this, &Dialogs::forgetSender); // it may be run again
        sinceChange_.restart();
        QMetaObject::invokeMethod(
            this, [this, guarded = QPointer<QDialog>(dialog)] { meet(guarded); },
            Qt::QueuedConnection);
    } else if (sinceChange_.elapsed() > kPatienceMs) {
        complain("was left open", dialog);
    }
}

void Dialogs::forgetSender()
{
    disconnect(sender(), nullptr, this, nullptr);
    met_.removeAll(qobject_cast<QDialog *>(sender()));
    sinceChange_.restart();
}

void Dialogs::meet(QDialog *dialog)
{
    if (!dialog) {
        return;
    }
    if (expected_.isEmpty()) {
        complain("was not expected", dialog);
        return;
    }
    const Expectation expectation = expected_.dequeue();
    auto *box = qobject_cast<QMessageBox *>(dialog);
    if (expectation.box != (box != nullptr)) {
        complain("is not of the expected kind", dialog);
    } else if (box) {
        answerBox(box, expectation.answer);
    } else {
        expectation.act(dialog);
    }
}

void Dialogs::answerBox(QMessageBox *box, QMessageBox::StandardButton answer)
{
    boxes_ << SeenBox{box->icon(), box->windowTitle(), box->text(), box->standardButtons(),
                      box->parentWidget()};
    if (answer == QMessageBox::NoButton) {
        box->close();
        return;
    }
    QAbstractButton *button = box->button(answer);
    if (!button) {
        complain("has no such button", box);
        return;
    }
    QTest::mouseClick(button, Qt::LeftButton);
}

void Dialogs::complain(const QString &what, QDialog *dialog)
{
    auto *box = qobject_cast<QMessageBox *>(dialog);
    if (fault_.isEmpty()) {
        fault_ = QString("%1 \"%2\" %3 %4")
                     .arg(dialog->metaObject()->className(), dialog->windowTitle(),
                          box ? box->text() : dialog->objectName(), what);
    }
    sinceChange_.restart();
    dialog->reject();
}

bool hasFlags(const QDialog *dialog, Qt::WindowFlags flags)
{
    QDialog reference;
    reference.setWindowFlags(flags);
    return dialog->windowFlags() == reference.windowFlags();
}

QString boxFault(const Dialogs &dialogs, QMessageBox::Icon icon, const QString &text,
                 const QWidget *parent, const QString &title)
{
    if (!dialogs.fault().isEmpty())
        return dialogs.fault();
    if (dialogs.boxes().isEmpty())
        return "no box came";
    const SeenBox &box = dialogs.boxes().last();
    if (box.text != text)
        return "it says " + box.text;
    if (box.title != title)
        return "its title is " + box.title;
    if (box.icon != icon)
        return QString("its icon is %1").arg(box.icon);
    if (box.buttons != QMessageBox::Ok)
        return QString("its buttons are %1").arg(box.buttons, 0, 16);
    return box.parent == parent ? QString() : QString("it belongs to another window");
}

} // namespace talo::test
