#!/usr/bin/env python3
"""Generates the export bindings from src/core/exports.txt.

Each line of the list reads

    <export name>  <family file under src/>  <family entry>

in slot order (ASCII order of the names). For each export this writes

  - an entry stub that jumps through the export's slot of the export table,
    and the slot, pointing at <name>_impl (export_stubs.S);
  - a line of the linker's export map (exports.map);
  - <name>_impl itself, into src/bind/<family file>.inc (kept in the
    repository, so that grep over src/ finds every export where it is bound;
    CI fails if a build changes it), which the family file includes at its end: declared with the public prototype's type (so that a
    mismatch with the header is a compile error) and defined as a call of the
    family entry with the export's arguments, in order.

The parameter names come from the export's prototype in include/.
"""
import argparse
import os
import re
import sys


def read_list(path):
    rows = []
    with open(path) as f:
        for number, line in enumerate(f, 1):
            text = line.split("#", 1)[0].strip()
            if not text:
                continue
            parts = text.split(None, 2)
            if len(parts) != 3:
                sys.exit(f"{path}:{number}: want '<export> <family file> <entry>', got '{text}'")
            rows.append((number, parts[0], parts[1], parts[2]))
    names = [r[1] for r in rows]
    if names != sorted(set(names)):
        sys.exit(f"{path}: names must be unique and in ASCII order")
    return rows


def read_prototypes(include_dir):
    protos = {}
    pattern = re.compile(r"ZEPCV_API\s+([\w\s\*]+?)\s*\b(zep\w+)\s*\(([^)]*)\)\s*;")
    for root, _, files in os.walk(include_dir):
        for name in files:
            if name.endswith(".h"):
                with open(os.path.join(root, name)) as f:
                    for m in pattern.finditer(f.read()):
                        protos[m.group(2)] = (" ".join(m.group(1).split()), " ".join(m.group(3).split()))
    return protos


def parameters(params):
    """Declarations with a name for every parameter, and the names in order."""
    if params in ("", "void"):
        return "void", []
    decls, names = [], []
    for i, p in enumerate(params.split(",")):
        p = p.strip()
        m = re.search(r"(\w+)\s*(\[[^\]]*\])?$", p)
        words = re.sub(r"\[[^\]]*\]", "", p).replace("*", " ").split()
        if m and len(words) > 1 and not p.endswith("*"):
            decls.append(p)
            names.append(m.group(1))
        else:  # unnamed in the header
            decls.append(f"{p} arg{i}")
            names.append(f"arg{i}")
    return ", ".join(decls), names


def write_if_changed(path, text):
    os.makedirs(os.path.dirname(path), exist_ok=True)
    if os.path.exists(path):
        with open(path) as f:
            if f.read() == text:
                return
    with open(path, "w") as f:
        f.write(text)


def main():
    ap = argparse.ArgumentParser()
    ap.add_argument("--list", required=True)
    ap.add_argument("--include", required=True)
    ap.add_argument("--src", required=True)
    ap.add_argument("--out", required=True)
    args = ap.parse_args()

    rows = read_list(args.list)
    protos = read_prototypes(args.include)
    stubs = [f"# Generated from {args.list}; do not edit.",
             '    .section .note.GNU-stack,"",@progbits',
             '    .section .data.rel.ro,"aw",@progbits', "    .p2align 6",
             "    .globl zep_export_table", "    .hidden zep_export_table",
             "    .type zep_export_table, @object", "zep_export_table:"]
    text = ["    .text", "    .p2align 4", "    .globl zep_export_stubs", "    .hidden zep_export_stubs",
            "zep_export_stubs:"]
    export_map = [f"/* Generated from {args.list}; do not edit. */", "{", "  global:"]
    bindings = {}
    for slot, (number, name, family, entry) in enumerate(rows):
        if name not in protos:
            sys.exit(f"{args.list}:{number}: {name} has no prototype in {args.include}")
        if not os.path.isfile(os.path.join(args.src, family)):
            sys.exit(f"{args.list}:{number}: no family file src/{family}")
        stubs.append(f"    .quad {name}_impl")
        text += [f"    .globl {name}", f"    .type {name}, @function", f"{name}:",
                 f"    jmp *zep_export_table+{slot}*8(%rip)", "    .p2align 4, 0xcc", f"    .size {name}, 16"]
        export_map.append(f"    {name};")
        result, params = protos[name]
        decls, names = parameters(params)
        bindings.setdefault(family, []).append(
            f"extern \"C\" decltype(::{name}) {name}_impl;\n"
            f"extern \"C\" {result} {name}_impl({decls}) {{\n"
            f"    return {entry}({', '.join(names)});\n}}\n")
    stubs.append(f"    .size zep_export_table, {len(rows)}*8")
    export_map += ["  local: *;", "};"]

    write_if_changed(os.path.join(args.out, "export_stubs.S"), "\n".join(stubs + text) + "\n")
    write_if_changed(os.path.join(args.out, "exports.map"), "\n".join(export_map) + "\n")
    for family, defs in bindings.items():
        inc = os.path.join("bind", os.path.splitext(family)[0] + ".inc")
        with open(os.path.join(args.src, family)) as f:
            if f'#include "{inc}"' not in f.read():
                sys.exit(f"src/{family} binds exports but does not end with #include \"{inc}\"")
        head = (f"// Generated from src/core/exports.txt for src/{family}; do not edit.\n"
                "// Each export's implementation: its public prototype, calling its family entry.\n")
        write_if_changed(os.path.join(args.src, inc), head + "\n".join(defs))
    with open(os.path.join(args.out, "exports.names"), "w") as f:
        f.write(";".join(r[1] for r in rows))


if __name__ == "__main__":
    main()
