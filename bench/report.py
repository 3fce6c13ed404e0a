#!/usr/bin/python3
"""Writes docs/performance.md and its plots of what bench/run measured.

report.py RESULTS COUNTS DOCS: the folder with Google Benchmark's JSON and calls.txt, the file that bench/counts
records, the folder to write to.
"""

import json
import pathlib
import sys

import matplotlib

matplotlib.use("svg")
import matplotlib.pyplot as plot  # noqa: E402

# What one operation cannot do without, by its steps as callers know them.
FLOORS = [
    ("event: set, reset, wait on a set one", "one lock and unlock of the guard; set broadcasts besides", "0"),
    ("event: create and close", "one allocation, two initialisations", "0"),
    ("mutex: wait and release", "the guard twice, the owner lock once", "0"),
    ("ping-pong of two threads, a turn", "two wake-ups and two sleeps, which the kernel makes", "2 futex each way"),
    ("interlocked operations", "one process-wide mutex", "0"),
    ("lock: a hold", "the spin lock twice: four exchanges, each through the process-wide mutex", "0"),
    ("lock: a hand-over to a sleeping thread", "a wake-up; its event's guard three times", "2 futex"),
    ("lists: push and pop", "two holds of the lock", "0"),
    ("text: to UTF-8, to wide", "the length first, since nothing may be written when the room is too small; then one pass",
     "0"),
    ("GUID", "the time, six random numbers under the C library's lock", "0"),
    ("readable stamp", "the time, localtime_r, one lock, one string", "0"),
    ("seconds of UTC", "tzset twice, since callers see its effect", "0 with TZ set, else one look at the zone file each"),
    ("search: an entry", "its facts; the folder is read 32 KiB at a time", "1"),
    ("file: copy", "512 bytes at a time through a buffer on either side", "2 for each 128 KiB, and the folders'"),
    ("`zorprops --json`", "to be loaded and ended, 1.3 of `true`; a thread that can be left behind, 0.2; the kernel's tables, the "
     "C library's look-up of names, the text", "see above"),
    ("folders: make", "mkdir for each, whether or not it is there", "1 each"),
    ("enumeration of addresses", "the kernel's two lists; one socket for each family",
     "none for an address: two requests and a read for each part of the answers"),
]

WAITING = ("lock, threads", "lock, hand-over")  # groups of cases whose threads wait for each other

PLOTS = {  # group of cases: title, what the items are, the peer
    "addresses": ("Enumeration of addresses", "addresses", "getifaddrs and getnameinfo"),
    "links": ("Enumeration of interfaces", "interfaces", "getifaddrs and getnameinfo"),
    "mounts": ("Disk properties", "mounts", "getmntent and statvfs"),
    "logged-on users": ("Logged-on users", "users", "getutxent and getpwnam_r"),
    "directory entries": ("Search of a folder", "entries", "readdir, fnmatch and stat"),
    "open handles": ("Events made, waited for and closed", "handles at once", "pthread objects"),
    "open searches": ("Searches open at once", "searches", "opendir"),
    "loaded libraries": ("Libraries loaded at once", "libraries", "dlopen"),
    "text": ("UTF-8 to wide text", "bytes", "iconv"),
}


def read_cases(results):
    cases = []
    context = None
    for path in sorted(results.glob("*.json")):
        content = json.loads(path.read_text())
        context = context or content["context"]
        for case in content["benchmarks"]:
            case["name"] = case["name"].split("/iterations:")[0]
            cases.append(case)
    return context, cases


def duration(nanoseconds):
    for unit, size in (("s", 1e9), ("ms", 1e6), ("µs", 1e3)):
        if nanoseconds >= size:
            return f"{nanoseconds / size:.3g} {unit}"
    return f"{nanoseconds:.3g} ns"


def ratio(case):
    return case["library_cpu_ns"] / case["other_cpu_ns"]


