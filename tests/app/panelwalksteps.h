// How the walk goes from one stop to the next: what a user's hand does, and what is met on the way.
#pragma once

#include "app/app.h"
#include "app/panelwalk.h"
#include "support/scriptedengine.h"

#include <QDialog>
#include <QList>

#include <functional>
#include <memory>

class QToolButton;

namespace talo::test
{

using UseDialog = std::function<void(QDialog *)>;

// A dialog or message that comes. Without a name it is no stop; without a use it is just closed.
struct Modal {
    QString name;
    UseDialog use = {};
};

class PanelWalkSteps
{
public:
    // Shows the panel.
    explicit PanelWalkSteps(Visit visit);

    TaloAntivirus_Linux_App *window() const { return window_.get(); }
    // What went wrong first; empty where nothing did.
    QString fault() const { return fault_; }

    static void answer(const char *function, Answer answer);

    // The panel, or a dialog in front of it, as a stop.
    void stop(const QString &name) { stop(name, window_.get()); }
    void stop(const QString &name, QWidget *dialog);
    // What a button of the panel's side bar does.
    void go(const char *slot) { QMetaObject::invokeMethod(window_.get(), slot); }

    QWidget *page() const;
    QToolButton *named(const char *name) const;
    // The visible button of this number in an area of the page, since texts are translated.
    QToolButton *numbered(const char *area, int number) const;
    static QToolButton *numbered(QWidget *area, int number);
    void press(QWidget *button);
    // A row of the page's visible table, or none where the number is negative.
    void select(int row);
    void choose(QDialog *chooser, const QString &path);
    static void answerYes(QDialog *question);

    // Does something that brings up one modal window, or several one after the other.
    void modals(const std::function<void()> &open, const QList<Modal> &expected);
    void modal(const QString &name, const std::function<void()> &open, const UseDialog &use = {});
    void modal(const QString &name, QWidget *button, const UseDialog &use = {});

private:
    void complain(const QString &fault);

    Visit visit_;
    QString fault_;
    QString last_; // the stop visited last
    std::unique_ptr<TaloAntivirus_Linux_App> window_;
};

// The parts of the walk that have a file of their own.
void walkTools(PanelWalkSteps &walk);
void walkSettings(PanelWalkSteps &walk);
void walkPasswords(PanelWalkSteps &walk);

} // namespace talo::test
