// What a person does on the settings page, and what there is to be seen.
#pragma once

#include "product/desktop.h"

#include <QStringList>
#include <QToolButton>

namespace talo::test
{

inline const char kApplied[] = "Current settings applied successfully";

// "btnScanArchive on" for every switch and "Update Frequency: 2 Hour" for every box that shows.
QStringList shown(const Desktop &desktop);

// The rows of the list of exclusions: "Location /tmp".
QStringList listed(const Desktop &desktop);

// Whether a button of this name shows. To be asked on the GUI thread.
bool shows(const char *name);

// Goes to a tab. The one that is shown already would uncheck itself.
void show(const Desktop &desktop, const QString &tab);
void openSettings(const Desktop &desktop, const QStringList &tabs = {});

// Press APPLY and DEFAULT, and expect what the message says.
void apply(const Desktop &desktop);
void takeDefaults(const Desktop &desktop);

// Until no dialog is open.
void awaitClosed(const Desktop &desktop);

// Opens the dialog of the settings file, and presses IMPORT or EXPORT there.
void openSettingsFile(const Desktop &desktop, const char *button);

void exclude(const Desktop &desktop, const QString &location);
void excludeExtension(const Desktop &desktop, const QString &extension);
void remove(const Desktop &desktop, const QString &row);

} // namespace talo::test
