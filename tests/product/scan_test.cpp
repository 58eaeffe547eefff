// The whole product at once: the installed panel's window, the engine on a bus of its own, the
// sandboxed scanner, and a person who scans a folder of malware and reads the report.
//
// Needs root, for a /usr/local of its own; the product then runs as an ordinary user.

#include "product/desktop.h"
#include "product/installation.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QTableWidget>
#include <QTemporaryDir>
#include <QTextEdit>
#include <QThread>
#include <QtTest>

#include <memory>
#include <sys/stat.h>

using namespace talo::test;

class ProductScanTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void customScanIsReportedReadSavedAndDeleted();
    void terminalTellsTheSame();
    void cleanupTestCase();

private:
    void fillCorpus();
    QStringList clamscanFindings() const;
    void drive(const Desktop &desktop);

    QTemporaryDir home_;
    QString corpus_;
    QStringList expected_;
    QString saved_;
    std::unique_ptr<Engine> engine_;
};

void ProductScanTest::initTestCase()
{
    QVERIFY(home_.isValid());
    QVERIFY(QDir::setCurrent(home_.path()));
    fillCorpus();
    expected_ = clamscanFindings();
    QVERIFY2(expected_.size() > 40, "clamscan should know the test files");

    engine_ = std::make_unique<Engine>(home_.path());
    engine_->start(home_.filePath("state"));
}

void ProductScanTest::cleanupTestCase()
{
    engine_.reset();
    // A folder that nobody may read is not removed with the rest.
    chmod(QFile::encodeName(corpus_ + "/unreadable").constData(), 0700);
}

void ProductScanTest::fillCorpus()
{
    corpus_ = home_.filePath("corpus");
    QVERIFY(QDir().mkpath(corpus_));
    run("cp", {"-r", "/usr/share/clamav-testfiles", corpus_});
    write(corpus_ + "/eicar.com", eicar());
    write(corpus_ + "/one,two#three\nfour", eicar());
    write(corpus_ + "/harmless.txt", "nothing here\n");
    write(corpus_ + "/unreadable", "secret\n");
    QCOMPARE(chmod(QFile::encodeName(corpus_ + "/unreadable").constData(), 0), 0);
    QCOMPARE(mkfifo(QFile::encodeName(corpus_ + "/fifo").constData(), 0600), 0);
    QVERIFY(QFile::link(".", corpus_ + "/loop"));
    QVERIFY(QFile::link("right", corpus_ + "/left"));
    QVERIFY(QFile::link("left", corpus_ + "/right"));

    // 1.2 GB of nothing in a few megabytes: more than the scanner unpacks.
    int code = 0;
    run("sh",
        {"-c",
         "cd \"$1\" && head -c 1200M /dev/zero >nothing && "
         "zip -q -1 bomb.zip nothing && rm nothing",
         "sh", corpus_},
        &code);
    QCOMPARE(code, 0);
}

QStringList ProductScanTest::clamscanFindings() const
{
    const QString output = run("clamscan", {"-d", QString(kPrefix) + "/signatures", "-r",
                                            "--infected", "--no-summary", corpus_});
    QStringList found;
    for (const QString &line : output.split('\n')) {
        if (line.endsWith(" FOUND"))
            found << line.section(':', 0, 0).section('/', -1);
    }
    return found;
}

