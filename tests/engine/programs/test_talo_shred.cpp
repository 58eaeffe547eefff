// talo shred as a whole program, with and without a terminal.
#include "engine/programs/support/programrun.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QtTest>

#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace talo::tests;

class TestTaloShred : public QObject
{
    Q_OBJECT

private slots:
    void init() { folder_ = std::make_unique<QTemporaryDir>(QStringLiteral("/tmp/t-XXXXXX")); }
    void wrongUsage_data();
    void wrongUsage();
    void destroysEachFile();
    void tellsWhatItCouldNotDestroy();
    void namesAreShownUnambiguously();
    void asksOnATerminal_data();
    void asksOnATerminal();
    void showsProgressOnATerminal();

private:
    QString file(const QString &name, int size = 5000) const
    {
        QFile made(folder_->filePath(name));
        return made.open(QIODevice::WriteOnly) && made.write(QByteArray(size, 'x')) == size
                   ? made.fileName()
                   : QString();
    }
    static ProgramEnd shred(const QStringList &words)
    {
        return runProgram(QStringLiteral("talo"), QStringList{QStringLiteral("shred")} + words,
                          QString());
    }
    // On a terminal, where `typed` is typed at once.
    static ProgramEnd onTerminal(const QStringList &words, const QByteArray &typed);

    std::unique_ptr<QTemporaryDir> folder_;
};

ProgramEnd TestTaloShred::onTerminal(const QStringList &words, const QByteArray &typed)
{
    QList<QByteArray> bytes{builtProgram(QStringLiteral("talo")).toUtf8(), "shred"};
    for (const QString &word : words)
        bytes << word.toUtf8();
    std::vector<char *> arguments;
    for (QByteArray &word : bytes)
        arguments.push_back(word.data());
    arguments.push_back(nullptr);
    int terminal = -1;
    const pid_t child = forkpty(&terminal, nullptr, nullptr, nullptr);
    if (child == 0) {
        execv(arguments[0], arguments.data());
        _exit(127);
    }
    ProgramEnd end;
    if (write(terminal, typed.constData(), static_cast<std::size_t>(typed.size())) != typed.size())
        return end;
    char part[4096];
    for (ssize_t size = 0; (size = read(terminal, part, sizeof part)) > 0;)
        end.out.append(part, static_cast<int>(size));
    close(terminal);
    int status = 0;
    waitpid(child, &status, 0);
    end.code = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return end;
}

void TestTaloShred::wrongUsage_data()
{
    QTest::addColumn<QString>("line");
    for (const char *line : {"", "--yes", "--slow /tmp/x", "--", "--passes=0 /tmp/x",
                             "--passes=36 /tmp/x", "--passes=many /tmp/x", "--passes /tmp/x"})
        QTest::newRow(line) << line;
}

void TestTaloShred::wrongUsage()
{
    QFETCH(QString, line);
    const ProgramEnd end = shred(line.split(QLatin1Char(' '), Qt::SkipEmptyParts));
    QCOMPARE(end.code, 2);
    QVERIFY(end.out.isEmpty());
    QVERIFY(end.err.contains("\"talo help\" tells how talo is used."));
}

void TestTaloShred::destroysEachFile()
{
    const ProgramEnd end = shred({QStringLiteral("--yes"), QStringLiteral("--passes=2"), file("a"),
                                  file("b"), QStringLiteral("--"), file("-c")});
    QCOMPARE(end.code, 0);
    QCOMPARE(end.out, QByteArray("3 files destroyed.\n"));
    QVERIFY(QDir(folder_->path()).isEmpty());
}

void TestTaloShred::tellsWhatItCouldNotDestroy()
{
    const QString missing = folder_->filePath(QStringLiteral("missing"));
    const ProgramEnd end = shred({file("a"), missing, folder_->path(), file("b")});
    QCOMPARE(end.code, 2);
    QCOMPARE(end.out, QByteArray("2 files destroyed.\n"));
    QVERIFY(end.err.contains(missing.toUtf8() + ": it does not exist\n"));
    QVERIFY(end.err.contains(folder_->path().toUtf8() + ": it is a folder\n"));
    QVERIFY(!QFile::exists(folder_->filePath(QStringLiteral("b"))));
}

void TestTaloShred::namesAreShownUnambiguously()
{
    const ProgramEnd end = shred({folder_->filePath(QStringLiteral("a\033[2Jb"))});
    QCOMPARE(end.code, 2);
    QVERIFY(!end.err.contains('\033'));
}

void TestTaloShred::asksOnATerminal_data()
{
    QTest::addColumn<QString>("option");
    QTest::addColumn<QString>("typed");
    QTest::addColumn<int>("code");
    QTest::newRow("yes") << "--"
                         << "yes\n"
                         << 0;
    QTest::newRow("y is not enough") << "--"
                                     << "y\n"
                                     << 2;
    QTest::newRow("more than yes") << "--"
                                   << "yesterday\n"
                                   << 2;
    QTest::newRow("nothing") << "--"
                             << "\n"
                             << 2;
    QTest::newRow("end") << "--"
                         << "\004" << 2;
    QTest::newRow("not asked") << "--yes"
                               << "" << 0;
}

void TestTaloShred::asksOnATerminal()
{
    QFETCH(QString, option);
    QFETCH(QString, typed);
    QFETCH(int, code);
    const QString path = file("a");
    const ProgramEnd end = onTerminal({option, path}, typed.toUtf8());
    QCOMPARE(end.code, code);
    QCOMPARE(QFile::exists(path), code != 0);
    QCOMPARE(end.out.contains("Destroy " + path.toUtf8() + " for good?"), option == "--");
    QCOMPARE(end.out.contains("Nothing was destroyed."), code != 0);
}

void TestTaloShred::showsProgressOnATerminal()
{
    const QString path = file("a", 40 << 20);
    const ProgramEnd end = onTerminal({QStringLiteral("--yes"), path}, QByteArray());
    QCOMPARE(end.code, 0);
    QVERIFY2(end.out.contains("%  ") && end.out.contains(" of 41.9 MB  " + path.toUtf8().left(8)),
             end.out.constData());
    QVERIFY(end.out.contains("1 file destroyed."));
}

QTEST_GUILESS_MAIN(TestTaloShred)
#include "test_talo_shred.moc"
