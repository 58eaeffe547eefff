// The window of a signature update, told by the engine how the update goes.
#pragma once

#include "pages/signatureupdate.h"

#include <QLabel>
#include <QObject>
#include <QProgressBar>

#include <memory>

namespace talo::test
{

// Base of the test classes: a window of each test's own.
class ShownUpdate : public QObject
{
    Q_OBJECT

protected slots:
    void init();

protected:
    // Everything the engine can say at once, straight to the window's signals.
    void report(long long total, long long remaining, float percentage, int speed, int status);
    QList<QWidget *> panels() const { return window_->findChildren<QWidget *>("sigupdatemiddle"); }
    QWidget *progressPanel() const { return panels().value(0); }
    QWidget *finishPanel() const { return panels().value(1); }
    QString statusLine() const { return progressPanel()->findChild<QLabel *>()->text(); }
    QLabel *outcome() const { return window_->findChild<QLabel *>("lblScanStatus"); }
    QProgressBar *bar() const { return window_->findChild<QProgressBar *>("prg"); }
    QLabel *figure(const QString &caption) const;
    bool isBusy() const { return bar()->minimum() == 0 && bar()->maximum() == 0; }
    bool finished() const;

    std::unique_ptr<SignatureUpdate> window_;
};

} // namespace talo::test
