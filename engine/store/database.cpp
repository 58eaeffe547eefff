#include "store/database.h"

#include "store/folder.h"
#include "store/schema.h"
#include "store/statement.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sqlite3.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace talo::store
{

namespace
{

constexpr char kName[] = "taloantivirus.db";
constexpr char kGood[] = "taloantivirus.db.good";
constexpr char kNewCopy[] = "taloantivirus.db.copy";
constexpr char kDamaged[] = "taloantivirus.db.damaged";
constexpr std::array<const char *, 2> kCompanions{"-wal", "-shm"};
constexpr int kBusyMs = 2000;
constexpr std::int64_t kVersion = sizeof kMigrations / sizeof kMigrations[0];

std::string systemReason()
{
    return std::strerror(errno);
}

bool isDamage(int code)
{
    const int primary = code & 0xff;
    return primary == SQLITE_CORRUPT || primary == SQLITE_NOTADB;
}

bool flushFile(int folder, const char *name)
{
    const int fd = openat(folder, name, O_RDONLY | O_CLOEXEC | O_NOFOLLOW);
    if (fd < 0)
        return false;
    const bool flushed = fsync(fd) == 0;
    close(fd);
    return flushed;
}

bool copyFile(int folder, const char *from, const char *to)
{
    const int in = openat(folder, from, O_RDONLY | O_CLOEXEC | O_NOFOLLOW);
    if (in < 0)
        return false;
    unlinkat(folder, to, 0);
    const int out = openat(folder, to, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, S_IRUSR | S_IWUSR);
    bool copied = out >= 0;
    std::array<char, 65536> part{};
    while (copied) {
        const ssize_t count = read(in, part.data(), part.size());
        if (count == 0)
            break;
        copied = count > 0 && write(out, part.data(), static_cast<std::size_t>(count)) == count;
    }
    copied = copied && fsync(out) == 0;
    close(in);
    if (out >= 0)
        close(out);
    return copied;
}

} // namespace

std::unique_ptr<Database> Database::open(const std::string &folder, std::string &failure)
{
    const int fd = openPrivateFolder(folder, failure);
    if (fd < 0)
        return nullptr;
    // Also tells two services apart from one that was killed: the lock ends with its process.
    if (flock(fd, LOCK_EX | LOCK_NB) != 0) {
        failure = "another talod works in " + folder;
        close(fd);
        return nullptr;
    }
    std::unique_ptr<Database> database(new Database(folder, fd));
    failure = database->connect();
    if (database->damaged_) {
        database->disconnect();
        failure = database->recover();
        if (failure.empty())
            failure = database->connect();
    }
    if (database->damaged_) {
        database->disconnect();
        failure = database->beginAnew();
        if (failure.empty())
            failure = database->connect();
    }
    if (failure.empty())
        failure = database->migrate();
    return failure.empty() ? std::move(database) : nullptr;
}

Database::Database(std::string folder, int folderFd)
    : folder_(std::move(folder)), folderFd_(folderFd)
{
}

Database::~Database()
{
    disconnect();
    close(folderFd_);
}

void Database::disconnect()
{
    sqlite3_close(handle_);
    handle_ = nullptr;
}

std::string Database::connect()
{
    damaged_ = false;
    const std::string path = folder_ + "/" + kName;
    const int flags =
        SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_FULLMUTEX | SQLITE_OPEN_NOFOLLOW;
    if (sqlite3_open_v2(path.c_str(), &handle_, flags, nullptr) != SQLITE_OK)
        return "cannot open " + path + ": " + sqlite3_errmsg(handle_);
    sqlite3_extended_result_codes(handle_, 1);
    sqlite3_busy_timeout(handle_, kBusyMs);
    const bool ready = execute(*this, "PRAGMA journal_mode = WAL") &&
                       execute(*this, "PRAGMA synchronous = FULL") &&
                       execute(*this, "PRAGMA foreign_keys = ON");
    if (ready && sound())
        return std::string();
    damaged_ = ready || isDamage(sqlite3_errcode(handle_));
    return damaged_ ? path + " is damaged" : "cannot use " + path + ": " + sqlite3_errmsg(handle_);
}

bool Database::sound()
{
    Statement check(*this, "PRAGMA quick_check(1)");
    return check.step() == Statement::Step::Row && check.text(0) == "ok";
}

std::string Database::putAside()
{
    for (const char *companion : kCompanions) {
        const std::string name = std::string(kName) + companion;
        if (unlinkat(folderFd_, name.c_str(), 0) != 0 && errno != ENOENT)
            return "cannot remove " + folder_ + "/" + name + ": " + systemReason();
    }
    if (renameat(folderFd_, kName, folderFd_, kDamaged) != 0)
        return "cannot put the damaged database in " + folder_ + " aside: " + systemReason();
    return std::string();
}

std::string Database::recover()
{
    damaged_ = false;
    struct stat good {
    };
    const bool have = fstatat(folderFd_, kGood, &good, AT_SYMLINK_NOFOLLOW) == 0;
    if (have && !copyFile(folderFd_, kGood, kNewCopy))
        return "cannot copy " + folder_ + "/" + kGood + ": " + systemReason();
    std::string failure = putAside();
    if (!failure.empty())
        return failure;
    if (have && renameat(folderFd_, kNewCopy, folderFd_, kName) != 0)
        return "cannot restore " + folder_ + "/" + kName + ": " + systemReason();
    fsync(folderFd_);
    notice_ = std::string("the database was damaged and is kept as ") + folder_ + "/" + kDamaged +
              (have ? "; its last good copy was restored" : "; a new one was begun");
    return std::string();
}

// The first damaged one is kept.
std::string Database::beginAnew()
{
    damaged_ = false;
    for (const std::string &name : {std::string(kName), kName + std::string(kCompanions[0]),
                                    kName + std::string(kCompanions[1]), std::string(kGood)})
        if (unlinkat(folderFd_, name.c_str(), 0) != 0 && errno != ENOENT)
            return "cannot remove " + folder_ + "/" + name + ": " + systemReason();
    notice_ = "the database was damaged and is kept as " + folder_ + "/" + kDamaged +
              "; its last good copy was damaged too, and a new one was begun";
    return std::string();
}

std::string Database::migrate()
{
    std::int64_t version = 0;
    {
        Statement question(*this, "PRAGMA user_version");
        if (question.step() != Statement::Step::Row)
            return "cannot read the version of " + folder_ + "/" + kName + ": " + lastError(*this);
        version = question.integer(0);
    }
    if (version > kVersion)
        return folder_ + "/" + kName + " was written by a newer version of TALO Antivirus (its " +
               "form is " + std::to_string(version) + ", this version knows " +
               std::to_string(kVersion) + "): update TALO Antivirus";
    for (; version < kVersion; ++version) {
        const std::string mark = "PRAGMA user_version = " + std::to_string(version + 1);
        Transaction step(*this);
        if (!step.begun() || !execute(*this, kMigrations[version]) ||
            !execute(*this, mark.c_str()) || !step.commit())
            return "cannot bring " + folder_ + "/" + kName +
                   " to this version: " + lastError(*this);
    }
    return std::string();
}

std::string Database::keepCopy()
{
    const auto held = lock();
    unlinkat(folderFd_, kNewCopy, 0);
    Statement copy(*this, "VACUUM INTO ?");
    copy.bind(folder_ + "/" + kNewCopy);
    if (!copy.run())
        return "cannot copy the database: " + lastError(*this);
    if (!flushFile(folderFd_, kNewCopy) || renameat(folderFd_, kNewCopy, folderFd_, kGood) != 0 ||
        fsync(folderFd_) != 0)
        return "cannot keep the database's copy: " + systemReason();
    return std::string();
}

} // namespace talo::store
