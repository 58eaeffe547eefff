// The threats of a scan as rows of a table.
#pragma once

#include "interface/types.h"

#include <QAbstractTableModel>
#include <QList>

namespace talo::programs
{

class ThreatModel : public QAbstractTableModel
{
    Q_OBJECT

public:
    enum Column { File, Threat, ActionTaken, ColumnCount };

    using QAbstractTableModel::QAbstractTableModel;
    void append(const QList<interface::ThreatFound> &threats);

    int rowCount(const QModelIndex &parent = QModelIndex()) const override;
    int columnCount(const QModelIndex &parent = QModelIndex()) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

private:
    QList<interface::ThreatFound> threats_;
};

} // namespace talo::programs
