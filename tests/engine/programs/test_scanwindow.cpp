// The scan window, driven by clicks, in front of a service that does what the test says.
#include "client/scanjob.h"
#include "engine/programs/support/faketalod.h"
#include "engine/programs/support/samples.h"
#include "engine/service/privatebus.h"
#include "programs/elidedlabel.h"
#include "programs/scanwindow.h"
#include "programs/threatmodel.h"
#include "support/clippedtexts.h"
#include "support/keyboarduse.h"
#include "support/soon.h"

#include <QAbstractButton>
#include <QApplication>
#include <QFile>
#include <QHeaderView>
#include <QLabel>
#include <QMessageBox>
#include <QProgressBar>
#include <QScrollBar>
#include <QTableView>
#include <QToolButton>
#include <QTranslator>
#include <QtTest>

#include <memory>

using namespace talo;
using namespace talo::programs;
using namespace talo::tests;

namespace
{

// As the service tells them.
QList<interface::ThreatFound> longThreats()
{
    const QString kept = QStringLiteral("moved to quarantine (0123456789abcdef)");
    return {{"/home/user/Downloads/invoice.pdf.exe", "Win.Test.EICAR_HDB-1", "infected", kept},
            {"/home/user/Documents/A folder with a long name/and one below it/report.doc",
             "Doc.Downloader.Generic-7578549-0", "infected", kept},
            {"/srv/share/tools/keygen.exe", "PUA.Win.Tool.Keygen", "suspected", "reported only"}};
}

} // namespace

class TestScanWindow : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void isBusyUntilTheCountIsKnown();
    void showsNumbersForPeople();
    void elidesTheCurrentFile();
    void namesOfFilesAreNoMarkup();
    void listsThreatsAsTheyAreFound();
    void pausesAndResumes();
    void stops();
    void endsClean();
    void endsWithThreats();
    void saysWhatFailed();
    void saysWhyItDidNotStart();
    void saysThatTheServiceDied();
    void warnsOfOldSignatures();
    void closesAtTheEndWithoutAQuestion();
    void asksBeforeClosingAndKeepsTheWindow();
    void asksBeforeClosingAndLetsTheScanGoOn();
    void asksBeforeClosingAndStops();
    void takesTheQuestionBackAtTheEnd();
    void everyButtonIsReachedByKeyboard();
    void worksWithoutMouse();
    void textsAreWhole_data();
    void textsAreWhole();
    void tableFollowsItsWindow();
    void tableKeepsTheUsersColumns();
    void everyTextCanBeTranslated();

private:
    static void dress();
    void open(const ScanRequest &request = {interface::CustomScan, "/tmp"});
    void openWith(const interface::ScanProgress &progress);
    template <typename Kind> Kind *child(const char *name) const
    {
        return window_->findChild<Kind *>(QLatin1String(name));
    }
    QString text(const char *name) const;
    QString figure(const QString &caption) const;
    void click(const char *name);
    QMessageBox *question() const { return window_->findChild<QMessageBox *>(); }
    void answer(const char *name);

    std::unique_ptr<PrivateBus> bus_;
    std::unique_ptr<FakeTalod> service_;
    std::unique_ptr<client::ScanJob> job_;
    std::unique_ptr<ScanWindow> window_;
};

void TestScanWindow::initTestCase()
{
    bus_ = std::make_unique<PrivateBus>();
    QVERIFY(!bus_->address().isEmpty());
    qputenv("TALO_BUS", bus_->address().toLatin1());
    QApplication::setQuitOnLastWindowClosed(false);
}

void TestScanWindow::init()
{
    service_ = std::make_unique<FakeTalod>(bus_->address());
    job_ = std::make_unique<client::ScanJob>();
}

void TestScanWindow::cleanup()
{
    window_.reset();
    job_.reset();
    service_.reset();
}

void TestScanWindow::dress()
{
    QFile sheet(":/res/style/style.qss");
    QVERIFY(sheet.open(QIODevice::ReadOnly));
    qApp->setStyleSheet(QString::fromUtf8(sheet.readAll()));
}

void TestScanWindow::open(const ScanRequest &request)
{
    window_ = std::make_unique<ScanWindow>(request, *job_);
    window_->show();
    QVERIFY(QTest::qWaitForWindowExposed(window_.get()));
    job_->start(request.kind, request.path);
}

