// The table of the threats that a scan has found. Names and actions are shown whole as long as
// there is room; a path gives way first, in its middle.
#pragma once

#include <QTableView>

namespace talo::programs
{

class ThreatModel;

class ThreatTable : public QTableView
{
    Q_OBJECT

public:
    explicit ThreatTable(ThreatModel *model, QWidget *parent = nullptr);

protected:
    void resizeEvent(QResizeEvent *event) override;

private slots:
    void noteResize(int column);

private:
    void fit();

    bool fitting_ = false;
    bool sizedByUser_ = false; // and no longer ours to change
};

} // namespace talo::programs
