// The dialog in which the user picks a folder or a file.
#pragma once

#include <QDir>
#include <QPointer>
#include <QString>

class QDialog;
class QFileSystemModel;
class QToolButton;
class QTreeView;

namespace talo
{

// A page connects ok's clicked() and tree's clicked(QModelIndex) to slots of its own; CANCEL
// already closes the dialog. The pointers turn null once the dialog is gone.
struct FileSystemChooser {
    QPointer<QDialog> dialog;
    QPointer<QFileSystemModel> model;
    QPointer<QTreeView> tree;
    QPointer<QToolButton> ok;
    QPointer<QToolButton> cancel;
};

// Builds a chooser without parent that starts at the current directory and shows names only.
FileSystemChooser createFileSystemChooser(const QString &title, QDir::Filters filter);

// Runs the chooser until it closes, then frees it: its model keeps a thread and file watches.
void runFileSystemChooser(const FileSystemChooser &chooser);

} // namespace talo
