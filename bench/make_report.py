#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Turns the JSON output of the benchmark executables into bench/results.md.

Usage: make_report.py RESULTS_DIR > results.md
RESULTS_DIR holds one <executable>.json per benchmark executable, all from one run.
Each row below names our benchmark, its peers (measured in the same run) and the
target that the row is held to.
"""
import datetime
import json
import os
import platform
import sys

# (workload, ours, [(peer label, peer benchmark)], target description, target check)
# A check gets {label: cpu time} and the times of ours and returns True/False, or None
# when the row has no target.
ROWS = [
    ("XML: read a 20 MB document (parse and destroy)", "BM_Read_XMLElement",
     [("raw QXmlStreamReader loop (floor)", "BM_Read_RawStreamReader"),
      ("QDomDocument", "BM_Read_QDomDocument"), ("pugixml", "BM_Read_Pugixml")],
     "within 1.5x of the raw loop and faster than QDomDocument",
     lambda o, p: o <= 1.5 * p["raw QXmlStreamReader loop (floor)"] and o < p["QDomDocument"]),
    ("XML: read a 20 MB document (parse only)", "BM_Read_XMLElementWithoutDestruction",
     [("raw QXmlStreamReader loop (floor)", "BM_Read_RawStreamReader")],
     "within 1.5x of the raw loop",
     lambda o, p: o <= 1.5 * p["raw QXmlStreamReader loop (floor)"]),
    ("XML: write a 20 MB document", "BM_Write_XMLElement",
     [("raw QXmlStreamWriter loop (floor)", "BM_Write_RawStreamWriter"),
      ("QDomDocument", "BM_Write_QDomDocument"), ("pugixml", "BM_Write_Pugixml")],
     "within 1.5x of the raw writer loop",
     lambda o, p: o <= 1.5 * p["raw QXmlStreamWriter loop (floor)"]),
    ("Property tree: build 10^6 nodes", "BM_BuildTree",
     [("Boost.PropertyTree", "BM_Ptree_BuildTree")], None, None),
    ("Property tree: resolve 10^6 paths", "BM_ResolveAbsolutePaths",
     [("Boost.PropertyTree", "BM_Ptree_ResolveAbsolutePaths")], None, None),
    ("Property tree: clone 10^6 nodes", "BM_CloneTree",
     [("Boost.PropertyTree", "BM_Ptree_CloneTree")], None, None),
    ("Property tree: destroy 10^6 nodes", "BM_DestroyTree",
     [("Boost.PropertyTree", "BM_Ptree_DestroyTree")], None, None),
    ("Numbers: parse + normalise + format 10^6 values", "BM_ParseNormaliseFormat",
     [("strtod + snprintf (floor)", "BM_StrtodSnprintfFloor")],
     "within 3x of the floor", lambda o, p: o <= 3 * p["strtod + snprintf (floor)"]),
    ("Numbers: asReal of 10^6 values with units", "BM_AsReal",
     [("strtod + snprintf (floor)", "BM_StrtodSnprintfFloor"),
      ("strtod alone", "BM_AsRealStrtodFloor")],
     "within 3x of the strtod + snprintf floor",
     lambda o, p: o <= 3 * p["strtod + snprintf (floor)"]),
    ("File names: normalize 10^6 paths", "NormalizePathname_Mixed",
     [("std::filesystem lexically_normal", "LexicallyNormal_Mixed")],
     "no slower than lexically_normal",
     lambda o, p: o <= p["std::filesystem lexically_normal"]),
    ("File names: normalize 10^6 already-normal paths", "NormalizePathname_AlreadyNormal",
     [("std::filesystem lexically_normal", "LexicallyNormal_AlreadyNormal")],
     "no slower than lexically_normal",
     lambda o, p: o <= p["std::filesystem lexically_normal"]),
    ("File names: relative path of 10^6 pairs", "MakeRelativePath",
     [("std::filesystem lexically_relative", "LexicallyRelative")], None, None),
    ("File names: compare 10^6 pairs", "CompareFilenames",
     [("std::filesystem path::compare", "PathCompare")], None, None),
    ("File names: rename the extension of 10^6 paths", "RenameExtension",
     [("std::filesystem replace_extension", "PathReplaceExtension")], None, None),
]

# Growth rows: one benchmark family, times at increasing sizes.
GROWTH = [
    ("ExpandVars: 10^3 to 10^5 references in a 1 MB text", "BM_ExpandVars"),
    ("ExpandVars: every reference a different variable", "BM_ExpandVarsDistinctNames"),
    ("the literal replace-all definition (reference)", "BM_ExpandVarsLiteral"),
    ("QueryReferredComponentLocation, highest of N versions", "BM_QueryHighestVersion"),
]
SINGLE = []

UNIT_NS = {"ns": 1.0, "us": 1e3, "ms": 1e6, "s": 1e9}


def load(results_dir):
    times = {}
    context = {}
    dates = []
    loads = []
    for name in sorted(os.listdir(results_dir)):
        if not name.endswith(".json"):
            continue
        with open(os.path.join(results_dir, name), encoding="utf-8") as handle:
            data = json.load(handle)
        context = context or data.get("context", {})
        if "date" in data.get("context", {}):
            dates.append(data["context"]["date"])
        if "load_avg" in data.get("context", {}):
            loads.append(data["context"]["load_avg"][0])
        for bench in data.get("benchmarks", []):
            if bench.get("run_type", "iteration") != "iteration" or bench.get("error_occurred"):
                continue
            key = bench["name"].split("/")[0] if "/" in bench["name"] and \
                not bench["name"].split("/")[1].isdigit() else bench["name"]
            times[key] = bench["cpu_time"] * UNIT_NS[bench.get("time_unit", "ns")]
    # Each executable records when it started and the load average then.
    context["run_dates"] = sorted(dates)
    context["run_loads"] = loads
    return times, context


def fmt(ns):
    if ns >= 1e9:
        return "%.2f s" % (ns / 1e9)
    if ns >= 1e6:
        return "%.1f ms" % (ns / 1e6)
    if ns >= 1e3:
        return "%.1f us" % (ns / 1e3)
    return "%.0f ns" % ns


# Where the profile of a missed target is explained: the README of the row's subsystem,
# by the workload's prefix. Its paragraphs that start with "Why" go into the report.
PROFILE_NOTES = {"XML": "datafile", "Property tree": "property", "Numbers": "units",
                 "File names": "filename", "ExpandVars": "components"}


def profile_notes(subsystem):
    path = os.path.join(os.path.dirname(os.path.abspath(__file__)), subsystem, "README.md")
    try:
        with open(path, encoding="utf-8") as handle:
            paragraphs = handle.read().split("\n\n")
    except OSError:
        return []
    return [" ".join(p.split()) for p in paragraphs if p.startswith("Why")]


def cpu_model():
    try:
        with open("/proc/cpuinfo", encoding="utf-8") as handle:
            for line in handle:
                if line.startswith("model name"):
                    return line.split(":", 1)[1].strip()
    except OSError:
        pass
    return platform.processor() or "unknown"


def qt_label(results_dir):
    """The Qt the run used, as run-benchmarks.sh noted it beside the results."""
    try:
        with open(os.path.join(results_dir, "qt.txt"), encoding="utf-8") as handle:
            return handle.read().strip() or "Qt (unknown version)"
    except OSError:
        return "Qt (unknown version)"


def run_section(times, context, heading):
    """The report of one run: context, the table against the peers, growth, misses."""
    out = []
    if context["run_dates"]:
        out.append("- Date: run started %s" % context["run_dates"][0])
    else:
        out.append("- Date: %s (report written)" % datetime.datetime.now(
            datetime.timezone.utc).strftime("%Y-%m-%d %H:%M UTC"))
    out.append("- CPU: %s, %s cores" % (cpu_model(), context.get("num_cpus", os.cpu_count())))
    if context["run_loads"]:
        out.append("- One-minute load average as each benchmark executable started: %s "
                   "(the benchmarks themselves keep one core busy)"
                   % ", ".join("%.2f" % load for load in context["run_loads"]))
    out.append("- Times are CPU time per benchmark pass (Google Benchmark), Release build.")
    out.append("")
    out.append("| workload | ours | peers (same run) | ratio ours/peer | target | met |")
    out.append("|---|---|---|---|---|---|")
    missing = []
    missed = []
    for workload, ours_name, peers, target, check in ROWS:
        if ours_name not in times:
            missing.append(ours_name)
            continue
        ours = times[ours_name]
        peer_times = {}
        peer_cells, ratio_cells = [], []
        for label, peer_name in peers:
            if peer_name not in times:
                missing.append(peer_name)
                continue
            peer_times[label] = times[peer_name]
            peer_cells.append("%s %s" % (label, fmt(times[peer_name])))
            ratio_cells.append("%.2fx vs %s" % (ours / times[peer_name], label))
        if target is None:
            met = "(no target)"
            target = "-"
        elif len(peer_times) < len(peers):
            met = "not measured"
        else:
            met = "yes" if check(ours, peer_times) else "**no**"
            if met != "yes":
                missed.append(workload)
        out.append("| %s | %s | %s | %s | %s | %s |" % (
            workload, fmt(ours), "<br>".join(peer_cells), "<br>".join(ratio_cells), target, met))
    out.append("")
    growth_lines = []
    for workload, family in GROWTH:
        points = sorted((int(k.split("/")[1]), v) for k, v in times.items()
                        if k.startswith(family + "/") and k.split("/")[1].isdigit())
        if not points:
            missing.append(family)
            continue
        growth_lines.append("| %s | %s | %s |" % (
            workload, "<br>".join("%d: %s" % (n, fmt(t)) for n, t in points),
            "%.1fx time for %.0fx the size" % (points[-1][1] / points[0][1],
                                                 points[-1][0] / points[0][0])))
    for workload, name in SINGLE:
        if name not in times:
            missing.append(name)
            continue
        growth_lines.append("| %s | %s | - |" % (workload, fmt(times[name])))
    if growth_lines:
        out.append("| workload | times | growth |")
        out.append("|---|---|---|")
        out.extend(growth_lines)
        out.append("")
    if missing:
        out.append("Not measured in this run: %s." % ", ".join(sorted(set(missing))))
        out.append("")
    if missed:
        out.append("%s Missed targets" % heading)
        out.append("")
        out.append("Missed in this run: %s." % "; ".join(missed))
        out.append("")
        subsystems = []
        for workload in missed:
            subsystem = PROFILE_NOTES.get(workload.split(":")[0])
            if subsystem and subsystem not in subsystems:
                subsystems.append(subsystem)
        for subsystem in subsystems:
            notes = profile_notes(subsystem)
            out.append("From bench/%s/README.md, which gives the measured profile:" % subsystem)
            out.append("")
            for note in notes or ["(no explanation written yet)"]:
                out.append("> " + note)
                out.append("")
    return out


def comparison(runs):
    """Our time of every workload in each run, side by side, against the first run."""
    out = ["## Qt versions side by side", ""]
    labels = [label for label, _, _ in runs]
    out.append("| workload | %s | ratio |" % " | ".join(labels))
    out.append("|---|%s---|" % ("---|" * len(labels)))
    first = runs[0][1]
    for workload, ours_name, _, _, _ in ROWS:
        if not all(ours_name in times for _, times, _ in runs):
            continue
        cells = [fmt(times[ours_name]) for _, times, _ in runs]
        ratios = ["%.2fx" % (times[ours_name] / first[ours_name]) for _, times, _ in runs[1:]]
        out.append("| %s | %s | %s |" % (workload, " | ".join(cells), ", ".join(ratios)))
    out.append("")
    out.append("The ratio is the later run's time over the first's (%s)." % labels[0])
    out.append("")
    return out


def main():
    runs = []
    for results_dir in sys.argv[1:]:
        times, context = load(results_dir)
        runs.append((qt_label(results_dir), times, context))
    out = []
    out.append("# Benchmark results")
    out.append("")
    out.append("Written by `scripts/run-benchmarks.sh` from one run of every benchmark per Qt "
               "version; do not edit.")
    out.append("")
    if len(runs) > 1:
        out.extend(comparison(runs))
    for label, times, context in runs:
        out.append("## %s" % label)
        out.append("")
        out.extend(run_section(times, context, "###"))
    print("\n".join(out))


if __name__ == "__main__":
    main()
