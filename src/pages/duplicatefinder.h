// The search for files with equal content.
#pragma once

#include "pages/filesystemchooser.h"

#include <QModelIndex>
#include <QString>
#include <QWidget>

#include <list>
#include <map>
#include <memory>
#include <mutex>
#include <string>

class QBoxLayout;
class QLabel;
class QTextEdit;
class QToolButton;
class QTreeWidget;

class DuplicateFinder : public QWidget
{
    Q_OBJECT

public:
    // The names by which DuplicateFinderThread's results are spelt in signatures.
    using string = std::string;
    template <class T> using list = std::list<T>;

    explicit DuplicateFinder(QWidget *parent = nullptr);
    ~DuplicateFinder() override;

    // Passes on the path that the search examines, from any thread. A copy travels: the engine's
    // text is only valid during the call.
    void announce(const char *path);

signals:
    void ShowAdvacnedToolsPage();
    void SendDupCurFilePath(char *path);

private slots:
    void browseDuplicateFinderPath();
    void selectedItem(QModelIndex index);
    void setFilePath();
    void btnStartClicked();
    void UpdateDupCurFilePath(char *path);
    void SetDuplicateFinderData(long long fileCount, long long totalBytes);
    void HandleDuplicateFinderNoDataFound();
    void HandleDuplicateFinderDataFound(std::map<string, list<string>> result);
    void btnDeleteClicked();

private:
    void createTop();
    void createMiddle();
    void createBottom();
    QBoxLayout *createFolderRow();
    QWidget *createResults();
    void fillResults();

    QWidget *top_ = nullptr;
    QWidget *middle_ = nullptr;
    QWidget *bottom_ = nullptr;
    QTreeWidget *results_ = nullptr;
    QTextEdit *path_ = nullptr;
    QToolButton *browse_ = nullptr;
    QToolButton *start_ = nullptr;
    QToolButton *delete_ = nullptr;
    QLabel *status_ = nullptr;
    talo::FileSystemChooser chooser_;
    QString folder_;
    std::map<std::string, std::list<std::string>> duplicates_;
    long long fileCount_ = 0;
    long long totalBytes_ = 0;

    std::mutex mutex_; // for what is below
    std::map<char *, std::unique_ptr<char[]>> underway_;
};

// Told by the engine of each file that a search examines.
void dupCallBack(char *path);
