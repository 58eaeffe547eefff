// In a language of its own: whatever the programs say on a terminal and in notifications is asked
// for, and found in a catalogue made of the sources. What stands outside of guillemets was not.
#include "engine/programs/support/faketalod.h"
#include "engine/programs/support/programrun.h"
#include "engine/programs/support/samples.h"
#include "engine/service/privatebus.h"
#include "programs/agent/noticewords.h"
#include "programs/format.h"
#include "programs/guards.h"
#include "programs/productupdatewords.h"
#include "programs/progressline.h"
#include "programs/scanwords.h"
#include "programs/signatures.h"
#include "programs/updatewords.h"
#include "support/pseudocatalogue.h"

#include <QProcess>
#include <QTemporaryDir>
#include <QTranslator>
#include <QtTest>

#include <memory>

using namespace talo;
using namespace talo::tests;
using programs::progressLine;

class TestTranslations : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup() { service_.reset(); }

    void terminal_data();
    void terminal();
    void refusals_data();
    void refusals();
    void progress();
    void outcomes();
    void guards();
    void notices();
    void pluralsFollowTheNumber();
    void onlyWhoWantsALanguageGetsIt_data();
    void onlyWhoWantsALanguageGetsIt();

private:
    // A program of the build in a place of its own, with the catalogue where an installed one has
    // it.
    QString installed(const QString &program) const;
    ProgramEnd run(const QString &program, const QStringList &arguments,
                   const QMap<QString, QString> &environment) const;
    ProgramEnd run(const QString &line, const QString &bus) const;
    void fillService();

    QTemporaryDir prefix_;
    std::unique_ptr<PrivateBus> bus_;
    std::unique_ptr<FakeTalod> service_;
    QTranslator language_;
};

namespace
{

QByteArray whole(const ProgramEnd &end)
{
    return end.out + end.err;
}

// The words of the text that are neither translated nor among those that may stay.
QString missed(const QString &text, const QStringList &mayStay = {})
{
    QStringList words = test::untranslatedWords(text);
    words.erase(std::remove_if(words.begin(), words.end(),
                               [&](const QString &word) { return mayStay.contains(word); }),
                words.end());
    if (!text.contains(QChar(0xab)))
        words << "(nothing is translated)";
    return words.isEmpty() ? QString() : words.join(' ') + " in: " + text;
}

} // namespace

void TestTranslations::initTestCase()
{
    if (!test::canMakeCatalogues())
        QSKIP("lupdate and lrelease are not installed (qttools5-dev-tools)");
    bus_ = std::make_unique<PrivateBus>();
    QVERIFY(!bus_->address().isEmpty());
    const QDir prefix(prefix_.path());
    QVERIFY(prefix.mkpath("bin") && prefix.mkpath("share/translations"));
    QCOMPARE(test::makePseudoCatalogue(prefix.filePath("share/translations")), QString());
    const QString build = qEnvironmentVariable("TALO_BUILD_DIR");
    QVERIFY(QFile::link(build + "/lib", prefix.filePath("lib")));
    for (const char *name : {"talo", "FullScan", "talo-agent", "TaloAntivirus_Product_Update",
                             "TaloAntivirus_Signature_Update"})
        QVERIFY2(QFile::copy(builtProgram(name), installed(name)), name);
    for (const char *name : {"QuickScan", "CustomScan"})
        QVERIFY(QFile::link("FullScan", installed(name)));
    QVERIFY(language_.load("taloantivirus_eo", prefix.filePath("share/translations")));
}

void TestTranslations::init()
{
    service_ = std::make_unique<FakeTalod>(bus_->address());
}

QString TestTranslations::installed(const QString &program) const
{
    return prefix_.path() + "/bin/" + program;
}

ProgramEnd TestTranslations::run(const QString &program, const QStringList &arguments,
                                 const QMap<QString, QString> &environment) const
{
    QProcessEnvironment all = withoutDisplay(bus_->address());
    for (const char *name : {"LANGUAGE", "LC_ALL", "LC_MESSAGES", "LANG"})
        all.remove(name);
    for (auto one = environment.cbegin(); one != environment.cend(); ++one)
        all.insert(one.key(), one.value());
    return runFile(installed(program), arguments, all);
}

ProgramEnd TestTranslations::run(const QString &line, const QString &bus) const
{
    QStringList words = line.split(' ', Qt::SkipEmptyParts);
    const QString program = words.takeFirst();
    return run(program, words, {{"LANG", "eo"}, {"TALO_BUS", bus}});
}

