// The bus object's methods for settings and exclusions.
#include "interface/names.h"
#include "service/busobject.h"
#include "service/scheduleservice.h"
#include "service/settingsservice.h"

namespace talo::service
{

namespace
{

QString text(const char *name)
{
    return QString::fromLatin1(name);
}

QString noSuchGroup()
{
    return QStringLiteral("there is no such group of settings");
}

// What is no group is refused as one that anybody could want to change.
Action actionToChange(std::optional<store::Group> group)
{
    switch (group.value_or(store::Group::General)) {
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

void answer(const Call &call, const store::SettingsStore::Outcome &outcome)
{
    const QString reason = QString::fromStdString(outcome.reason);
    if (outcome.result == store::SettingsStore::Result::OutOfRange)
        call.refuse(interface::kErrorInvalid, reason);
    else if (!reason.isEmpty())
        call.refuse(interface::kErrorFailed, reason);
    else
        call.answer();
}

void apply(const Call &call, SettingsService &settings, store::Group group,
           const interface::SettingMap &values)
{
    std::vector<store::SettingsStore::Change> changes;
    for (auto value = values.begin(); value != values.end(); ++value) {
        const auto *const row = store::findSetting(group, value.key().toStdString());
        if (row == nullptr) {
            call.refuse(interface::kErrorInvalid,
                        QStringLiteral("there is no such setting in this group"));
            return;
        }
        changes.emplace_back(row->setting, value.value());
    }
    if (changes.empty())
        call.refuse(interface::kErrorInvalid, QStringLiteral("there are no values"));
    else
        answer(call, settings.apply(group, changes));
}

void import(const Call &call, SettingsService &settings, std::int64_t now,
            const QByteArray &content)
{
    constexpr int kNotValid = 2;
    const store::ImportOutcome outcome = settings.importAll(content.toStdString(), now);
    if (outcome.result == store::ImportOutcome::Result::NotValid)
        call.answer({kNotValid});
    else if (!outcome.reason.empty())
        call.refuse(interface::kErrorFailed, QString::fromStdString(outcome.reason));
    else
        call.answer({0});
}

std::optional<store::ExclusionKind> exclusionKind(const Call &call, int kind)
{
    for (const auto known : {store::ExclusionKind::Location, store::ExclusionKind::Extension})
        if (kind == static_cast<int>(known))
            return known;
    call.refuse(interface::kErrorInvalid, QStringLiteral("there is no such kind of exclusion"));
    return std::nullopt;
}

} // namespace

std::optional<store::Group> BusObject::group(const QString &name)
{
    const auto group = store::groupNamed(name.toStdString());
    if (!group)
        sendErrorReply(text(interface::kErrorInvalid), noSuchGroup());
    return group;
}

void BusObject::fail(const std::string &reason)
{
    if (!reason.empty())
        sendErrorReply(text(interface::kErrorFailed), QString::fromStdString(reason));
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
    const auto wanted = store::groupNamed(name.toStdString());
    whenPermitted(actionToChange(wanted), [this, wanted, values](const Call &call) {
        if (wanted)
            apply(call, rooms_.settings, *wanted, values);
        else
            call.refuse(interface::kErrorInvalid, noSuchGroup());
    });
}

void BusObject::ApplyDefault(const QString &name)
{
    const auto wanted = store::groupNamed(name.toStdString());
    whenPermitted(actionToChange(wanted), [this, wanted](const Call &call) {
        if (wanted)
            answer(call, rooms_.settings.applyDefault(*wanted));
        else
            call.refuse(interface::kErrorInvalid, noSuchGroup());
    });
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
    whenPermitted(Action::ImportSettings, [this, content](const Call &call) {
        import(call, rooms_.settings, rooms_.schedules.now(), content);
    });
    return 0;
}

int BusObject::Add(const QByteArray &entry, int kind)
{
    whenPermitted(Action::ChangeExclusions, [this, entry, kind](const Call &call) {
        if (const auto known = exclusionKind(call, kind))
            call.answer({static_cast<int>(rooms_.settings.exclude({*known, entry.toStdString()}))});
    });
    return 0;
}

int BusObject::Remove(const QByteArray &entry, int kind)
{
    whenPermitted(Action::ChangeExclusions, [this, entry, kind](const Call &call) {
        if (const auto known = exclusionKind(call, kind))
            call.answer({static_cast<int>(rooms_.settings.include({*known, entry.toStdString()}))});
    });
    return 0;
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