def waiting_table(cases):
    """Threads that wait for each other: what counts is how long it takes, and the shortest round says little."""
    lines = ["| case | beside | library | other | ratio | switches of library and other |", "|---|---|---|---|---|---|"]
    for case in cases:
        _, what, other = case["name"].split("/", 2)
        lines.append(f"| {what} | {other} | {duration(case['library_median_ns'])} | {duration(case['other_median_ns'])} "
                     f"| {case['library_median_ns'] / case['other_median_ns']:.2f} "
                     f"| {case['library_switches']:.3f}, {case['other_switches']:.3f} |")
    return lines


def peer_table(cases):
    lines = ["| case | beside | library | other | ratio | median (tenth to nine tenths) |",
             "|---|---|---|---|---|---|"]
    for case in cases:
        _, what, other = case["name"].split("/", 2)
        lines.append(
            f"| {what} | {other} | {duration(case['library_cpu_ns'])} | {duration(case['other_cpu_ns'])} "
            f"| {ratio(case):.2f} | {case['ratio']:.2f} ({case['low']:.2f} to {case['high']:.2f}) |")
    return lines


def program_table(cases, calls, peaks):
    lines = ["| command | wall | processor | beside `true` | median (tenth to nine tenths) | most memory | system calls |",
             "|---|---|---|---|---|---|---|"]
    for case in cases:
        name = case["name"].split("/")[1]
        lines.append(
            f"| `{name}` | {duration(case['library_ns'])} | {duration(case['library_cpu_ns'])} | {ratio(case):.2f} "
            f"| {case['ratio']:.2f} ({case['low']:.2f} to {case['high']:.2f}) | {peaks.get(name, '-')} "
            f"| {calls.get(name, '-')} |")
    first = cases[0]
    lines.append(f"| `true` | {duration(first['other_ns'])} | {duration(first['other_cpu_ns'])} | 1 | 1 "
                 f"| {peaks.get('true', '-')} | {calls.get('true', '-')} |")
    return lines


def save(figure, path):
    figure.tight_layout()
    figure.savefig(path, metadata={"Date": None})
    plot.close(figure)
    # No white space at the ends of lines.
    path.write_text("\n".join(line.rstrip() for line in path.read_text().split("\n")))


def draw(path, title, unit, label, series):
    figure, axes = plot.subplots(figsize=(6, 3.6))
    for name, points in series:
        points = sorted(points)
        axes.plot([x for x, _ in points], [y for _, y in points], marker="o", label=name)
    axes.set(xscale="log", yscale="log", xlabel=unit, ylabel=label, title=title)
    axes.grid(True, which="major", linewidth=0.4)
    axes.legend()
    save(figure, path)


def growth(cases, docs):
    lines = ["| what | from | to | item at the least | item at the most | growth of the whole | beside |",
             "|---|---|---|---|---|---|---|"]
    pictures = []
    for group, (title, unit, peer) in PLOTS.items():
        rows = sorted((case for case in cases if case["name"].startswith(f"growth/{group}/")), key=lambda case: case["items"])
        if not rows:
            continue
        ours = [(case["items"], case["library_cpu_ns"] * case["items"] / 1e6) for case in rows]
        theirs = [(case["items"], case["other_cpu_ns"] * case["items"] / 1e6) for case in rows]
        name = "performance-" + group.replace(" ", "-") + ".svg"
        draw(docs / name, title, unit, "milliseconds", [("library", ours), (peer, theirs)])
        pictures.append(f"![{title}: time by number of {unit}]({name})")
        first, last = rows[0], rows[-1]
        lines.append(f"| {title.lower()} | {first['items']:,.0f} | {last['items']:,.0f} {unit} "
                     f"| {duration(first['library_cpu_ns'])} | {duration(last['library_cpu_ns'])} "
                     f"| {ours[-1][1] / ours[0][1]:,.0f} times for {last['items'] / first['items']:,.0f} times as many "
                     f"| {peer}: {ratio(last):.2f} |")
    return lines + [""] + pictures


def calls_by_addresses(calls):
    rows = [(int(name.split()[1]), made) for name, made in calls.items() if name.startswith("addresses ") and made]
    if not rows:
        return []
    return ["| addresses | system calls of `zorprops interfaces --loopback` |", "|---|---|",
            *(f"| {number:,} | {made} |" for number, made in rows), "",
            "The kernel's answer is read some fifty addresses at a time; there is no call for an address.", ""]


