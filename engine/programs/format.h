// Numbers as people read them. Their digits and commas are those of English whatever the locale,
// since they stand among the service's, which are; their units are in the user's language.
#pragma once

#include <QString>

namespace talo::programs
{

// "12,345"
QString formatCount(quint64 count);

// "1 file", "12,345 files". The texts have %1 where the number goes. English has no catalogue and
// so only two forms; the others come from the catalogue, where `many` has one for each that the
// language knows: mark it with QT_TRANSLATE_N_NOOP("Programs", …).
QString formatCount(quint64 count, const char *one, const char *many);

// "1 day", "2 files", "3 threats"
QString formatDays(quint64 days);
QString formatFiles(quint64 files);
QString formatThreats(quint64 threats);

// "1 byte", "999 bytes", "4.2 KB", "326 MB", "1.4 GB": three digits at most, in steps of 1000 as
// desktops show sizes.
QString formatBytes(quint64 bytes);

// "0 s", "3 min 20 s", "2 h 5 min", "3 days 4 h": the two largest units.
QString formatDuration(quint64 milliseconds);

} // namespace talo::programs
