// The window and the words of an update of the program, driven as the service's answers would.
#include "programs/productupdatewindow.h"
#include "programs/productupdatewords.h"
#include "support/clippedtexts.h"
#include "support/keyboarduse.h"
#include "support/widgets.h"

#include <QApplication>
#include <QFile>
#include <QLabel>
#include <QProgressBar>
#include <QToolButton>
#include <QtTest>

#include <memory>

using namespace talo;
using namespace talo::programs;
using client::ProgramUpdate;
using test::button;
using test::click;

class TestProductUpdateWindow : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void beginsBusy();
    void showsDownload();
    void cannotStopInstallation();
    void showsOutcomes_data();
    void showsOutcomes();
    void showsFailureToReachService();
    void showsLastLineOfLongReason();
    void finishCloses();
    void worksWithoutMouse();
    void textsAreWhole_data();
    void textsAreWhole();

private:
    static ProgramUpdate update(interface::ProgramUpdateState state);
    QString outcome() const { return window_->findChild<QLabel *>("lblScanStatus")->text(); }
    QProgressBar *bar() const { return window_->findChild<QProgressBar *>("prg"); }
    bool shows(const QString &text) const;

    std::unique_ptr<client::ProductUpdateJob> job_;
    std::unique_ptr<ProductUpdateWindow> window_;
};

void TestProductUpdateWindow::init()
{
    window_.reset();
    job_ = std::make_unique<client::ProductUpdateJob>();
    window_ = std::make_unique<ProductUpdateWindow>(*job_);
    window_->show();
}

ProgramUpdate TestProductUpdateWindow::update(interface::ProgramUpdateState state)
{
    ProgramUpdate update;
    update.state = state;
    update.version = "0.2.0";
    update.date = "2026-11-21";
    update.total = 4000000;
    update.received = 1000000;
    update.speed = 250000;
    return update;
}

bool TestProductUpdateWindow::shows(const QString &text) const
{
    for (const QLabel *label : window_->findChildren<QLabel *>())
        if (label->isVisible() && label->text() == text)
            return true;
    return false;
}

void TestProductUpdateWindow::beginsBusy()
{
    QCOMPARE(window_->size(), QSize(600, 260));
    QCOMPARE(bar()->maximum(), 0);
    QVERIFY(shows("Looking for a newer release ..."));
    QVERIFY(button(window_.get(), "STOP")->isEnabled());
    QVERIFY(!button(window_.get(), "FINISH")->isVisible());
    QCOMPARE(window_->exitCode(), 2);
}

void TestProductUpdateWindow::showsDownload()
{
    emit job_->progressed(update(interface::ProgramDownloading));
    QVERIFY(shows("Downloading release 0.2.0 ..."));
    QVERIFY(shows("0.2.0"));
    QVERIFY(shows("4.0 MB"));
    QVERIFY(shows("1.0 MB"));
    QVERIFY(shows("250 KB/s"));
    QCOMPARE(bar()->maximum(), 100);
    QCOMPARE(bar()->value(), 25);
    emit job_->progressed(update(interface::ProgramVerifying));
    QCOMPARE(bar()->maximum(), 0);
}

void TestProductUpdateWindow::cannotStopInstallation()
{
    emit job_->progressed(update(interface::ProgramInstalling));
    QVERIFY(shows("Installing release 0.2.0 ..."));
    QVERIFY(!button(window_.get(), "STOP")->isEnabled());
}

void TestProductUpdateWindow::showsOutcomes_data()
{
    QTest::addColumn<uint>("state");
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("code");
    QTest::newRow("installed") << uint(interface::ProgramInstalled) << "Release 0.2.0 is installed."
                               << 0;
    QTest::newRow("latest") << uint(interface::ProgramLatest)
                            << "You already have the latest release." << 0;
    QTest::newRow("available") << uint(interface::ProgramAvailable)
                               << "Release 0.2.0 of 2026-11-21 is available." << 0;
    QTest::newRow("stopped") << uint(interface::ProgramStopped) << "The program update was stopped."
                             << 2;
    QTest::newRow("unreachable") << uint(interface::ProgramUnreachable)
                                 << "The update server is not reached. Try again later." << 2;
    QTest::newRow("failed") << uint(interface::ProgramFailed) << "The program was not updated."
                            << 2;
    QTest::newRow("no source") << uint(interface::ProgramNoSource)
                               << "No update source is configured." << 2;
}

