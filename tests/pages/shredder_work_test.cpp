// Shredding from the page: what the engine is asked, and what becomes of the rows.
#include "pages/shreddersupport.h"
#include "support/scriptedengine.h"
#include "support/widgets.h"

#include <QSemaphore>
#include <QtTest>

#include <memory>
#include <thread>

using namespace talo::test;

class ShredderWorkTest : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup() { window_.reset(); }
    void needsARow();
    void asksTheEngineOnAThreadOfItsOwn();
    void pathIsHandedOverAsUtf8();
    void aShreddedFileMovesToTheEnd();
    void theOnlyFileStaysAlone();
    void aFailureLeavesItPending_data();
    void aFailureLeavesItPending();
    void aFailedFileCanBeTriedAgain();
    void aShreddedFileIsNotShreddedAgain();
    void nothingIsDisabledMeanwhile();
    void aRowThatMovedMeanwhileIsKeptAsItWas();
    void aListThatWasEmptiedMeanwhile();
    void aRowThatIsGoneIsNotRemoved();

private:
    // Lets the shred of the path wait until it is released.
    void answerLater(QSemaphore &release, int times);
    QString shredTo(QMessageBox::Icon icon, const QString &text) const;
    static std::size_t asked()
    {
        return ScriptedEngine::instance().calls("libShred::shred").size();
    }

    std::unique_ptr<ShredderWindow> window_;
};

void ShredderWorkTest::init()
{
    window_ = std::make_unique<ShredderWindow>();
}

// Clicks SHRED and waits for the box that tells the end.
QString ShredderWorkTest::shredTo(QMessageBox::Icon icon, const QString &text) const
{
    Dialogs dialogs;
    dialogs.expectBox();
    if (!window_->press("SHRED"))
        return "no SHRED";
    if (!QTest::qWaitFor([&] { return !dialogs.boxes().isEmpty(); }))
        return "no box";
    return boxFault(dialogs, icon, text, &window_->page);
}

void ShredderWorkTest::answerLater(QSemaphore &release, int times)
{
    for (int time = 0; time < times; ++time) {
        Answer answer;
        answer.during = [&release] { release.acquire(); };
        ScriptedEngine::instance().answerOnce("libShred::shred", answer);
    }
}

void ShredderWorkTest::needsARow()
{
    QCOMPARE(window_->addNew("one"), QString());
    Dialogs dialogs;
    dialogs.expectBox();
    QVERIFY(window_->press("SHRED"));
    QCOMPARE(boxFault(dialogs, QMessageBox::Warning, "Select a file to shred", &window_->page),
             QString());
    QCOMPARE(asked(), std::size_t(0));
}

void ShredderWorkTest::asksTheEngineOnAThreadOfItsOwn()
{
    QCOMPARE(window_->addNew("one"), QString());
    QVERIFY(window_->select(0));
    std::thread::id thread;
    Answer answer;
    answer.during = [&] { thread = std::this_thread::get_id(); };
    answer.numbers = {4096}; // the counter is there to be written
    ScriptedEngine::instance().answer("libShred::shred", answer);
    QCOMPARE(shredTo(QMessageBox::Information, "File is successfully shred."), QString());
    QVERIFY(thread != std::this_thread::get_id());
    const auto calls = ScriptedEngine::instance().calls();
    QCOMPARE(calls.size(), std::size_t(1));
    QCOMPARE(QString::fromStdString(calls[0].arguments.at(0)), window_->folder() + "/one");
}

void ShredderWorkTest::pathIsHandedOverAsUtf8()
{
    QCOMPARE(window_->addNew(QString::fromUtf8("Größe, тест")), QString());
    QVERIFY(window_->select(0));
    QCOMPARE(shredTo(QMessageBox::Information, "File is successfully shred."), QString());
    const auto calls = ScriptedEngine::instance().calls("libShred::shred");
    QCOMPARE(QByteArray(calls.at(0).arguments.at(0).c_str()),
             (window_->folder() + QString::fromUtf8("/Größe, тест")).toUtf8());
}

