// The bus object's methods for settings and exclusions.
#include "interface/names.h"
#include "service/busobject.h"
#include "service/settingsservice.h"

namespace talo::service
{

namespace
{

QString text(const char *name)
{
    return QString::fromLatin1(name);
}

Action actionToChange(store::Group group)
{
    switch (group) {
    case store::Group::Firewall:
        return Action::ChangeFirewallSetting;
    case store::Group::DeviceControl:
        return Action::ChangeDeviceControl;
    case store::Group::General:
    case store::Group::ScanActions:
    case store::Group::ExternalDrive:
    case store::Group::Update:
        break;
    }
    return Action::ChangeSettings;
}

} // namespace

std::optional<store::Group> BusObject::group(const QString &name)
{
    const auto group = store::groupNamed(name.toStdString());
    if (!group)
        sendErrorReply(text(interface::kErrorInvalid),
                       QStringLiteral("there is no such group of settings"));
    return group;
}

std::optional<store::Group> BusObject::groupToChange(const QString &name)
{
    const auto known = store::groupNamed(name.toStdString());
    const Action action = known ? actionToChange(*known) : Action::ChangeSettings;
    return permitted(action) ? group(name) : std::nullopt;
}

std::optional<store::ExclusionKind> BusObject::exclusionKind(int kind)
{
    for (const auto known : {store::ExclusionKind::Location, store::ExclusionKind::Extension})
        if (kind == static_cast<int>(known))
            return known;
    sendErrorReply(text(interface::kErrorInvalid),
                   QStringLiteral("there is no such kind of exclusion"));
    return std::nullopt;
}

void BusObject::fail(const std::string &reason)
{
    if (!reason.empty())
        sendErrorReply(text(interface::kErrorFailed), QString::fromStdString(reason));
}

void BusObject::answer(const store::SettingsStore::Outcome &outcome)
{
    if (outcome.result == store::SettingsStore::Result::OutOfRange)
        sendErrorReply(text(interface::kErrorInvalid), QString::fromStdString(outcome.reason));
    else
        fail(outcome.reason);
}

interface::SettingMap BusObject::Get(const QString &name)
{
    if (!permitted(Action::ReadSettings))
        return {};
    const auto wanted = group(name);
    if (!wanted)
        return {};
    store::SettingValues values;
    fail(rooms_.settings.read(values));
    interface::SettingMap map;
    for (const store::SettingRow &row : store::kTable)
        if (row.group == *wanted)
            map.insert(QString::fromLatin1(row.key.data(), static_cast<int>(row.key.size())),
                       values[row.setting]);
    return map;
}

void BusObject::Apply(const QString &name, const interface::SettingMap &values)
{
    const auto wanted = groupToChange(name);
    if (!wanted)
        return;
    std::vector<store::SettingsStore::Change> changes;
    for (auto value = values.begin(); value != values.end(); ++value) {
        const auto *const row = store::findSetting(*wanted, value.key().toStdString());
        if (row == nullptr) {
            sendErrorReply(text(interface::kErrorInvalid),
                           QStringLiteral("there is no such setting in this group"));
            return;
        }
        changes.emplace_back(row->setting, value.value());
    }
    if (changes.empty())
        sendErrorReply(text(interface::kErrorInvalid), QStringLiteral("there are no values"));
    else
        answer(rooms_.settings.apply(*wanted, changes));
}

void BusObject::ApplyDefault(const QString &name)
{
    if (const auto wanted = groupToChange(name))
        answer(rooms_.settings.applyDefault(*wanted));
}

void BusObject::NotifyChange()
{
    // Whoever may read them may have the stored settings apply: the change itself was permitted.
    if (permitted(Action::ReadSettings))
        fail(rooms_.settings.takeUp());
}

QByteArray BusObject::Export()
{
    if (!permitted(Action::ReadSettings))
        return {};
    std::string exported;
    fail(rooms_.settings.exportAll(exported));
    return QByteArray::fromStdString(exported);
}

int BusObject::Import(const QByteArray &content)
{
    if (!permitted(Action::ImportSettings))
        return 0;
    constexpr int kNotValid = 2;
    const store::ImportOutcome outcome = rooms_.settings.importAll(content.toStdString());
    if (outcome.result == store::ImportOutcome::Result::NotValid)
        return kNotValid;
    fail(outcome.reason);
    return 0;
}

int BusObject::Add(const QByteArray &entry, int kind)
{
    if (!permitted(Action::ChangeExclusions))
        return 0;
    const auto known = exclusionKind(kind);
    return known ? static_cast<int>(rooms_.settings.exclude({*known, entry.toStdString()})) : 0;
}

int BusObject::Remove(const QByteArray &entry, int kind)
{
    if (!permitted(Action::ChangeExclusions))
        return 0;
    const auto known = exclusionKind(kind);
    return known ? static_cast<int>(rooms_.settings.include({*known, entry.toStdString()})) : 0;
}

QStringList BusObject::List(QStringList &extensions)
{
    if (!permitted(Action::ReadSettings))
        return {};
    std::vector<store::Exclusion> entries;
    fail(rooms_.settings.excluded(entries));
    QStringList locations;
    for (const store::Exclusion &entry : entries)
        (entry.kind == store::ExclusionKind::Location ? locations : extensions)
            .append(QString::fromStdString(entry.text));
    return locations;
}

} // namespace talo::service