void ProductScanTest::drive(const Desktop &desktop)
{
    const auto latest = [] { return run(QString(kPrefix) + "/bin/talo", {"report", "list"}); };

    desktop.screenshot("home");
    desktop.click("btnScan");
    desktop.click("btnCustomScanBottom");
    desktop.choose(corpus_);

    // The scan program has its own window and its own process; it deletes what it finds.
    for (int tries = 0; !latest().contains("Custom Scan"); ++tries) {
        if (tries == 600)
            throw Failure("no report came");
        QThread::msleep(100);
    }
    desktop.screenshot("scan-finished");
    run("pkill", {"-u", QString::number(kUser), "-x", "CustomScan"});

    desktop.clickText("< BACK");
    desktop.click("btnReport");
    const auto table = [] {
        for (QWidget *window : QApplication::topLevelWidgets()) {
            for (QTableWidget *candidate : window->findChildren<QTableWidget *>()) {
                if (candidate->isVisible())
                    return candidate;
            }
        }
        return static_cast<QTableWidget *>(nullptr);
    };
    desktop.await("the report in the list", [&] { return table() && table()->rowCount() == 1; });
    desktop.screenshot("reports");
    desktop.clickItem(desktop.see<QModelIndex>([&] { return table()->model()->index(0, 2); }),
                      table());

    const auto viewer = [] {
        QWidget *dialog = QApplication::activeModalWidget();
        return dialog ? dialog->findChild<QTextEdit *>("rptDetails") : nullptr;
    };
    desktop.await("the viewer", [&] { return viewer() && viewer()->isVisible(); });
    desktop.screenshot("viewer");
    desktop.clickText("SAVE");
    desktop.choose(home_.filePath("saved"));
    if (desktop.answerMessage() != "Report saved successfully.")
        throw Failure("the report was not saved");

    desktop.await("the viewer to close", [&] { return !viewer(); });
    desktop.clickItem(desktop.see<QModelIndex>([&] { return table()->model()->index(0, 0); }),
                      table());
    desktop.clickText("DELETE");
    if (desktop.answerMessage() != "Report deleted successfully.")
        throw Failure("the report was not deleted");
    desktop.await("an empty list", [&] { return table()->rowCount() == 0; });
}

void ProductScanTest::customScanIsReportedReadSavedAndDeleted()
{
    QVERIFY(QDir().mkpath(home_.filePath("saved")));
    const std::string failure = play([this](const Desktop &desktop) { drive(desktop); });
    QVERIFY2(failure.empty(), failure.c_str());

    const QStringList files = QDir(home_.filePath("saved")).entryList(QDir::Files);
    QCOMPARE(files.size(), 1);
    QVERIFY2(QRegularExpression("^TALO Report \\d{4}-\\d\\d-\\d\\d \\d\\d-\\d\\d-\\d\\d\\.txt$")
                 .match(files.first())
                 .hasMatch(),
             qPrintable(files.first()));
    QFile file(home_.filePath("saved/" + files.first()));
    QVERIFY(file.open(QIODevice::ReadOnly));
    saved_ = QString::fromUtf8(file.readAll());

    const QString threats = saved_.section("Threats (", 1).section("Not scanned (", 0, 0);
    for (const QString &name : expected_) {
        if (!name.contains('\n'))
            QVERIFY2(threats.contains(name), qPrintable("not reported: " + name));
    }
    QVERIFY(threats.contains("one,two#three\\nfour"));
    const QString rest = saved_.section("Not scanned (", 1);
    for (const char *odd : {"/fifo", "/unreadable", "/bomb.zip", "/loop", "/left"})
        QVERIFY2(rest.contains(odd), odd);
    QVERIFY(!threats.contains("harmless.txt"));

    // What was found is in the quarantine now, and nothing else has gone.
    QVERIFY(!QFile::exists(corpus_ + "/eicar.com"));
    QVERIFY(QFile::exists(corpus_ + "/harmless.txt"));
    QVERIFY(QFile::exists(corpus_ + "/bomb.zip"));
}

void ProductScanTest::terminalTellsTheSame()
{
    const QString talo = QString(kPrefix) + "/bin/talo";
    int code = -1;
    const QString left = run("env", {"-u", "DISPLAY", talo, "scan", corpus_}, &code);
    QVERIFY2(code == 0, qPrintable(left)); // everything was deleted before

    const QString list = run(talo, {"quarantine", "list"});
    const QString line = list.split('\n').filter("eicar.com").value(0);
    const QString id = QRegularExpression("\\b[0-9a-f]{16}\\b").match(line).captured();
    QVERIFY2(!id.isEmpty(), qPrintable(list));
    run(talo, {"quarantine", "restore", id}, &code);
    QCOMPARE(code, 0);
    QFile back(corpus_ + "/eicar.com");
    QVERIFY(back.open(QIODevice::ReadOnly));
    QCOMPARE(back.readAll(), eicar());

    run("env", {"-u", "DISPLAY", QString(kPrefix) + "/bin/CustomScan", corpus_ + "/eicar.com", "2"},
        &code);
    QCOMPARE(code, 1);
    run("env", {"-u", "DISPLAY", QString(kPrefix) + "/bin/CustomScan", corpus_ + "/none", "2"},
        &code);
    QCOMPARE(code, 2);
}

int main(int argc, char **argv)
{
    return testInstalled(argc, argv, TALO_BUILD_FOLDER,
                         [] { return std::make_unique<ProductScanTest>(); });
}

#include "scan_test.moc"
