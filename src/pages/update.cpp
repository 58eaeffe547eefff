#include "pages/update.h"

#include "engine/processchecks.h"
#include "engine/updates.h"
#include "pages/band.h"
#include "pages/boxes.h"
#include "pages/headerband.h"
#include "pages/messages.h"
#include "pages/signatureupdate.h"
#include "pages/startprogram.h"

#include <QBoxLayout>
#include <QLabel>
#include <QToolButton>

#include <cstring>

namespace
{

// IsProductUpdateRunning() answers so when an update of the kind runs, despite its name.
constexpr int kAlreadyRunning = 0;

// A buffer that the engine has filled to its last byte has no terminator.
template <int size> QString textOf(const char (&buffer)[size])
{
    return QString::fromUtf8(buffer, int(qstrnlen(buffer, size)));
}

QToolButton *createHeading(QWidget *container, const QString &name, const QString &text)
{
    return talo::createPicture(container, name, 35, text, Qt::ToolButtonTextUnderIcon);
}

QLabel *createText(QWidget *container, const QString &text, const QSize &size)
{
    auto *label = new QLabel(text, container);
    label->setObjectName("lblVirusSigWidget");
    label->setFixedSize(size);
    return label;
}

QLabel *createSeparator(QWidget *container, const QString &name)
{
    auto *separator = new QLabel(container);
    separator->setObjectName(name);
    return separator;
}

QToolButton *createUpdateButton(QWidget *container)
{
    auto *button = new QToolButton(container);
    button->setObjectName("btnUpdateWidgets");
    button->setText(Update::tr("UPDATE"));
    button->setCursor(Qt::PointingHandCursor);
    return button;
}

QHBoxLayout *centred(QWidget *widget)
{
    auto *row = talo::createRow();
    row->addStretch();
    row->addWidget(widget);
    row->addStretch();
    return row;
}

// The two columns keep the same distance from the line between them.
QHBoxLayout *leftRow(QLabel *caption, QLabel *value)
{
    auto *row = talo::createRow();
    row->addStretch();
    row->addWidget(caption, 0, Qt::AlignLeft);
    row->addStretch();
    row->addWidget(value, 0, Qt::AlignRight);
    row->addSpacing(20);
    return row;
}

QHBoxLayout *rightRow(QLabel *caption, QLabel *value)
{
    auto *row = talo::createRow();
    row->addSpacing(20);
    row->addWidget(caption, 0, Qt::AlignLeft);
    row->addStretch();
    row->addWidget(value, 0, Qt::AlignRight);
    row->addStretch();
    return row;
}

} // namespace

Update::Update(QWidget *parent) : QWidget(parent)
{
    setFixedSize(650, 420);
    createTop();
    createMiddle();
    setUpdateStatusInfo();

    auto *column = talo::createColumn(this);
    column->addSpacing(5);
    column->addWidget(top_);
    column->addWidget(middle_);
    column->addStretch(1);
    setContentsMargins(0, 0, 0, 0);
}

void Update::createTop()
{
    const talo::HeaderBand header = talo::createHeaderBand(this, tr("Update"), 170);
    connect(header.back, SIGNAL(clicked(bool)), this, SIGNAL(ShowHomePage()));
    top_ = header.band;
}

void Update::createMiddle()
{
    middle_ = talo::createBand(this, "", 400);

    QToolButton *banner = talo::createPicture(
        middle_, "iconUpdate", 25,
        tr("  Frequent updates helps your antivirus software to act efficiently "
           "against\n  all kinds of threats."));

    QWidget *container = talo::createBand(middle_, "updatecontainer", 400);
    QVBoxLayout *signatures = createSignatureColumn(container);
    QVBoxLayout *product = createProductColumn(container);
    auto *between = talo::createColumn();
    between->addWidget(createSeparator(container, "lblVSepUpdate"));

    auto *columns = talo::createRow(container);
    columns->addStretch();
    columns->addLayout(signatures);
    columns->addLayout(between);
    columns->addLayout(product);
    columns->addStretch();

    auto *column = talo::createColumn(middle_);
    column->addSpacing(20);
    column->addWidget(banner);
    column->addSpacing(10);
    column->addWidget(container);
}

