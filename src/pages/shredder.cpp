#include "pages/shredder.h"

#include "engine/libshred.h"
#include "pages/boxes.h"
#include "pages/headerband.h"
#include "pages/listtable.h"
#include "pages/messages.h"
#include "pages/textbutton.h"

#include <QBoxLayout>
#include <QDialog>
#include <QFileSystemModel>
#include <QHeaderView>
#include <QScrollBar>
#include <QStyle>
#include <QTableWidget>
#include <QToolButton>
#include <QTreeView>

namespace
{

enum Column { FileColumn, StatusColumn, ColumnCount };

constexpr int kContainerHeight = 220;
constexpr int kTableHeight = 300;
constexpr int kFileWidth = 550;
constexpr int kStatusWidth = 100;

constexpr char kProductFolder[] = "/usr/local/taloantivirus";

// What the second column says of a file; compared with, and so never translated.
const char kPending[] = "Pending";
const char kShredded[] = "Shredded";

// The table is taller than its container, which cuts it off. The part that is cut off is given to
// this scroll bar, which nobody needs, or the last rows could never be seen.
class CutOffPart : public QScrollBar
{
public:
    explicit CutOffPart(QWidget *parent) : QScrollBar(Qt::Horizontal, parent) {}
    QSize sizeHint() const override { return {0, kTableHeight - kContainerHeight}; }
};

// A stretched last column grows but never shrinks, and with a scroll bar beside them the columns
// are wider than the table.
class FileTable : public QTableWidget
{
public:
    explicit FileTable(QWidget *parent) : QTableWidget(0, ColumnCount, parent) {}

protected:
    void resizeEvent(QResizeEvent *event) override
    {
        QTableWidget::resizeEvent(event);
        const int room = viewport()->width();
        // With large fonts the path gives way, which may lose its middle: a status may not.
        const int status = qMax(qMin(kStatusWidth, room - kFileWidth), statusWidth());
        setColumnWidth(FileColumn, qMin(kFileWidth, room - status));
        setColumnWidth(StatusColumn, status);
    }

private:
    int statusWidth() const
    {
        const int margin = 2 * (style()->pixelMetric(QStyle::PM_FocusFrameHMargin) + 1) + 1;
        return qMax(horizontalHeader()->sectionSizeHint(StatusColumn),
                    fontMetrics().horizontalAdvance(kShredded) + margin);
    }
};

} // namespace

Shredder::Shredder(QWidget *parent) : QWidget(parent)
{
    setFixedSize(650, 420);
    setObjectName("mobileapp");
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

void Shredder::createTop()
{
    const talo::HeaderBand header = talo::createHeaderBand(this, tr("Shredder"), 150);
    connect(header.back, SIGNAL(clicked(bool)), this, SIGNAL(ShowAdvacnedToolsPage()));
    top_ = header.band;
}

void Shredder::createMiddle()
{
    middle_ = new QWidget(this);
    middle_->setObjectName("DuplicateFinderbottom");
    middle_->setFixedSize(650, 300);
    middle_->setContentsMargins(0, 0, 0, 0);

    auto *icon = new QToolButton(middle_);
    icon->setObjectName("iconShredder");
    icon->setIconSize(QSize(50, 50));
    icon->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    icon->setFocusPolicy(Qt::NoFocus); // a picture with words, of no use to the keyboard
    icon->setText(tr("  File Shredder allows user to delete complete data from their PC securely, "
                     "without\n  any possibility of restoration."));

    auto *iconRow = talo::createRow();
    iconRow->addSpacing(5);
    iconRow->addWidget(icon);
    iconRow->addSpacing(5);

    auto *column = talo::createColumn(middle_);
    column->addLayout(iconRow);
    column->addWidget(createTable());
}

QWidget *Shredder::createTable()
{
    auto *container = new QWidget(middle_);
    container->setObjectName("updatecontainer");
    container->setFixedSize(650, kContainerHeight);
    container->setContentsMargins(0, 0, 0, 0);

    table_ = new FileTable(container);
    table_->setFixedSize(640, kTableHeight);
    table_->setHorizontalScrollBar(new CutOffPart(table_));
    table_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOn);
    table_->setTextElideMode(Qt::ElideMiddle); // a file's name is at its path's end
    table_->setWordWrap(false);
    table_->setColumnWidth(FileColumn, kFileWidth);
    table_->setColumnWidth(StatusColumn, kStatusWidth);
    talo::makeListTable(table_, {tr("File"), tr("Status")}, tr("Files to shred"));

    auto *row = talo::createRow(container);
    row->addStretch(1);
    row->addWidget(table_);
    row->addStretch(1);
    return container;
}

