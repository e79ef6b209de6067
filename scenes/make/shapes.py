"""Meshes for the scenes: lathe, extrusion, sphere and ring, written as .mi objects.

Lengths are in metres, +y is up, faces are counter-clockwise seen from outside. Every vertex has
a point, a normal and one texture coordinate. Standard library only.
"""

import math


def _cross(a, b):
    return (a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0])


def _sub(a, b):
    return tuple(p - q for p, q in zip(a, b))


def _add(a, b):
    return tuple(p + q for p, q in zip(a, b))


def normalised(a):
    length = math.sqrt(sum(p * p for p in a))
    return tuple(p / length for p in a) if length > 0 else a


def curve(points, steps=6):
    """A smooth run through the points (Catmull-Rom), steps pieces between two of them."""
    ends = [points[0]] + list(points) + [points[-1]]
    run = []
    for a, b, c, d in zip(ends, ends[1:], ends[2:], ends[3:]):
        for k in range(steps):
            t = k / steps
            run.append(tuple(0.5 * (2 * q + (r - p) * t + (2 * p - 5 * q + 4 * r - s) * t * t +
                                    (3 * q - p - 3 * r + s) * t * t * t)
                             for p, q, r, s in zip(a, b, c, d)))
    return run + [points[-1]]


def arc(cx, cy, radius, start, end, steps):
    """Part of a circle in the plane of the profile; angles in degrees."""
    angles = (math.radians(start + (end - start) * k / steps) for k in range(steps + 1))
    return [(cx + radius * math.cos(a), cy + radius * math.sin(a)) for a in angles]


