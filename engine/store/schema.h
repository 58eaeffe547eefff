// The database's schema as the steps that lead to it. A step that was released is never changed:
// databases in the field have taken it.
#pragma once

namespace talo::store
{

inline constexpr const char *kMigrations[] = {
    // 1: reports, and facts that outlive them
    R"sql(
    CREATE TABLE report (
        id INTEGER PRIMARY KEY,
        key TEXT UNIQUE,               -- none while the scan runs
        type TEXT NOT NULL,
        scanned TEXT NOT NULL,
        signatures TEXT NOT NULL,
        started INTEGER NOT NULL,
        touched INTEGER NOT NULL,      -- when something was last taken down; the end, in the end
        outcome INTEGER NOT NULL,
        failure TEXT NOT NULL DEFAULT '',
        clean_files INTEGER, clean_bytes INTEGER,
        threat_files INTEGER, threat_bytes INTEGER,
        skipped_files INTEGER, skipped_bytes INTEGER,
        error_files INTEGER, error_bytes INTEGER,
        skips INTEGER NOT NULL DEFAULT 0,
        errors INTEGER NOT NULL DEFAULT 0
    );
    CREATE INDEX report_by_end ON report (touched);
    CREATE TABLE threat (
        report INTEGER NOT NULL REFERENCES report (id) ON DELETE CASCADE,
        number INTEGER NOT NULL,
        path TEXT NOT NULL,
        name TEXT NOT NULL,
        class TEXT NOT NULL,
        outcome TEXT NOT NULL,
        PRIMARY KEY (report, number)
    ) WITHOUT ROWID;
    CREATE TABLE passed_over (
        report INTEGER NOT NULL REFERENCES report (id) ON DELETE CASCADE,
        kind INTEGER NOT NULL,
        number INTEGER NOT NULL,
        path TEXT NOT NULL,
        reason TEXT NOT NULL,
        PRIMARY KEY (report, kind, number)
    ) WITHOUT ROWID;
    CREATE TABLE fact (name TEXT PRIMARY KEY, value INTEGER NOT NULL) WITHOUT ROWID;
    )sql",
    // 2: settings, of which one that was never changed has no row, and exclusions
    R"sql(
    CREATE TABLE setting (name TEXT PRIMARY KEY, value INTEGER NOT NULL) WITHOUT ROWID;
    CREATE TABLE exclusion (
        id INTEGER PRIMARY KEY AUTOINCREMENT, -- the order of entry
        kind INTEGER NOT NULL,
        text TEXT NOT NULL,
        pattern TEXT NOT NULL, -- what it leaves out, in one form only
        UNIQUE (kind, pattern)
    );
    )sql",
    // 3: the settings password. Of wrong ones only the number is kept, and no time, which a clock
    // that was set could make a lie.
    R"sql(
    CREATE TABLE password (
        only INTEGER PRIMARY KEY CHECK (only = 1), -- there is always this one row
        hash TEXT,
        protected INTEGER NOT NULL
    );
    INSERT INTO password (only, protected) VALUES (1, 0);
    CREATE TABLE wrong_password (user INTEGER PRIMARY KEY, count INTEGER NOT NULL) WITHOUT ROWID;
    )sql",
    // 4: scheduled scans
    R"sql(
    CREATE TABLE schedule (
        id INTEGER PRIMARY KEY AUTOINCREMENT, -- the order of entry
        name TEXT NOT NULL,
        key TEXT NOT NULL UNIQUE, -- the name without regard to case
        type INTEGER NOT NULL,
        frequency INTEGER NOT NULL,
        weekday INTEGER NOT NULL,
        hour INTEGER NOT NULL,
        minute INTEGER NOT NULL,
        settled INTEGER NOT NULL, -- until when its times are done with
        UNIQUE (type, frequency, weekday, hour, minute)
    );
    )sql",
    // 5: what is remembered of updates, a row for each kind of which there was one
    R"sql(
    CREATE TABLE update_run (
        kind INTEGER PRIMARY KEY,
        attempted INTEGER NOT NULL,
        succeeded INTEGER NOT NULL,
        status INTEGER NOT NULL,
        detail TEXT NOT NULL,
        failures INTEGER NOT NULL,
        not_before INTEGER NOT NULL
    );
    )sql",
};

} // namespace talo::store
