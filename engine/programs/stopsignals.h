// SIGINT and SIGTERM as an event of the event loop.
#pragma once

#include <QObject>

namespace talo::programs
{

// One at a time in a process. While it lives the two signals do not end the program; afterwards
// they do again.
class StopSignals : public QObject
{
    Q_OBJECT

public:
    explicit StopSignals(QObject *parent = nullptr);
    ~StopSignals() override;

signals:
    void asked();

private slots:
    void received();

private:
    int ends_[2] = {-1, -1};
};

} // namespace talo::programs
