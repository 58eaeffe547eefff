#include "pages/messages.h"

#include <QCoreApplication>
#include <QMessageBox>

namespace talo
{
namespace
{

QString title()
{
    return QCoreApplication::translate("Messages", "TALO Antivirus");
}

} // namespace

void showInformation(QWidget *parent, const QString &text)
{
    QMessageBox::information(parent, title(), text, QMessageBox::Ok);
}

void showWarning(QWidget *parent, const QString &text)
{
    QMessageBox::warning(parent, title(), text, QMessageBox::Ok);
}

bool askYesNo(QWidget *parent, const QString &text)
{
    return QMessageBox::question(parent, title(), text, QMessageBox::Yes | QMessageBox::No) ==
           QMessageBox::Yes;
}

} // namespace talo
