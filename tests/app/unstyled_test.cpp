// A panel whose resources are missing: this program is linked without them.
#include "app/app.h"
#include "support/scriptedengine.h"
#include "support/widgets.h"

#include <QApplication>
#include <QFile>
#include <QStackedWidget>
#include <QToolButton>
#include <QtTest>

class UnstyledTest : public QObject
{
    Q_OBJECT

private slots:
    void installsEmptySheetAndWorks();
};

void UnstyledTest::installsEmptySheetAndWorks()
{
    QVERIFY(!QFile::exists(":/res/style/style.qss"));
    qApp->setStyleSheet("QToolButton { color: red }");
    TaloAntivirus_Linux_App window(nullptr);
    window.show();
    QCOMPARE(qApp->styleSheet(), QString());
    auto *stack = window.findChild<QWidget *>("center")->findChild<QStackedWidget *>(
        QString(), Qt::FindDirectChildrenOnly);
    QVERIFY(talo::test::click(window.findChild<QToolButton *>("btnHelp")));
    QCOMPARE(stack->currentIndex(), 2);
    QVERIFY(talo::test::click(window.findChild<QToolButton *>("btnHome")));
    QVERIFY(talo::test::click(window.findChild<QToolButton *>("btnReport")));
    QCOMPARE(stack->currentIndex(), 6);
}

QTEST_MAIN(UnstyledTest)
#include "unstyled_test.moc"
