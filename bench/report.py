#!/usr/bin/env python3
"""Prints the benchmarks' results as one table: what the library takes, what the limit or a peer takes, the goal.

    bench/report.py results.json     the file that the benchmark program writes with --benchmark_out

All numbers are medians over the repetitions; a ratio is the median of the ratios within the repetitions, in each of
which all parties do the job one after the other. The spread is half the distance between the quartiles of that ratio.
"""

import json
import statistics
import sys
from dataclasses import dataclass


@dataclass
class Row:
    job: str
    benchmark: str
    ours: str
    peer: str
    what: str
    ratio: str  # "time": ours / peer; "speed": peer / ours, how fast the library is beside the peer; "slower": peer / ours
    goal: float | None


def time_at_most(job, benchmark, peer, what, goal, ours="ours"):
    return Row(job, benchmark, ours, peer, what, "time", goal)


def speed_at_least(job, benchmark, peer, what, goal, ours="ours"):
    return Row(job, benchmark, ours, peer, what, "speed", goal)


ROWS = [
    time_at_most("load rows, JSON empty", "load_records/columns", "sqlite3", "C loop into a struct", 1.25),
    speed_at_least("load rows, JSON empty", "load_records/columns", "SOCI", "SOCI into()", 1.25),
    time_at_most("load rows, 5 JSON columns", "load_records/json", "RapidJSON", "C loop, RapidJSON trees", 1.1),
    time_at_most("load rows, 5 JSON columns", "load_records/json", "RapidJSON_one_pool", "the same, one pool for all rows", None),
    time_at_most("load rows, 5 JSON, 1 kept", "load_records/json", "RapidJSON", "C loop, RapidJSON trees", 1.1, "ours_oracle"),
    speed_at_least("record to JSON, columns", "record_to_json/columns", "RapidJSON", "RapidJSON Writer", 0.6),
    speed_at_least("record to JSON, columns", "record_to_json/columns", "nlohmann", "nlohmann dump", 2.0),
    speed_at_least("record to JSON, 5 JSON", "record_to_json/json", "RapidJSON", "RapidJSON Writer", 0.6),
    speed_at_least("record to JSON, 5 JSON", "record_to_json/json", "nlohmann", "nlohmann dump", 2.0),
    speed_at_least("record to JSON, whole set", "record_to_json/whole", "RapidJSON", "RapidJSON Writer", 0.6),
    speed_at_least("record to JSON, whole set", "record_to_json/whole", "nlohmann", "nlohmann dump", 2.0),
    time_at_most("rows to JSON, SQLite", "rows_to_json/sqlite", "json_object", "json_object, one statement", 0.85),
    time_at_most("rows to JSON, PostgreSQL", "rows_to_json/postgresql", "json_agg", "json_agg, sub-query a row", 0.6),
    time_at_most("rows to JSON, PostgreSQL", "rows_to_json/postgresql", "json_agg_grouped", "json_agg, grouped and joined", 0.6),
    time_at_most("commit a set, SQLite", "commit/sqlite", "sqlite3", "inserts by hand", 1.3),
    time_at_most("commit a set, PostgreSQL", "commit/postgresql", "libpq", "inserts by hand, pipelined", 1.3),
    time_at_most("commit 100 sets, SQLite", "commit_100/sqlite", "sqlite3", "inserts by hand", None),
    time_at_most("commit 100 sets, PostgreSQL", "commit_100/postgresql", "libpq", "inserts by hand, pipelined", None),
]

for clients in (1, 8, 32):
    peers = f"{clients} client{'s' if clients > 1 else ''}"
    # One client waits for the disk with each of its sets, which no service can spare it.
    goal = 0.7 if clients > 1 else None
    ROWS += [
        speed_at_least(f"commits by {peers}, SQLite", f"service/sqlite/{clients}", "sqlite3_by_10", "C, 10 a transaction", goal),
        speed_at_least(f"commits by {peers}, SQLite", f"service/sqlite/{clients}", "sqlite3_by_1", "C, 1 a transaction", None),
        speed_at_least(f"commits by {peers}, PostgreSQL", f"service/postgresql/{clients}", "libpq", "8 connections by hand", goal),
    ]
