// The store of scan reports.
//
// A report's key is the local time at which its scan ended, "2026-11-21 14:05:09", moved on by a
// second where two scans ended in the same one; it names the report in every operation. Its type
// is "Full Scan", "Quick Scan", "Custom Scan", "Scheduled Full Scan", "Scheduled Quick Scan" or
// "External Drive Scan". All texts are UTF-8. Any thread; nothing is thrown.
#pragma once

#include "engine/export.h"

#include <string>

class TALO_ENGINE_EXPORT libReports
{
public:
    // Lists the reports whose scans ended between two days, both included, newest first.
    // `list` receives entries joined by ",", each the report's key, "#" and its type; `count`
    // their number. `from` and `to` are days as "2026:11:21" without leading zeros; an empty bound
    // is open. Returns 0; 204 no report in the range; 205 the start lies after the end; 206 a
    // bound that is no date; 201 the service is not reached. Other than on 0, `list` is emptied
    // and `count` is 0.
    static int GetReportList(std::string &list, std::string from, std::string to, int *count);

    // Reads one report: `date` "2026-11-21", `time` "14:05:09", `text` the whole report as plain
    // text with line feeds, `type` as above. Returns 0; 203 no such report; 201 the report cannot
    // be read or the service is not reached. Other than on 0 the outputs are emptied.
    static int GetReportData(std::string key, std::string &date, std::string &time,
                             std::string &text, std::string &type);

    // Removes one report for good. Returns 0; 203 no such report; 201 refused or not reached.
    static int DeleteReport(std::string key);

    // Writes `reportText` into the folder `folderPath` with the rights of the calling process, as
    // "TALO Report 2026-11-21 14-05-09.txt" after the key that the text itself names. An existing
    // file is never overwritten: the new one gets a number. Returns 0; 207 cannot be saved.
    static int SaveReport(std::string folderPath, std::string reportText);
};