void TestScanWindow::openWith(const interface::ScanProgress &progress)
{
    service_->setProgress(progress);
    open();
    if (progress.state >= interface::Finished)
        QTRY_VERIFY_WITH_TIMEOUT(child<QToolButton>("btnCloseScan")->isVisible(), kSoon);
    else
        QTRY_COMPARE_WITH_TIMEOUT(figure(QStringLiteral("Elapsed")), QStringLiteral("3 min 20 s"),
                                  kSoon);
}

QString TestScanWindow::text(const char *name) const
{
    const auto *label = child<QLabel>(name);
    return label == nullptr ? QStringLiteral("(no such label)") : label->text();
}

QString TestScanWindow::figure(const QString &caption) const
{
    for (const QLabel *label : window_->findChildren<QLabel *>(QStringLiteral("lblScanValue")))
        if (label->accessibleDescription() == caption)
            return label->text();
    return QStringLiteral("(no such figure)");
}

void TestScanWindow::click(const char *name)
{
    auto *button = child<QToolButton>(name);
    QVERIFY(button != nullptr && button->isVisible() && button->isEnabled());
    QTest::mouseClick(button, Qt::LeftButton);
}

void TestScanWindow::answer(const char *name)
{
    QTRY_VERIFY_WITH_TIMEOUT(question() != nullptr && question()->isVisible(), kSoon);
    auto *button = question()->findChild<QAbstractButton *>(QLatin1String(name));
    QVERIFY(button != nullptr);
    QTest::mouseClick(button, Qt::LeftButton);
}

void TestScanWindow::isBusyUntilTheCountIsKnown()
{
    interface::ScanProgress progress = progressIn(interface::Scanning);
    progress.filesTotal = 0;
    progress.bytesTotal = 0;
    progress.remainingMs = -1;
    openWith(progress);
    const auto *bar = child<QProgressBar>("prgScan");
    QCOMPARE(bar->maximum(), 0);
    QCOMPARE(figure(QStringLiteral("Remaining")), QStringLiteral("-"));
    service_->setProgress(progressIn(interface::Scanning));
    QTRY_COMPARE_WITH_TIMEOUT(bar->maximum(), 100, kSoon);
    QCOMPARE(bar->value(), 50);
    QCOMPARE(figure(QStringLiteral("Remaining")), QStringLiteral("1 min 5 s"));
}

void TestScanWindow::showsNumbersForPeople()
{
    openWith(progressIn(interface::Scanning));
    QCOMPARE(window_->objectName(), QStringLiteral("scanwindow"));
    QCOMPARE(window_->minimumSize(), QSize(600, 520));
    QCOMPARE(text("lblScanTitle"), QStringLiteral("Custom Scan"));
    QCOMPARE(text("lblScanSub"), QStringLiteral("Scanning /tmp"));
    QCOMPARE(figure(QStringLiteral("Files scanned")), QStringLiteral("12,345"));
    QCOMPARE(figure(QStringLiteral("Data done")), QStringLiteral("1.4 GB"));
    QCOMPARE(figure(QStringLiteral("Threats")), QStringLiteral("0"));
    QCOMPARE(figure(QStringLiteral("Not scanned")), QStringLiteral("5"));
}

void TestScanWindow::elidesTheCurrentFile()
{
    interface::ScanProgress progress = progressIn(interface::Scanning);
    progress.current =
        QStringLiteral("/first") + QString(300, QLatin1Char('x')) + QStringLiteral("/last.bin");
    openWith(progress);
    const int width = ScanWindow({}, *job_).width();
    const auto *current = child<ElidedLabel>("lblScanCurrent");
    QVERIFY(current->text().startsWith(QLatin1String("/first")));
    QVERIFY(current->text().endsWith(QLatin1String("/last.bin")));
    QVERIFY(current->text().size() < progress.current.size());
    QVERIFY(current->fontMetrics().horizontalAdvance(current->text()) <= current->width());
    QCOMPARE(current->toolTip(), progress.current);
    QCOMPARE(window_->width(), width);
}

void TestScanWindow::namesOfFilesAreNoMarkup()
{
    interface::ScanProgress progress = progressIn(interface::Scanning);
    progress.current = QStringLiteral("/tmp/<b>bold</b>");
    service_->setThreats({{QStringLiteral("/tmp/<i>x</i>"), QStringLiteral("T"),
                           QStringLiteral("infected"), QStringLiteral("reported")}});
    openWith(progress);
    QCOMPARE(text("lblScanCurrent"), progress.current);
    QCOMPARE(child<QLabel>("lblScanCurrent")->textFormat(), Qt::PlainText);
    const QAbstractItemModel *model = child<QTableView>("tblScanThreats")->model();
    QTRY_COMPARE_WITH_TIMEOUT(model->rowCount(), 1, kSoon);
    QCOMPARE(model->index(0, 0).data(Qt::ToolTipRole).toString(),
             QStringLiteral("/tmp/&lt;i&gt;x&lt;/i&gt;"));
}

