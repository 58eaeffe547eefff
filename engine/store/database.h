// The one database of the service: opening, checking, keeping a good copy, migrating.
#pragma once

#include <memory>
#include <mutex>
#include <string>

struct sqlite3;

namespace talo::store
{

// A kill or a power cut at any point leaves what was committed. The object may be used from any
// thread by who holds its lock().
class Database
{
public:
    // Opens "taloantivirus.db" in a private folder, and makes both if need be. A damaged database
    // is put aside and replaced by the last good copy. Null, with the reason in `failure`, when
    // the folder is not fit or in use by another service, or when the database is of a newer
    // version of the product.
    static std::unique_ptr<Database> open(const std::string &folder, std::string &failure);
    ~Database();
    Database(const Database &) = delete;
    Database &operator=(const Database &) = delete;

    // What happened at the start that the administrator should know; empty for nothing.
    const std::string &notice() const { return notice_; }

    // Replaces the good copy by the present state. Empty, or why that failed; the old one is kept
    // then.
    std::string keepCopy();

    // Held for as long as a statement or a transaction lives.
    std::unique_lock<std::recursive_mutex> lock() { return std::unique_lock(mutex_); }
    sqlite3 *handle() const { return handle_; }

private:
    explicit Database(std::string folder, int folderFd);
    std::string connect();   // empty, or why not
    bool sound();            // the quick check passes
    std::string putAside();  // makes room for the good copy
    std::string recover();   // puts the good copy in the place of a damaged database
    std::string beginAnew(); // where that is damaged as well
    std::string migrate();
    void disconnect();

    std::string folder_;
    int folderFd_;
    sqlite3 *handle_ = nullptr;
    bool damaged_ = false;
    std::string notice_;
    std::recursive_mutex mutex_;
};

} // namespace talo::store
