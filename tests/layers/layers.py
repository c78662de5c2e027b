#!/usr/bin/python3
"""Holds the sources of the libraries and of dmnctl against the list of their layers, layers.ini.

Usage: layers.py SOURCES includes   fails when a file includes what its layer must not know
       layers.py SOURCES circles    fails when headers with their sources, or folders, know each other
       layers.py SOURCES places     fails when a file is in the wrong place, or in no layer
       layers.py SOURCES drawing    fails when the drawing is not that of the list
       layers.py SOURCES draw       makes the drawing, docs/diagrams/layers.dot"""

import configparser
import pathlib
import re
import sys
import textwrap

LIBRARIES = ("fdn", "dmn")
PARTS = (*LIBRARIES, "dmnctl")
DRAWING = "docs/diagrams/layers.dot"
INCLUDE = re.compile(r'^\s*#\s*include\s*([<"])([^>"]+)', re.MULTILINE)
HEADERS = re.compile(r"\bHEADERS\s+(.*?)\s+SOURCES\b", re.DOTALL)
BUILD_FILES = {"CMakeLists.txt", "exports.map"}


class Layer:
    def __init__(self, name, section):
        self.name = name
        self.part = section["part"]
        self.on = section.get("on", "").split()
        self.members = section["holds"].split()
        self.known = {name}


def read_layers(sources):
    """By name, from the lowest up, so that what a layer stands on is complete before it."""
    parser = configparser.ConfigParser()
    parser.read_string((sources / "tests/layers/layers.ini").read_text("utf-8"))
    layers = {}
    for name in parser.sections():
        layers[name] = layer = Layer(name, parser[name])
        for lower in layer.on:
            layer.known |= layers[lower].known
    return layers


def find_files(sources):
    """All files of the libraries and the tool, as they are included: dmn/script/InitScript.h."""
    for part in PARTS:
        for path in sorted((sources / part).rglob("*")):
            if path.is_file():
                yield path.relative_to(sources).as_posix()


def is_code(file):
    return file.endswith((".h", ".cpp"))


def is_private(file):
    """Whether it is in a folder of its part's."""
    return file.count("/") > 1


def get_concept(file):
    """A header and its source are one."""
    return file.rsplit(".", 1)[0]


def get_folder(file):
    return file.rsplit("/", 1)[0] + "/"


def get_member(file):
    """As the list has it: fdn/String.h is String of fdn, fdn/launch/Launch.h is launch/ of fdn."""
    part, name, *rest = get_concept(file).split("/")
    return part, name + "/" if rest else name


def map_members(layers):
    return {(layer.part, member): layer for layer in layers.values() for member in layer.members}


def read_includes(sources):
    """For each file of code, how its includes are written and what they name."""
    for file in filter(is_code, find_files(sources)):
        yield file, INCLUDE.findall((sources / file).read_text("utf-8"))


def find_own_includes(sources):
    """Pairs of a file and a header of a part that it includes."""
    for file, includes in read_includes(sources):
        for _, header in includes:
            if header.startswith(tuple(f"{part}/" for part in PARTS)):
                yield file, header


def find_include_faults(sources):
    layer_of = map_members(read_layers(sources))
    for file, includes in read_includes(sources):
        yield from (f'{file} includes "{name}" without its folder' for quote, name in includes if quote == '"')
    for file, header in find_own_includes(sources):
        own, other = layer_of.get(get_member(file)), layer_of.get(get_member(header))
        if own and other and other.name not in own.known:
            yield f"{file} is of the layer {own.name}, which does not know {other.name}: {header}"
        if is_private(header) and file.split("/")[0] != header.split("/")[0]:
            yield f"{file} includes what is private to another part: {header}"
        if is_private(header) and file.endswith(".h") and not is_private(file):
            yield f"{file} is public and includes what is not installed: {header}"


def map_known(pairs):
    """What knows what, of pairs of the one and the other."""
    known = {}
    for one, other in pairs:
        if one != other:
            known.setdefault(one, {})[other] = None
    return known


def find_circles(sources):
    includes = list(find_own_includes(sources))
    yield from find_circles_in(map_known((get_concept(file), get_concept(header)) for file, header in includes))
    yield from find_circles_in(map_known((get_folder(file), get_folder(header)) for file, header in includes
                                         if is_private(file) and is_private(header)))


def find_circles_in(known):
    finished = set()

    def visit(concept, path):
        if concept in path:
            yield " -> ".join([*path[path.index(concept):], concept])
        elif concept not in finished:
            for other in known.get(concept, ()):
                yield from visit(other, [*path, concept])
            finished.add(concept)

    for concept in list(known):
        yield from visit(concept, [])


