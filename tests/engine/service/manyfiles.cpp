#include "engine/service/manyfiles.h"

#include <QDir>
#include <QFile>
#include <QTest>

void writeManyFiles(const QString &folder)
{
    QVERIFY(QDir().mkpath(folder));
    for (int number = 0; number < 6000; ++number) {
        const QByteArray name = QByteArray::number(number);
        QFile file(folder + '/' + name);
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write(name) == name.size());
    }
}