def threads(cases, docs):
    series = {}
    for case in cases:
        if case["name"].startswith("lock, threads/"):
            _, what, other = case["name"].split("/", 2)
            mix, number = what.rsplit(", ", 1)
            number = int(number.split()[0])
            for name, key in (("library", "library_median_ns"), (other, "other_median_ns")):
                series.setdefault(f"{name}, {mix}", {}).setdefault(number, case[key])
    if not series:
        return []
    draw(docs / "performance-threads.svg", "Holds of the lock", "threads", "nanoseconds a hold",
         [(name, list(points.items())) for name, points in series.items()])
    return ["![Time of a hold by number of threads](performance-threads.svg)"]


def counts_table(path):
    lines = ["| operation | instructions | system calls |", "|---|---|---|"]
    toolchain = ""
    for line in path.read_text().splitlines():
        if line.startswith("# counted with "):
            toolchain = line[len("# counted with "):]
        if not line.startswith("#"):
            instructions, calls, name = line.split(maxsplit=2)
            lines.append(f"| {name} | {float(instructions):,.0f} | {float(calls):g} |")
    return toolchain, lines


def main():
    results, counts, docs = (pathlib.Path(argument) for argument in sys.argv[1:4])
    matplotlib.rcParams["svg.hashsalt"] = "zorcomn"
    context, cases = read_cases(results)
    measured = [case for case in cases if not case.get("error_occurred")]
    left_out = [case for case in cases if case.get("error_occurred")]
    rows = [line.split("|") for line in (results / "calls.txt").read_text().splitlines()]
    calls = {name: made for name, made, _ in rows}
    peaks = {name: f"{int(peak) / 1024:.1f} MiB" for name, _, peak in rows if peak}
    toolchain, counted = counts_table(counts)

    text = [
        "# Performance",
        "",
        "Written by `bench/run`. Each case and its peer alternate in one process; times are the shortest over all rounds, in",
        "processor time, and so is the ratio; beside it stands the median of the rounds' ratios with its spread. Where threads",
        "wait for each other the times are medians by the clock, beside the voluntary context switches for one item.",
        "",
        f"Measured {context['date'][:10]} on {context['num_cpus']} processors with a load of "
        f"{context['load_avg'][0]:.1f} at the start.",
        "",
        "## Whole programs",
        "",
        "`zorprops` as one file, as `./report` builds it, from start to end, beside a program that does nothing.",
        "",
        *program_table([case for case in measured if case["name"].startswith("whole programs/")], calls, peaks),
        "",
        "## Beside what people would use instead",
    ]
    groups = {}
    for case in measured:
        group = case["name"].split("/")[0]
        if group not in ("growth", "whole programs"):
            groups.setdefault(group, []).append(case)
    for group in sorted(groups, key=str.lower):
        waiting = [case for case in groups[group] if group in WAITING or "ping-pong" in case["name"]]
        running = [case for case in groups[group] if case not in waiting]
        text += ["", f"### {group[0].upper()}{group[1:]}"]
        if running:
            text += ["", *peer_table(running)]
        if waiting:
            text += ["", *waiting_table(waiting)]
    if left_out:
        text += ["", "Left out:", "", *(f"- {case['name']}: {case['error_message']}" for case in left_out)]
    text += ["", "## Growth", "", *growth(measured, docs), "", *calls_by_addresses(calls), *threads(measured, docs)]
    text += ["", "## Floors", "", "What the steps of an operation force, as counted below with callgrind and strace.", "",
             "| operation | what it cannot be without | system calls |", "|---|---|---|",
             *(f"| {' | '.join(row)} |" for row in FLOORS)]
    text += ["", "## Counts", "", f"One operation each, by `bench/counts`, with {toolchain}. `./test --all` compares them: a",
             "change of instructions above 3 %, or of system calls at all, fails.", "", *counted]
    (docs / "performance.md").write_text("\n".join(text) + "\n")


if __name__ == "__main__":
    main()
