// The list of scan reports, with a filter by date.
#pragma once

#include <QDate>
#include <QWidget>

#include <string>

class QCalendarWidget;
class QDialog;
class QHBoxLayout;
class QLabel;
class QTableWidget;
class QToolButton;

class Report : public QWidget
{
    Q_OBJECT

public:
    explicit Report(QWidget *parent = nullptr);

    // Reloads the table with every report.
    void fillAllReportTabelData();

signals:
    void ShowHomePage();
    void tblCellBtnClick(int);

public slots:
    void btnFromDateClicked();
    void btnToDateClicked();
    void fromDate(QDate date);
    void toDate(QDate date);
    void btnApplyRptFilterClicked();
    void viewReportDetails(int row, int column);
    void btnDeleteRptClicked();

protected:
    void showEvent(QShowEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    // One end of the date range: the text that shows it and the calendar that changes it.
    struct DateBound {
        QLabel *label = nullptr;
        QDialog *dialog = nullptr;
        QCalendarWidget *calendar = nullptr;
    };

    void createTop();
    void createMiddle();
    void createBottom();
    QHBoxLayout *createFilterRow();
    QWidget *createDateWidget(DateBound &bound, const QString &name, const char *clickedSlot);
    void createCalendars();
    void createCalendar(DateBound &bound, const char *pickedSlot);
    void createTable();
    void fillReportTabelData(QString list);
    void pickDate(DateBound &bound);
    std::string reportKey(int row) const;

    QWidget *top_ = nullptr;
    QWidget *middle_ = nullptr;
    QWidget *bottom_ = nullptr;
    QTableWidget *table_ = nullptr;
    DateBound from_;
    DateBound to_;
    QToolButton *btnDelete_ = nullptr;
};
