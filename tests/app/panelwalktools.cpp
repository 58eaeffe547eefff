#include "app/panelwalksteps.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QToolButton>
#include <QTreeWidget>
#include <QtTest>

namespace talo::test
{
namespace
{

void walkDataTheft(PanelWalkSteps &walk)
{
    walk.go("btnDataTheftClicked");
    walk.stop("datatheft");
    walk.modal("datatheft-password", walk.numbered("datatheftbottom", 0),
               [&](QDialog *prompt) { walk.modal("datatheft-wrong", walk.numbered(prompt, 0)); });
    walk.answer("libPassword::IsPasswordExists", {-1});
    walk.go("btnDataTheftClicked");
    walk.stop("datatheft-nopassword");
    walk.modal("datatheft-create", walk.numbered("datatheftbottom", 0));
    walk.answer("libPassword::IsPasswordExists", {0});
}

void walkDuplicates(PanelWalkSteps &walk)
{
    const auto button = [&](int number) { return walk.numbered("DuplicateFinderbottom", number); };
    const auto browse = [&](const QString &stop) {
        walk.modal(stop, button(0), [&](QDialog *chooser) {
            walk.choose(chooser, QDir::currentPath());
            walk.press(walk.numbered(chooser, 0));
        });
    };
    walk.go("btnDuplicateFinderClicked");
    walk.stop("duplicates");
    browse("duplicates-chooser");
    walk.modal("duplicates-found", button(1));
    walk.page()->findChild<QTreeWidget *>()->expandAll();
    walk.stop("duplicates-results");
    for (const int outcome : {803, 811, 812}) {
        walk.answer("libDuplicateFinder::DeleteDuplicateFiles", {outcome, {}, {2}});
        QWidget *bottom = walk.page()->findChildren<QWidget *>("DuplicateFinderbottom").last();
        walk.modal(QString("duplicates-deleted-%1").arg(outcome), walk.numbered(bottom, 0));
    }
    walk.answer("libDuplicateFinder::DuplicateFinder", {801});
    browse("");
    walk.modal("duplicates-none", button(1));
}

void walkShredder(PanelWalkSteps &walk)
{
    // A file that only looks like the product's own.
    const QTemporaryDir folder;
    const QString own = folder.path() + "/usr/local/taloantivirus";
    QVERIFY(QDir().mkpath(own) && QFile(own + "/file").open(QIODevice::WriteOnly));
    const QString program = QCoreApplication::applicationFilePath();

    const auto button = [&](int number) { return walk.numbered("DuplicateFinderbottom", number); };
    const auto add = [&](const QString &path, const QString &message) {
        walk.modal("", button(0), [&](QDialog *chooser) {
            walk.choose(chooser, path);
            if (message.isEmpty())
                walk.press(walk.numbered(chooser, 0));
            else
                walk.modal(message, walk.numbered(chooser, 0));
        });
    };
    walk.go("btnShredderClicked");
    walk.stop("shredder");
    walk.modal("shredder-chooser", button(0));
    add(QDir::currentPath(), "shredder-folder");
    add(own + "/file", "shredder-own");
    add(program, {});
    walk.stop("shredder-list");
    add(program, "shredder-twice");
    walk.select(-1);
    walk.modal("shredder-select-remove", button(1));
    walk.modal("shredder-select", button(2));
    walk.select(0);
    walk.answer("libShred::shred", {1});
    walk.modal("shredder-failed", button(2));
    walk.answer("libShred::shred", {0});
    walk.modal("shredder-done", button(2));
    walk.stop("shredder-shredded");
    walk.select(0);
    walk.modal("shredder-again", button(2));
}

} // namespace

void walkTools(PanelWalkSteps &walk)
{
    walk.go("btnAdvancedToolsClicked");
    walk.stop("tools");
    walkDataTheft(walk);
    walkDuplicates(walk);
    walkShredder(walk);
}

} // namespace talo::test
