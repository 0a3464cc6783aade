#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Builds the API reference (the docs target) in build-docs/ and fails when Doxygen printed
# any warning, or when a public entity has no description or belongs to no group (Doxygen
# itself does not warn about undocumented enumerators, namespaces, defaulted members or
# missing groups). The reference ends up in build-docs/docs/html/index.html.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
cd "$root"
"$root/scripts/install-deps.sh" doxygen python3

build=build-docs
cmake -S . -B "$build" -G Ninja -DORRERY_BUILD_TESTS=OFF -DORRERY_BUILD_TOOLS=OFF \
    -DORRERY_BUILD_EXAMPLES=OFF -DORRERY_DOCS_WARNINGS_AS_ERRORS=ON >/dev/null

# The docs target prints Doxygen's warnings (from build-docs/docs/doxygen-warnings.log) and
# fails when there is any.
log=$build/docs/doxygen-warnings.log
if ! cmake --build "$build" --target docs; then
    echo "check-docs: the docs target failed" >&2
    exit 1
fi
if [ -s "$log" ]; then
    cat "$log" >&2
    echo "check-docs: Doxygen printed warnings" >&2
    exit 1
fi

# The same input once more as XML, which lists every entity with its description and group.
xml=$build/docs-xml
rm -rf "$xml"
mkdir -p "$xml"
{
    cat "$build/docs/Doxyfile"
    echo "OUTPUT_DIRECTORY = $xml"
    echo "WARN_LOGFILE = $xml/doxygen-warnings.log"
    echo "STRIP_FROM_PATH = $root"
    echo "WARN_AS_ERROR = NO"
    echo "GENERATE_HTML = NO"
    echo "GENERATE_XML = YES"
} | doxygen - >/dev/null

python3 - "$xml/xml" <<'EOF'
"""Lists public entities without a description, and namespace members in no group."""
import os
import sys
import xml.etree.ElementTree as ET

xmldir = sys.argv[1]


def described(element):
    return any("".join(element.find(tag).itertext()).strip()
               for tag in ("briefdescription", "detaileddescription")
               if element.find(tag) is not None)


def where(element):
    location = element.find("location")
    if location is None:
        return "?"
    return "%s:%s" % (os.path.relpath(location.get("file")), location.get("line", "?"))


compounds = []
index = ET.parse(os.path.join(xmldir, "index.xml")).getroot()
for entry in index.findall("compound"):
    if entry.get("kind") in ("page", "dir", "example"):
        continue
    root = ET.parse(os.path.join(xmldir, entry.get("refid") + ".xml")).getroot()
    compounds.append((entry.get("kind"), root.find("compounddef")))

grouped = set()
for kind, compound in compounds:
    if kind == "group":
        grouped.update(e.get("refid") for e in compound.findall("innerclass"))
        grouped.update(e.get("refid") for e in compound.findall("innernamespace"))
        grouped.update(e.get("id") for e in compound.iter("memberdef"))

problems = []
counts = {}
names = {compound.get("id"): compound.findtext("compoundname") for _, compound in compounds}
grouped_names = {names[i] for i in grouped if i in names}
for kind, compound in compounds:
    name = compound.findtext("compoundname")
    if kind == "file" and not name.endswith(".h"):
        continue  # Markdown pages
    if kind != "group" and name == "std":
        continue  # Doxygen's own model of the standard library
    counts[kind] = counts.get(kind, 0) + 1
    if not described(compound):
        problems.append("%s: %s %s has no description" % (where(compound), kind, name))
    if kind in ("class", "struct") and compound.get("id") not in grouped:
        if name.rsplit("::", 1)[0] not in grouped_names:  # nested: grouped with the outer
            problems.append("%s: %s %s is in no group" % (where(compound), kind, name))
    for member in compound.iter("memberdef"):
        member_kind = member.get("kind")
        if member.get("prot") == "private" or member_kind == "friend":
            continue
        qualified = member.findtext("qualifiedname") or member.findtext("name")
        # Members of namespaces are checked once, in their namespace; global ones (and
        # macros) in their file.
        if kind == "group" or (kind == "file" and "::" in qualified):
            continue
        counts[member_kind] = counts.get(member_kind, 0) + 1
        label = "%s %s" % (member_kind, qualified if kind == "file" else name + "::" +
                           member.findtext("name"))
        if not described(member):
            problems.append("%s: %s has no description" % (where(member), label))
        if kind in ("namespace", "file") and member_kind != "define" and \
                member.get("id") not in grouped:
            problems.append("%s: %s is in no group" % (where(member), label))
        for value in member.findall("enumvalue"):
            counts["enumerator"] = counts.get("enumerator", 0) + 1
            if not described(value):
                problems.append("%s: enumerator %s::%s has no description" %
                                (where(member), label.split(" ", 1)[1], value.findtext("name")))

for problem in sorted(set(problems)):
    print(problem, file=sys.stderr)
summary = ", ".join("%d %s" % (n, k) for k, n in sorted(counts.items()))
if problems:
    print("check-docs: %d problems (%s)" % (len(set(problems)), summary), file=sys.stderr)
    sys.exit(1)
print("documentation: no warnings; documented: " + summary)
EOF
echo "API reference: $root/$build/docs/html/index.html"
