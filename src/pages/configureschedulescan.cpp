#include "pages/configureschedulescan.h"

#include "engine/libschedulescan.h"
#include "pages/band.h"
#include "pages/boxes.h"
#include "pages/headerband.h"
#include "pages/messages.h"
#include "pages/schedulebands.h"
#include "pages/textbutton.h"

#include <QBoxLayout>
#include <QComboBox>
#include <QLabel>
#include <QTextEdit>
#include <QTime>
#include <QTimeEdit>
#include <QToolButton>

namespace
{

// The entries of the boxes.
enum TypeEntry { QuickScanEntry, FullScanEntry };
enum FrequencyEntry { DailyEntry, WeeklyEntry };

// What the engine takes when a schedule is saved.
constexpr int kFullScan = 1;
constexpr int kQuickScan = 3;
constexpr int kDaily = 501;
constexpr int kWeekly = 502;
constexpr int kEveryDay = 8; // in place of a weekday

// What the engine says of a stored schedule's type: a numbering of its own, other than the above.
constexpr int kStoredQuickScan = 1;
constexpr int kStoredFullScan = 2;

// The refusals that the user is told about.
constexpr int kNameExists = 602;
constexpr int kSameSchedule = 603;
constexpr int kBadCharacter = 605;
constexpr int kBadLength = 606;

QLabel *createLabel(QWidget *parent, const QString &text)
{
    auto *label = new QLabel(text, parent);
    label->setFixedSize(120, 30);
    return label;
}

QComboBox *createBox(QWidget *parent, const QStringList &entries)
{
    auto *box = new QComboBox(parent);
    box->addItems(entries);
    return box;
}

void addField(QHBoxLayout *row, QLabel *label, QWidget *field)
{
    field->setFixedSize(150, 30);
    field->setAccessibleName(label->text());
    row->addWidget(label);
    row->addWidget(field);
}

} // namespace

ConfigureScheduleScan::ConfigureScheduleScan(QWidget *parent) : QWidget(parent)
{
    setFixedSize(650, 420);
    setObjectName("configureschedulescan");
    createTop();
    createMiddle();
    createBottom();

    auto *column = talo::createColumn(this);
    column->addSpacing(5);
    column->addWidget(top_);
    column->addStretch(1);
    column->addWidget(middle_);
    column->addStretch(1);
    column->addWidget(bottom_);
    column->addStretch(1);
    setContentsMargins(0, 0, 0, 0);
}

void ConfigureScheduleScan::createTop()
{
    const talo::HeaderBand header =
        talo::createHeaderBand(this, tr("Configure Schedule Scan"), 120);
    connect(header.back, SIGNAL(clicked(bool)), this, SIGNAL(ShowScheduleScanPage()));
    top_ = header.band;
}

void ConfigureScheduleScan::createMiddle()
{
    const talo::ScheduleMiddle middle = talo::createScheduleMiddle(
        this, tr("  Set up a day and time when you want the scan to begin."));
    middle_ = middle.band;
    middle.column->addWidget(createFields());
}

QWidget *ConfigureScheduleScan::createFields()
{
    container_ = new QWidget(middle_);
    container_->setObjectName("schContainer");
    container_->setFixedSize(630, 240);

    auto *column = talo::createColumn(container_);
    column->addLayout(createNameRow());
    column->addLayout(createFrequencyRow());
    column->addLayout(createTimeRow());
    return container_;
}

QHBoxLayout *ConfigureScheduleScan::createNameRow()
{
    txtName_ = new QTextEdit(container_);
    txtName_->setAcceptRichText(false);
    // As high as one line, it is to work like one.
    txtName_->setTabChangesFocus(true);
    txtName_->setLineWrapMode(QTextEdit::NoWrap);
    txtName_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    txtName_->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    cmbType_ = createBox(container_, {tr("Quick Scan"), tr("Full Scan")});

    auto *row = talo::createRow();
    row->addSpacing(20);
    addField(row, createLabel(container_, tr("Scan Name")), txtName_);
    row->addSpacing(30);
    addField(row, createLabel(container_, tr("Scan Type")), cmbType_);
    row->addStretch(1);
    return row;
}

QHBoxLayout *ConfigureScheduleScan::createFrequencyRow()
{
    cmbFrequency_ = createBox(container_, {tr("Daily Scan"), tr("Weekly Scan")});
    cmbFrequency_->setCurrentIndex(DailyEntry);
    connect(cmbFrequency_, SIGNAL(currentIndexChanged(int)), this, SLOT(cmbFrequnecyChanged(int)));

    // The entries' order is the engine's numbering of the days.
    cmbWeekday_ = createBox(container_, {tr("Sunday"), tr("Monday"), tr("Tuesday"), tr("Wednesday"),
                                         tr("Thursday"), tr("Friday"), tr("Saturday")});
    cmbWeekday_->setEnabled(false);

    auto *row = talo::createRow();
    row->addSpacing(20);
    addField(row, createLabel(container_, tr("Scan Frequency")), cmbFrequency_);
    row->addSpacing(30);
    addField(row, createLabel(container_, tr("Weekdays")), cmbWeekday_);
    row->addStretch(1);
    return row;
}