void TestTranslations::fillService()
{
    const auto status = QVariantMap{{"version", "9.9"},
                                    {"user", "0"},
                                    {"signatureSet", "built-in"},
                                    {"signatureVersion", "7"},
                                    {"signatureCount", 1U},
                                    {"signatureFolder", "/var/lib/signatures"},
                                    {"firewall", "altered"},
                                    {"otherFirewalls", QStringList{"ufw"}},
                                    {"usbFlag", true}};
    service_->setStatus(status);
    service_->setProgress(progressIn(interface::Finished));
    service_->setThreats(manyThreats(2));
    service_->setReports({{"2026-11-21 14:05:09", "Custom Scan"}}, "First line\n");
    service_->setQuarantine({{"3f2a", 1795269909, "/tmp/x", "Test.File", 544}});
    service_->answerWith(
        "All", {QVariant::fromValue(interface::ScheduleList{
                   {"Nightly1", interface::FullScan, 8, 23, 30, 1795269909, "the mains are off"},
                   {"Weekend1", interface::QuickScan, 3, 9, 15, 1795269909, {}}})});
    service_->answerWith("UpdateState", {QVariantMap{{"signaturesAttempted", 1795269909LL},
                                                     {"signaturesDetail", "reached"},
                                                     {"signaturesNext", 1795269909LL},
                                                     {"signaturesSource", "mirror"}}});
}

void TestTranslations::terminal_data()
{
    QTest::addColumn<QString>("line");
    QTest::addColumn<QStringList>("mayStay");
    QTest::addColumn<bool>("service"); // one that has something to tell
    const auto row = [](const char *line, const char *mayStay, bool service) {
        QTest::newRow(line) << line << QString(mayStay).split(' ', Qt::SkipEmptyParts) << service;
    };
    // What is typed, what the service wrote, and what was found.
    const char *help =
        "talo COMMAND status scan PATH --full --quick report list --from DAY --to show "
        "KEY delete quarantine restore ID purge schedule add NAME remove next update "
        "signatures --check shred --yes --passes N FILE duplicates FOLDER program "
        "help --version full quick from to check yes passes version";
    row("talo help", help, false);
    row("talo schedule --help",
        "talo schedule COMMAND list add NAME full quick daily weekly DAY at HH MM remove next",
        false);
    for (const char *wrong : {"talo",
                              "talo nothing",
                              "talo status now",
                              "talo scan",
                              "talo scan --full /x",
                              "talo scan --slow",
                              "talo report",
                              "talo report list --since 1",
                              "talo report show",
                              "talo report list --from 2026-02-30",
                              "talo quarantine",
                              "talo duplicates",
                              "talo shred",
                              "talo update",
                              "talo update signatures now",
                              "talo update program now",
                              "talo schedule",
                              "talo schedule add a",
                              "talo schedule add a --full --quick",
                              "talo schedule add a --daily --daily",
                              "talo schedule add a --weekly x",
                              "talo schedule add a --at 25:00",
                              "talo schedule add a --now",
                              "talo schedule add a --full",
                              "talo schedule add a --full --daily",
                              "TaloAntivirus_Product_Update now",
                              "TaloAntivirus_Signature_Update now",
                              "TaloAntivirus_Signature_Update --help",
                              "FullScan /tmp",
                              "CustomScan",
                              "CustomScan /tmp 9",
                              "FullScan --help"})
        row(wrong, "", false);
    row("talo status", "built-in ufw", true);
    row("talo scan --full",
        "THREAT Test File infected deleted kept in quarantine talo report show "
        "built-in",
        true);
    row("CustomScan /tmp",
        "THREAT Test File infected deleted kept in quarantine talo report show "
        "built-in",
        true);
    row("talo report show 1", "", true);
    row("talo quarantine list", "f2a Test File", true);
    row("talo quarantine restore 3f2a", "", true);
    row("talo quarantine purge 3f2a", "", true);
    row("talo schedule list", "Nightly1 Weekend1", true);
    row("talo schedule next", "Nightly1 the mains are off", true);
    row("talo update signatures --check", "reached mirror", true);
    row("talo report list", "", false);
    row("talo quarantine list ", "", false);
    row("talo schedule list ", "", false);
    row("talo duplicates /nonexistent", "", false);
    row("talo duplicates /var/empty", "", false);
    row("talo shred --yes /nonexistent", "it does not exist", false);
    row("talo-agent --help",
        "Usage Options Displays help on commandline options including Qt "
        "specific version information this talo-agent options h help help-all v",
        false);
}

