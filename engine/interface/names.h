// Names that the service and its clients must agree on.
#pragma once

namespace talo::interface
{

inline constexpr char kService[] = "org.taloantivirus.Engine1";
inline constexpr char kObject[] = "/org/taloantivirus/Engine1";

inline constexpr char kStatus[] = "org.taloantivirus.Engine1.Status";
inline constexpr char kScan[] = "org.taloantivirus.Engine1.Scan";
inline constexpr char kReports[] = "org.taloantivirus.Engine1.Reports";
inline constexpr char kPassword[] = "org.taloantivirus.Engine1.Password";
inline constexpr char kQuarantine[] = "org.taloantivirus.Engine1.Quarantine";
inline constexpr char kSettings[] = "org.taloantivirus.Engine1.Settings";
inline constexpr char kFirewall[] = "org.taloantivirus.Engine1.Firewall";
inline constexpr char kNotices[] = "org.taloantivirus.Engine1.Notices";
inline constexpr char kProductUpdate[] = "org.taloantivirus.Engine1.ProductUpdate";
inline constexpr char kExclusions[] = "org.taloantivirus.Engine1.Exclusions";
inline constexpr char kUpdates[] = "org.taloantivirus.Engine1.Updates";
inline constexpr char kSchedules[] = "org.taloantivirus.Engine1.Schedules";

// Errors that methods answer with; anything else comes from the bus itself.
inline constexpr char kErrorInvalid[] = "org.taloantivirus.Error.InvalidArgument";
inline constexpr char kErrorRunning[] = "org.taloantivirus.Error.AlreadyRunning";
inline constexpr char kErrorLimit[] = "org.taloantivirus.Error.LimitReached";
inline constexpr char kErrorNotFound[] = "org.taloantivirus.Error.NotFound";
inline constexpr char kErrorNotPermitted[] = "org.taloantivirus.Error.NotPermitted";
inline constexpr char kErrorPasswordNeeded[] = "org.taloantivirus.Error.PasswordNeeded";
inline constexpr char kErrorNoSource[] = "org.taloantivirus.Error.NoSource";
inline constexpr char kErrorFailed[] = "org.taloantivirus.Error.Failed";

// Kinds of scan, as the scan programs' second argument has them.
enum ScanKind : unsigned { FullScan = 1, CustomScan = 2, QuickScan = 3 };

// Where a job stands. From Finished on it has ended and its report is stored.
enum JobState : unsigned {
    Preparing = 0, // the signatures are being loaded
    Scanning = 1,
    Paused = 2,
    Stopping = 3,
    Finished = 4,
    Stopped = 5,
    Failed = 6,
    Interrupted = 7, // by what neither the user nor the scan could help
};

// Where an update of the program stands. From ProgramAvailable on nothing runs any more.
enum ProgramUpdateState : unsigned {
    ProgramIdle = 0, // none has run yet
    ProgramChecking = 1,
    ProgramDownloading = 2,
    ProgramVerifying = 3,
    ProgramInstalling = 4,
    ProgramAvailable = 5, // a newer release was only asked for, and there is one
    ProgramLatest = 6,
    ProgramInstalled = 7,
    ProgramStopped = 8,
    ProgramUnreachable = 9,
    ProgramFailed = 10,
    ProgramNoSource = 11,
};

// Where an update stands; the numbers are those of the panel's operations.
enum UpdateStatus : unsigned {
    UpdatePreparing = 0,
    UpdateDownloading = 1,
    UpdateDone = 2,
    UpdateStopped = 3,
    UpdateFailed = 4,
    UpdateChecking = 5,
    UpdateInstalling = 6,
    UpdateLatest = 7,
    UpdateUnreachable = 8,
};

constexpr bool isFinalUpdate(unsigned status)
{
    return status == UpdateDone || status == UpdateStopped || status == UpdateFailed ||
           status == UpdateLatest || status == UpdateUnreachable;
}

} // namespace talo::interface
