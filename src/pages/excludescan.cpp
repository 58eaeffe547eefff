#include "pages/excludescan.h"

#include "engine/libexcludesetting.h"
#include "pages/band.h"
#include "pages/boxes.h"
#include "pages/exclusionkinds.h"
#include "pages/messages.h"
#include "pages/screencentre.h"
#include "pages/textbutton.h"

#include <QBoxLayout>
#include <QComboBox>
#include <QFileSystemModel>
#include <QLabel>
#include <QTextEdit>
#include <QToolButton>
#include <QTreeView>

namespace
{

enum Type { ExtensionType, LocationType }; // the entries of the type box

// AddExcludeSettings()'s answer to an extension with a dot or a space.
constexpr int kMalformedExtension = 701;

constexpr int kLongestWholePath = 40;
constexpr int kBytesOfLongPath = 37;

// A long path is cut by bytes; a character that falls on the cut shows as damaged.
QString shownPath(const QString &path)
{
    if (path.size() <= kLongestWholePath) {
        return path;
    }
    return QString::fromUtf8(path.toUtf8().left(kBytesOfLongPath)) + "...";
}

bool isBlank(const QString &text)
{
    return text.trimmed().isEmpty();
}

} // namespace

ExcludeScan::ExcludeScan(QDialog *parent) : QDialog(parent)
{
    setFixedSize(400, 370);
    talo::centreOnScreen(this);
    setObjectName("excludescan");
    createTop();
    createMiddle();

    auto *column = talo::createColumn(this);
    column->addWidget(top_);
    column->addSpacing(10);
    column->addWidget(middle_);
    setContentsMargins(0, 0, 0, 0);
}

void ExcludeScan::createTop()
{
    top_ = new QWidget(this);
    top_->setObjectName("excludescantop");
    top_->setFixedSize(400, 120);
    top_->setContentsMargins(20, 5, 0, 0);

    QToolButton *caption =
        talo::createPicture(top_, "iconRptViewer", 25, tr(" Exclude items from scanning"));

    auto *column = talo::createColumn(top_);
    column->addSpacing(10);
    column->addWidget(caption);
    column->addSpacing(10);
    column->addWidget(new QLabel(tr("Excluding extension and locations can help\n"
                                    "speedup system performance, but may leave your\n"
                                    "computer less protected."),
                                 top_));
    column->addSpacing(10);
}

void ExcludeScan::createMiddle()
{
    middle_ = new QWidget(this);
    middle_->setObjectName("excludescanmiddle");
    middle_->setFixedSize(400, 250);
    middle_->setContentsMargins(0, 0, 0, 0);

    lblPath_ = new QLabel(middle_);
    lblPath_->setFixedSize(350, 30);
    lblPath_->setTextFormat(Qt::PlainText); // a file's name may look like markup

    auto *pathRow = talo::createRow();
    pathRow->addStretch(1);
    pathRow->addWidget(lblPath_);
    pathRow->addStretch(1);

    auto *column = talo::createColumn(middle_);
    column->addSpacing(10);
    column->addLayout(createTypeRow());
    column->addSpacing(5);
    column->addLayout(createEntryRow());
    column->addLayout(pathRow);
    column->addLayout(createButtonRow());
    column->addSpacing(10);
}

QHBoxLayout *ExcludeScan::createTypeRow()
{
    auto *label = new QLabel(tr("Exclude Type"), middle_);
    label->setFixedSize(150, 30);

    cmbExcludeType_ = new QComboBox(middle_);
    cmbExcludeType_->setFixedSize(150, 30);
    cmbExcludeType_->setCursor(Qt::PointingHandCursor);
    cmbExcludeType_->addItems({tr("Extension"), tr("Location")});
    cmbExcludeType_->setCurrentIndex(ExtensionType);
    cmbExcludeType_->setAccessibleName(label->text());
    connect(cmbExcludeType_, SIGNAL(currentIndexChanged(int)), this, SLOT(cmbExlcudeTypeClicked()));

    auto *row = talo::createRow();
    row->addSpacing(20);
    row->addWidget(label, 0, Qt::AlignLeft);
    row->addWidget(cmbExcludeType_, 0, Qt::AlignRight);
    row->addSpacing(20);
    return row;
}