void TestProductUpdateWindow::showsOutcomes()
{
    QFETCH(uint, state);
    emit job_->progressed(update(interface::ProgramDownloading));
    emit job_->ended(update(static_cast<interface::ProgramUpdateState>(state)));
    QTEST(outcome(), "text");
    QTEST(window_->exitCode(), "code");
    QVERIFY(!bar()->isVisible());
    QVERIFY(!button(window_.get(), "STOP")->isVisible());
    QVERIFY(button(window_.get(), "FINISH")->isVisible());
}

void TestProductUpdateWindow::showsFailureToReachService()
{
    emit job_->failed("The service is not there.");
    QCOMPARE(outcome(), QString("The program was not updated."));
    QVERIFY(shows("The service is not there."));
    QCOMPARE(window_->exitCode(), 2);
}

void TestProductUpdateWindow::showsLastLineOfLongReason()
{
    ProgramUpdate failed = update(interface::ProgramFailed);
    failed.problem = "Unpacking ...\n<b>dpkg</b>\x1b[31m: error: no room\n";
    emit job_->ended(failed);
    for (const QLabel *label : window_->findChildren<QLabel *>()) {
        QVERIFY(!label->text().contains('\x1b'));
        QVERIFY(!label->text().contains("Unpacking"));
        if (label->text().startsWith("<b>dpkg</b>")) {
            QCOMPARE(label->textFormat(), Qt::PlainText);
            return;
        }
    }
    QFAIL("the reason is not shown");
}

void TestProductUpdateWindow::finishCloses()
{
    emit job_->ended(update(interface::ProgramLatest));
    QVERIFY(click(button(window_.get(), "FINISH")));
    QVERIFY(!window_->isVisible());
}

void TestProductUpdateWindow::worksWithoutMouse()
{
    QFile sheet(":/res/style/style.qss");
    QVERIFY(sheet.open(QIODevice::ReadOnly));
    qApp->setStyleSheet(QString::fromUtf8(sheet.readAll()));
    emit job_->progressed(update(interface::ProgramDownloading));
    QCOMPARE(test::keyboardFaults("working", window_.get()), QStringList());
    emit job_->ended(update(interface::ProgramInstalled));
    QCOMPARE(test::keyboardFaults("done", window_.get()), QStringList());
}

void TestProductUpdateWindow::textsAreWhole_data()
{
    QTest::addColumn<QString>("family");
    for (const char *family : {"DejaVu Sans", "Cantarell", "Noto Sans"})
        QTest::newRow(family) << family;
}

void TestProductUpdateWindow::textsAreWhole()
{
    QFETCH(QString, family);
    QApplication::setFont(QFont(family, 11));
    QFile sheet(":/res/style/style.qss");
    QVERIFY(sheet.open(QIODevice::ReadOnly));
    qApp->setStyleSheet(QString::fromUtf8(sheet.readAll()));
    emit job_->progressed(update(interface::ProgramDownloading));
    QCOMPARE(test::measureTexts("working", window_.get()).complaints, QStringList());
    ProgramUpdate failed = update(interface::ProgramFailed);
    failed.problem = "The package cannot be installed: no room is left on the drive.";
    emit job_->ended(failed);
    QCOMPARE(test::measureTexts("done", window_.get()).complaints, QStringList());
    const QString pictures = qEnvironmentVariable("TALO_SCREENSHOTS");
    if (!pictures.isEmpty())
        QVERIFY(window_->grab().save(pictures + "/productupdate.png"));
}

QTEST_MAIN(TestProductUpdateWindow)
#include "test_productupdatewindow.moc"