void ShredderWorkTest::aShreddedFileMovesToTheEnd()
{
    for (const char *name : {"one", "two", "three"})
        QCOMPARE(window_->addNew(name), QString());
    QVERIFY(window_->select(1));
    QCOMPARE(shredTo(QMessageBox::Information, "File is successfully shred."), QString());
    QCOMPARE(window_->rows(), QStringList({"one Pending", "three Pending", "two Shredded"}));
    for (int column : {0, 1})
        QCOMPARE(window_->table()->item(2, column)->textAlignment(), int(Qt::AlignCenter));
    QVERIFY(window_->isEnabled("REMOVE"));
    QVERIFY(window_->isEnabled("SHRED"));
    // It can be taken off the list like any other.
    QVERIFY(window_->select(2));
    QVERIFY(window_->press("REMOVE"));
    QCOMPARE(window_->rows(), QStringList({"one Pending", "three Pending"}));
}

void ShredderWorkTest::theOnlyFileStaysAlone()
{
    QCOMPARE(window_->addNew("one"), QString());
    QVERIFY(window_->select(0));
    QCOMPARE(shredTo(QMessageBox::Information, "File is successfully shred."), QString());
    QCOMPARE(window_->rows(), QStringList("one Shredded"));
    QVERIFY(window_->isEnabled("REMOVE"));
    QVERIFY(window_->isEnabled("SHRED"));
    QCOMPARE(window_->addNew("two"), QString());
    QCOMPARE(window_->rows(), QStringList({"one Shredded", "two Pending"}));
}

void ShredderWorkTest::aFailureLeavesItPending_data()
{
    QTest::addColumn<int>("code");
    for (const int code : {1, 2, 3, 4, 5, 6, -1})
        QTest::addRow("%d", code) << code;
}

void ShredderWorkTest::aFailureLeavesItPending()
{
    QFETCH(int, code);
    ScriptedEngine::instance().answer("libShred::shred", {code});
    QCOMPARE(window_->addNew("one"), QString());
    QCOMPARE(window_->addNew("two"), QString());
    QVERIFY(window_->select(0));
    QCOMPARE(shredTo(QMessageBox::Warning, "Unable to remove file."), QString());
    QCOMPARE(window_->rows(), QStringList({"one Pending", "two Pending"}));
}

void ShredderWorkTest::aFailedFileCanBeTriedAgain()
{
    ScriptedEngine::instance().answerOnce("libShred::shred", {5});
    QCOMPARE(window_->addNew("one"), QString());
    QVERIFY(window_->select(0));
    QCOMPARE(shredTo(QMessageBox::Warning, "Unable to remove file."), QString());
    QCOMPARE(shredTo(QMessageBox::Information, "File is successfully shred."), QString());
    QCOMPARE(window_->rows(), QStringList("one Shredded"));
    QCOMPARE(asked(), std::size_t(2));
}

void ShredderWorkTest::aShreddedFileIsNotShreddedAgain()
{
    QCOMPARE(window_->addNew("one"), QString());
    QVERIFY(window_->select(0));
    QCOMPARE(shredTo(QMessageBox::Information, "File is successfully shred."), QString());
    QVERIFY(window_->select(0));
    QCOMPARE(shredTo(QMessageBox::Warning, "File is already shredded."), QString());
    QCOMPARE(asked(), std::size_t(1));
    // The word is compared letter by letter.
    window_->table()->item(0, 1)->setText("shredded");
    QCOMPARE(shredTo(QMessageBox::Information, "File is successfully shred."), QString());
    QCOMPARE(asked(), std::size_t(2));
}

