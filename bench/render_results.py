#!/usr/bin/env python3
"""Renders the outputs that scripts/run-bench.sh collected into one markdown table (RESULTS.md).

usage: render_results.py OUT [SITE.json ...]
OUT holds each Google Benchmark program's --benchmark_out JSON (NAME_bench.json), serve_bench's
table (serve_bench.txt) and site_bench's --json figures (site_bench.json); SITE.json files of
bigger site_bench runs made apart are merged in, a later file's figure winning.
"""
import datetime
import glob
import json
import os
import platform
import re
import subprocess
import sys

ENGINES = ("SQLite", "PostgreSQL")


def command(*args):
    try:
        return subprocess.run(args, capture_output=True, text=True, timeout=20).stdout.strip()
    except (OSError, subprocess.SubprocessError):
        return ""


def machine():
    cpu = "unknown"
    with open("/proc/cpuinfo") as info:
        for line in info:
            if line.startswith("model name"):
                cpu = line.split(":", 1)[1].strip()
                break
    memory = 0
    with open("/proc/meminfo") as info:
        for line in info:
            if line.startswith("MemTotal:"):
                memory = int(line.split()[1]) / 1024 / 1024
    system = platform.platform()
    if os.path.exists("/etc/os-release"):
        with open("/etc/os-release") as release:
            for line in release:
                if line.startswith("PRETTY_NAME="):
                    system = line.split("=", 1)[1].strip().strip('"') + ", Linux " + platform.release()
    postgres = command("psql", "-Atc", "show server_version") or command("psql", "--version")
    sqlite = command("sqlite3", "--version").split(" ")[0:1]
    if not sqlite or not sqlite[0]:
        import sqlite3
        sqlite = [sqlite3.sqlite_version]
    return [
        ("CPU", cpu),
        ("Cores", str(os.cpu_count())),
        ("Memory", "%.0f GB" % memory),
        ("OS", system),
        ("PostgreSQL", postgres or "not reached"),
        ("SQLite", sqlite[0]),
        ("Date", datetime.date.today().isoformat()),
    ]


def number(value):
    if value >= 100:
        return "{:,.0f}".format(value)
    if value >= 10:
        return "%.1f" % value
    return "%.2f" % value


class Table:
    """Rows of (group, figure) with a cell per engine (None: a figure without a database)."""

    def __init__(self):
        self.rows = {}

    def put(self, group, figure, engine, text, target=""):
        row = self.rows.setdefault((group, figure), {"target": target})
        row[engine] = text
        if target:
            row["target"] = target

    def render(self):
        lines = ["| Group | Figure | SQLite | PostgreSQL | Target |", "|---|---|---|---|---|"]
        for (group, figure), row in self.rows.items():
            if None in row:
                cells = [row[None], "(no database)"]
            else:
                cells = [row.get(engine, "") for engine in ENGINES]
            lines.append("| %s | %s | %s | %s | %s |" % (group, figure, cells[0], cells[1], row["target"]))
        return "\n".join(lines)


def google_benchmark(table, path):
    group = os.path.basename(path)[: -len(".json")]
    with open(path) as f:
        results = json.load(f)
    for entry in results.get("benchmarks", []):
        if entry.get("run_type") == "aggregate" or entry.get("error_occurred"):
            continue
        parts = entry["name"].split("/")
        engine = next((p for p in parts if p in ENGINES), None)
        figure = "/".join(p for p in parts if p != engine and not p.startswith("min_time") and p != "real_time")
        text = "%s %s" % (number(entry["real_time"]), entry["time_unit"])
        if "inventories/s" in entry:
            text = "%s inv/s (%s)" % (number(entry["inventories/s"]), text)
        table.put(group, figure, engine, text)


def serve_bench(table, path):
    with open(path) as f:
        for line in f:
            words = line.split()
            if len(words) < 11 or words[0] not in ENGINES:
                continue
            engine, count = words[0], words[1]
            table.put("serve_bench", "norvik import of %s inventories (files)" % count, engine, words[2] + " inv/s")
            table.put("serve_bench", "norvik serve, 8 agents, %s inventories" % count, engine, words[3] + " inv/s")
            table.put("serve_bench", "norvik serve, latency p50 / p99", engine, "%s / %s ms" % (words[5], words[6]))
            table.put("serve_bench", "norvik serve, peak memory", engine, words[7] + " MB")


def site_figures(paths):
    """The site figures by (engine, computers, figure), later files winning, and their sources."""
    figures, sources = {}, {}
    for path in paths:
        if not os.path.exists(path):
            continue
        with open(path) as f:
            previous = ""
            for figure in json.load(f):
                # An indented figure (a ratio) belongs to the one before it.
                if figure["figure"].startswith(" "):
                    figure["figure"] = previous + ": " + figure["figure"].strip()
                else:
                    previous = figure["figure"]
                key = (figure["engine"], figure["computers"], figure["figure"])
                figures.pop(key, None)
                figures[key] = figure
                sources[(figure["engine"], figure["computers"])] = path
    return figures, sources


def site_bench(table, figures):
    for (engine, computers, name), figure in sorted(figures.items(), key=lambda item: item[0][1]):
        text = number(figure["value"]) + " " + figure["unit"]
        if figure["value"] < 0:
            text = "failed"
        if figure["miss"]:
            text = "**%s MISS**" % text
        target = figure["target"]
        if target and figure["unit"]:
            target = target + " " + figure["unit"]
        table.put("site growth, {:,} computers".format(computers), name, engine, text, target)


def main():
    if len(sys.argv) < 2:
        sys.exit(__doc__)
    out, extra = sys.argv[1], sys.argv[2:]
    table = Table()
    for path in sorted(glob.glob(os.path.join(out, "*_bench.json"))):
        if not path.endswith("site_bench.json"):
            google_benchmark(table, path)
    if os.path.exists(os.path.join(out, "serve_bench.txt")):
        serve_bench(table, os.path.join(out, "serve_bench.txt"))
    figures, sources = site_figures([os.path.join(out, "site_bench.json")] + extra)
    site_bench(table, figures)

    print("# Benchmark results\n")
    print("Written by `make bench` (scripts/run-bench.sh, bench/render_results.py); do not edit by hand.\n")
    print("| Machine | |\n|---|---|")
    for name, value in machine():
        print("| %s | %s |" % (name, value))
    print()
    print("Wall-clock figures; Google Benchmark rows are its mean over the run, site growth rows the "
          "median of a few runs. The machine is shared (other builds and measurements run at the "
          "same time), so single figures are noisy: compare medians and orders of magnitude. "
          "Floor rows are the bare driver's cost (a prepared insert per row; on PostgreSQL also an "
          "inventory's rows alone in two array inserts), what no writer can beat. Targets hold for the largest site; **MISS** marks a figure past its target.\n")
    note = os.environ.get("NORVIK_BENCH_NOTE", "")
    if note:
        print(note + "\n")
    if sources:
        print("Site growth figures come from:\n")
        by_source = {}
        for (engine, computers), path in sorted(sources.items(), key=lambda item: (item[0][0], item[0][1])):
            by_source.setdefault(os.path.basename(path), []).append("%s {:,}".format(computers) % engine)
        for path, sizes in by_source.items():
            print("- `%s`: %s" % (path, ", ".join(sizes)))
        print()
    print(table.render())
    # The programs that print a report of their own are shown as they printed it.
    for name in ("two_servers_bench", "history_purge_bench"):
        path = os.path.join(out, name + ".txt")
        if os.path.exists(path):
            with open(path) as text:
                print("\n## %s\n\n```\n%s```" % (name, text.read()))


if __name__ == "__main__":
    main()
