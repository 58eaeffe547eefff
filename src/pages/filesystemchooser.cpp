#include "pages/filesystemchooser.h"

#include <QBoxLayout>
#include <QCoreApplication>
#include <QDialog>
#include <QFileSystemModel>
#include <QToolButton>
#include <QTreeView>

namespace talo
{
namespace
{

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
    tree->expandAll();
    tree->hideColumn(3);
    tree->hideColumn(2);
    tree->hideColumn(1);

    auto *ok = createButton(dialog, QCoreApplication::translate("FileSystemChooser", "OK"));
    auto *cancel = createButton(dialog, QCoreApplication::translate("FileSystemChooser", "CANCEL"));
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
