// What the tests of the shredder page share.
#pragma once

#include "pages/shredder.h"
#include "support/dialogs.h"

#include <QStringList>
#include <QTableWidget>
#include <QTemporaryDir>

namespace talo::test
{

// The page in a window, with files to shred in a folder of its own that is the current one.
class ShredderWindow
{
public:
    ShredderWindow();
    ~ShredderWindow();

    Shredder page;

    // A new file; its whole path.
    QString file(const QString &name) const;
    QTableWidget *table() const { return page.findChild<QTableWidget *>(); }
    // The rows as a user reads them: "name Pending", without the folder.
    QStringList rows() const;
    bool press(const char *button) const;
    bool isEnabled(const char *button) const;
    // Adds a file by ADD, a click on it and OK; fails by words.
    QString add(const QString &path) const;
    // A new file, added.
    QString addNew(const QString &name) const { return add(file(name)); }
    bool select(int row) const;

    QString folder() const { return folder_.path(); }

private:
    QString before_;
    QTemporaryDir folder_{"/tmp/t-XXXXXX"};
};

} // namespace talo::test
