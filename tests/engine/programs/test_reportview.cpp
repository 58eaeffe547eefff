// A stored report in the panel's own viewer, read through libtaloengine.so.
#include "engine/programs/support/faketalod.h"
#include "engine/service/privatebus.h"
#include "pages/viewreport.h"
#include "programs/reportview.h"

#include <QApplication>
#include <QMessageBox>
#include <QTextEdit>
#include <QtTest>

#include <memory>

using namespace talo;
using namespace talo::tests;

class TestReportView : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void showsTheReport();
    void saysThatThereIsNone();

private:
    // Shows the report and hands the dialog that comes up to `look`, which has to close it.
    template <typename Look> void whenShown(const QString &key, Look look)
    {
        bool seen = false;
        QTimer timer;
        connect(&timer, &QTimer::timeout, this, [&] {
            if (QWidget *dialog = QApplication::activeModalWidget()) {
                timer.stop();
                seen = true;
                look(dialog);
                dialog->close();
            }
        });
        timer.start(10);
        programs::showReport(key);
        QVERIFY(seen);
    }

    const QString key_ = QStringLiteral("2026-11-21 14:05:09");
    std::unique_ptr<PrivateBus> bus_;
    std::unique_ptr<FakeTalod> service_;
};

void TestReportView::initTestCase()
{
    bus_ = std::make_unique<PrivateBus>();
    QVERIFY(!bus_->address().isEmpty());
    qputenv("TALO_BUS", bus_->address().toLatin1());
    service_ = std::make_unique<FakeTalod>(bus_->address());
    service_->setReports({{key_, QStringLiteral("Custom Scan")}},
                         QStringLiteral("3 threats found.\nSecond line\n"));
}

void TestReportView::showsTheReport()
{
    whenShown(key_, [](QWidget *dialog) {
        QVERIFY(qobject_cast<ViewReport *>(dialog) != nullptr);
        QVERIFY(dialog->isVisible());
        QCOMPARE(dialog->findChild<QTextEdit *>()->toPlainText(),
                 QStringLiteral("3 threats found.\nSecond line\n"));
    });
}

void TestReportView::saysThatThereIsNone()
{
    whenShown(QStringLiteral("2026-11-21 14:05:10"), [](QWidget *dialog) {
        const auto *box = qobject_cast<QMessageBox *>(dialog);
        const QString said = box == nullptr ? QString() : box->text();
        QVERIFY2(said.startsWith(QLatin1String("The report cannot be read.")), qPrintable(said));
    });
}

QTEST_MAIN(TestReportView)
#include "test_reportview.moc"
