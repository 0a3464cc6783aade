#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Turns the JSON output of the benchmark executables into bench/results.md.

Usage: make_report.py RESULTS_DIR [RESULTS_DIR...] > results.md
RESULTS_DIR holds one <executable>.json per benchmark executable, all from one run, the
Qt version in qt.txt and, if measured, the peak memory of XML reads in
xml_peak_memory.jsonl. Each row below names our benchmark, its peers (measured in the
same run) and the target that the row is held to.
"""
import datetime
import json
import os
import platform
import statistics
import sys

# A benchmark is named by its name with its numeric arguments ("BM_BuildTree/100000"), or
# by a tuple of such names, the first present of which is used: results of older runs
# name some benchmarks without the size that is now part of their name.

# (workload, ours, [(peer label, peer benchmark)], target description, target check)
# A check gets {label: cpu time} and the times of ours and returns True/False, or None
# when the row has no target.
RAW_READER = "raw QXmlStreamReader loop (floor)"
RAW_WRITER = "raw QXmlStreamWriter loop (floor)"
PTREE = "Boost.PropertyTree"
MAP_SEARCH = "the same lookups as two QMap searches alone (part of ours)"
ROWS = [
    ("XML: read a 20 MB document (parse and destroy)", "BM_Read_XMLElement",
     [(RAW_READER, "BM_Read_RawStreamReader"),
      ("QDomDocument", "BM_Read_QDomDocument"), ("pugixml", "BM_Read_Pugixml")],
     "within 1.5x of the raw loop and faster than QDomDocument",
     lambda o, p: o <= 1.5 * p[RAW_READER] and o < p["QDomDocument"]),
    ("XML: read a 20 MB document (parse only)", "BM_Read_XMLElementWithoutDestruction",
     [(RAW_READER, "BM_Read_RawStreamReader"),
      ("the raw loop making the elements and texts the layout asks for",
       "BM_Read_RawStreamReaderWithElements")],
     "within 1.25x of the raw loop",
     lambda o, p: o <= 1.25 * p[RAW_READER]),
    ("XML: write a 20 MB document", "BM_Write_XMLElement",
     [(RAW_WRITER, "BM_Write_RawStreamWriter"),
      ("QDomDocument", "BM_Write_QDomDocument"), ("pugixml", "BM_Write_Pugixml")],
     "within 1.2x of the raw writer loop",
     lambda o, p: o <= 1.2 * p[RAW_WRITER]),
    ("Property tree: build 10^5 leaves (1000 x 100)", "BM_BuildTree/100000",
     [(PTREE, "BM_Ptree_BuildTree/100000")],
     "no slower than Boost.PropertyTree", lambda o, p: o <= p[PTREE]),
    ("Property tree: resolve 10^6 paths in 10^5 leaves", "BM_ResolveAbsolutePaths/100000",
     [(PTREE, "BM_Ptree_ResolveAbsolutePaths/100000"),
      (MAP_SEARCH, "BM_ResolveMapSearchOnly/100000")],
     "within 0.5x of Boost.PropertyTree's get_child_optional",
     lambda o, p: o <= 0.5 * p[PTREE]),
    ("Property tree: clone 10^5 leaves", "BM_CloneTree/100000",
     [(PTREE, "BM_Ptree_CloneTree/100000")],
     "no slower than Boost.PropertyTree", lambda o, p: o <= p[PTREE]),
    ("Property tree: destroy 10^5 leaves", "BM_DestroyTree/100000",
     [(PTREE, "BM_Ptree_DestroyTree/100000")],
     "no slower than Boost.PropertyTree", lambda o, p: o <= p[PTREE]),
    ("Property tree: destroy a clone of 10^5 leaves", "BM_DestroyClone/100000",
     [(PTREE, "BM_Ptree_DestroyClone/100000")],
     "no slower than Boost.PropertyTree", lambda o, p: o <= p[PTREE]),
    ("Property tree: build 10^6 nodes", ("BM_BuildTree/1000000", "BM_BuildTree"),
     [(PTREE, ("BM_Ptree_BuildTree/1000000", "BM_Ptree_BuildTree"))], None, None),
    ("Property tree: resolve 10^6 paths",
     ("BM_ResolveAbsolutePaths/1000000", "BM_ResolveAbsolutePaths"),
     [(PTREE, ("BM_Ptree_ResolveAbsolutePaths/1000000", "BM_Ptree_ResolveAbsolutePaths")),
      (MAP_SEARCH, "BM_ResolveMapSearchOnly/1000000")],
     None, None),
    ("Property tree: clone 10^6 nodes", ("BM_CloneTree/1000000", "BM_CloneTree"),
     [(PTREE, ("BM_Ptree_CloneTree/1000000", "BM_Ptree_CloneTree"))], None, None),
    ("Property tree: destroy 10^6 nodes", ("BM_DestroyTree/1000000", "BM_DestroyTree"),
     [(PTREE, ("BM_Ptree_DestroyTree/1000000", "BM_Ptree_DestroyTree"))], None, None),
    ("Property tree: destroy a clone of 10^6 nodes", "BM_DestroyClone/1000000",
     [(PTREE, "BM_Ptree_DestroyClone/1000000")], None, None),
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
    ("ExpandVars: references to 100 variables", "BM_ExpandVarsHundredNames"),
    ("ExpandVars: every reference a different variable", "BM_ExpandVarsDistinctNames"),
    ("the literal replace-all definition (reference)", "BM_ExpandVarsLiteral"),
    ("QueryReferredComponentLocation, highest of N versions", "BM_QueryHighestVersion"),
]
SINGLE = []

# Scale rows: the work grown 10x and 100x, each held to within SCALE_LIMIT of linear:
# (time ratio) / (work ratio) <= SCALE_LIMIT for both steps.
# (workload, size unit, [(size, work, benchmark)], baseline benchmark or None)
# With a baseline, its time is taken off every point first (the part that does not grow).
SCALE_LIMIT = 1.2
SCALE = [
    ("XML: read (parse and destroy) of a generated document", "MB",
     [(2, 2, "BM_ReadScale_XMLElement/2"), (20, 20, "BM_ReadScale_XMLElement/20"),
      (200, 200, "BM_ReadScale_XMLElement/200")], None),
    ("Property tree: build", "leaves",
     [(n, n, "BM_BuildTree/%d" % n) for n in (10**4, 10**5, 10**6)], None),
    ("Property tree: destroy", "leaves",
     [(n, n, "BM_DestroyTree/%d" % n) for n in (10**4, 10**5, 10**6)], None),
    # 10^6 lookups at every size: the work stays, the tree grows.
    ("Property tree: resolve 10^6 paths (work fixed, tree grows)", "leaves",
     [(n, 10**6, "BM_ResolveAbsolutePaths/%d" % n) for n in (10**4, 10**5, 10**6)], None),
    ("ExpandVars: references to 1000 variables in a 1 MB text, less the text alone",
     "references", [(n, n, "BM_ExpandVars/%d" % n) for n in (10**3, 10**4, 10**5)],
     "BM_ExpandVarsNoReferences"),
]

# The cost of one reference in ExpandVars, (T(n) - T(0)) / n, where T(0) is the same 1 MB
# text without references: (case, family, held to the limit?)
PER_REFERENCE_BASELINE = "BM_ExpandVarsNoReferences"
PER_REFERENCE_SIZES = (10**3, 10**4, 10**5)
PER_REFERENCE_LIMIT = 1.2
PER_REFERENCE = [
    ("1000 variables, half set", "BM_ExpandVars", True),
    ("100 variables, half set", "BM_ExpandVarsHundredNames", True),
    ("every reference a different variable (none set)", "BM_ExpandVarsDistinctNames", False),
]

# Peak memory of reading a document file, written by `xml_bench --peak-memory` (one JSON
# object a line) beside the results.
MEMORY_FILE = "xml_peak_memory.jsonl"
MEMORY_READERS = [("xmlelement", "XMLElement"), ("qdom", "QDomDocument"),
                  ("pugixml", "pugixml"), ("raw", "raw QXmlStreamReader loop (keeps nothing)")]

UNIT_NS = {"ns": 1.0, "us": 1e3, "ms": 1e6, "s": 1e9}


def benchmark_key(name):
    """A benchmark's name with its numeric arguments only: Google Benchmark appends
    settings such as "/min_time:2.000" or "/iterations:3", which the report ignores."""
    parts = name.split("/")
    return "/".join([parts[0]] + [part for part in parts[1:] if part.isdigit()])


def load(results_dir):
    samples = {}
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
            key = benchmark_key(bench["name"])
            samples.setdefault(key, []).append(
                bench["cpu_time"] * UNIT_NS[bench.get("time_unit", "ns")])
    # A benchmark run several times (--benchmark_repetitions) counts with its median.
    times = {key: statistics.median(values) for key, values in samples.items()}
    context["repetitions"] = max((len(values) for values in samples.values()), default=1)
    # Each executable records when it started and the load average then.
    context["run_dates"] = sorted(dates)
    context["run_loads"] = loads
    return times, context


def load_memory(results_dir):
    """The peak-memory records of a run, by (reader, document size in MB); later lines win."""
    records = {}
    try:
        with open(os.path.join(results_dir, MEMORY_FILE), encoding="utf-8") as handle:
            for line in handle:
                line = line.strip()
                if not line:
                    continue
                try:
                    record = json.loads(line)
                except ValueError:
                    continue
                records[(record.get("reader"), record.get("document_mb"))] = record
    except OSError:
        pass
    return records


def names_of(benchmark):
    return benchmark if isinstance(benchmark, tuple) else (benchmark,)


def lookup(times, benchmark):
    """The time of the first of the names of benchmark that the run has, or None."""
    for name in names_of(benchmark):
        if name in times:
            return times[name]
    return None


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


def run_section(times, context, heading, memory=None):
    """The report of one run: context, the table against the peers, growth, the cost per
    reference, scale, memory, misses."""
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
    repetitions = context.get("repetitions", 1)
    out.append("- Times are CPU time per benchmark pass (Google Benchmark), Release build%s." %
               ("" if repetitions == 1 else
                "; each benchmark ran %d times and counts with its median" % repetitions))
    out.append("")
    out.append("| workload | ours | peers (same run) | ratio ours/peer | target | met |")
    out.append("|---|---|---|---|---|---|")
    missing = []
    missed = []
    for workload, ours_name, peers, target, check in ROWS:
        ours = lookup(times, ours_name)
        if ours is None:
            missing.append(names_of(ours_name)[0])
            continue
        peer_times = {}
        peer_cells, ratio_cells = [], []
        for label, peer_name in peers:
            peer = lookup(times, peer_name)
            if peer is None:
                missing.append(names_of(peer_name)[0])
                continue
            peer_times[label] = peer
            peer_cells.append("%s %s" % (label, fmt(peer)))
            ratio_cells.append("%.2fx vs %s" % (ours / peer, label))
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
    out.extend(per_reference_section(times, missing, missed))
    out.extend(scale_section(times, missing, missed))
    out.extend(memory_section(memory or {}))
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
            subsystem = next((folder for prefix, folder in PROFILE_NOTES.items()
                              if workload.startswith(prefix)), None)
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


def per_reference_section(times, missing, missed):
    """The marginal cost of one ExpandVars reference at each size, and its growth."""
    baseline = times.get(PER_REFERENCE_BASELINE)
    if baseline is None:
        if any("%s/%d" % (family, PER_REFERENCE_SIZES[0]) in times
               for _, family, _ in PER_REFERENCE):
            missing.append(PER_REFERENCE_BASELINE)
        return []
    low, high = PER_REFERENCE_SIZES[0], PER_REFERENCE_SIZES[-1]
    out = ["ExpandVars, cost per reference: (T(n) - T(0)) / n, where T(0) = %s is the same "
           "1 MB text without references." % fmt(baseline), ""]
    out.append("| references to | %s | ratio 10^5 / 10^3 | target | met |" %
               " | ".join("n = %d" % n for n in PER_REFERENCE_SIZES))
    out.append("|---|%s---|---|---|" % ("---|" * len(PER_REFERENCE_SIZES)))
    for case, family, held in PER_REFERENCE:
        costs = {}
        for n in PER_REFERENCE_SIZES:
            name = "%s/%d" % (family, n)
            if name in times:
                costs[n] = (times[name] - baseline) / n
            else:
                missing.append(name)
        cells = [fmt(costs[n]) if n in costs else "-" for n in PER_REFERENCE_SIZES]
        target = "within %.1fx" % PER_REFERENCE_LIMIT if held else "-"
        if low in costs and high in costs and costs[low] > 0:
            ratio = costs[high] / costs[low]
            ratio_cell = "%.2fx" % ratio
            if not held:
                met = "(no target)"
            elif ratio <= PER_REFERENCE_LIMIT:
                met = "yes"
            else:
                met = "**no**"
                missed.append("ExpandVars: cost per reference, %s" % case)
        else:
            ratio_cell = "-"
            met = "(no target)" if not held else "not measured"
        out.append("| %s | %s | %s | %s | %s |" % (case, " | ".join(cells), ratio_cell, target,
                                                   met))
    out.append("")
    return out


def scale_section(times, missing, missed):
    """The scale rows: each step's time ratio over its work ratio, held to SCALE_LIMIT."""
    lines = []
    for workload, unit, points, baseline_name in SCALE:
        baseline = 0.0
        if baseline_name is not None:
            if baseline_name not in times:
                missing.append(baseline_name)
                continue
            baseline = times[baseline_name]
        measured = []
        for size, work, name in points:
            if name in times:
                measured.append((size, work, times[name] - baseline))
            else:
                missing.append(name)
        if len(measured) < len(points):
            continue
        first_size, first_work, first_time = measured[0]
        steps = []
        within = True
        for size, work, elapsed in measured[1:]:
            time_ratio = elapsed / first_time if first_time > 0 else float("inf")
            work_ratio = work / first_work
            of_linear = time_ratio / work_ratio
            within = within and of_linear <= SCALE_LIMIT
            shown = ("**%.2f**" if of_linear > SCALE_LIMIT else "%.2f") % of_linear
            steps.append("%gx size: %.2fx time for %gx work = %s of linear" % (
                size / first_size, time_ratio, work_ratio, shown))
        if not within:
            missed.append("%s (scale)" % workload)
        lines.append("| %s | %s | %s | within %.1fx of linear | %s |" % (
            workload, "<br>".join("%s %s: %s" % (size, unit, fmt(elapsed))
                                  for size, _, elapsed in measured),
            "<br>".join(steps), SCALE_LIMIT, "yes" if within else "**no**"))
    if not lines:
        return []
    out = ["Scale: the work grown 10x and 100x.", "",
           "| workload | times | growth | target | met |", "|---|---|---|---|---|"]
    out.extend(lines)
    out.append("")
    return out