void TestScanWindow::listsThreatsAsTheyAreFound()
{
    openWith(progressIn(interface::Scanning));
    const QAbstractItemModel *model = child<QTableView>("tblScanThreats")->model();
    QCOMPARE(model->columnCount(), 3);
    QCOMPARE(model->headerData(0, Qt::Horizontal).toString(), QStringLiteral("File"));
    QCOMPARE(model->headerData(1, Qt::Horizontal).toString(), QStringLiteral("Threat"));
    QCOMPARE(model->headerData(2, Qt::Horizontal).toString(), QStringLiteral("Action taken"));
    QCOMPARE(model->rowCount(), 0);
    service_->setThreats(manyThreats(2));
    QTRY_COMPARE_WITH_TIMEOUT(model->rowCount(), 2, kSoon);
    service_->setThreats(manyThreats(205));
    QTRY_COMPARE_WITH_TIMEOUT(model->rowCount(), 205, kSoon);
    QCOMPARE(model->index(204, 0).data().toString(), QStringLiteral("/tmp/threat-204"));
    QCOMPARE(model->index(204, 1).data().toString(), QStringLiteral("Test.File.204"));
    QCOMPARE(model->index(204, 2).data().toString(), QStringLiteral("deleted, kept in quarantine"));
    QTRY_COMPARE_WITH_TIMEOUT(figure(QStringLiteral("Threats")), QStringLiteral("205"), kSoon);
}

void TestScanWindow::pausesAndResumes()
{
    openWith(progressIn(interface::Scanning));
    const auto *pause = child<QToolButton>("btnPauseScan");
    QCOMPARE(pause->text(), QStringLiteral("PAUSE"));
    click("btnPauseScan");
    QTRY_COMPARE_WITH_TIMEOUT(pause->text(), QStringLiteral("RESUME"), kSoon);
    QCOMPARE(text("lblScanSub"), QStringLiteral("Paused: /tmp"));
    QCOMPARE(service_->callsOf(QStringLiteral("Pause")), 1);
    click("btnPauseScan");
    QTRY_COMPARE_WITH_TIMEOUT(pause->text(), QStringLiteral("PAUSE"), kSoon);
    QCOMPARE(service_->callsOf(QStringLiteral("Resume")), 1);
}

void TestScanWindow::stops()
{
    openWith(progressIn(interface::Scanning));
    service_->setIgnoresStop(true);
    click("btnStopScan");
    QVERIFY(!child<QToolButton>("btnStopScan")->isEnabled());
    QTRY_COMPARE_WITH_TIMEOUT(service_->callsOf(QStringLiteral("Stop")), 1, kSoon);
    QTRY_COMPARE_WITH_TIMEOUT(text("lblScanSub"), QStringLiteral("Stopping..."), kSoon);
    QVERIFY(!child<QToolButton>("btnCloseScan")->isVisible());
    service_->setProgress(progressIn(interface::Stopped));
    QTRY_VERIFY_WITH_TIMEOUT(child<QToolButton>("btnCloseScan")->isVisible(), kSoon);
    QCOMPARE(text("lblScanStatus"),
             QStringLiteral("The scan was stopped. No threats found until then."));
    QVERIFY(child<QToolButton>("btnViewScanReport")->isVisible());
    QCOMPARE(window_->exitCode(), ScanFailed);
}

void TestScanWindow::endsClean()
{
    openWith(progressIn(interface::Finished));
    QCOMPARE(text("lblScanClean"), QStringLiteral("No threats found."));
    QVERIFY(!child<QToolButton>("btnPauseScan")->isVisible());
    QVERIFY(!child<QToolButton>("btnStopScan")->isVisible());
    QVERIFY(!child<QTableView>("tblScanThreats")->isVisible());
    QCOMPARE(child<QProgressBar>("prgScan")->value(), 100);
    bool mentioned = false;
    for (const QLabel *label : window_->findChildren<QLabel *>())
        mentioned =
            mentioned ||
            (label->isVisible() &&
             label->text() == QLatin1String("5 files were not scanned: 3 skipped, 2 with errors."));
    QVERIFY(mentioned);
    QCOMPARE(window_->exitCode(), NoThreats);

    QSignalSpy wanted(window_.get(), &ScanWindow::reportWanted);
    click("btnViewScanReport");
    QCOMPARE(wanted.size(), 1);
    QCOMPARE(wanted.at(0).at(0).toString(), QStringLiteral("2026-11-21 14:05:09"));
    QVERIFY(window_->isVisible());
}

