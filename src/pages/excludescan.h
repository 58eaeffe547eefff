// The dialog in which the user adds one exclusion from scanning: a file extension or a location.
#pragma once

#include "pages/filesystemchooser.h"

#include <QDialog>
#include <QModelIndex>

class QComboBox;
class QHBoxLayout;
class QLabel;
class QTextEdit;
class QToolButton;

class ExcludeScan : public QDialog
{
    Q_OBJECT

public:
    explicit ExcludeScan(QDialog *parent = nullptr);

public slots:
    void btnOkExcludeScanClicked();
    void btnBrowseExcludeScanPathClicked();
    void selectedItem(QModelIndex index);
    void cmbExlcudeTypeClicked();

private:
    void createTop();
    void createMiddle();
    QHBoxLayout *createTypeRow();
    QHBoxLayout *createEntryRow();
    QHBoxLayout *createButtonRow();
    void addExtension();
    void addLocation();

    QString selectedPath_; // survives a change of type and further browsing
    QWidget *top_ = nullptr;
    QWidget *middle_ = nullptr;
    QComboBox *cmbExcludeType_ = nullptr;
    QTextEdit *txtExtension_ = nullptr;
    QToolButton *btnBrowse_ = nullptr;
    QLabel *lblPath_ = nullptr;
    QLabel *lblField_ = nullptr;
    talo::FileSystemChooser chooser_;
};
