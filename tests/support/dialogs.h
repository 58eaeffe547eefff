// Answers to the modal dialogs that a test's clicks bring up.
#pragma once

#include <QElapsedTimer>
#include <QList>
#include <QMessageBox>
#include <QObject>
#include <QPointer>
#include <QQueue>
#include <QTimer>

#include <functional>

class QDialog;

namespace talo::test
{

struct SeenBox {
    QMessageBox::Icon icon;
    QString title;
    QString text;
    QMessageBox::StandardButtons buttons;
    QWidget *parent;
};

// Say what is to come, in order, before the click that brings it. A dialog that nobody announced,
// or that stays open, is closed after a while and reported as a fault, so that no test hangs.
class Dialogs : public QObject
{
    Q_OBJECT

public:
    Dialogs();

    // A message box: it is recorded and answered by the button.
    void expectBox(QMessageBox::StandardButton answer = QMessageBox::Ok);
    // Another dialog: `act` uses it and closes it, unless `act` leaves that to a later click.
    void expectDialog(std::function<void(QDialog *)> act);

    // Empty when all that was announced has come and nothing else.
    QString fault() const;
    const QList<SeenBox> &boxes() const { return boxes_; }

private slots:
    void poll();
    void forgetSender();

private:
    struct Expectation {
        bool box;
        QMessageBox::StandardButton answer;
        std::function<void(QDialog *)> act;
    };

    void meet(QDialog *dialog);
    void answerBox(QMessageBox *box, QMessageBox::StandardButton answer);
    void complain(const QString &what, QDialog *dialog);

    QQueue<Expectation> expected_;
    QList<QPointer<QDialog>> met_;
    QList<SeenBox> boxes_;
    QString fault_;
    QTimer timer_;
    QElapsedTimer sinceChange_;
};

// Whether the dialog was given these flags; Qt adds to them what every window has.
bool hasFlags(const QDialog *dialog, Qt::WindowFlags flags);

// What is wrong with the dialogs or with the last box of them; empty if all came that was
// announced, and the box has this look and OK as its only button.
QString boxFault(const Dialogs &dialogs, QMessageBox::Icon icon, const QString &text,
                 const QWidget *parent, const QString &title = "TALO Antivirus");

} // namespace talo::test
