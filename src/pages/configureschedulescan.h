// The editor of one scheduled scan.
#pragma once

#include <QString>
#include <QWidget>

class QComboBox;
class QHBoxLayout;
class QTextEdit;
class QTimeEdit;

class ConfigureScheduleScan : public QWidget
{
    Q_OBJECT

public:
    explicit ConfigureScheduleScan(QWidget *parent = nullptr);

    // Readies the editor for a new schedule.
    void clearAllDataFields();

    // Readies the editor for a change of the schedule `name`. `type` is 1 quick, 2 full scan;
    // `weekday` 0 Sunday to 6 Saturday, 8 for a daily scan.
    void setAllDataFieldsToEdit(QString name, int type, int weekday, int hour, int minute);

signals:
    void ShowScheduleScanPage();

public slots:
    void btnSaveSchClicked();
    void cmbFrequnecyChanged(int index);

private:
    enum class Mode { Add, Edit };

    void createTop();
    void createMiddle();
    void createBottom();
    QWidget *createFields();
    QHBoxLayout *createNameRow();
    QHBoxLayout *createFrequencyRow();
    QHBoxLayout *createTimeRow();
    int save() const;
    void showRefusal(int code);

    Mode mode_ = Mode::Add;
    QString oldName_; // of the schedule being edited
    QWidget *top_ = nullptr;
    QWidget *middle_ = nullptr;
    QWidget *bottom_ = nullptr;
    QWidget *container_ = nullptr;
    QTextEdit *txtName_ = nullptr;
    QComboBox *cmbType_ = nullptr;
    QComboBox *cmbFrequency_ = nullptr;
    QComboBox *cmbWeekday_ = nullptr;
    QTimeEdit *startTime_ = nullptr;
};