def read_public_headers(sources, part):
    """None of the tool."""
    listed = HEADERS.search((sources / part / "CMakeLists.txt").read_text("utf-8"))
    return listed.group(1).split() if listed else []


def find_misplaced_files(sources, part):
    public = read_public_headers(sources, part)
    yield from (f"{part}/{header} is private by its place, and public in CMakeLists.txt"
                for header in public if "/" in header)
    concepts = {"main", *(get_concept(header) for header in public)}
    for file in find_files(sources):
        owner, *folders, name = file.split("/")
        if owner != part:
            continue
        if folders and (len(folders) > 1 or not is_code(name)):
            yield f"{file} is neither a header nor a source directly in a folder of {part}"
        elif not folders and name not in public and name not in BUILD_FILES and not (
                name.endswith(".cpp") and get_concept(name) in concepts):
            yield f"{file} is neither a public header nor the source of one"


def find_place_faults(sources):
    for part in PARTS:
        yield from find_misplaced_files(sources, part)
    existing = {get_member(file) for file in find_files(sources) if is_code(file)}
    listed = [(layer.part, member) for layer in read_layers(sources).values() for member in layer.members]
    yield from (f"{part}/{member} is in no layer" for part, member in sorted(existing - set(listed)))
    yield from (f"{part}/{member} is in a layer, and does not exist" for part, member in sorted(set(listed) - existing))
    yield from (f"{part}/{member} is in the layers more than once"
                for part, member in sorted(set(listed)) if listed.count((part, member)) > 1)


def draw_node(layer):
    names = textwrap.wrap(", ".join(name for name in layer.members if not name.endswith("/")), 64)
    folders = textwrap.wrap(", ".join(name for name in layer.members if name.endswith("/")), 64)
    lines = [f'<font point-size="10">{line}</font>' for line in names]
    lines += [f'<font point-size="10" color="#5b7083">{line}</font>' for line in folders]
    return f"        {layer.name} [label=<{'<br/>'.join([f'<b>{layer.name}</b>', *lines])}>]"


def draw_part(part, layers):
    nodes = "\n".join(draw_node(layer) for layer in reversed(layers.values()) if layer.part == part)
    label = f"lib{part}" if part in LIBRARIES else part
    return f"""\
    subgraph cluster_{part} {{
        label="{label}" style="rounded,filled" color="#c5d1da" fillcolor="#f4f7f9" margin=14
{nodes}
    }}
"""


def draw(layers):
    top = [layer.name for layer in layers.values() if layer.part in LIBRARIES][-1]
    bottom = list(layers)[0]
    parts = "\n".join(draw_part(part, layers) for part in reversed(PARTS))
    arrows = "\n".join(f"    {layer.name} -> {lower}" for layer in reversed(layers.values()) for lower in layer.on)
    return f"""\
// The layers: each knows only those below it. Made from tests/layers/layers.ini by the target "diagrams".
digraph layers {{
    rankdir=TB
    bgcolor="white"
    pad=0.15
    nodesep=0.35
    ranksep=0.4
    node [fontname="Helvetica" fontsize=12 shape=box style="rounded,filled" color="#5b7083" fillcolor="white" \
fontcolor="#1d2b36" margin="0.18,0.1"]
    edge [color="#5b7083" arrowsize=0.7]
    graph [fontname="Helvetica" fontsize=12 fontcolor="#5b7083" labeljust=l]

    application [label=<<b>the application</b><br/><font point-size="10">its front end, its daemon, its CDaemonInfo\
</font>> fillcolor="#fdf3dc" color="#a98433"]

{parts}
    system [label=<<b>wxWidgets' base library, POSIX, Linux</b>> fillcolor="#e9e9e9" color="#8a8a8a"]

    application -> {top}
{arrows}
    {bottom} -> system
}}
"""


def find_drawing_faults(sources):
    if (sources / DRAWING).read_text("utf-8") != draw(read_layers(sources)):
        yield f'{DRAWING} is not the drawing of tests/layers/layers.ini; build the target "diagrams"'


def write_drawing(sources):
    (sources / DRAWING).write_text(draw(read_layers(sources)), "utf-8")
    return ()


TASKS = {
    "includes": find_include_faults,
    "circles": find_circles,
    "places": find_place_faults,
    "drawing": find_drawing_faults,
    "draw": write_drawing,
}


def main():
    sources, task = sys.argv[1:]
    faults = list(TASKS[task](pathlib.Path(sources)))
    print(*faults, sep="\n", file=sys.stderr)
    sys.exit(1 if faults else 0)


if __name__ == "__main__":
    main()
