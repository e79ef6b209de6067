"""Meshes for the scenes: lathe, extrusion, sphere and ring, written as .mi objects.

Lengths are in metres, +y is up, faces are counter-clockwise seen from outside. Every vertex has
a point, a normal and one texture coordinate.
"""

import itertools
import math

import numpy

DECIMALS = 4  # of the numbers in a mesh's text


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
        at = numpy.array(points, float)
        rows, columns = at.shape[:2]

        # Give each cell the cross product of its diagonals, and the grid a margin without any.
        cell = numpy.zeros((rows + 1, columns + 1, 3))
        cell[1:-1, 1:-1] = numpy.stack(_cross(
            numpy.moveaxis(at[1:, 1:] - at[:-1, :-1], 2, 0),
            numpy.moveaxis(at[1:, :-1] - at[:-1, 1:], 2, 0)), axis=2)
        if closed:
            cell[:, 0], cell[:, -1] = cell[:, -2], cell[:, 1]
        below, above = cell[:-1], cell[1:]
        left = right = unit_rows(below[:, 1:-1] + above[:, 1:-1])
        if not facets:
            normals = unit_rows(below[:, :-1] + below[:, 1:] + above[:, :-1] + above[:, 1:])
            left, right = normals[:, :-1], normals[:, 1:]

        # A pole touches every strip.
        for i in numpy.flatnonzero((at.round(7) == at[:, :1].round(7)).all(axis=(1, 2))):
            around = numpy.concatenate((below[i, 1:-1], above[i, 1:-1]))
            left[i] = right[i] = unit_rows(around.cumsum(axis=0)[-1])
        self._cells(at, (left[:-1], right[:-1], right[1:], left[1:]), numpy.array(texture, float))

    def _cells(self, at, normals, texture):
        """A face for each cell of a grid whose corners, those that coincide taken as one, are three
        at least. normals: four arrays, for the corners of each cell."""
        def corners(values):
            return values[:-1, :-1], values[:-1, 1:], values[1:, 1:], values[1:, :-1]

        places = corners(at)
        kept = []
        for k, place in enumerate(places):
            own = numpy.ones(place.shape[:2], bool)
            for other, known in zip(places, kept):
                own &= ~known | (numpy.sqrt(((place - other) ** 2).sum(axis=2)) > 1e-6)
            kept.append(own)
        parts = [numpy.stack(four, axis=2).reshape(-1, 4, 3).tolist()
                 for four in (places, normals, corners(texture))]
        for keep, p, n, t in zip(numpy.stack(kept, axis=2).reshape(-1, 4).tolist(), *parts):
            face = [(tuple(p[c]), tuple(n[c]), tuple(t[c])) for c in range(4) if keep[c]]
            if len(face) > 2:
                self.face(face)

    def lathe(self, runs, segments=48, facets=False, radius_at=None):
        """Turns a profile about the y axis.

        runs: smooth pieces, each a list of (radius, height), from the bottom up along the
        outside (and down again along the inside of a vessel); where runs meet is an edge.
        radius_at(angle, radius, height): the radius at an angle, for flutes and lobes.
        """
        total = sum(math.dist(a, b) for run in runs for a, b in zip(run, run[1:]))
        length = 0.0
        angles = [2 * math.pi * (s % segments) / segments for s in range(segments + 1)]
        turns = [(a, math.sin(a), math.cos(a)) for a in angles]
        for run in runs:
            points, texture = [], []
            for k, (radius, y) in enumerate(run):
                length += math.dist(run[k - 1], run[k]) if k else 0
                row = []
                for a, sine, cosine in turns:
                    r = radius_at(a, radius, y) if radius_at else radius
                    row.append((r * sine, y, r * cosine))
                points.append(row)
                texture.append([(s / segments, length / total, 0) for s in range(segments + 1)])
            self.grid(points, texture, closed=True, facets=facets)

    def sphere(self, radius, segments=48, rows=24, centre=(0, 0, 0)):
        """Longitude runs along u, latitude along v, north (v = 1) on top."""
        normals, texture = [], []
        for r in range(rows + 1):
            latitude = math.pi * (r / rows - 0.5)
            width, height = math.cos(latitude) if 0 < r < rows else 0, math.sin(latitude)
            row = []
            for k in range(segments + 1):
                longitude = 2 * math.pi * k / segments
                row.append((width * math.sin(longitude), height, width * math.cos(longitude)))
            normals.append(row)
            texture.append([(k / segments, r / rows, 0) for k in range(segments + 1)])
        n = numpy.array(normals, float)
        self._cells(numpy.array(centre, float) + radius * n,
                    (n[:-1, :-1], n[:-1, 1:], n[1:, 1:], n[1:, :-1]), numpy.array(texture, float))

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

    def text(self):
        """The vectors, vertices and polygons of a group; polygons name no material."""
        corners = [corner for face in self.faces for corner in face]
        flat = itertools.chain.from_iterable(part for corner in corners for part in corner)
        numbers = _fixed(numpy.fromiter(flat, float, 9 * len(corners)))
        values, of_value = numpy.unique(numbers, return_inverse=True)
        vectors, of_vector = _distinct(of_value.reshape(-1, 3))
        vertices, of_vertex = _distinct(of_vector.reshape(-1, 3))
        names = [_decimal(value) for value in values.tolist()]
        lines = [f"{names[x]} {names[y]} {names[z]}" for x, y, z in vectors]
        lines += [f"v {p} n {n} t {t}" for p, n, t in vertices]
        ids = map(str, of_vertex.tolist())
        for face in self.faces:
            own = list(itertools.islice(ids, len(face)))
            if len(set(own)) > 2:
                lines.append("c " + " ".join(own))
        return "\n".join(lines)


def unit_rows(vectors):
    """Vectors of length 1 along those of an array's last axis; null vectors stay."""
    squares = vectors * vectors
    length = numpy.sqrt(squares[..., 0] + squares[..., 1] + squares[..., 2])[..., None]
    return vectors / numpy.where(length > 0, length, 1)


def _fixed(values):
    """Numbers as multiples of their last decimal, rounded as their text would be."""
    scaled = values * 10 ** DECIMALS
    rounded = numpy.rint(scaled)
    for k in numpy.flatnonzero(abs(abs(scaled - rounded) - 0.5) < 1e-6):
        rounded[k] = round(float(f"{values[k]:.{DECIMALS}f}") * 10 ** DECIMALS)
    return rounded.astype(numpy.int64)


def _decimal(value):
    """The shortest text of a number from _fixed."""
    return f"{value / 10 ** DECIMALS:.{DECIMALS}f}".rstrip("0").rstrip(".")


def _distinct(triples):
    """The different ones of an array's rows by first appearance, and for each row which it is."""
    bits = int(triples.max(initial=0)).bit_length()
    assert 3 * bits < 64, "a mesh has too many vertices"
    keys = (triples[:, 0] << 2 * bits) | (triples[:, 1] << bits) | triples[:, 2]
    _, first, of_row = numpy.unique(keys, return_index=True, return_inverse=True)
    order = numpy.argsort(first)
    rank = numpy.empty_like(order)
    rank[order] = numpy.arange(len(order))
    return triples[first[order]].tolist(), rank[of_row]