void ShredderWorkTest::nothingIsDisabledMeanwhile()
{
    QCOMPARE(window_->addNew("one"), QString());
    QVERIFY(window_->select(0));
    QSemaphore release;
    answerLater(release, 1);
    Dialogs dialogs;
    dialogs.expectBox();
    QVERIFY(window_->press("SHRED"));
    QVERIFY(QTest::qWaitFor([] { return asked() == 1; }));
    for (const char *text : {"ADD", "REMOVE", "SHRED"})
        QVERIFY(window_->isEnabled(text));
    QCOMPARE(window_->rows(), QStringList("one Pending"));
    release.release();
    QVERIFY(QTest::qWaitFor([&] { return !dialogs.boxes().isEmpty(); }));
    QCOMPARE(dialogs.fault(), QString());
}

// Two at once: the second's row number is from before the first one moved, and is kept.
void ShredderWorkTest::aRowThatMovedMeanwhileIsKeptAsItWas()
{
    for (const char *name : {"one", "two", "three", "four"})
        QCOMPARE(window_->addNew(name), QString());
    QSemaphore first;
    QSemaphore second;
    answerLater(first, 1);
    Dialogs dialogs;
    dialogs.expectBox();
    QVERIFY(window_->select(0));
    QVERIFY(window_->press("SHRED"));
    QVERIFY(QTest::qWaitFor([] { return asked() == 1; }));
    answerLater(second, 1);
    dialogs.expectBox();
    QVERIFY(window_->select(1));
    QVERIFY(window_->press("SHRED"));
    QVERIFY(QTest::qWaitFor([] { return asked() == 2; }));

    first.release();
    QVERIFY(QTest::qWaitFor([&] { return dialogs.boxes().size() == 1; }));
    QCOMPARE(window_->rows(),
             QStringList({"two Pending", "three Pending", "four Pending", "one Shredded"}));
    second.release();
    QVERIFY(QTest::qWaitFor([&] { return dialogs.boxes().size() == 2; }));
    // Row 1 went, which is another file's by now.
    QCOMPARE(window_->rows(),
             QStringList({"two Pending", "four Pending", "one Shredded", "two Shredded"}));
    QCOMPARE(dialogs.fault(), QString());
}

void ShredderWorkTest::aListThatWasEmptiedMeanwhile()
{
    QCOMPARE(window_->addNew("one"), QString());
    QVERIFY(window_->select(0));
    QSemaphore release;
    answerLater(release, 1);
    auto dialogs = std::make_unique<Dialogs>();
    dialogs->expectBox();
    QVERIFY(window_->press("SHRED"));
    QVERIFY(QTest::qWaitFor([] { return asked() == 1; }));
    QVERIFY(window_->press("REMOVE"));
    release.release();
    QVERIFY(QTest::qWaitFor([&] { return !dialogs->boxes().isEmpty(); }));
    QCOMPARE(
        boxFault(*dialogs, QMessageBox::Information, "File is successfully shred.", &window_->page),
        QString());
    dialogs.reset();
    // The count went below nothing and back: no row, nothing to remove or shred.
    QVERIFY(window_->rows().isEmpty());
    QVERIFY(!window_->isEnabled("REMOVE"));
    QVERIFY(!window_->isEnabled("SHRED"));
    QCOMPARE(window_->addNew("two"), QString());
    QCOMPARE(window_->rows(), QStringList("two Pending"));
}

void ShredderWorkTest::aRowThatIsGoneIsNotRemoved()
{
    QCOMPARE(window_->addNew("one"), QString());
    QCOMPARE(window_->addNew("two"), QString());
    QVERIFY(window_->select(1));
    QSemaphore release;
    answerLater(release, 1);
    Dialogs dialogs;
    dialogs.expectBox();
    QVERIFY(window_->press("SHRED"));
    QVERIFY(QTest::qWaitFor([] { return asked() == 1; }));
    QVERIFY(window_->press("REMOVE"));
    release.release();
    QVERIFY(QTest::qWaitFor([&] { return !dialogs.boxes().isEmpty(); }));
    QCOMPARE(dialogs.fault(), QString());
    // The count fell to nothing without a row going, and the one row is used again.
    QCOMPARE(window_->rows(), QStringList("two Shredded"));
}

QTEST_MAIN(ShredderWorkTest)
#include "shredder_work_test.moc"
