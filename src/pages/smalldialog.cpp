#include "pages/smalldialog.h"

#include <QDialog>

namespace talo
{

QDialog *createSmallDialog(const QString &name)
{
    auto *dialog = new QDialog;
    dialog->setObjectName(name);
    dialog->setFixedSize(350, 150);
    dialog->setWindowFlags(Qt::WindowTitleHint | Qt::WindowCloseButtonHint);
    dialog->setContentsMargins(0, 0, 0, 0);
    return dialog;
}

void runDialog(QDialog *dialog)
{
    dialog->exec();
    dialog->deleteLater();
}

} // namespace talo