void Shredder::createBottom()
{
    bottom_ = new QWidget(this);
    bottom_->setObjectName("DuplicateFinderbottom");
    bottom_->setFixedSize(650, 50);
    bottom_->setContentsMargins(0, 0, 0, 0);

    btnAdd_ = talo::createTextButton(bottom_, "", tr("ADD"));
    connect(btnAdd_, SIGNAL(clicked(bool)), this, SLOT(addFile()));
    btnRemove_ = talo::createTextButton(bottom_, "", tr("REMOVE"));
    btnRemove_->setEnabled(false);
    connect(btnRemove_, SIGNAL(clicked(bool)), this, SLOT(btnRemoveClicked()));
    btnShred_ = talo::createTextButton(bottom_, "", tr("SHRED"));
    btnShred_->setEnabled(false);
    connect(btnShred_, SIGNAL(clicked(bool)), this, SLOT(btnShredClicked()));

    talo::addSpread(talo::createRow(bottom_), {btnAdd_, btnRemove_, btnShred_});
}

void Shredder::addFile()
{
    pickedPath_.clear(); // only a click in this chooser is a choice
    chooser_ = talo::createFileSystemChooser(tr("Select a file to Shred"),
                                             QDir::AllEntries | QDir::NoDotAndDotDot);
    connect(chooser_.ok, SIGNAL(clicked()), this, SLOT(setFilePath()));
    connect(chooser_.tree, SIGNAL(clicked(QModelIndex)), this, SLOT(selectedItem(QModelIndex)));
    talo::runFileSystemChooser(chooser_);
}

void Shredder::selectedItem(QModelIndex index)
{
    pickedPath_ = chooser_.model->filePath(index);
}

void Shredder::setFilePath()
{
    chooser_.dialog->accept();
    if (QDir(pickedPath_).exists()) { // an empty path is the current folder
        talo::showWarning(this, tr("Please, Select a file to remove."));
        return;
    }
    if (pickedPath_.toLocal8Bit().contains(kProductFolder)) {
        talo::showWarning(this, tr("This file is not allow to shread !"));
        return;
    }
    if (isListed(pickedPath_)) {
        talo::showWarning(this, tr("Files already added."));
        return;
    }
    appendRow(pickedPath_, kPending);
    btnRemove_->setEnabled(true);
    btnShred_->setEnabled(true);
}

bool Shredder::isListed(const QString &path) const
{
    for (int row = 0; row < table_->rowCount(); ++row)
        if (table_->item(row, FileColumn)->text() == path)
            return true;
    return false;
}

void Shredder::appendRow(const QString &path, const QString &status)
{
    if (rows_ != 0)
        table_->insertRow(rows_);
    else
        table_->setRowCount(1);
    talo::setCentredCell(table_, rows_, FileColumn, path);
    talo::setCentredCell(table_, rows_, StatusColumn, status);
    ++rows_;
}

void Shredder::disableUnlessFilled()
{
    if (rows_ == 0) {
        btnRemove_->setEnabled(false);
        btnShred_->setEnabled(false);
    }
}

void Shredder::btnRemoveClicked()
{
    const int row = table_->currentRow();
    if (row < 0) {
        talo::showWarning(this, tr("Select a file to remove"));
        return;
    }
    table_->removeRow(row);
    --rows_;
    disableUnlessFilled();
}

void Shredder::btnShredClicked()
{
    const int row = table_->currentRow();
    if (row < 0) {
        talo::showWarning(this, tr("Select a file to shred"));
        return;
    }
    if (table_->item(row, StatusColumn)->text() == kShredded) {
        talo::showWarning(this, tr("File is already shredded."));
        return;
    }
    auto *thread = new ShredderThread(table_->item(row, FileColumn)->text(), row);
    connect(thread, SIGNAL(SendSuccess(QString, int)), this,
            SLOT(HandleShredderSuccess(QString, int)));
    connect(thread, SIGNAL(SendFailure()), this, SLOT(HandleShredderFailed()));
    connect(thread, SIGNAL(finished()), thread, SLOT(deleteLater()));
    thread->start();
}

// `row` is where the file was when its thread began. Where rows have moved since, another row goes.
void Shredder::HandleShredderSuccess(QString path, int row)
{
    table_->removeRow(row);
    --rows_;
    appendRow(path, kShredded);
    talo::showInformation(this, tr("File is successfully shred."));
    disableUnlessFilled();
}

void Shredder::HandleShredderFailed()
{
    talo::showWarning(this, tr("Unable to remove file."));
}

ShredderThread::ShredderThread(QString path, int row) : path_(std::move(path)), row_(row) {}

void ShredderThread::run()
{
    const QByteArray path = path_.toUtf8();
    long long overwritten = 0;
    if (libShred::shred(path.constData(), &overwritten) == 0)
        emit SendSuccess(path_, row_);
    else
        emit SendFailure();
}
