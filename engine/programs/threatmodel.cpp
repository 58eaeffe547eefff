#include "programs/threatmodel.h"
#include "programs/words.h"

namespace talo::programs
{

namespace
{

QString text(const interface::ThreatFound &threat, int column)
{
    switch (column) {
    case ThreatModel::File:
        return threat.path;
    case ThreatModel::Threat:
        return threat.name;
    default:
        return threat.outcome;
    }
}

} // namespace

void ThreatModel::append(const QList<interface::ThreatFound> &threats)
{
    if (threats.isEmpty())
        return;
    beginInsertRows({}, threats_.size(), threats_.size() + threats.size() - 1);
    threats_ += threats;
    endInsertRows();
}

int ThreatModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : threats_.size();
}

int ThreatModel::columnCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : ColumnCount;
}

QVariant ThreatModel::data(const QModelIndex &index, int role) const
{
    if (!index.isValid() || index.row() >= threats_.size())
        return {};
    const interface::ThreatFound &threat = threats_.at(index.row());
    if (role == Qt::DisplayRole)
        return text(threat, index.column());
    if (role == Qt::ToolTipRole)
        return text(threat, index.column()).toHtmlEscaped();
    return {};
}

QVariant ThreatModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (role != Qt::DisplayRole || orientation != Qt::Horizontal)
        return {};
    switch (section) {
    case File:
        return Programs::tr("File");
    case Threat:
        return Programs::tr("Threat");
    default:
        return Programs::tr("Action taken");
    }
}

} // namespace talo::programs