void TestTranslations::terminal()
{
    QFETCH(QString, line);
    QFETCH(QStringList, mayStay);
    QFETCH(bool, service);
    if (service)
        fillService();
    else
        service_->answerWith("All", {QVariant::fromValue(interface::ScheduleList{})});
    const ProgramEnd end = run(line, bus_->address());
    QVERIFY(end.code >= 0);
    QCOMPARE(missed(QString::fromUtf8(whole(end)), mayStay), QString());
}

void TestTranslations::refusals_data()
{
    QTest::addColumn<QString>("line");
    QTest::addColumn<QString>("method");
    QTest::addColumn<QString>("error");
    const auto row = [](const char *line, const char *method, const char *error) {
        QTest::addRow("%s: %s", line, error) << line << method << error;
    };
    for (const char *error :
         {interface::kErrorNotPermitted, interface::kErrorPasswordNeeded,
          "org.freedesktop.DBus.Error.ServiceUnknown", "org.freedesktop.DBus.Error.UnknownMethod",
          "org.freedesktop.DBus.Error.NoReply", "org.freedesktop.DBus.Error.Spawn.Failed"})
        row("talo status", "GetStatus", error);
    for (const char *error :
         {interface::kErrorRunning, interface::kErrorLimit, interface::kErrorNotFound})
        for (const char *line : {"FullScan", "QuickScan", "CustomScan /tmp"})
            row(line, "Start", error);
    row("talo update program", "ProgramUpdateProgress", interface::kErrorNotPermitted);
}

void TestTranslations::refusals()
{
    QFETCH(QString, line);
    QFETCH(QString, method);
    QFETCH(QString, error);
    service_->refuse(method, error, "because");
    const ProgramEnd end = run(line, bus_->address());
    QCOMPARE(end.code, 2);
    QCOMPARE(missed(QString::fromUtf8(end.err), {"because"}), QString());
    const ProgramEnd noBus = run(line, "unix:path=/nonexistent/bus");
    QCOMPARE(missed(QString::fromUtf8(noBus.err)), QString());
}

// The lines that a terminal rewrites, in every state.
void TestTranslations::progress()
{
    QCoreApplication::installTranslator(&language_);
    const auto restored = qScopeGuard([this] { QCoreApplication::removeTranslator(&language_); });
    for (uint state = interface::Preparing; state <= interface::Interrupted; ++state)
        QCOMPARE(missed(progressLine(progressIn(interface::JobState(state)), 200)), QString());
    for (uint status = interface::UpdatePreparing; status <= interface::UpdateUnreachable;
         ++status) {
        const interface::UpdateProgress update {
            status, 48213, 12040, 41.0, 2150, {}
        };
        QCOMPARE(missed(programs::updateLine(update)), QString());
        QCOMPARE(missed(programs::updateOutcome(update)), QString());
    }
    for (uint state = interface::ProgramIdle; state <= interface::ProgramNoSource; ++state) {
        client::ProgramUpdate update;
        update.state = interface::ProgramUpdateState(state);
        QCOMPARE(missed(programs::updateStep(update)), QString());
        QCOMPARE(missed(programs::updateOutcome(update)), QString());
    }
    for (const quint64 bytes : {1ULL, 5000ULL, 5000000ULL, 5000000000ULL, 5000000000000ULL})
        QCOMPARE(missed(programs::formatBytes(bytes)), QString());
    for (const quint64 ms : {1000ULL, 200000ULL, 7500000ULL, 270000000ULL})
        QCOMPARE(missed(programs::formatDuration(ms)), QString());
}

void TestTranslations::outcomes()
{
    QCoreApplication::installTranslator(&language_);
    const auto restored = qScopeGuard([this] { QCoreApplication::removeTranslator(&language_); });
    for (const uint state : {interface::Finished, interface::Stopped, interface::Failed}) {
        for (const uint threats : {0U, 1U, 2U}) {
            interface::ScanProgress progress = progressIn(interface::JobState(state));
            progress.threats = threats;
            QCOMPARE(missed(programs::verdictSentence(progress)), QString());
            progress.failure = "because.";
            QCOMPARE(missed(programs::verdictSentence(progress), {"because"}), QString());
            QCOMPARE(missed(programs::notScannedSentence(progress)), QString());
        }
    }
    for (const char *set : {"", "updated", "built-in"}) {
        for (const qint64 age : {0, 1, 30, 30000}) {
            const auto now = QDateTime::fromSecsSinceEpoch(86400LL * 30000);
            const auto words = programs::describeSignatures(
                {{"signatureSet", set},
                 {"signatureTime", now.toSecsSinceEpoch() - age * 86400},
                 {"signatureCount", 12}},
                now);
            QCOMPARE(missed(words.inUse, {"updated", "built-in"}), QString());
            if (!words.advice.isEmpty())
                QCOMPARE(missed(words.advice), QString());
        }
    }
}

