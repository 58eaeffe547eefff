#include "pages/filesystemchooser.h"

#include <QBoxLayout>
#include <QCoreApplication>
#include <QDialog>
#include <QEvent>
#include <QFileSystemModel>
#include <QToolButton>
#include <QTreeView>

namespace talo
{
namespace
{

// Pages hear of a choice by the tree's clicked(). This says it for who chooses with the keyboard:
// where the arrows, or the letters of a name, lead to is chosen.
class KeyboardChoice : public QObject
{
public:
    explicit KeyboardChoice(QTreeView *tree) : QObject(tree), tree_(tree)
    {
        tree->installEventFilter(this);
    }

    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (event->type() == QEvent::KeyPress) {
            pressedHere_ = true;
        } else if (event->type() == QEvent::KeyRelease && pressedHere_) {
            pressedHere_ = false; // the release of the Tab that led here has no press
            if (tree_->currentIndex().isValid()) {
                emit tree_->clicked(tree_->currentIndex());
            }
        }
        return QObject::eventFilter(watched, event);
    }

private:
    QTreeView *tree_;
    bool pressedHere_ = false;
};

QToolButton *createButton(QDialog *dialog, const QString &text)
{
    auto *button = new QToolButton(dialog);
    button->setText(text);
    button->setFixedSize(150, 30);
    return button;
}

} // namespace

FileSystemChooser createFileSystemChooser(const QString &title, QDir::Filters filter)
{
    auto *dialog = new QDialog;
    dialog->setWindowTitle(title);
    dialog->setFixedSize(500, 400);

    auto *model = new QFileSystemModel;
    model->setRootPath(QDir::currentPath());
    model->setFilter(filter);

    auto *tree = new QTreeView(dialog);
    tree->setFixedSize(480, 330);
    tree->setModel(model);
    tree->setAccessibleName(title);
    new KeyboardChoice(tree);
    tree->expandAll();
    tree->hideColumn(3);
    tree->hideColumn(2);
    tree->hideColumn(1);

    auto *ok = createButton(dialog, QCoreApplication::translate("FileSystemChooser", "OK"));
    auto *cancel = createButton(dialog, QCoreApplication::translate("FileSystemChooser", "CANCEL"));
    QWidget::setTabOrder(tree, cancel);
    QWidget::setTabOrder(cancel, ok);
    QObject::connect(cancel, SIGNAL(clicked()), dialog, SLOT(close()));

    auto *buttons = new QHBoxLayout;
    buttons->addWidget(cancel);
    buttons->addWidget(ok);

    auto *column = new QVBoxLayout(dialog);
    column->addWidget(tree);
    column->addStretch(1);
    column->addLayout(buttons);
    return {dialog, model, tree, ok, cancel};
}

void runFileSystemChooser(const FileSystemChooser &chooser)
{
    chooser.dialog->exec();
    chooser.dialog->deleteLater();
    chooser.model->deleteLater();
}

} // namespace talo
