#include "pages/duplicatefinder.h"

#include "engine/libduplicatefinder.h"
#include "pages/band.h"
#include "pages/boxes.h"
#include "pages/duplicatefinderthread.h"
#include "pages/headerband.h"
#include "pages/messages.h"
#include "pages/textbutton.h"

#include <QBoxLayout>
#include <QDialog>
#include <QFileSystemModel>
#include <QGuiApplication>
#include <QLabel>
#include <QTextEdit>
#include <QToolButton>
#include <QTreeView>
#include <QTreeWidget>

#include <cstring>

namespace
{

enum DeletionResult { NothingToDelete = 803, AllDeleted = 811 };

// The page that began the current search. The window may close while a search still runs.
std::mutex targetMutex;
DuplicateFinder *target = nullptr;

void setTarget(DuplicateFinder *page)
{
    const std::lock_guard<std::mutex> lock(targetMutex);
    target = page;
}

// Empty from a tebibyte on: there is no unit for it.
QString sizeText(long long bytes)
{
    static const char *const kUnits[] = {"Bytes", "KB", "MB", "GB"};
    std::size_t unit = 0;
    for (; bytes >= 1024; bytes /= 1024)
        ++unit;
    return unit < std::size(kUnits) ? QString("%1 %2").arg(bytes).arg(kUnits[unit]) : QString();
}

QTreeWidgetItem *createGroup(const std::string &key, const std::list<std::string> &paths)
{
    auto *group = new QTreeWidgetItem(QStringList(QString::fromStdString(key)));
    for (const std::string &path : paths) {
        auto *copy = new QTreeWidgetItem(group, QStringList(QString::fromStdString(path)));
        copy->setFlags(copy->flags() | Qt::ItemIsSelectable | Qt::ItemIsUserCheckable);
        copy->setCheckState(0, Qt::Checked);
    }
    return group;
}

} // namespace

void dupCallBack(char *path)
{
    const std::lock_guard<std::mutex> lock(targetMutex);
    if (target != nullptr)
        target->announce(path);
}

DuplicateFinder::DuplicateFinder(QWidget *parent) : QWidget(parent)
{
    setFixedSize(650, 420);
    setObjectName("mobileapp");
    qRegisterMetaType<char *>("char*");
    createTop();
    createMiddle();
    createBottom();

    auto *column = talo::createColumn(this);
    column->addSpacing(5);
    column->addWidget(top_);
    column->addWidget(middle_);
    column->addWidget(bottom_);
    column->addStretch(1);
    setContentsMargins(0, 0, 0, 0);
}

DuplicateFinder::~DuplicateFinder()
{
    const std::lock_guard<std::mutex> lock(targetMutex);
    if (target == this)
        target = nullptr;
}

void DuplicateFinder::createTop()
{
    const talo::HeaderBand header = talo::createHeaderBand(this, tr("Duplicate Finder"), 150);
    connect(header.back, SIGNAL(clicked(bool)), this, SIGNAL(ShowAdvacnedToolsPage()));
    top_ = header.band;
}

void DuplicateFinder::createMiddle()
{
    middle_ = talo::createBand(this, "DuplicateFinderbottom", 300);

    QToolButton *description = talo::createPicture(
        middle_, "iconDuplicateFinder", 50,
        tr("  Duplicate file finder searches your system for copies of files and deletes them\n"
           "  with your approval. This helps to increase the space on your hard drive"));

    auto *descriptionRow = talo::createRow();
    descriptionRow->addSpacing(5);
    descriptionRow->addWidget(description);
    descriptionRow->addSpacing(5);

    QBoxLayout *folderRow = createFolderRow(); // before the results, for the Tab key
    auto *resultRow = talo::createRow();
    resultRow->addStretch(1);
    resultRow->addWidget(createResults());
    resultRow->addStretch(1);

    auto *column = talo::createColumn(middle_);
    column->addLayout(descriptionRow);
    column->addLayout(folderRow);
    column->addLayout(resultRow);
}

QBoxLayout *DuplicateFinder::createFolderRow()
{
    path_ = new QTextEdit(middle_);
    path_->setFixedSize(400, 30);
    path_->setEnabled(false);
    path_->setLineWrapMode(QTextEdit::NoWrap);
    path_->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    path_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    path_->setAccessibleName(tr("Folder to search"));

    browse_ = talo::createTextButton(middle_, "", tr("BROWSE"));
    connect(browse_, SIGNAL(clicked(bool)), this, SLOT(browseDuplicateFinderPath()));
    start_ = talo::createTextButton(middle_, "", tr("START"));
    start_->setEnabled(false);
    connect(start_, SIGNAL(clicked(bool)), this, SLOT(btnStartClicked()));

    auto *row = talo::createRow();
    row->addSpacing(25);
    row->addWidget(path_);
    row->addStretch(1);
    row->addWidget(browse_);
    row->addSpacing(10);
    row->addWidget(start_);
    row->setContentsMargins(0, 0, 20, 0); // in line with DELETE, and clear of the window's edge
    return row;
}

QWidget *DuplicateFinder::createResults()
{
    QWidget *container = talo::createBand(middle_, "updatecontainer", 150);

    results_ = new QTreeWidget(container);
    results_->setFixedSize(650, 150);
    results_->setColumnCount(1);
    results_->setHeaderHidden(true);
    results_->setUniformRowHeights(true); // else every row of a long list is measured
    results_->setAccessibleName(tr("Duplicate files"));
    return container;
}

