#!/usr/bin/env python3
"""Checks that every #include "..." in the tree respects the layering.

The library is built in layers (see CMakeLists.txt); a file may include its
own layer, the layers below it and the public headers in include/quorvix/
that belong to those layers. The CLI uses only the public headers. Prints
each violation and exits 1 when there is one.

    scripts/check_layers.py [ROOT]
"""
import pathlib
import re
import sys

# Lowest first. A layer may include itself and everything before it.
LAYERS = ["util", "numerics", "values", "parser", "expression", "results", "builtins", "template", "tcl"]
# The HDF5 result reader: an optional module on top.
LAYERS.append("hdf5")
# The MATLAB result reader: an optional module on top.
LAYERS.append("matio")

# The layer each public header belongs to.
PUBLIC = {
    "app_info.h": "util",
    "message_service.h": "util",
    "policy.h": "util",
    "output_sink.h": "util",
    "linalg.h": "numerics",
    "interpolation.h": "numerics",
    "stat_functions.h": "numerics",
    "symtab.h": "values",
    "math_parser.h": "expression",
    "reader_lists.h": "results",
    "vector_file.h": "results",
    "reader_plugin.h": "results",
    "extension.h": "expression",
    "user_function.h": "template",
    "filler.h": "template",
    "optimization_parameter.h": "template",
    "value_format.h": "template",
    "tcl_setup.h": "template",
    "reference.h": "template",
}

INCLUDE = re.compile(r'^\s*#\s*include\s+"([^"]+)"', re.M)


def layer_of_source(rel):
    parts = rel.parts
    if parts[0] == "src":
        return parts[1]
    if parts[0] == "include":
        return PUBLIC.get(parts[-1])
    if parts[0] in ("tools", "bindings"):
        return "cli"  # the language bindings, like the CLI, use only the public headers
    return None


def layer_of_include(target):
    parts = pathlib.PurePosixPath(target).parts
    if parts[0] == "quorvix":
        return PUBLIC.get(parts[-1], "?public:" + target)
    return parts[0]


def allowed(src_layer, inc_layer, target):
    if src_layer == "cli":
        # Only the public interface, plus the CLI's own headers.
        return target.startswith("quorvix/") or "/" not in target
    if inc_layer not in LAYERS or src_layer not in LAYERS:
        return False
    return LAYERS.index(inc_layer) <= LAYERS.index(src_layer)


def main():
    root = pathlib.Path(sys.argv[1] if len(sys.argv) > 1 else ".").resolve()
    problems = []
    unknown = [h.name for h in (root / "include/quorvix").glob("*.h") if h.name not in PUBLIC]
    for name in unknown:
        problems.append(f"include/quorvix/{name}: public header with no layer in check_layers.py")
    for top in ("src", "include", "tools", "bindings"):
        for path in sorted((root / top).rglob("*")):
            if path.suffix not in (".h", ".cc"):
                continue
            rel = path.relative_to(root)
            src_layer = layer_of_source(rel)
            if src_layer is None:
                continue
            if src_layer != "cli" and src_layer not in LAYERS:
                problems.append(f"{rel}: not in a known layer")
                continue
            for target in INCLUDE.findall(path.read_text(errors="replace")):
                inc_layer = layer_of_include(target)
                if not allowed(src_layer, inc_layer, target):
                    problems.append(f"{rel}: {src_layer} includes {target} ({inc_layer})")
    for p in problems:
        print(p)
    print(f"layers: {len(problems)} violation(s)")
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
