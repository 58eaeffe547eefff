// The service as it is before anybody has changed a setting, and a folder of files to scan.
#pragma once

#include "product/installation.h"

#include <QTemporaryDir>

#include <memory>

namespace talo::test
{

// Part of what the scanner looks for; reported as suspected.
extern const QByteArray kUnwanted;

class FreshService
{
public:
    FreshService();

    // A new state folder, a new folder of files, and a service on them.
    void begin();
    // The same service over again.
    void restart();

    // A path in the folder of files.
    QString inPlace(const QString &name) const { return place_->filePath(name); }

    // "found" or "clean", by the product's own terminal program. Throws a Failure where the scan
    // itself fails.
    static QString scan(const QString &path);
    // The same with a copy of the file, since what is found is deleted.
    QString scanCopy(const QString &path) const;

private:
    QTemporaryDir home_;
    std::unique_ptr<QTemporaryDir> place_;
    Engine engine_;
};

} // namespace talo::test
