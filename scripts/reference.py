#!/usr/bin/env python3
"""Writes the reference in docs/c.md and docs/fortran.md from the comments of the interfaces.

Usage: python3 scripts/reference.py [--check]

Fails if constants of the interfaces have different numbers. With --check, changes nothing and fails
if a page is out of date. A reference is the part of a page
below its last heading "## Reference".
"""

import re
import sys
from pathlib import Path

ROOT = Path(__file__).parent.parent
HEADING = "## Reference\n"


def blocks(lines, mark):
    """Yield each comment, as a list of lines without the mark, and the code that follows it."""
    comment, code = [], []
    for line in lines:
        stripped = line.strip()
        is_comment = stripped == mark or stripped.startswith(mark + " ")
        if is_comment and code:
            yield comment, code
            comment, code = [], []
        if is_comment:
            comment.append(stripped[len(mark):].removeprefix(" "))
        elif stripped or code:
            code.append(line)
        elif comment:  # it describes no declaration
            yield comment, []
            comment = []
    yield comment, code


def prose(lines):
    """Convert the commands of a comment to Markdown."""
    kinds = {"@param": "", "@param[out]": "", "@return": "Returns ", "@retval": "", "@tparam": ""}
    result, is_item = [], False
    for line in lines:
        word, _, rest = line.partition(" ")
        if word in kinds:
            if result and result[-1] and not is_item:
                result.append("")
            is_item = True
            if word.startswith("@param") or word == "@retval":
                name, _, text = rest.partition(" ")
                out = " (output)" if "out" in word else ""
                result.append(f"- `{name}`{out}: {text}")
            else:
                result.append(f"- {kinds[word]}{rest}")
        elif is_item and line.startswith("    "):
            result.append("  " + line.strip())
        else:
            if is_item and line:
                result.append("")
            is_item = False
            result.append(line)
    return "\n".join(result).strip()


def declarations(code):
    """Drop the mark of exported functions, conditional lines and what follows a blank line."""
    text = "\n".join(code) + "\n"
    text = re.sub(r"#ifdef __cplusplus\n.*\n#endif\n", "", text).strip("\n").split("\n\n")[0]
    indent = " " * len("MEK_API ")
    lines, is_function = [], False
    for line in text.split("\n"):
        is_function = line.startswith("MEK_API ") or (is_function and line.startswith(indent))
        lines.append(line[len(indent):] if is_function else line)
    return "\n".join(lines)


def c_reference():
    """Sections by @name, each with the declarations and their comments."""
    result = []
    lines = (ROOT / "bindings/c/include/mekapi2.h").read_text().splitlines()
    for comment, code in blocks(lines, "///"):
        commands = {line.split(" ")[0] for line in comment}
        if commands & {"@file", "@def"}:
            continue
        if "@name" in commands:
            at = next(i for i, line in enumerate(comment) if line.startswith("@name "))
            result.append(f"### {comment[at][6:]}")
            text = prose(line for line in comment[at + 1:] if line not in ("@{", "@}"))
            result += [text] if text else []
            continue
        text = prose(line for line in comment if line not in ("@{", "@}"))
        if not text:
            continue
        shown = declarations(code)
        result += [f"```c\n{shown}\n```"] if shown else []
        result += [text] if text else []
    return "\n\n".join(result)


def fortran_reference():
    """Types and their procedures, constants and functions of the module."""
    result = []
    lines = (ROOT / "bindings/fortran/mekapi2.f90").read_text().splitlines()
    for comment, code in blocks(lines, "!>"):
        statement = code[0].strip() if code else ""
        signature = []
        for line in comment:
            if not line:
                break
            signature.append(line)
        is_call = re.fullmatch(r"\w+\(.*\)", " ".join(signature)) and len(comment) > len(signature)
        if re.match(r"type :: mek_", statement):
            name = statement.split()[-1]
            end = next(i for i, line in enumerate(code) if re.match(r" *(private|contains|end type)", line))
            members = "\n".join(line[4:] for line in code[:end])
            shown = members + "\n    ...\nend type" if code[end].strip() == "private" else members + "\nend type"
            result += [f"### `{name}`", f"```fortran\n{shown}\n```", prose(comment)]
        elif ", parameter, public" in statement:
            end = next(i for i, line in enumerate(code) if not line.rstrip().endswith("&"))
            result += ["```fortran\n" + "\n".join(line[4:] for line in code[: end + 1]) + "\n```",
                       prose(comment)]
        elif is_call:
            if not re.match(r"(procedure|generic)", statement) and "### Functions" not in result:
                result.append("### Functions")
            shown = "\n".join([signature[0], *("    " + line.strip() for line in signature[1:])])
            result += [f"```fortran\n{shown}\n```", prose(comment[len(signature):])]
    return "\n\n".join(["### Constants", *result])


def constants(path, pattern):
    """Return the names, in lower case and without underscores, and the numbers of constants."""
    found = re.findall(pattern, (ROOT / path).read_text())
    return {name.lower().replace("_", ""): int(number) for name, number in found}


def check_constants():
    """The interfaces for C and Fortran have the numbers of the C++ enumerations."""
    cpp = constants("include/tyr/mek2/enumerations.hpp", r"\b([A-Z]\w+) = (\d+)")
    c = constants("bindings/c/include/mekapi2.h", r"\bMEK_(\w+) = (\d+)")
    fortran = constants("bindings/fortran/mekapi2.f90", r"\bMEK_(\w+) = (\d+)")
    fortran["error"] = fortran.pop("errorofotherkind")
    if not cpp or {name: c.get(name) for name in cpp} != cpp:
        sys.exit("mekapi2.h: the numbers are not those of enumerations.hpp")
    if {name: c.get(name) for name in fortran} != fortran or not cpp.keys() <= fortran.keys():
        sys.exit("mekapi2.f90: the numbers are not those of mekapi2.h")


def main():
    check = sys.argv[1:] == ["--check"]
    if sys.argv[1:] and not check:
        sys.exit(__doc__)
    check_constants()
    for name, reference in (("c", c_reference()), ("fortran", fortran_reference())):
        page = ROOT / "docs" / f"{name}.md"
        text = page.read_text()
        new = text[: text.rindex(HEADING)] + f"{HEADING}\n{reference}\n"
        if check and new != text:
            sys.exit(f"{page.name} is out of date; run scripts/reference.py")
        if not check:
            page.write_text(new)


if __name__ == "__main__":
    main()
