"""Finds circles of modules and of folders among the includes of a tree.

A module is a header with its sources: the one of the same name, and those whose names begin with the header's, as
QXDateFields.cpp belongs to QXDate.h, unless there is a header of their own name.
"""

import collections
import pathlib
import re

INCLUDE = re.compile(r'^\s*#\s*include\s*([<"])([^>"]+)[>"]', re.MULTILINE)

# One include: the file that it stands in, its line, and the file that it names.
Edge = collections.namedtuple("Edge", "file line target")


def is_own_header(path, include):
    """Whether a source's name is its header's, or begins with it: QXDateFields.cpp belongs to QXDate.h."""
    header = pathlib.PurePosixPath(include)
    return (path.suffix == ".cpp" and header.suffix == ".h" and header.parent == pathlib.PurePosixPath(path.parent)
            and re.fullmatch(re.escape(header.stem) + "([A-Z]\\w*)?", path.stem) is not None)


def module_of(name, includes, files):
    """The module that a file belongs to, named after its header."""
    path = pathlib.PurePosixPath(name)
    own = path.with_suffix(".h").as_posix()
    if path.suffix == ".h" or own in files:
        return own
    owners = [include for include in includes if include in files and is_own_header(path, include)]
    return max(owners, key=len, default=name)


def edges_of(files):
    """The includes of each file that name another file of the tree."""
    edges = {}
    for name, text in files.items():
        edges[name] = [Edge(name, text.count("\n", 0, match.start(2)) + 1, match.group(2))
                       for match in INCLUDE.finditer(text) if match.group(2) in files]
    return edges


def shortest_circle(graph, start):
    """The shortest way from a node back to itself, as edges; None when there is none."""
    ways = collections.deque([(start, [])])
    seen = set()
    while ways:
        node, way = ways.popleft()
        for following, edge in sorted(graph.get(node, {}).items()):
            if following == start:
                return way + [edge]
            if following not in seen:
                seen.add(following)
                ways.append((following, way + [edge]))
    return None


def circles(graph):
    """A shortest circle through each node that lies on one, each circle once, short ones first."""
    found = [(node, shortest_circle(graph, node)) for node in sorted(graph)]
    covered = set()
    for _, way in sorted(((node, way) for node, way in found if way), key=lambda entry: (len(entry[1]), entry[0])):
        if way[0] not in covered:
            covered.update(way)
            yield way


def check_circles(files, area_of, may_take_turns):
    """Yields (file, line, breach) for each circle of modules, and of folders, inside an area.

    files: the texts of the sources by name. area_of: the area that a file belongs to; includes that leave their area
    are another rule's business. may_take_turns: whether two folders may include each other, module by module.
    """
    edges = edges_of(files)
    module = {name: module_of(name, [edge.target for edge in edges[name]], files) for name in files}
    modules, folders = collections.defaultdict(dict), collections.defaultdict(dict)
    for edge in sorted(edge for found in edges.values() for edge in found):
        if area_of(edge.file) != area_of(edge.target):
            continue
        own, other = module[edge.file], module[edge.target]
        if own != other:
            modules[own].setdefault(other, edge)
        own, other = (str(pathlib.PurePosixPath(name).parent) for name in (edge.file, edge.target))
        if own != other and not may_take_turns(own, other):
            folders[own].setdefault(other, edge)
    for what, graph in (("modules", modules), ("folders", folders)):
        for way in circles(graph):
            steps = ", ".join(f"{edge.file} includes {edge.target}" for edge in way)
            yield way[0].file, way[0].line, f"{what} in a circle: {steps}"
