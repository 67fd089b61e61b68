"""The table of jobs: each command of the program on small inputs, and how these inputs are made."""

import json
import math
from dataclasses import dataclass, field

import content

OUT, IN = object(), object()  # in a job's words: the output, and all inputs


def _raster(columns, rows, x, y, scale=20.0):
    lines = [f"ncols {columns}", f"nrows {rows}", f"xllcorner {3512000 + x}",
             f"yllcorner {5401000 + y}", "cellsize 2", "NODATA_value -9999"]
    for row in range(rows):
        north = y + 2 * (rows - row)
        lines.append(" ".join(
            "-9999" if (row * columns + column) % 97 == 5 else
            f"{scale * math.sin((x + 2 * column) / 17) + 15 * math.cos(north / 11):.2f}"
            for column in range(columns)))
    return "\n".join(lines) + "\n"


def _scan(points, seed, spread=100.0):
    lines = []
    for n in range(points):
        k = n * 7919 + seed
        lines.append(f"{k * 31 % 1000 / 1000 * spread:.2f} {k * 17 % 1000 / 1000 * spread:.2f} "
                     f"{k % 97 / 10:.1f} {k % 4096} {k % 256} {k // 3 % 256} {k // 7 % 256}")
    return "\n".join(lines) + "\n"


def _heights(columns, rows):
    return "".join(f"{3512200 + 10 * x} {5401000 + 10 * y} {x * y % 17}.5\n"
                   for y in range(rows) for x in range(columns))


def _city(houses, seed):
    """Boxes in a row, as footprints and as shells."""
    vertices, objects = [], {}
    for n in range(houses):
        first, x, height = len(vertices), 3512000 + 20 * n, 300 + (n * 7 + seed) % 9
        for z in (290, height):
            vertices += [[x, 5401000, z], [x + 12, 5401000, z], [x + 12, 5401009, z],
                         [x, 5401009, z]]
        floor, roof = [first + k for k in (0, 3, 2, 1)], [first + k for k in (4, 5, 6, 7)]
        walls = [[first + k, first + (k + 1) % 4, first + 4 + (k + 1) % 4, first + 4 + k]
                 for k in range(4)]
        shell = [[ring] for ring in (floor, roof, *walls)]
        objects[f"house {n}"] = {"type": "Building", "geometry": [
            {"type": "MultiSurface", "lod": "1", "boundaries": [[roof]]},
            {"type": "Solid", "lod": "2", "boundaries": [shell]}]}
    return json.dumps({"type": "CityJSON", "version": "2.0", "CityObjects": objects,
                       "vertices": vertices})


TEXTS = {
    "a.asc": lambda: _raster(60, 50, 0, 0),
    "b.asc": lambda: _raster(20, 50, 120, 0),
    "old.asc": lambda: _raster(12, 10, 0, 0, scale=7.0),
    "scan.txt": lambda: _scan(400, 1),
    "more.txt": lambda: _scan(150, 2),
    "old.txt": lambda: _scan(9, 5),
    "wide.txt": lambda: _scan(60, 3),
    "heights.txt": lambda: _heights(20, 15),
    "town.json": lambda: _city(40, 0),
    "village.json": lambda: _city(3, 4),
    "old.obj": lambda: "# an older surface\nv 0 0 0\n",
    "old.geojson": lambda: '{"type":"FeatureCollection","features":[]}\n',
}

_COLUMNS = ("columns", "-c", "point:Positions:0,1,2", "-c", "float:Intensity:3", "-c",
            "rgb:Colour:4,5,6")
_LATTICE = ("refragment", "--fragment-length=25,25,0", "--overlap=0.1")
_PACKED = ("refragment", "--fragment-length=0.97,0.97,0", "--threads=1")