void TestTranslations::guards()
{
    QCoreApplication::installTranslator(&language_);
    const auto restored = qScopeGuard([this] { QCoreApplication::removeTranslator(&language_); });
    for (const char *firewall : {"on", "off", "altered", ""})
        for (const bool yes : {false, true}) {
            const QVariantMap status{{"firewall", firewall},
                                     {"guardsMachine", yes},
                                     {"usbFlag", yes},
                                     {"driveScan", yes},
                                     {"otherFirewalls", QStringList{"ufw"}}};
            QCOMPARE(missed(programs::firewallWords(status), {"ufw"}), QString());
            QCOMPARE(missed(programs::storageWords(status)), QString());
            QCOMPARE(missed(programs::driveWords(status)), QString());
        }
}

void TestTranslations::notices()
{
    QCoreApplication::installTranslator(&language_);
    const auto restored = qScopeGuard([this] { QCoreApplication::removeTranslator(&language_); });
    for (const int count : {1, 2}) {
        const auto found = programs::threatNotice("KIND", count, {{"/a", "NAME", "OUTCOME"}});
        QCOMPARE(missed(found.summary + '\n' + found.body, {"KIND", "NAME", "OUTCOME"}), QString());
    }
    for (uint state = interface::Finished; state <= interface::Interrupted; ++state)
        for (const quint64 threats : {0ULL, 1ULL, 2ULL})
            if (const auto end = programs::endNotice({"KIND", state, "/a", 7, threats, {}}))
                QCOMPARE(missed(end->summary + '\n' + end->body, {"KIND"}), QString());
    const auto old =
        programs::signatureNotice({{"signatureSet", "built-in"}}, QDateTime::currentDateTimeUtc());
    QVERIFY(old.has_value());
    QCOMPARE(missed(old->summary + '\n' + old->body), QString());
}

void TestTranslations::pluralsFollowTheNumber()
{
    QCOMPARE(programs::formatFiles(1), QStringLiteral("1 file"));
    QCOMPARE(programs::formatFiles(2), QStringLiteral("2 files"));
    QCoreApplication::installTranslator(&language_);
    const auto restored = qScopeGuard([this] { QCoreApplication::removeTranslator(&language_); });
    const auto expected = [](const char *number, const char *form) {
        return QString::fromUtf8("«%1»%2« files»").arg(form, number);
    };
    QCOMPARE(programs::formatFiles(1), expected("1", "1"));
    QCOMPARE(programs::formatFiles(2), expected("2", "2"));
    QCOMPARE(programs::formatFiles(1000001), expected("1,000,001", "2"));
    QCOMPARE(programs::formatFiles(20000000000ULL), expected("20,000,000,000", "2"));
}

void TestTranslations::onlyWhoWantsALanguageGetsIt_data()
{
    QTest::addColumn<QString>("languages");
    QTest::addColumn<QString>("all");
    QTest::addColumn<QString>("lang");
    QTest::addColumn<bool>("translated");
    QTest::newRow("wanted") << ""
                            << ""
                            << "eo.UTF-8" << true;
    QTest::newRow("wanted after one that there is none of") << "de:eo"
                                                            << ""
                                                            << "de_DE.UTF-8" << true;
    QTest::newRow("English first") << "en_GB:eo"
                                   << ""
                                   << "en_GB.UTF-8" << false;
    QTest::newRow("another language") << ""
                                      << ""
                                      << "de_DE.UTF-8" << false;
    QTest::newRow("none") << ""
                          << ""
                          << "" << false;
    QTest::newRow("a program reads") << "eo"
                                     << "C"
                                     << "eo" << false;
    QTest::newRow("a program reads UTF-8") << ""
                                           << "C.UTF-8"
                                           << "eo" << false;
}

void TestTranslations::onlyWhoWantsALanguageGetsIt()
{
    QFETCH(QString, languages);
    QFETCH(QString, all);
    QFETCH(QString, lang);
    QFETCH(bool, translated);
    const ProgramEnd end =
        run("talo", {"report", "list"}, {{"LANGUAGE", languages}, {"LC_ALL", all}, {"LANG", lang}});
    QCOMPARE(QString::fromUtf8(end.out),
             translated ? QString::fromUtf8("«No reports.»\n") : QStringLiteral("No reports.\n"));
}

QTEST_GUILESS_MAIN(TestTranslations)
#include "test_translations.moc"