QHBoxLayout *ExcludeScan::createEntryRow()
{
    lblField_ = new QLabel(tr("Extension"), middle_);
    lblField_->setFixedSize(150, 30);

    txtExtension_ = new QTextEdit(middle_);
    txtExtension_->setFixedSize(150, 30);
    // As high as one line, it is to work like one.
    txtExtension_->setTabChangesFocus(true);
    txtExtension_->setLineWrapMode(QTextEdit::NoWrap);
    txtExtension_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    txtExtension_->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    txtExtension_->setAccessibleName(lblField_->text());

    btnBrowse_ = talo::createTextButton(middle_, "", tr("BROWSE"));
    btnBrowse_->setFixedSize(150, 30);
    btnBrowse_->hide();
    connect(btnBrowse_, SIGNAL(clicked(bool)), this, SLOT(btnBrowseExcludeScanPathClicked()));

    auto *row = talo::createRow();
    row->addSpacing(20);
    row->addWidget(lblField_, 0, Qt::AlignLeft);
    row->addWidget(txtExtension_, 0, Qt::AlignRight);
    row->addWidget(btnBrowse_, 0, Qt::AlignRight);
    row->addSpacing(20);
    return row;
}

QHBoxLayout *ExcludeScan::createButtonRow()
{
    auto *cancel = talo::createTextButton(middle_, "", tr("CANCEL"));
    connect(cancel, SIGNAL(clicked(bool)), this, SLOT(close()));
    auto *ok = talo::createTextButton(middle_, "", tr("OK"));
    connect(ok, SIGNAL(clicked(bool)), this, SLOT(btnOkExcludeScanClicked()));

    auto *row = talo::createRow();
    talo::addSpread(row, {cancel, ok});
    return row;
}

void ExcludeScan::cmbExlcudeTypeClicked()
{
    const bool location = cmbExcludeType_->currentIndex() == LocationType;
    btnBrowse_->setVisible(location);
    txtExtension_->setVisible(!location);
    lblField_->setText(location ? tr("Select Path") : tr("Extension"));
}

void ExcludeScan::btnBrowseExcludeScanPathClicked()
{
    chooser_ = talo::createFileSystemChooser(
        tr("Select Exclusion Path"), QDir::AllEntries | QDir::AllDirs | QDir::NoDotAndDotDot);
    connect(chooser_.ok, SIGNAL(clicked()), chooser_.dialog, SLOT(accept()));
    connect(chooser_.tree, SIGNAL(clicked(QModelIndex)), this, SLOT(selectedItem(QModelIndex)));
    talo::runFileSystemChooser(chooser_);
}

// A click is the choice: the chooser's CANCEL does not take it back.
void ExcludeScan::selectedItem(QModelIndex index)
{
    selectedPath_ = chooser_.model->filePath(index);
    lblPath_->setText(shownPath(selectedPath_));
}

void ExcludeScan::btnOkExcludeScanClicked()
{
    switch (cmbExcludeType_->currentIndex()) {
    case ExtensionType:
        addExtension();
        break;
    case LocationType:
        addLocation();
        break;
    default:
        break;
    }
}

void ExcludeScan::addExtension()
{
    const QString extension = txtExtension_->toPlainText();
    if (isBlank(extension)) {
        talo::showWarning(this, tr("Please enter extension"));
        return;
    }
    if (libExcludeSetting::AddExcludeSettings(extension.toStdString(), talo::kExtensionKind) ==
        kMalformedExtension) {
        talo::showWarning(this, tr("Please enter extension without [.] dot or space"));
    }
    accept();
}

void ExcludeScan::addLocation()
{
    if (isBlank(selectedPath_)) {
        talo::showWarning(this, tr("Select exclusion path."));
        return;
    }
    libExcludeSetting::AddExcludeSettings(selectedPath_.toStdString(), talo::kLocationKind);
    accept();
}