# Files of the program's own making: the words of the command, in which "{}" is the file.
MADE = {
    "scan.q8": (*_COLUMNS, "-o", "{}", "scan.txt"),
    "more.q8": (*_COLUMNS, "--compression", "3", "-o", "{}", "more.txt"),
    "old-columns.q8": (*_COLUMNS, "-o", "{}", "old.txt"),
    "old-raster.q8": ("raster", "-o", "{}", "old.asc"),
    "old-terrain.q8": ("terrain", "-o", "{}", "a.asc", "heights.txt"),
    "footprints.q8": ("import-cityjson", "--lod", "1", "-o", "{}", "town.json"),
    "more-footprints.q8": ("import-cityjson", "--lod", "1", "-o", "{}", "village.json"),
    "shells.q8": ("import-cityjson", "--lod", "2", "-o", "{}", "town.json"),
    "more-shells.q8": ("import-cityjson", "--lod", "2", "-o", "{}", "village.json"),
    "surface.q8": ("lod2", "-o", "{}", "shells.q8", "more-shells.q8"),
    "old-surface.q8": ("lod1", "-o", "{}", "more-footprints.q8"),
    "tiles.q8": ("grid", "-o", "{}", "a.asc", "b.asc"),
    "old-tiles.q8": ("grid", "-o", "{}", "old.asc"),
    "lines.q8": ("contours", "--step", "5", "-o", "{}", "tiles.q8"),
    "old-lines.q8": ("contours", "--step", "9", "-o", "{}", "old-tiles.q8"),
    "lattice.q8": (*_LATTICE, "--compression", "weak", "-o", "{}", "scan.q8"),
    "old-lattice.q8": (*_LATTICE, "-o", "{}", "old-columns.q8"),
    "wide.q8": (*_COLUMNS, "-o", "{}", "wide.txt"),
    "packed.q8": (*_PACKED, "-o", "{}", "wide.q8"),
    "joined.q8": (*_LATTICE, "--external", "parts", "-o", "{}", "scan.q8"),
    "old-joined.q8": (*_LATTICE, "--external", "ext", "-o", "{}", "old-columns.q8"),
}
# Files that come into being beside one of MADE.
BESIDE = {"parts/Intensity.q8": "joined.q8", "parts/Colour.q8": "joined.q8",
          "ext/Intensity.q8": "old-joined.q8", "ext/Colour.q8": "old-joined.q8"}


class Stock:
    """The files that jobs start from, each made when it is first asked for."""

    def __init__(self, program, folder):
        self.program, self.folder, self.contents = program, folder, {}

    def __getitem__(self, name):
        if name not in self.contents:
            self._make(BESIDE.get(name, name))
            self.contents[name] = self.folder.read(name)
        return self.contents[name]

    def _make(self, name):
        if name in TEXTS:
            self.folder.write(name, TEXTS[name]().encode())
            return
        words = MADE[name]
        for word in words:
            if word in TEXTS or word in MADE:
                self[word]
        ended = self.program.run([name if word == "{}" else word for word in words], self.folder)
        if ended.code != 0:
            raise RuntimeError(f"can't make {name}: {' '.join(words)}: {ended.crash or ended.code}, "
                               f"{ended.last_line()}")


@dataclass(frozen=True)
class Job:
    """A command on small inputs."""
    name: str
    words: tuple
    inputs: tuple
    old: dict = field(default_factory=dict)  # each file that it writes, and what stands there before
    completes: bool = False  # a run that fails completes its output with what was stored before
    appends: bool = False    # what stood in the output before is an input too

    @property
    def output(self):
        """The main output; None for a command that only prints."""
        return next(iter(self.old), None)

    @property
    def writes(self):
        return bool(self.old)

    def command(self, output=None, inputs=None):
        words = []
        for word in self.words:
            words += ([self.output if output is None else output] if word is OUT else inputs or self.inputs
                      if word is IN else [word])
        return words

    def needs(self):
        """The files of the stock that lie in its folder, old outputs apart."""
        beside = [name for name, made in BESIDE.items() if made in self.inputs]
        return [*self.inputs, *beside]

    def fill(self, folder, stock):
        """Brings the inputs and the old outputs into a folder."""
        for name in self.needs():
            folder.write(name, stock[name])
        for name, old in self.old.items():
            folder.write(name, stock[old])


def _q8(name, *words, inputs, old, **more):
    return Job(name, (*words, "-o", OUT, IN), inputs, {"out.q8": old}, **more)