class Mesh:
    """Polygons whose corners are (point, normal, texture coordinate)."""

    def __init__(self):
        self.faces = []

    def face(self, corners):
        self.faces.append(corners)

    def flat(self, points, scale=1.0):
        """A flat polygon; its texture coordinates are metres times scale, in its own plane."""
        normal = normalised(_cross(_sub(points[1], points[0]), _sub(points[-1], points[0])))
        along = (0, 0, 1) if abs(normal[0]) > 0.7 else (1, 0, 0)
        up = (0, 1, 0) if abs(normal[1]) < 0.8 else (0, 0, 1)
        self.face([(p, normal, (scale * sum(a * b for a, b in zip(p, along)),
                                scale * sum(a * b for a, b in zip(p, up)), 0)) for p in points])

    def box(self, low, high, scale=1.0):
        (a, b, c), (d, e, f) = low, high
        for quad in (((a, b, f), (d, b, f), (d, e, f), (a, e, f)),
                     ((d, b, c), (a, b, c), (a, e, c), (d, e, c)),
                     ((d, b, f), (d, b, c), (d, e, c), (d, e, f)),
                     ((a, b, c), (a, b, f), (a, e, f), (a, e, c)),
                     ((a, e, f), (d, e, f), (d, e, c), (a, e, c)),
                     ((a, b, c), (d, b, c), (d, b, f), (a, b, f))):
            self.flat(quad, scale)

    def grid(self, points, texture, closed=False, facets=False):
        """A surface over rows of points; texture[row][column] likewise.

        Normals are the sums of the neighbouring faces' normals. closed: the last column lies on
        the first. facets: each strip between two columns keeps normals of its own.
        """
        rows, columns = len(points), len(points[0])

        # Give each cell the cross product of its diagonals.
        cell = [[_cross(_sub(points[i + 1][j + 1], points[i][j]),
                        _sub(points[i + 1][j], points[i][j + 1]))
                 for j in range(columns - 1)] for i in range(rows - 1)]

        def normal(i, j, strip):
            if len({tuple(round(c, 7) for c in p) for p in points[i]}) == 1:
                strips = range(columns - 1)  # a pole touches every strip
            elif facets:
                strips = (strip,)
            else:
                strips = {k % (columns - 1) if closed else k for k in (j - 1, j)}
            total = (0.0, 0.0, 0.0)
            for r in (i - 1, i):
                for k in strips:
                    if 0 <= r < rows - 1 and 0 <= k < columns - 1:
                        total = _add(total, cell[r][k])
            return normalised(total)

        for i in range(rows - 1):
            for j in range(columns - 1):
                corners = []
                for r, k in ((i, j), (i, j + 1), (i + 1, j + 1), (i + 1, j)):
                    corner = (points[r][k], normal(r, k, j), texture[r][k])
                    if all(math.dist(corner[0], c[0]) > 1e-6 for c in corners):
                        corners.append(corner)
                if len(corners) > 2:
                    self.face(corners)

    def lathe(self, runs, segments=48, facets=False, radius_at=None):
        """Turns a profile about the y axis.

        runs: smooth pieces, each a list of (radius, height), from the bottom up along the
        outside (and down again along the inside of a vessel); where runs meet is an edge.
        radius_at(angle, radius, height): the radius at an angle, for flutes and lobes.
        """
        total = sum(math.dist(a, b) for run in runs for a, b in zip(run, run[1:]))
        length = 0.0
        for run in runs:
            points, texture = [], []
            for k, (radius, y) in enumerate(run):
                length += math.dist(run[k - 1], run[k]) if k else 0
                row, coordinates = [], []
                for s in range(segments + 1):
                    a = 2 * math.pi * (s % segments) / segments
                    r = radius_at(a, radius, y) if radius_at else radius
                    row.append((r * math.sin(a), y, r * math.cos(a)))
                    coordinates.append((s / segments, length / total, 0))
                points.append(row)
                texture.append(coordinates)
            self.grid(points, texture, closed=True, facets=facets)

    def sphere(self, radius, segments=48, rows=24, centre=(0, 0, 0)):
        """Longitude runs along u, latitude along v, north (v = 1) on top."""
        for i in range(rows):
            for j in range(segments):
                corners = []
                for r, k in ((i, j), (i, j + 1), (i + 1, j + 1), (i + 1, j)):
                    latitude, longitude = math.pi * (r / rows - 0.5), 2 * math.pi * k / segments
                    width = math.cos(latitude) if 0 < r < rows else 0
                    n = (width * math.sin(longitude), math.sin(latitude),
                         width * math.cos(longitude))
                    p = tuple(c + radius * d for c, d in zip(centre, n))
                    if all(math.dist(p, c[0]) > 1e-6 for c in corners):
                        corners.append((p, n, (k / segments, r / rows, 0)))
                self.face(corners)

    def ring(self, radius, thickness, axis="y", segments=48, sides=10, centre=(0, 0, 0)):
        """A torus about the axis y or z; radius to the middle of its round section."""
        points, texture = [], []
        for i in range(sides + 1):
            b = 2 * math.pi * (i % sides) / sides
            row = []
            for s in range(segments + 1):
                a = 2 * math.pi * (s % segments) / segments
                r, h = radius + thickness * math.cos(b), thickness * math.sin(b)
                p = (r * math.sin(a), h, r * math.cos(a))
                p = p if axis == "y" else (p[0], p[2], -p[1])
                row.append(_add(centre, p))
            points.append(row)
            texture.append([(s / segments, i / sides, 0) for s in range(segments + 1)])
        start = len(self.faces)
        self.grid(points + [points[1]], texture + [texture[1]], closed=True)
        # The row that was added only gave the seam its normals.
        inner = self.faces[start + segments:]
        self.faces[start:] = inner

    def extrude(self, profile, length, scale=1.0):
        """Draws an open profile of (z, y), from the bottom up, along x from 0 to length."""
        for a, b in zip(profile, profile[1:]):
            self.flat([(0, a[1], a[0]), (length, a[1], a[0]),
                       (length, b[1], b[0]), (0, b[1], b[0])], scale)

    def write(self, path, name, remark, maker="meshes.py"):
        """Writes the object; its polygons name no material, so the instance supplies it."""
        vectors, vertices = {}, {}

        def number(value):
            text = f"{value:.4f}".rstrip("0").rstrip(".")
            return "0" if text in ("-0", "") else text

        def index(table, key):
            return table.setdefault(key, len(table))

        polygons = []
        for corners in self.faces:
            ids = []
            for corner in corners:
                key = tuple(index(vectors, " ".join(number(c) for c in part)) for part in corner)
                ids.append(index(vertices, key))
            if len(set(ids)) > 2:
                polygons.append("c " + " ".join(map(str, ids)))
        text = [f"# {remark}", f"# Made by scenes/make/{maker}.", "",
                f'object "{name}"', "visible on  shadow on  trace on", "group"]
        text += list(vectors)
        text += [f"v {p} n {n} t {t}" for p, n, t in vertices]
        text += polygons + ["end group", "end object", ""]
        with open(path, "w", encoding="ascii") as file:
            file.write("\n".join(text))
        print(f"{path}: {len(polygons)} polygons")
