// The destruction of files beyond recovery: a list of files, shredded one at a time.
#pragma once

#include "pages/filesystemchooser.h"

#include <QModelIndex>
#include <QString>
#include <QThread>
#include <QWidget>

class QTableWidget;
class QToolButton;

class Shredder : public QWidget
{
    Q_OBJECT

public:
    explicit Shredder(QWidget *parent = nullptr);

signals:
    void ShowAdvacnedToolsPage();

public slots:
    void addFile();
    void selectedItem(QModelIndex index);
    void setFilePath();
    void btnRemoveClicked();
    void btnShredClicked();
    void HandleShredderSuccess(QString path, int row);
    void HandleShredderFailed();

private:
    void createTop();
    void createMiddle();
    QWidget *createTable();
    void createBottom();
    bool isListed(const QString &path) const;
    void appendRow(const QString &path, const QString &status);
    void disableUnlessFilled();

    QWidget *top_ = nullptr;
    QWidget *middle_ = nullptr;
    QWidget *bottom_ = nullptr;
    QTableWidget *table_ = nullptr;
    // Rows in use. Kept apart from the table's own number, which stays behind it where a row that
    // is to go is gone already.
    int rows_ = 0;
    QToolButton *btnAdd_ = nullptr;
    QToolButton *btnRemove_ = nullptr;
    QToolButton *btnShred_ = nullptr;
    talo::FileSystemChooser chooser_;
    QString pickedPath_;
};

// Shreds one file on a thread of its own.
class ShredderThread : public QThread
{
    Q_OBJECT

public:
    // `row` is where the page's table had the file at the start; it is handed back as it is.
    ShredderThread(QString path, int row);

signals:
    void SendSuccess(QString path, int row);
    void SendFailure();

protected:
    void run() override;

private:
    QString path_;
    int row_;
};