JOBS = [
    _q8("raster", "raster", inputs=("a.asc",), old="old-raster.q8"),
    _q8("terrain", "terrain", inputs=("a.asc", "heights.txt", "scan.q8"), old="old-raster.q8",
        completes=True),
    _q8("terrain-append", "terrain", "--append", inputs=("b.asc", "more.q8"), old="old-terrain.q8",
        completes=True, appends=True),
    _q8("columns", *_COLUMNS, inputs=("scan.txt", "more.txt"), old="old-columns.q8", completes=True),
    _q8("columns-compressed", *_COLUMNS, "--compression", "5", inputs=("scan.txt", "more.txt"),
        old="old-columns.q8", completes=True),
    _q8("import-cityjson", "import-cityjson", "--lod", "2", inputs=("town.json", "village.json"),
        old="more-shells.q8", completes=True),
    _q8("lod1", "lod1", inputs=("footprints.q8", "more-footprints.q8"), old="old-surface.q8"),
    _q8("lod2", "lod2", inputs=("shells.q8", "more-shells.q8"), old="old-surface.q8"),
    _q8("grid", "grid", inputs=("a.asc", "b.asc"), old="old-tiles.q8", completes=True),
    _q8("contours", "contours", "--step", "5", inputs=("tiles.q8",), old="old-lines.q8"),
    _q8("refragment", *_LATTICE, inputs=("scan.q8", "more.q8"), old="old-lattice.q8",
        completes=True),
    _q8("refragment-joined", *_LATTICE, "--compression", "strong", inputs=("lattice.q8", "joined.q8"),
        old="old-lattice.q8", completes=True),
    _q8("refragment-packed", *_PACKED, inputs=("packed.q8",), old="old-lattice.q8", completes=True),
    Job("refragment-external", (*_LATTICE, "--external", "ext", "-o", OUT, IN),
        ("scan.q8", "more.q8"), {"out.q8": "old-joined.q8", "ext/Intensity.q8": "ext/Intensity.q8",
                                 "ext/Colour.q8": "ext/Colour.q8"}, completes=True),
    Job("export-obj", ("export-obj", IN, OUT), ("surface.q8",), {"out.obj": "old.obj"}),
    Job("export-geojson", ("export-geojson", IN, OUT), ("lines.q8",), {"out.geojson": "old.geojson"}),
    Job("info", ("info", IN), ("joined.q8",)),
    Job("info-json", ("info", "--json", IN), ("surface.q8",)),
    Job("verify", ("verify", IN), ("joined.q8",)),
    Job("refragment-plan", (*_LATTICE, "--plan-only", "-o", "out.q8", IN), ("scan.q8", "more.q8")),
    Job("columns-preview", ("columns", "--preview", IN), ("scan.txt",)),
]


@dataclass
class Reference:
    """What an undisturbed run leaves behind and prints."""
    files: dict
    output: bytes
    seconds: float
    content: content.Content | None


class States:
    """What the outputs of a job can be: the old ones, those of an undisturbed run, or a part."""

    def __init__(self, job, old, reference):
        self.job, self.old, self.reference = job, old, reference

    def of(self, folder, output=None):
        """\\param output the name of the main output where it isn't the job's own. \\return "old",
        "new", "part", "mixed" (the old main file with new external ones) or what else is there"""
        names = {name: output if output and name == self.job.output else name for name in self.old}
        found = {name: folder.read(there) for name, there in names.items()}
        if found == self.old:
            return "old"
        if found == self.reference.files:
            return "new"
        gone = [name for name in found if found[name] is None]
        if gone:
            return f"{', '.join(gone)} gone"
        main = self.job.output
        if not main.endswith(".q8"):
            return f"{main}: {len(found[main])} bytes, neither the old ones nor the new ones"
        if found[main] == self.old[main]:
            whole = all(found[name] in (self.old[name], self.reference.files[name]) for name in found)
            return "mixed" if whole else "the old main file with torn external files"
        seen = content.read(folder / names[main])
        if isinstance(seen, str):
            return f"{main} can't be read: {seen}"
        difference = content.difference(seen, self.reference.content)
        if not difference:
            return "new"
        if not seen.data:
            return "a file without data"
        known = dict(self.reference.content.data)
        if self.job.appends:
            known = {**content.read_bytes(self.old[main]).data, **known}
        if all(known.get(name) == data for name, data in seen.data.items()):
            return "part"
        return f"{main}: {difference}"