ROWS += [
    time_at_most(f"first page of 1,000,000, {name}", f"service/first_page/{engine}", "small", "the same of 10,000 sets", 1.5)
    for name, engine in (("SQLite", "sqlite"), ("PostgreSQL", "postgresql"))
]

# What a benchmark's counter has to stay below, in seconds.
TIMES = [
    ("first page of 1,000,000, SQLite", "service/first_page/sqlite", "ours", 0.05),
    ("first page of 1,000,000, PostgreSQL", "service/first_page/postgresql", "ours", 0.05),
]

MEMORY = [
    ("read 1,000,000 rows, SQLite", "memory/sqlite", "ours", "growth of the process", 64),
    ("read 1,000,000 rows, PostgreSQL", "memory/postgresql", "ours", "growth of the process", 64),
    ("service, idle", "service/memory", "idle", "resident", None),
    ("service, 256 WebSockets", "service/memory", "clients", "resident", None),
]


def repetitions(results):
    """Benchmark name -> the counters of each of its repetitions."""
    found = {}
    for run in results["benchmarks"]:
        if run["run_type"] == "iteration":
            found.setdefault(run["run_name"].split("/iterations")[0], []).append(run)
    return found


def duration(seconds):
    for unit, scale in (("s", 1), ("ms", 1e-3), ("us", 1e-6)):
        if seconds >= scale:
            return f"{seconds / scale:.3g} {unit}"
    return f"{seconds / 1e-9:.3g} ns"


def verdict(met):
    return "yes" if met else "NO"


def cells_of(row, runs):
    ours = [run[row.ours] for run in runs]
    peer = [run[row.peer] for run in runs]
    ratios = [a / b if row.ratio == "time" else b / a for a, b in zip(ours, peer)]
    ratio = statistics.median(ratios)
    quartiles = statistics.quantiles(ratios, n=4) if len(ratios) > 1 else [ratio] * 3
    spread = f"{ratio:.2f} ±{(quartiles[2] - quartiles[0]) / 2:.2f}"
    cells = [row.job, duration(statistics.median(ours)), duration(statistics.median(peer)), row.what]
    if row.ratio == "time":
        goal = f"time <= {row.goal}x"
        met = row.goal is not None and ratio <= row.goal
    else:
        goal = f"speed >= {row.goal}x"
        met = row.goal is not None and ratio >= row.goal
    kind = "time" if row.ratio == "time" else "speed"
    return cells + [f"{kind} {spread}", goal if row.goal else "-", verdict(met) if row.goal else "-"]


def main():
    with open(sys.argv[1], encoding="utf-8") as file:
        results = json.load(file)
    runs = repetitions(results)
    table = [["job", "ours", "peer", "which peer", "ratio ours/peer", "goal", "met"]]
    for row in ROWS:
        if row.benchmark in runs:
            table.append(cells_of(row, runs[row.benchmark]))
    for job, benchmark, counter, limit in TIMES:
        if benchmark in runs:
            seconds = statistics.median(run[counter] for run in runs[benchmark])
            table.append([job, duration(seconds), "-", "-", "-", f"<= {duration(limit)}", verdict(seconds <= limit)])
    for job, benchmark, counter, what, limit in MEMORY:
        if benchmark in runs:
            most = max(run[counter] for run in runs[benchmark])
            goal = [f"<= {limit} MiB", verdict(most <= limit)] if limit else ["-", "-"]
            table.append([job, f"{most:.1f} MiB", "-", what, "-", *goal])
    widths = [max(len(row[i]) for row in table) for i in range(len(table[0]))]
    for i, row in enumerate(table):
        print("| " + " | ".join(cell.ljust(width) for cell, width in zip(row, widths)) + " |")
        if i == 0:
            print("|" + "|".join("-" * (width + 2) for width in widths) + "|")
    load = ", ".join(f"{value:.1f}" for value in results["context"]["load_avg"])
    print(f"\n{results['context']['num_cpus']} processors; load average over 1, 5 and 15 minutes before the start: {load}")


main()