void TestScanWindow::endsWithThreats()
{
    service_->setProgress(progressIn(interface::Finished));
    service_->setThreats(manyThreats(3));
    open();
    QTRY_VERIFY_WITH_TIMEOUT(child<QToolButton>("btnCloseScan")->isVisible(), kSoon);
    QCOMPARE(text("lblScanThreats"), QStringLiteral("3 threats found."));
    QVERIFY(child<QTableView>("tblScanThreats")->isVisible());
    QCOMPARE(child<QTableView>("tblScanThreats")->model()->rowCount(), 3);
    QCOMPARE(window_->exitCode(), ThreatsFound);
}

void TestScanWindow::saysWhatFailed()
{
    interface::ScanProgress progress = progressIn(interface::Failed);
    progress.failure = QStringLiteral("no signatures could be loaded");
    progress.report.clear();
    openWith(progress);
    QCOMPARE(text("lblScanStatus"),
             QStringLiteral("The scan failed: no signatures could be loaded. No threats found "
                            "until then."));
    QVERIFY(!child<QToolButton>("btnViewScanReport")->isVisible());
    QCOMPARE(window_->exitCode(), ScanFailed);
}

void TestScanWindow::saysWhyItDidNotStart()
{
    service_->refuse(QStringLiteral("Start"), QString::fromLatin1(interface::kErrorLimit),
                     QStringLiteral("four run"));
    open();
    QTRY_VERIFY_WITH_TIMEOUT(child<QToolButton>("btnCloseScan")->isVisible(), kSoon);
    QVERIFY(text("lblScanStatus").startsWith(QLatin1String("As many scans as are allowed")));
    QCOMPARE(text("lblScanSub"), QStringLiteral("The scan could not be started."));
    QVERIFY(!child<QProgressBar>("prgScan")->isVisible());
    QVERIFY(!child<QToolButton>("btnPauseScan")->isVisible());
}

void TestScanWindow::saysThatTheServiceDied()
{
    service_->setThreats(manyThreats(1));
    openWith(progressIn(interface::Scanning));
    service_->die();
    QTRY_VERIFY_WITH_TIMEOUT(child<QToolButton>("btnCloseScan")->isVisible(), kSoon);
    QVERIFY(text("lblScanStatus").startsWith(QLatin1String("The scan service stopped")));
    QVERIFY(!child<QProgressBar>("prgScan")->isVisible());
}

void TestScanWindow::warnsOfOldSignatures()
{
    service_->setStatus({{QStringLiteral("signatureSet"), QStringLiteral("updated")},
                         {QStringLiteral("signatureTime"),
                          QDateTime::currentSecsSinceEpoch() - qint64{9} * 86400}});
    openWith(progressIn(interface::Scanning));
    const auto warned = [this] {
        for (const QLabel *label : window_->findChildren<QLabel *>())
            if (label->text() == QLatin1String("Signatures: updated set, 9 days old.\nThe "
                                               "signatures are 9 days old. Update them to find "
                                               "current malware."))
                return label->isVisible();
        return false;
    };
    QTRY_VERIFY_WITH_TIMEOUT(warned(), kSoon);
}

void TestScanWindow::closesAtTheEndWithoutAQuestion()
{
    openWith(progressIn(interface::Finished));
    click("btnCloseScan");
    QVERIFY(!window_->isVisible());
    QVERIFY(question() == nullptr);
}

void TestScanWindow::asksBeforeClosingAndKeepsTheWindow()
{
    openWith(progressIn(interface::Scanning));
    QVERIFY(!window_->close());
    QTRY_VERIFY_WITH_TIMEOUT(question() != nullptr && question()->isVisible(), kSoon);
    QCOMPARE(question()->text(), QStringLiteral("The scan goes on in the background. Its report "
                                                "will be in the list."));
    QVERIFY(!window_->close()); // no second question
    QCOMPARE(window_->findChildren<QMessageBox *>().size(), 1);
    answer("btnKeepScanWindow");
    QTRY_VERIFY_WITH_TIMEOUT(question() == nullptr, kSoon);
    QVERIFY(window_->isVisible());
    QVERIFY(job_->isActive());
    QCOMPARE(service_->callsOf(QStringLiteral("Stop")), 0);
    // Escape keeps it too, and the question can be asked again.
    QVERIFY(!window_->close());
    QTRY_VERIFY_WITH_TIMEOUT(question() != nullptr && question()->isVisible(), kSoon);
    QTest::keyClick(question(), Qt::Key_Escape);
    QTRY_VERIFY_WITH_TIMEOUT(question() == nullptr, kSoon);
    QVERIFY(window_->isVisible());
    QVERIFY(!window_->close());
    QTRY_VERIFY_WITH_TIMEOUT(question() != nullptr, kSoon);
}

