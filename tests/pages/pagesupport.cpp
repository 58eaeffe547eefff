#include "pages/pagesupport.h"

#include "support/scriptedengine.h"

#include <QLayout>
#include <QToolButton>

namespace talo::test
{
namespace
{

QLayoutItem *itemOf(QLayout *layout, const QWidget *widget)
{
    for (int i = 0; i < layout->count(); ++i) {
        QLayoutItem *item = layout->itemAt(i);
        if (item->widget() == widget) {
            return item;
        }
        if (QLayout *nested = item->layout()) {
            if (QLayoutItem *found = itemOf(nested, widget)) {
                return found;
            }
        }
    }
    return nullptr;
}

bool isTight(const QLayout *layout)
{
    if (layout->contentsMargins() != QMargins() || layout->spacing() != 0) {
        return false;
    }
    for (int i = 0; i < layout->count(); ++i) {
        const QLayout *nested = layout->itemAt(i)->layout();
        if (nested && !isTight(nested)) {
            return false;
        }
    }
    return true;
}

} // namespace

QStringList engineCalls()
{
    QStringList lines;
    for (const Call &call : ScriptedEngine::instance().calls()) {
        QStringList line{QString::fromStdString(call.function)};
        for (const std::string &argument : call.arguments) {
            line << QString::fromStdString(argument);
        }
        lines << line.join(' ');
    }
    return lines;
}

QStringList reloadCalls()
{
    return {"libSettings::GetGeneralSettings",       "libSettings::GetScanActionSettings",
            "libSettings::GetExternalDriveSettings", "libSettings::GetFirewallSetting",
            "libSettings::GetUpdateSettings",        "NotifySettingChange"};
}

QToolButton *visibleButton(const QWidget *parent, const QString &name)
{
    QToolButton *found = nullptr;
    for (auto *button : parent->findChildren<QToolButton *>(name)) {
        if (button->isVisible()) {
            if (found) {
                return nullptr;
            }
            found = button;
        }
    }
    return found;
}

QStringList visibleTexts(const QWidget *parent)
{
    QStringList texts;
    for (const auto *button : parent->findChildren<QToolButton *>()) {
        if (button->isVisible() && !button->text().isEmpty()) {
            texts << button->text();
        }
    }
    return texts;
}

Qt::Alignment alignmentOf(QWidget *widget)
{
    const QLayoutItem *item = itemOf(widget->parentWidget()->layout(), widget);
    return item ? item->alignment() : Qt::Alignment();
}

bool isTight(const QWidget *widget)
{
    return isTight(widget->layout());
}

} // namespace talo::test