QHBoxLayout *ConfigureScheduleScan::createTimeRow()
{
    startTime_ = new QTimeEdit(QTime::currentTime(), container_);
    startTime_->setDisplayFormat("HH:mm"); // as the list of schedules writes it

    auto *row = talo::createRow();
    row->addSpacing(20);
    addField(row, createLabel(container_, tr("Start Time")), startTime_);
    row->addStretch(1);
    return row;
}

void ConfigureScheduleScan::createBottom()
{
    bottom_ = talo::createBand(this, "bottomschedulescan", 50);

    auto *cancel = talo::createTextButton(bottom_, "", tr("CANCEL"));
    connect(cancel, SIGNAL(clicked(bool)), this, SIGNAL(ShowScheduleScanPage()));
    auto *save = talo::createTextButton(bottom_, "", tr("SAVE"));
    connect(save, SIGNAL(clicked(bool)), this, SLOT(btnSaveSchClicked()));

    auto *row = talo::createRow(bottom_);
    row->addStretch(1);
    row->addWidget(cancel);
    row->addSpacing(10);
    row->addWidget(save);
    row->addSpacing(10);
}

void ConfigureScheduleScan::cmbFrequnecyChanged(int /*index*/)
{
    switch (cmbFrequency_->currentIndex()) {
    case DailyEntry:
        cmbWeekday_->setEnabled(false);
        break;
    case WeeklyEntry:
        cmbWeekday_->setEnabled(true);
        break;
    default:
        break;
    }
}

void ConfigureScheduleScan::clearAllDataFields()
{
    mode_ = Mode::Add;
    txtName_->clear();
    cmbType_->setCurrentIndex(QuickScanEntry);
    cmbFrequency_->setCurrentIndex(DailyEntry);
    startTime_->setTime(QTime::currentTime());
}

void ConfigureScheduleScan::setAllDataFieldsToEdit(QString name, int type, int weekday, int hour,
                                                   int minute)
{
    oldName_ = name;
    mode_ = Mode::Edit;
    txtName_->setPlainText(name);

    if (type == kStoredQuickScan) {
        cmbType_->setCurrentIndex(QuickScanEntry);
    } else if (type == kStoredFullScan) {
        cmbType_->setCurrentIndex(FullScanEntry);
    }

    if (weekday == kEveryDay) {
        cmbFrequency_->setCurrentIndex(DailyEntry);
        cmbWeekday_->setEnabled(false);
    } else {
        cmbFrequency_->setCurrentIndex(WeeklyEntry);
        cmbWeekday_->setCurrentIndex(weekday);
    }
    startTime_->setTime(QTime(hour, minute, 0));
}

void ConfigureScheduleScan::btnSaveSchClicked()
{
    const QString name = txtName_->toPlainText();
    if (name.trimmed().isEmpty()) {
        talo::showWarning(this, tr("ScheduleScan"),
                          tr("To configure schedule scan, name is mandatory !"));
        return;
    }
    if (const int code = save()) {
        showRefusal(code);
        return;
    }
    const QString done = mode_ == Mode::Edit ? tr("ScheduleScan configuration [ %1 ] edited.")
                                             : tr("ScheduleScan configuration [ %1 ] added.");
    talo::showInformation(this, done.arg(name));
    mode_ = Mode::Add;
    emit ShowScheduleScanPage();
}

// Hands the fields to the engine and returns its answer.
int ConfigureScheduleScan::save() const
{
    const QByteArray name = txtName_->toPlainText().toUtf8();
    const int type = cmbType_->currentIndex() == FullScanEntry ? kFullScan : kQuickScan;
    const bool weekly = cmbFrequency_->currentIndex() == WeeklyEntry;
    const int frequency = weekly ? kWeekly : kDaily;
    const int weekday = weekly ? cmbWeekday_->currentIndex() : kEveryDay;
    const QTime start = startTime_->time();
    if (mode_ == Mode::Edit) {
        return libScheduleScan::EditScheduleScan(oldName_.toUtf8().constData(), name.constData(),
                                                 type, frequency, weekday, start.hour(),
                                                 start.minute());
    }
    return libScheduleScan::AddScheduleScan(name.constData(), type, frequency, weekday,
                                            start.hour(), start.minute());
}

void ConfigureScheduleScan::showRefusal(int code)
{
    const auto warn = [this](const QString &text) {
        talo::showWarning(this, tr("ScheduleScan"), text);
    };
    switch (code) {
    case kNameExists:
        warn(tr("Schedule name already exist"));
        break;
    case kSameSchedule:
        warn(tr("Schedule information already exist"));
        break;
    case kBadCharacter:
        warn(tr("Schedule name should not contain a special characters and spaces"));
        break;
    case kBadLength:
        warn(tr("Schedule name length must be in between 4 to 8"));
        break;
    default:
        break;
    }
}
