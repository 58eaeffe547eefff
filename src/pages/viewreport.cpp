#include "pages/viewreport.h"

#include "engine/libreports.h"
#include "pages/band.h"
#include "pages/boxes.h"
#include "pages/messages.h"
#include "pages/screencentre.h"

#include <QBoxLayout>
#include <QFileSystemModel>
#include <QLabel>
#include <QTextEdit>
#include <QToolButton>
#include <QTreeView>

namespace
{

QHBoxLayout *createValueRow(QWidget *block, const QString &caption, const QString &value)
{
    auto *row = talo::createRow();
    row->addSpacing(20);
    row->addWidget(new QLabel(caption, block), 0, Qt::AlignLeft);
    row->addWidget(new QLabel(value, block), 0, Qt::AlignRight);
    row->addSpacing(20);
    return row;
}

} // namespace

ViewReport::ViewReport(QString reportText, QString date, QString time, QString type,
                       QDialog *parent)
    : QDialog(parent), reportText_(reportText), date_(date), time_(time), type_(type)
{
    setFixedSize(400, 400);
    setWindowFlags(Qt::WindowTitleHint | Qt::WindowMinimizeButtonHint | Qt::WindowCloseButtonHint);
    talo::centreOnScreen(this);
    setObjectName("viewreport");
    createTop();
    createMiddle();

    auto *column = talo::createColumn(this);
    column->addWidget(top_);
    column->addWidget(middle_);
    setContentsMargins(0, 0, 0, 0);
}

void ViewReport::createTop()
{
    top_ = new QWidget(this);
    top_->setFixedSize(400, 50);
    top_->setObjectName("viewreporttop");
    top_->setContentsMargins(20, 5, 0, 0);

    QToolButton *caption = talo::createPicture(top_, "iconRptViewer", 25, tr(" Report viewer"));

    talo::createColumn(top_)->addWidget(caption);
}

void ViewReport::createMiddle()
{
    middle_ = new QWidget(this);
    middle_->setObjectName("viewreportmiddle");
    middle_->setFixedSize(400, 350);
    middle_->setContentsMargins(0, 0, 0, 0);

    QWidget *dateTime = createDateTime();

    rptDetails_ = new QTextEdit(middle_);
    rptDetails_->setObjectName("rptDetails");
    rptDetails_->setReadOnly(true);
    rptDetails_->setAccessibleName(tr("Report"));
    rptDetails_->setTabChangesFocus(true);
    rptDetails_->setFixedSize(400, 220);
    rptDetails_->setText(reportText_);

    auto *save = new QToolButton(middle_);
    save->setText(tr("SAVE"));
    save->setCursor(Qt::PointingHandCursor);
    connect(save, SIGNAL(clicked(bool)), this, SLOT(btnSaveRptClicked()));
    auto *close = new QToolButton(middle_);
    close->setText(tr("CLOSE"));
    connect(close, SIGNAL(clicked(bool)), this, SLOT(btnCloseRptClicked()));

    auto *buttons = talo::createRow();
    buttons->addStretch(1);
    buttons->addWidget(save);
    buttons->addStretch(1);
    buttons->addWidget(close);
    buttons->addStretch(1);

    auto *column = talo::createColumn(middle_);
    column->addWidget(dateTime);
    column->addWidget(rptDetails_);
    column->addSpacing(5);
    column->addLayout(buttons);
    column->addSpacing(5);
}

QWidget *ViewReport::createDateTime()
{
    auto *block = new QWidget(middle_);
    block->setObjectName("dateTime");
    block->setFixedSize(400, 80);
    block->setContentsMargins(0, 0, 0, 0);

    auto *column = talo::createColumn(block);
    column->addLayout(createValueRow(block, tr("Date:"), date_));
    column->addLayout(createValueRow(block, tr("Time:"), time_));
    return block;
}

void ViewReport::btnCloseRptClicked()
{
    close();
}

void ViewReport::btnSaveRptClicked()
{
    chooser_ = talo::createFileSystemChooser(tr("Select path to save report"), QDir::AllDirs);
    chooser_.dialog->setWindowFlags(Qt::WindowTitleHint | Qt::WindowCloseButtonHint);
    connect(chooser_.ok, SIGNAL(clicked()), this, SLOT(saveRpt()));
    connect(chooser_.tree, SIGNAL(clicked(QModelIndex)), this, SLOT(selectedItem(QModelIndex)));
    talo::runFileSystemChooser(chooser_);
}

void ViewReport::selectedItem(QModelIndex index)
{
    folder_ = chooser_.model->filePath(index);
}

void ViewReport::saveRpt()
{
    if (folder_.isEmpty()) {
        talo::showWarning(this, tr("Kindly select path to save reports."));
        return;
    }
    chooser_.dialog->accept();
    libReports::SaveReport(folder_.toStdString(), rptDetails_->toPlainText().toStdString());
    talo::showInformation(this, tr("Report saved successfully."));
    close();
}
