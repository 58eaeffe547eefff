// The store of scheduled scans.
//
// A name has 4 to 8 characters, letters and digits of any script, and is unique without regard to
// case. Saving: type 1 full scan, 3 quick scan; frequency 501 daily, 502 weekly; weekday 0 Sunday
// to 6 Saturday, 8 for a daily scan; hour 0 to 23 and minute 0 to 59 in local time. Names are
// UTF-8.
//
// Refusals, checked in this order: 605 a character that is neither letter nor digit; 606 length;
// 602 the name exists; 603 another schedule has the same type, frequency, weekday and time;
// 607 a value out of range. Also 604 no such schedule; 608 refused or the service is not reached.
// Any thread.
#pragma once

#include "engine/export.h"

#include <string>

class TALO_ENGINE_EXPORT libScheduleScan
{
public:
    // `list` receives records joined by ",", each name, "#", frequency text ("Daily at 14:05",
    // "Every Wednesday at 14:05"), "#", type text ("Full Scan", "Quick Scan"); `count` their
    // number. Returns 0, or 608 with an empty list.
    static int GetScheduleList(std::string &list, int *count);

    // Returns 0, 604 or 608.
    static int RemoveScheduleScan(char const *name);

    // Reads one schedule for the editor, which decodes `type` in its own way: 1 quick scan,
    // 2 full scan. `weekday` is 8 for a daily scan. Returns 0, 604 or 608; other than on 0 the
    // outputs are left alone.
    static int GetScheduleScanDetails(char const *name, int *type, int *weekday, int *hour,
                                      int *minute);

    static int AddScheduleScan(char const *name, int type, int frequency, int weekday, int hour,
                               int minute);
    static int EditScheduleScan(char const *oldName, char const *newName, int type, int frequency,
                                int weekday, int hour, int minute);
};
