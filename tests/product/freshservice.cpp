#include "product/freshservice.h"

#include "product/desktop.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace talo::test
{

const QByteArray kUnwanted = "a program that nobody asked for";

FreshService::FreshService() : engine_(home_.path())
{
    if (!QDir::setCurrent(home_.path()))
        throw Failure("no folder to work in");
    write(home_.filePath("set/test.ndb"), "Talo.Test.Eicar:0:0:" + eicar().toHex() +
                                              "\nPUA.Talo.Test:0:0:" + kUnwanted.toHex() + '\n');
    // A program of the test files, by its size and MD5.
    write(home_.filePath("set/test.hdb"),
          "aa15bcf478d165efd2065190eb473bcb:544:Talo.Test.Program\n");
}

void FreshService::begin()
{
    place_ = std::make_unique<QTemporaryDir>(home_.filePath("place-XXXXXX"));
    if (!place_->isValid())
        throw Failure("no folder for files");
    restart();
}

void FreshService::restart()
{
    engine_.start(inPlace("state"), {"--signatures", home_.filePath("set")});
}

QString FreshService::scan(const QString &path)
{
    int code = -1;
    const QByteArray output = run(QString(kPrefix) + "/bin/talo", {"scan", path}, &code);
    if (code != 0 && code != 1)
        throw Failure("the scan failed: " + output.toStdString());
    return code == 1 ? "found" : "clean";
}

QString FreshService::scanCopy(const QString &path) const
{
    const QString copy = inPlace(QFileInfo(path).fileName());
    QFile::remove(copy);
    if (!QFile::copy(path, copy))
        throw Failure("cannot copy " + path.toStdString());
    return scan(copy);
}

} // namespace talo::test