void TestScanWindow::asksBeforeClosingAndLetsTheScanGoOn()
{
    openWith(progressIn(interface::Scanning));
    QSignalSpy quit(qApp, &QCoreApplication::aboutToQuit);
    QTimer::singleShot(0, window_.get(), &QWidget::close);
    QTimer::singleShot(0, this, [this] { answer("btnLetScanGoOn"); });
    QTimer limit;
    connect(&limit, &QTimer::timeout, qApp, [] { QCoreApplication::exit(77); });
    limit.start(10000);
    QCOMPARE(QCoreApplication::exec(), 0);
    QCOMPARE(quit.size(), 1);
    QCOMPARE(service_->callsOf(QStringLiteral("Stop")), 0);
}

void TestScanWindow::asksBeforeClosingAndStops()
{
    openWith(progressIn(interface::Scanning));
    QTimer::singleShot(0, window_.get(), &QWidget::close);
    QTimer::singleShot(0, this, [this] { answer("btnStopScanAndClose"); });
    QTimer limit;
    connect(&limit, &QTimer::timeout, qApp, [] { QCoreApplication::exit(77); });
    limit.start(10000);
    QCOMPARE(QCoreApplication::exec(), 0);
    QVERIFY(!window_->isVisible());
    QVERIFY(!job_->isActive());
    QCOMPARE(service_->callsOf(QStringLiteral("Stop")), 1);
}

void TestScanWindow::takesTheQuestionBackAtTheEnd()
{
    openWith(progressIn(interface::Scanning));
    QVERIFY(!window_->close());
    QTRY_VERIFY_WITH_TIMEOUT(question() != nullptr && question()->isVisible(), kSoon);
    service_->setProgress(progressIn(interface::Finished));
    QTRY_VERIFY_WITH_TIMEOUT(question() == nullptr, kSoon);
    QVERIFY(window_->isVisible());
    QVERIFY(child<QToolButton>("btnCloseScan")->isVisible());
    QCOMPARE(text("lblScanClean"), QStringLiteral("No threats found."));
}

void TestScanWindow::everyButtonIsReachedByKeyboard()
{
    openWith(progressIn(interface::Scanning));
    for (const char *name : {"btnPauseScan", "btnStopScan", "btnViewScanReport", "btnCloseScan"})
        QVERIFY(child<QToolButton>(name)->focusPolicy() & Qt::TabFocus);
    child<QToolButton>("btnStopScan")->setFocus();
    QTest::keyClick(child<QToolButton>("btnStopScan"), Qt::Key_Space);
    QTRY_VERIFY_WITH_TIMEOUT(child<QToolButton>("btnCloseScan")->isVisible(), kSoon);
    QCOMPARE(window_->focusWidget(), child<QToolButton>("btnCloseScan"));
}

// In the look that it has for people.
void TestScanWindow::worksWithoutMouse()
{
    dress();
    openWith(progressIn(interface::Scanning));
    QCOMPARE(test::keyboardFaults("scanning", window_.get()), QStringList());
    service_->setProgress(progressIn(interface::Finished));
    QTRY_VERIFY_WITH_TIMEOUT(child<QToolButton>("btnCloseScan")->isVisible(), kSoon);
    QCOMPARE(test::keyboardFaults("done", window_.get()), QStringList());
}

void TestScanWindow::textsAreWhole_data()
{
    QTest::addColumn<QString>("family");
    for (const char *family : {"DejaVu Sans", "Cantarell", "Noto Sans"})
        QTest::newRow(family) << family;
}

