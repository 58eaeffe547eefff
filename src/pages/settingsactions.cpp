#include "pages/settingsactions.h"

#include <QComboBox>
#include <QCoreApplication>

#include <algorithm>

namespace talo
{
namespace
{

// The engine's codes, kept as the entries' data.
enum Action { Disinfect = 301, DisinfectAndDelete = 302, Delete = 303, ReportOnly = 304 };

} // namespace

QComboBox *createActionBox(QWidget *parent, ActionOrder order)
{
    auto *box = new QComboBox(parent);
    box->setFixedSize(200, 30);
    box->setCursor(Qt::PointingHandCursor);
    if (order == ActionOrder::First) {
        box->addItem(QCoreApplication::translate("SettingsActions", "Disinfect"), Disinfect);
    }
    box->addItem(QCoreApplication::translate("SettingsActions", "Disinfect & Delete"),
                 DisinfectAndDelete);
    box->addItem(QCoreApplication::translate("SettingsActions", "Delete"), Delete);
    box->addItem(QCoreApplication::translate("SettingsActions", "Report Only"), ReportOnly);
    return box;
}

void showAction(QComboBox *box, int action)
{
    box->setCurrentIndex(std::max(0, box->findData(action)));
}

int chosenAction(const QComboBox *box)
{
    return box->itemData(std::max(0, box->currentIndex())).toInt();
}

} // namespace talo
