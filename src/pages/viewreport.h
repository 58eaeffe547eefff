// The dialog that shows one scan report and saves it where the user wants.
#pragma once

#include "pages/filesystemchooser.h"

#include <QDialog>
#include <QModelIndex>

class QTextEdit;

class ViewReport : public QDialog
{
    Q_OBJECT

public:
    // `type` is what kind of scan wrote the report; it is kept, not shown.
    ViewReport(QString reportText, QString date, QString time, QString type,
               QDialog *parent = nullptr);

public slots:
    void btnSaveRptClicked();
    void btnCloseRptClicked();
    void saveRpt();
    void selectedItem(QModelIndex index);

private:
    void createTop();
    void createMiddle();
    QWidget *createDateTime();

    QString reportText_;
    QString date_;
    QString time_;
    QString type_;
    QWidget *top_ = nullptr;
    QWidget *middle_ = nullptr;
    QTextEdit *rptDetails_ = nullptr;
    talo::FileSystemChooser chooser_;
    QString folder_;
};
