#include "programs/threattable.h"

#include "programs/threatmodel.h"
#include "programs/words.h"

#include <QHeaderView>
#include <QScopedValueRollback>

#include <algorithm>

namespace talo::programs
{

ThreatTable::ThreatTable(ThreatModel *model, QWidget *parent) : QTableView(parent)
{
    setObjectName(QStringLiteral("tblScanThreats"));
    setAccessibleName(Programs::tr("Threats found"));
    setModel(model);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    setSelectionBehavior(QAbstractItemView::SelectRows);
    setSelectionMode(QAbstractItemView::SingleSelection);
    setTextElideMode(Qt::ElideMiddle);
    setWordWrap(false);
    setShowGrid(false);
    setTabKeyNavigation(false); // Tab leads on to the buttons
    setMinimumHeight(50);       // a row, where texts below it need the room
    verticalHeader()->hide();
    verticalHeader()->setDefaultSectionSize(24);
    QHeaderView *header = horizontalHeader();
    header->setHighlightSections(false);
    header->setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    header->setSectionResizeMode(ThreatModel::File, QHeaderView::Stretch);
    header->setMinimumSectionSize(60);
    connect(header, &QHeaderView::sectionResized, this, &ThreatTable::noteResize);
    connect(model, &ThreatModel::rowsInserted, this, &ThreatTable::fit);
}

void ThreatTable::resizeEvent(QResizeEvent *event)
{
    QTableView::resizeEvent(event);
    fit();
}

// The path takes what the two others leave, but at least a quarter.
void ThreatTable::fit()
{
    if (fitting_ || sizedByUser_)
        return;
    const QScopedValueRollback<bool> fitting(fitting_, true);
    QHeaderView *header = horizontalHeader();
    const auto wanted = [&](int column) {
        return std::max(sizeHintForColumn(column), header->sectionSizeHint(column)) + 10;
    };
    const int room = viewport()->width() * 3 / 4;
    const int name = wanted(ThreatModel::Threat);
    const int action = wanted(ThreatModel::ActionTaken);
    const int tooMuch = std::max(0, name + action - room);
    header->resizeSection(ThreatModel::Threat, name - tooMuch / 2);
    header->resizeSection(ThreatModel::ActionTaken, action - (tooMuch - tooMuch / 2));
}

void ThreatTable::noteResize(int column)
{
    // The path's column follows whatever happens to the others.
    if (!fitting_ && column != ThreatModel::File)
        sizedByUser_ = true;
}

} // namespace talo::programs