void DuplicateFinder::createBottom()
{
    bottom_ = talo::createBand(this, "DuplicateFinderbottom", 50);

    status_ = new QLabel(tr("Select the directory to find duplicate files"), bottom_);
    status_->setTextFormat(Qt::PlainText); // a file's name may look like markup
    delete_ = talo::createTextButton(bottom_, "", tr("DELETE"));
    delete_->setEnabled(false);
    connect(delete_, SIGNAL(clicked(bool)), this, SLOT(btnDeleteClicked()));

    auto *row = talo::createRow(bottom_);
    row->addSpacing(25);
    row->addWidget(status_);
    row->addStretch(1);
    row->addWidget(delete_);
    row->addSpacing(20);
}

void DuplicateFinder::browseDuplicateFinderPath()
{
    chooser_ = talo::createFileSystemChooser(tr("Select folder to find duplicate files"),
                                             QDir::Dirs | QDir::AllDirs | QDir::Drives |
                                                 QDir::NoDotAndDotDot);
    connect(chooser_.ok, SIGNAL(clicked()), this, SLOT(setFilePath()));
    connect(chooser_.tree, SIGNAL(clicked(QModelIndex)), this, SLOT(selectedItem(QModelIndex)));
    talo::runFileSystemChooser(chooser_);
}

void DuplicateFinder::selectedItem(QModelIndex index)
{
    folder_ = chooser_.model->filePath(index);
}

void DuplicateFinder::setFilePath()
{
    chooser_.dialog->accept();
    path_->setPlainText(folder_);
    start_->setEnabled(true);
    delete_->setEnabled(false);
    results_->clear();
    status_->setText(tr("Select the directory to find duplicate files"));
}

void DuplicateFinder::btnStartClicked()
{
    setTarget(this);
    results_->clear();
    browse_->setEnabled(false);
    start_->setEnabled(false);
    libDuplicateFinder::register_callback(dupCallBack);
    status_->setText(tr("Searching duplicate files..."));

    // Closing the panel ends a search by ending the process, so nothing owns the thread.
    auto *thread = new DuplicateFinderThread(folder_);
    connect(thread, SIGNAL(finished()), thread, SLOT(deleteLater()));
    connect(this, SIGNAL(SendDupCurFilePath(char *)), this, SLOT(UpdateDupCurFilePath(char *)),
            Qt::UniqueConnection);
    connect(thread, SIGNAL(SendDuplicateFinderData(long long, long long)), this,
            SLOT(SetDuplicateFinderData(long long, long long)));
    connect(thread, SIGNAL(DuplicateFinderNoDataFound()), this,
            SLOT(HandleDuplicateFinderNoDataFound()));
    connect(thread, SIGNAL(DuplicateFinderDataFound(std::map<string, list<string>>)), this,
            SLOT(HandleDuplicateFinderDataFound(std::map<string, list<string>>)));
    thread->start();
}

void DuplicateFinder::announce(const char *path)
{
    const std::size_t size = std::strlen(path) + 1;
    auto copy = std::make_unique<char[]>(size);
    std::memcpy(copy.get(), path, size);
    char *const text = copy.get();
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        underway_[text] = std::move(copy);
    }
    emit SendDupCurFilePath(text);
}

void DuplicateFinder::UpdateDupCurFilePath(char *path)
{
    status_->setText(QString::fromUtf8(path));
    const std::lock_guard<std::mutex> lock(mutex_);
    underway_.erase(path);
}

void DuplicateFinder::SetDuplicateFinderData(long long fileCount, long long totalBytes)
{
    fileCount_ = fileCount;
    totalBytes_ = totalBytes;
}

void DuplicateFinder::HandleDuplicateFinderNoDataFound()
{
    results_->clear();
    browse_->setEnabled(true);
    start_->setEnabled(false);
    talo::showInformation(this, tr("No duplicate files found"));
    status_->setText(tr("Select the directory to find duplicate files."));
    path_->clear();
}

void DuplicateFinder::HandleDuplicateFinderDataFound(std::map<string, list<string>> result)
{
    duplicates_ = std::move(result);
    fillResults();
    delete_->setEnabled(true);
    browse_->setEnabled(true);
    start_->setEnabled(false);
    const QString text = tr("Total duplicate files found: %1\nTotal disk space to be freed: %2")
                             .arg(QString::number(fileCount_), sizeText(totalBytes_));
    status_->setText(text);
    talo::showInformation(this, text);
}

void DuplicateFinder::fillResults()
{
    results_->clear();
    QList<QTreeWidgetItem *> groups;
    for (const auto &[key, paths] : duplicates_)
        groups.append(createGroup(key, paths));
    results_->addTopLevelItems(groups);
}

void DuplicateFinder::btnDeleteClicked()
{
    std::list<std::string> files;
    for (QTreeWidgetItemIterator item(results_, QTreeWidgetItemIterator::Checked); *item; ++item)
        files.push_back((*item)->text(0).toStdString());

    // Every file is compared once more before it goes, which takes a while with large ones.
    QGuiApplication::setOverrideCursor(Qt::WaitCursor);
    int deleted = 0;
    const int result = libDuplicateFinder::DeleteDuplicateFiles(files, duplicates_, &deleted);
    QGuiApplication::restoreOverrideCursor();

    if (result == NothingToDelete) {
        talo::showInformation(this, tr("No file selected for delete."));
        return;
    }
    if (result == AllDeleted) {
        talo::showInformation(this,
                              tr("%1 duplicate files are deleted successfully.").arg(deleted));
    } else {
        talo::showInformation(this, tr("Permission denied for deletion for some files."));
    }
    fillResults();
}
