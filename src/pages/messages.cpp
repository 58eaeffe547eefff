#include "pages/messages.h"

#include <QCoreApplication>
#include <QMessageBox>

namespace talo
{
namespace
{

QString productTitle()
{
    return QCoreApplication::translate("Messages", "TALO Antivirus");
}

} // namespace

void showInformation(QWidget *parent, const QString &text)
{
    showInformation(parent, productTitle(), text);
}

void showInformation(QWidget *parent, const QString &title, const QString &text)
{
    QMessageBox::information(parent, title, text, QMessageBox::Ok);
}

void showWarning(QWidget *parent, const QString &text)
{
    showWarning(parent, productTitle(), text);
}

void showWarning(QWidget *parent, const QString &title, const QString &text)
{
    QMessageBox::warning(parent, title, text, QMessageBox::Ok);
}

bool askYesNo(QWidget *parent, const QString &text)
{
    return QMessageBox::question(parent, productTitle(), text,
                                 QMessageBox::Yes | QMessageBox::No) == QMessageBox::Yes;
}

} // namespace talo
