"""Reads the public headers and writes what the Python module takes from them.

docs.inc: one C++ string per operator name (the header comments of its forms and their
declarations), used as docstrings. _api.py: every enumeration as a dict, for the IntEnums of the
package, kept current as families add headers.
"""
import pathlib
import re
import sys

include_dir, docs_out, api_out = map(pathlib.Path, sys.argv[1:4])
headers = sorted(include_dir.rglob("*.h"))

docs = {}     # operator name -> list of text blocks
enums = {}    # enum name -> list of (member, value)
decl = re.compile(r"KELMIRA_API\s+[\w:<>\s\*&]*?\b(Lum\w+|Z\w+)\s*\(")
enum_head = re.compile(r"^enum\s+(\w+)\s*(?::\s*[\w ]+?\s*)?\{")

for header in headers:
    lines = header.read_text().splitlines()
    comment = []
    sticky = None  # the comment above a macro that declares a family of forms
    i = 0
    while i < len(lines):
        line = lines[i].strip()
        if line.startswith("#define") and line.endswith("\\"):
            sticky = comment
            i += 1
            continue
        if sticky is not None:
            if not line.endswith("\\"):
                sticky = None
            line = line.rstrip("\\").strip()
            comment = list(sticky or [])
        if line.startswith("//"):
            text = line[2:].strip()
            if text and set(text) <= set("-= "):
                comment = []
            else:
                comment.append(text)
            i += 1
            continue
        if not line and i + 1 < len(lines) and lines[i + 1].startswith("#define") \
                and lines[i + 1].rstrip().endswith("\\"):
            i += 1  # a family macro keeps the comment above it across one blank line
            continue
        m = enum_head.match(line)
        if m:
            body = []
            while "}" not in lines[i]:
                i += 1
                body.append(lines[i].split("//")[0])
            enums[m.group(1)] = [(n, v.strip()) for n, v in
                                 re.findall(r"(\w+)\s*=\s*([^,}]+)", " ".join(body))]
            comment = []
            i += 1
            continue
        m = decl.search(line)
        if m and not line.startswith("#"):
            statement = [line]
            while not statement[-1].rstrip().endswith((";", "{", "}")) and i + 1 < len(lines):
                i += 1
                statement.append(lines[i].strip().rstrip("\\").strip())
                if sticky is not None and not lines[i].rstrip().endswith("\\"):
                    sticky = None
            text = " ".join(statement)
            tail = text.split("//", 1)
            signature = re.sub(r"\s+", " ", tail[0].replace("KELMIRA_API", "")).strip()
            block = comment + ([tail[1].strip()] if len(tail) > 1 else [])
            docs.setdefault(m.group(1), []).append("\n".join([signature] + block))
        comment = []
        i += 1

# Values: numbers, or earlier members of any enumeration.
known = {}
resolved = {}
for name, members in enums.items():
    out = []
    for member, value in members:
        try:
            number = int(value.rstrip("uUlL"), 0)
        except ValueError:
            number = known.get(value)
        if number is None:
            continue
        known[member] = number
        out.append((member, number))
    resolved[name] = out

def cstring(text):
    return 'R"kdoc(' + text + ')kdoc"'

with open(docs_out, "w") as f:
    f.write("// Generated from the public headers by python/gen_api.py.\n")
    for name in sorted(docs):
        f.write("{%s, %s},\n" % (cstring(name), cstring("\n\n".join(docs[name]))))
with open(api_out, "w") as f:
    f.write("# Generated from the public headers by python/gen_api.py.\n")
    f.write("ENUMS = {\n")
    for name in sorted(resolved):
        f.write("    %r: %r,\n" % (name, resolved[name]))
    f.write("}\n")
