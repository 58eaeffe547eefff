// Numbers as people read them, in English whatever the locale.
#pragma once

#include <QString>

namespace talo::programs
{

// "12,345"
QString formatCount(quint64 count);

// "1 file", "12,345 files"
QString formatCount(quint64 count, const char *one, const char *many);

// "1 byte", "999 bytes", "4.2 KB", "326 MB", "1.4 GB": three digits at most, in steps of 1000 as
// desktops show sizes.
QString formatBytes(quint64 bytes);

// "0 s", "3 min 20 s", "2 h 5 min", "3 days 4 h": the two largest units.
QString formatDuration(quint64 milliseconds);

} // namespace talo::programs