void TestScanWindow::textsAreWhole()
{
    QFETCH(QString, family);
    QApplication::setFont(QFont(family, 11));
    dress();
    openWith(progressIn(interface::Scanning));
    // Tried again, since an answer of the service may have upset the layout just now.
    QTRY_COMPARE_WITH_TIMEOUT(test::measureTexts("scanning", window_.get()).complaints.join('\n'),
                              QString(), kSoon);
    service_->setThreats(longThreats());
    interface::ScanProgress end = progressIn(interface::Finished);
    end.threats = static_cast<uint>(longThreats().size());
    service_->setProgress(end);
    QTRY_VERIFY_WITH_TIMEOUT(child<QToolButton>("btnCloseScan")->isVisible(), kSoon);
    QTRY_COMPARE_WITH_TIMEOUT(test::measureTexts("done", window_.get()).complaints.join('\n'),
                              QString(), kSoon);
    const QString pictures = qEnvironmentVariable("TALO_SCREENSHOTS");
    if (!pictures.isEmpty())
        QVERIFY(window_->grab().save(pictures + "/scanwindow.png"));
}

// In the narrowest window each column still has a share of it, and more of it in a wider one.
void TestScanWindow::tableFollowsItsWindow()
{
    dress();
    QApplication::setFont(QFont("DejaVu Sans", 11));
    service_->setThreats(longThreats());
    openWith(progressIn(interface::Finished));
    const auto *table = child<QTableView>("tblScanThreats");
    QTRY_COMPARE_WITH_TIMEOUT(table->model()->rowCount(), longThreats().size(), kSoon);
    window_->resize(600, 520);
    const int narrow = table->columnWidth(ThreatModel::ActionTaken);
    QVERIFY(table->columnWidth(ThreatModel::File) >= table->viewport()->width() / 4 - 1);
    window_->resize(1000, 520);
    QVERIFY(table->columnWidth(ThreatModel::ActionTaken) > narrow);
    QTRY_VERIFY_WITH_TIMEOUT(!table->horizontalScrollBar()->isVisible(), kSoon);
}

void TestScanWindow::tableKeepsTheUsersColumns()
{
    service_->setThreats(longThreats());
    openWith(progressIn(interface::Finished));
    const auto *table = child<QTableView>("tblScanThreats");
    QTRY_COMPARE_WITH_TIMEOUT(table->model()->rowCount(), longThreats().size(), kSoon);
    table->horizontalHeader()->resizeSection(ThreatModel::Threat, 77);
    window_->resize(1000, 520);
    QCOMPARE(table->columnWidth(ThreatModel::Threat), 77);
}

// In a made-up language that puts brackets round all it is asked for: what has none was not asked.
void TestScanWindow::everyTextCanBeTranslated()
{
    class Brackets : public QTranslator
    {
    public:
        bool isEmpty() const override { return false; }
        QString translate(const char *, const char *source, const char *, int) const override
        {
            return QLatin1Char('[') + QString::fromUtf8(source) + QLatin1Char(']');
        }
    } language;
    QVERIFY(QCoreApplication::installTranslator(&language));
    const auto restored =
        qScopeGuard([&language] { QCoreApplication::removeTranslator(&language); });

    const auto missed = [this] {
        QStringList texts;
        for (const QWidget *widget : window_->findChildren<QWidget *>()) {
            if (!widget->isVisible())
                continue;
            texts << widget->accessibleName();
            if (const auto *label = qobject_cast<const QLabel *>(widget))
                texts << label->text();
            if (const auto *button = qobject_cast<const QAbstractButton *>(widget))
                texts << button->text();
            if (const auto *header = qobject_cast<const QHeaderView *>(widget))
                for (int column = 0; column < header->count(); ++column)
                    texts << header->model()->headerData(column, header->orientation()).toString();
        }
        // Numbers with their units, and paths, are the same in every language.
        static const QRegularExpression kSame("^([-0-9.,% ]|[KMG]?B|h|min|s|bytes?)*$|/");
        QStringList left;
        for (const QString &text : qAsConst(texts))
            if (!text.contains('[') && !kSame.match(text).hasMatch())
                left << text;
        return left;
    };
    service_->setProgress(progressIn(interface::Scanning));
    open();
    QTRY_VERIFY_WITH_TIMEOUT(!figure("[Elapsed]").isEmpty() && figure("[Elapsed]") != "-", kSoon);
    QCOMPARE(missed().join('|'), QString());
    service_->setThreats(manyThreats(1));
    service_->setProgress(progressIn(interface::Finished));
    QTRY_VERIFY_WITH_TIMEOUT(child<QToolButton>("btnCloseScan")->isVisible(), kSoon);
    QCOMPARE(missed().join('|'), QString());
}

QTEST_MAIN(TestScanWindow)
#include "test_scanwindow.moc"
