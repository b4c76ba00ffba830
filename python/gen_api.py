"""Reads the public headers and writes what the Python module takes from them.

docs.inc: one C++ string per operator name (the header comments of its forms and their
declarations), used as docstrings. _api.py: every enumeration as a dict, for the IntEnums of the
package, kept current as families add headers.
"""
import pathlib
import re
import sys

decl = re.compile(r"KELMIRA_API\s+[\w:<>\s\*&]*?\b(\w+)\s*\(")
enum_head = re.compile(r"^enum\s+(\w+)\s*(?::\s*[\w ]+?\s*)?\{")


def parse(include_dir):
    """The operators of the public headers: {name: [text blocks]}, {header: [names]} and the
    enumerations {name: [(member, value text)]}."""
    docs, by_header, enums = {}, {}, {}
    for header in sorted(pathlib.Path(include_dir).rglob("*.h")):
        parse_header(header, docs, by_header.setdefault(header.relative_to(include_dir).as_posix(), []), enums)
    return docs, by_header, enums


def forms(include_dir):
    """{name: [C++ signatures]}: every declared form of every operator, one line each."""
    docs, _, _ = parse(include_dir)
    out = {}
    for name, blocks in docs.items():
        signature = re.compile(r"^[\w\s:<>*&]*\b%s\s*\(.*\)\s*;$" % name)
        out[name] = [line for block in blocks for line in block.splitlines() if signature.match(line)]
    return out


def macro_forms(lines):
    """{name: [declarations]} of the forms that a macro with a parameter declares where it is
    invoked (KELMIRA_PREDEFINED_3X3(LumConvolSobel), ...), and the parameter names."""
    macros, forms, params = {}, {}, set()
    i = 0
    while i < len(lines):
        head = re.match(r"#define\s+(\w+)\((\w+)\)\s*(.*)$", lines[i].strip())
        if head and lines[i].rstrip().endswith("\\"):
            body = [head.group(3).rstrip("\\")]
            while lines[i].rstrip().endswith("\\") and i + 1 < len(lines):
                i += 1
                body.append(lines[i].strip().rstrip("\\"))
            macros[head.group(1)] = (head.group(2), " ".join(body))
            params.add(head.group(2))
        call = re.match(r"(\w+)\((\w*)\)\s*$", lines[i].strip())
        if call and call.group(1) in macros:
            param, body = macros[call.group(1)]
            text = re.sub(r"\s*##\s*", "", re.sub(r"\b%s\b" % param, call.group(2), body))
            for statement in text.split(";"):
                m = decl.search(statement)
                if m:
                    signature = re.sub(r"\s+", " ", statement.replace("KELMIRA_API", "")).strip() + ";"
                    forms.setdefault(m.group(1), []).append(signature)
        i += 1
    return forms, params


def one_line_macros(lines):
    """{name: (parameter, body)} of the one-line macros with a parameter that stand for a list of
    declared parameters (KELMIRA_MOMENTS_2(float&), ...)."""
    out = {}
    for line in lines:
        m = re.match(r"#define\s+(\w+)\((\w+)\)\s+(.*[^\\\s])\s*$", line.strip())
        if m:
            out[m.group(1)] = (m.group(2), m.group(3))
    return out


def expand(text, macros):
    """text with the one-line macros written out, the nested ones too."""
    for _ in range(8):
        count = 0
        for name, (param, body) in macros.items():
            text, n = re.subn(r"\b%s\(([^()]*)\)" % name,
                              lambda m: re.sub(r"\b%s\b" % param, m.group(1).strip(), body), text)
            count += n
        if count == 0:
            break
    return text


def parse_header(header, docs, names, enums):
    lines = header.read_text().splitlines()
    expanded, params = macro_forms(lines)
    short = one_line_macros(lines)
    macro_comment = []
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
            body.append(lines[i].split("{", 1)[1].split("//")[0])
            while "}" not in lines[i]:
                i += 1
                body.append(lines[i].split("//")[0])
            members, previous = [], None
            for item in " ".join(body).split("}")[0].split(","):
                named = re.match(r"\s*(\w+)\s*(?:=\s*(.+?))?\s*$", item)
                if not named:
                    continue
                value = named.group(2)
                if value is None:  # one above the member before it
                    value = "0" if previous is None else "%s + 1" % previous
                members.append((named.group(1), value.strip()))
                previous = named.group(1)
            enums[m.group(1)] = members
            comment = []
            i += 1
            continue
        m = decl.search(line)
        if m and not line.startswith("#"):
            statement = [line]
            while not statement[-1].split("//")[0].rstrip().endswith((";", "{", "}")) and i + 1 < len(lines):
                i += 1
                statement.append(lines[i].strip().rstrip("\\").strip())
                if sticky is not None and not lines[i].rstrip().endswith("\\"):
                    sticky = None
            text = " ".join(statement)
            tail = text.split("//", 1)
            signature = expand(re.sub(r"\s+", " ", tail[0].replace("KELMIRA_API", "")).strip(), short)
            block = comment + ([tail[1].strip()] if len(tail) > 1 else [])
            if m.group(1) in params:  # a macro's own parameter: its forms come from macro_forms
                macro_comment = macro_comment or block
                comment = []
                i += 1
                continue
            docs.setdefault(m.group(1), []).append("\n".join([signature] + block))
            if m.group(1) not in names:
                names.append(m.group(1))
        comment = []
        i += 1
    for name, signatures in expanded.items():
        if name not in docs:  # forms named only through a macro parameter
            docs[name] = ["\n".join(signatures + macro_comment)]
        else:  # a form written once in a macro body over a type parameter: its expansions stand for it
            generic = re.compile(r"\b(%s)\b" % "|".join(map(re.escape, params)))
            docs[name] = ["\n".join(signatures + block.splitlines()[1:])
                          if generic.search(block.splitlines()[0]) else block for block in docs[name]]
        if name not in names:
            names.append(name)


def resolve(enums):
    """Values: numbers, earlier members of any enumeration, or one above the member before."""
    known, resolved = {}, {}
    for name, members in enums.items():
        out = []
        for member, value in members:
            step = re.match(r"(\w+) \+ 1$", value)
            try:
                number = int(value.rstrip("uUlL"), 0)
            except ValueError:
                number = known[step.group(1)] + 1 if step and step.group(1) in known else known.get(value)
            if number is None:
                continue
            known[member] = number
            out.append((member, number))
        resolved[name] = out
    return resolved


def cstring(text):
    return 'R"kdoc(' + text + ')kdoc"'


def main(include_dir, docs_out, api_out):
    docs, _, enums = parse(include_dir)
    resolved = resolve(enums)
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


if __name__ == "__main__":
    main(*sys.argv[1:4])