QVBoxLayout *Update::createSignatureColumn(QWidget *container)
{
    QToolButton *heading = createHeading(container, "btnVirusSigIcon", tr("\nVirus Signature"));
    QLabel *lastUpdate = createText(container, tr("Last Update"), QSize(150, 30));
    lblSigLastUpdate_ = createText(container, "2018-12-12\n23:12", QSize(75, 70));
    QLabel *version = createText(container, tr("Signature Version"), QSize(150, 30));
    lblSigVersion_ = createText(container, "119876", QSize(75, 30));
    QToolButton *update = createUpdateButton(container);
    update->setAccessibleName(tr("Update the virus signatures"));
    connect(update, SIGNAL(clicked(bool)), this, SLOT(btnUpdateVirusSigClicked()));

    auto *column = talo::createColumn();
    column->addSpacing(20);
    column->addLayout(centred(heading));
    column->addSpacing(10);
    column->addLayout(leftRow(lastUpdate, lblSigLastUpdate_));
    column->addSpacing(10);
    column->addWidget(createSeparator(container, "lblHSep"), 0, Qt::AlignRight);
    column->addLayout(leftRow(version, lblSigVersion_));
    column->addWidget(createSeparator(container, "lblHSep"), 0, Qt::AlignRight);
    column->addSpacing(20);
    column->addLayout(centred(update));
    column->addStretch();
    return column;
}

QVBoxLayout *Update::createProductColumn(QWidget *container)
{
    QToolButton *heading = createHeading(container, "btnProductVerIcon", tr("\nProduct Version"));
    QLabel *lastUpdate = createText(container, tr("Last Update"), QSize(150, 30));
    lblProdLastUpdate_ = createText(container, "2018-12-12\n23:12", QSize(80, 70));
    QLabel *version = createText(container, tr("Application Version"), QSize(150, 30));
    lblProdVersion_ = createText(container, "1.0.0.0", QSize(75, 30));
    QToolButton *update = createUpdateButton(container);
    update->setAccessibleName(tr("Update the program"));
    connect(update, SIGNAL(clicked(bool)), this, SLOT(btnUpdateProdVerClicked()));

    auto *column = talo::createColumn();
    column->addSpacing(20);
    column->addLayout(centred(heading));
    column->addSpacing(10);
    column->addLayout(rightRow(lastUpdate, lblProdLastUpdate_));
    column->addSpacing(10);
    column->addWidget(createSeparator(container, "lblHSep1"), 0, Qt::AlignLeft);
    column->addLayout(rightRow(version, lblProdVersion_));
    column->addWidget(createSeparator(container, "lblHSep1"), 0, Qt::AlignLeft);
    column->addSpacing(20);
    column->addLayout(centred(update));
    column->addStretch();
    return column;
}

void Update::setUpdateStatusInfo()
{
    char date[UpdateDateSize] = {};
    char time[UpdateTimeSize] = {};
    char signatureVersion[SignatureVersionSize] = {};
    GetSigantureUpdateInfo(signatureVersion, date, time);
    lblSigLastUpdate_->setText(textOf(date) + '\n' + textOf(time));
    lblSigVersion_->setText(textOf(signatureVersion));

    std::memset(date, 0, sizeof date);
    std::memset(time, 0, sizeof time);
    char productVersion[ProductVersionSize] = {};
    GetProductUpdateInfo(productVersion, date, time);
    lblProdLastUpdate_->setText(textOf(date) + '\n' + textOf(time));
    lblProdVersion_->setText(textOf(productVersion));
}

void Update::updateStatusInfo()
{
    setUpdateStatusInfo();
}

// The window stays hidden: the update itself is the started program's, which shows its own. This
// one is there to hear of an update that is run within the panel.
void Update::btnUpdateVirusSigClicked()
{
    auto *window = new SignatureUpdate(nullptr);
    connect(window, SIGNAL(updateSigInfo()), this, SLOT(updateStatusInfo()));
    startUnlessRunning("TaloAntivirus_S", "TaloAntivirus_Signature_Update",
                       tr("Signature Update is already running."));
}

void Update::btnUpdateProdVerClicked()
{
    startUnlessRunning("TaloAntivirus_P", "TaloAntivirus_Product_Update",
                       tr("Product Update is already running."));
}

void Update::startUnlessRunning(const char *kind, const QString &program, const QString &warning)
{
    if (IsProductUpdateRunning(kind) == kAlreadyRunning) {
        talo::showWarning(this, warning);
    } else {
        startProgram(program);
    }
}
