"""Builds the frame of scenes/frosty.mi.

Lengths are in decimetres. Four openings, 1.9 wide and 3.9 high, stand side by side about x = 0 in the
plane z = 0, on a rail with feet.
"""

from harbour import put
from parts import make
from robot import turned_part
from shapes import Mesh, arc


def bar(mesh, low, high, edge=0.03):
    """A box with bevelled edges along its longest side."""
    axis = max(range(3), key=lambda k: high[k] - low[k])
    u, v = [k for k in (1, 2, 0, 1) if k != axis][:2] if axis else (1, 2)
    ring = [(low[u] + edge, low[v]), (high[u] - edge, low[v]), (high[u], low[v] + edge), (high[u], high[v] - edge),
            (high[u] - edge, high[v]), (low[u] + edge, high[v]), (low[u], high[v] - edge), (low[u], low[v] + edge)]

    def corner(at, end):
        p = [0.0, 0.0, 0.0]
        p[axis], p[u], p[v] = end[axis], at[0], at[1]
        return tuple(p)

    for a, b in zip(ring, ring[1:] + ring[:1]):
        mesh.flat([corner(a, low), corner(b, low), corner(b, high), corner(a, high)], 0.3)
    mesh.flat([corner(p, high) for p in ring], 0.3)
    mesh.flat([corner(p, low) for p in reversed(ring)], 0.3)


def screen():
    mesh = Mesh()
    for k in range(5):
        x = 2.05 * (k - 2)
        bar(mesh, (x - 0.075, 0.10, -0.10), (x + 0.075, 4.25, 0.10))
        bar(mesh, (x - 0.14, 0.0, -0.55), (x + 0.14, 0.16, 0.55))
        knob = [[(0, 0), (0.06, 0)], [(0.06, 0), (0.05, 0.05)], arc(0, 0.14, 0.10, -60, 90, 10)]
        put(mesh, turned_part(knob, 24), x, 4.25, 0)
    for y in (0.16, 4.05):
        for k in range(4):
            x = 2.05 * (k - 2)
            bar(mesh, (x + 0.075, y, -0.07), (x + 1.975, y + 0.12, 0.07))
    return mesh


if __name__ == "__main__":
    make([("screen", screen, "A frame with four openings, 4.25 high.")])
