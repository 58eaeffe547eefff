#!/usr/bin/env python3
"""Fills a stopped service's database with reports, schedules and exclusions.
usage: fillstores.py DATABASE REPORTS SCHEDULES EXCLUSIONS"""
import sqlite3
import sys
import time

TYPES = ("Full Scan", "Quick Scan", "Custom Scan")
FULL, QUICK, WEEKLY, LOCATION = 1, 3, 502, 401


def reports(count):
    for number in range(count):
        end = 1_700_000_000 + number * 60
        key = time.strftime("%Y-%m-%d %H:%M:%S", time.localtime(end))
        yield (key, TYPES[number % 3], "/", "built-in", end - 30, end, 1)


def schedules(count):
    for number in range(count):
        name = "job%05d" % number
        yield (name, name, (FULL, QUICK)[number % 2], WEEKLY, number // 2 % 7,
               number // 14 % 24, number // 336, 4_000_000_000)


def exclusions(count):
    for number in range(count):
        path = "/home/somebody/project/part%d" % number
        yield (LOCATION, path, path)


def main(database, report_count, schedule_count, exclusion_count):
    with sqlite3.connect(database) as store:
        store.executemany(
            "INSERT INTO report (key, type, scanned, signatures, started, touched, outcome)"
            " VALUES (?, ?, ?, ?, ?, ?, ?)", reports(report_count))
        store.executemany(
            "INSERT INTO schedule (name, key, type, frequency, weekday, hour, minute, settled)"
            " VALUES (?, ?, ?, ?, ?, ?, ?, ?)", schedules(schedule_count))
        store.executemany(
            "INSERT INTO exclusion (kind, text, pattern) VALUES (?, ?, ?)",
            exclusions(exclusion_count))


if __name__ == "__main__":
    main(sys.argv[1], *map(int, sys.argv[2:]))