def memory_section(records):
    """Peak resident set of reading a document file and keeping the result."""
    if not records:
        return []
    sizes = sorted({size for _, size in records if isinstance(size, int)})
    out = ["Peak memory of reading a generated document file and keeping what was read, each "
           "reader in a fresh process (`xml_bench --peak-memory`): peak resident set, and in "
           "parentheses its growth over the process before the read, per MB of document.", ""]
    out.append("| reader | %s |" % " | ".join("%d MB" % size for size in sizes))
    out.append("|---|%s" % ("---|" * len(sizes)))
    for reader, label in MEMORY_READERS:
        if not any(key[0] == reader for key in records):
            continue
        cells = []
        for size in sizes:
            record = records.get((reader, size))
            if record is None:
                cells.append("-")
            elif not record.get("ok"):
                cells.append("failed (%s)" % (record.get("error") or "unknown"))
            else:
                cells.append("%.0f MB (%.1f MB/MB)" % (record["peak_rss_mb"],
                                                      record["growth_per_document_mb"]))
        out.append("| %s | %s |" % (label, " | ".join(cells)))
    baselines = sorted("%.0f" % r["baseline_rss_mb"] for r in records.values()
                       if r.get("ok") and r.get("baseline_rss_mb") is not None)
    if baselines:
        out.append("")
        out.append("Resident set of a reader process before its read: %s MB. MB = 2^20 bytes."
                   % (baselines[0] if baselines[0] == baselines[-1]
                      else "%s to %s" % (baselines[0], baselines[-1])))
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
        ours = [lookup(times, ours_name) for _, times, _ in runs]
        if any(time is None for time in ours):
            continue
        cells = [fmt(time) for time in ours]
        ratios = ["%.2fx" % (time / lookup(first, ours_name)) for time in ours[1:]]
        out.append("| %s | %s | %s |" % (workload, " | ".join(cells), ", ".join(ratios)))
    out.append("")
    out.append("The ratio is the later run's time over the first's (%s)." % labels[0])
    out.append("")
    return out


def main():
    runs = []
    memories = {}
    for results_dir in sys.argv[1:]:
        times, context = load(results_dir)
        label = qt_label(results_dir)
        runs.append((label, times, context))
        memories[label] = load_memory(results_dir)
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
        out.extend(run_section(times, context, "###", memories.get(label)))
    print("\n".join(out))


if __name__ == "__main__":
    main()
