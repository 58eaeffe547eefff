// Asks the service what it is and what it works with, without waiting.
#pragma once

#include <QObject>
#include <QVariantMap>

namespace talo::programs
{

class StatusQuery : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;
    void ask();

signals:
    // Answers every ask() once; empty where the service did not.
    void answered(const QVariantMap &status);
};

} // namespace talo::programs
