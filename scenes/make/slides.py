"""Paints the slides that the scenes' lights project.

rose.png     a rose window: rings of colored panes between dark leads
compass.png  a compass star, for a light that points down on a floor
stars.png    stars and moons for a point light: the whole sphere of directions, north up
"""

import math

import numpy

from parts import make
from picture import (BLACK, by_case, clamp, fractal, mix, noise, paint, pick, png, scaled, smooth,
                     where)

LEAD = 0.011  # half the width of a lead, in radii of the window

RUBY, GOLD, COBALT = (0.95, 0.07, 0.10), (1.0, 0.70, 0.10), (0.08, 0.20, 0.95)
EMERALD, VIOLET, SKY = (0.05, 0.70, 0.28), (0.55, 0.12, 0.85), (0.20, 0.62, 0.98)
CREAM = (1.0, 0.90, 0.66)


def fold(angle, count):
    """The angle within its sector of count equal ones, -half .. half, and the sector's number."""
    width = 2 * math.pi / count
    sector = numpy.floor(angle / width + 0.5)
    return angle - sector * width, sector.astype(int) % count


def circle(x, y, cx, cy, radius):
    return numpy.hypot(x - cx, y - cy) - radius


def petal(x, y, start, end, half_width):
    """Distance-like value (negative inside) of an upright petal: a wedge with a round head."""
    head = end - half_width
    width = half_width * (0.42 + 0.58 * clamp((y - start) / (head - start)))
    return numpy.where(y > head, numpy.hypot(x, y - head) - half_width,
                       numpy.maximum(abs(x) - width, start - y))


def glass(color, x, y, seed):
    """A pane of hand-made glass: the color, uneven and a little paler in places."""
    shade = 0.72 + 0.42 * fractal(x * 9 + seed * 3.7, y * 9 + seed * 1.3, 2, seed=seed)
    return mix(scaled(color, shade), CREAM, 0.12 * noise(x * 5 - seed, y * 5, seed=seed + 9))


def window(panes, x, y):
    """The first pane (distance, colors, which one, seed) that holds a point; lead at its edges."""
    distance, color, seed = numpy.full(len(x), numpy.inf), BLACK, 0
    for away, colors, which, number in reversed(panes):
        inside = away < LEAD
        distance = numpy.where(inside, away, distance)
        color = where(inside, pick(colors, which), color)
        seed = numpy.where(inside, number, seed)
    return scaled(glass(color, x, y, seed), smooth(0.0, -0.008, distance + LEAD * 0.5))


def upright(radius, angle, count, turn=0.0):
    """The plane folded to an upright sector of a ring: the point there, the sector's number."""
    a, k = fold(angle + turn, count)
    return radius * numpy.sin(a), radius * numpy.cos(a), k


def oculi(x, y, radius, angle):
    px, py, k = upright(radius, angle, 24)
    return window([(circle(px, py, 0, 0.885, 0.078), (RUBY, GOLD, EMERALD, GOLD), k % 4, k),
                   (0.806 - radius, (COBALT,), 0, 40 + k)], x, y)


def great_petals(x, y, radius, angle):
    px, py, k = upright(radius, angle, 12)
    qx, qy, n = upright(radius, angle, 12, math.pi / 12)
    inner = petal(px, py, 0.48, 0.715, 0.058)
    outer = numpy.maximum(petal(px, py, 0.42, 0.775, 0.125), 0.010 - inner)
    return window([(inner, (GOLD, CREAM), k % 2, 90 + k), (outer, (RUBY, VIOLET), k % 2, 100 + k),
                   (circle(qx, qy, 0, 0.735, 0.050), (SKY,), 0, 120 + n),
                   (0.42 - radius, (COBALT, EMERALD), n % 2, 140 + n)], x, y)


def small_petals(x, y, radius, angle):
    px, py, k = upright(radius, angle, 12, math.pi / 12)
    ring = numpy.maximum(radius - 0.392, 0.185 - radius)
    return window([(petal(px, py, 0.185, 0.390, 0.068), (GOLD, SKY), k % 2, 160 + k),
                   (ring, (EMERALD, RUBY), k % 2, 180 + k)], x, y)


def rosette(x, y, radius, angle):
    px, py, k = upright(radius, angle, 6)
    return window([(radius - 0.052, (CREAM,), 0, 200),
                   (circle(px, py, 0, 0.105, 0.046), (RUBY,), 0, 210 + k),
                   (radius - 0.165, (GOLD,), 0, 220 + k)], x, y)


def rose(u, v):
    """Eighteen oculi, twelve great petals with lights between them, twelve small, a rosette."""
    x, y = 2 * u - 1, 2 * v - 1
    radius, angle = numpy.hypot(x, y), numpy.arctan2(x, y)
    return by_case((x, y, radius, angle), (radius > 0.985, BLACK), (radius > 0.79, oculi),
                   (radius > 0.405, great_petals), (radius > 0.17, small_petals),
                   (radius <= 0.17, rosette))


def star_ray(px, py, length, half_width):
    """Where a point lies in an upright pointed ray: (distance-like value, right half or not)."""
    t = clamp(py / length)
    shoulder = 0.22
    width = half_width * numpy.where(t < shoulder, t / shoulder, (1 - t) / (1 - shoulder))
    return numpy.where((0 < py) & (py < length), abs(px) - width, 1.0), px > 0


def beads(radius, angle):
    px, py, k = upright(radius, angle, 32)
    bead = circle(px, py, 0, 0.878, numpy.where(k % 2 == 0, 0.052, 0.026))
    color = pick((GOLD, CREAM, SKY, CREAM), k % 4)
    return where(bead < 0.010, scaled(color, smooth(0.006, -0.004, bead)),
                 mix((0.02, 0.05, 0.20), COBALT, 0.25))


def wind_rose(radius, angle):
    """Three times eight rays over ripples; the first rays lie on top."""
    ripple = 0.5 + 0.5 * numpy.cos(radius * 70)
    color = mix((0.01, 0.04, 0.14), (0.05, 0.18, 0.40), ripple * 0.7)
    color = where(0.765 < radius, scaled(GOLD, 0.9), color)
    rays = ((4, 0.0, 0.74, 0.150, GOLD, RUBY),
            (4, math.pi / 4, 0.66, 0.125, SKY, COBALT),
            (8, math.pi / 8, 0.50, 0.085, CREAM, EMERALD))
    for count, turn, length, half_width, light, dark in reversed(rays):
        px, py, _ = upright(radius, angle, count, turn)
        distance, right = star_ray(px, py, length, half_width)
        ray = scaled(where(right, light, dark), smooth(0.002, -0.008, distance))
        color = where(distance < 0.012, ray, color)
    return color


def compass(u, v):
    """A wind rose in a ring of ticks and beads."""
    x, y = 2 * u - 1, 2 * v - 1
    radius, angle = numpy.hypot(x, y), numpy.arctan2(x, y)
    return by_case((radius, angle), (radius > 0.985, BLACK),
                   (radius < 0.060, lambda r, _: scaled(CREAM, smooth(0.060, 0.050, r))),
                   ((0.80 < radius) & (radius < 0.955), beads), (radius <= 0.985, wind_rose))


def sky_signs(count=130):
    """Signs spread evenly over the sphere: (centre, right, up, size, kind, color)."""
    signs = []
    for k in range(count):
        y = 1 - (2 * k + 1) / count
        ring, turn = math.sqrt(1 - y * y), k * 2.399963
        centre = (ring * math.sin(turn), y, ring * math.cos(turn))
        right = (math.cos(turn), 0.0, -math.sin(turn))
        up = (-centre[1] * math.sin(turn), ring, -centre[1] * math.cos(turn))
        chance, lean = noise(k, 0, seed=5), 0.9 * (noise(k, 0, seed=6) - 0.5)
        right, up = (tuple(p * math.cos(lean) + q * math.sin(lean) for p, q in zip(right, up)),
                     tuple(q * math.cos(lean) - p * math.sin(lean) for p, q in zip(right, up)))
        kind = "moon" if chance < 0.16 else "star" if chance < 0.70 else "spark"
        size = {"moon": 0.125, "star": 0.070 + 0.080 * chance, "spark": 0.035}[kind]
        color = {"moon": (1.0, 0.93, 0.75), "spark": (0.75, 0.88, 1.0),
                 "star": ((1.0, 0.74, 0.22), (1.0, 0.55, 0.18), (0.98, 0.86, 0.50))[k % 3]}[kind]
        signs.append((centre, right, up, size, kind, color))
    return signs


def inside_sign(kind, x, y):
    """Whether a point of the unit disc lies on a five-pointed star, a crescent or a spark."""
    radius = numpy.hypot(x, y)
    if kind == "moon":
        return (radius < 1) & (numpy.hypot(x - 0.42, y - 0.12) > 0.82)
    a, _ = fold(numpy.arctan2(x, y), 5 if kind == "star" else 4)
    reach, waist = (1.0, 0.42) if kind == "star" else (1.0, 0.22)
    half = math.pi / (5 if kind == "star" else 4)
    # The side runs from the tip at angle 0 to the waist at half a sector.
    tip, notch = (0.0, reach), (waist * math.sin(half), waist * math.cos(half))
    px, py = radius * numpy.sin(abs(a)), radius * numpy.cos(a)
    ex, ey = notch[0] - tip[0], notch[1] - tip[1]
    return ex * (py - tip[1]) - ey * (px - tip[0]) < 0


def starry(signs):
    """The painter of stars.png: longitude across (the middle looks along -z), latitude up."""
    def painter(u, v):
        longitude, latitude = 2 * math.pi * (1 - u), math.pi * (v - 0.5)
        width = numpy.cos(latitude)
        d = (width * numpy.sin(longitude), numpy.sin(latitude), width * numpy.cos(longitude))
        low, high = d[1].min(), d[1].max()
        color = mix((0.105, 0.095, 0.175), (0.150, 0.135, 0.250), v)
        for centre, right, up, size, kind, own in reversed(signs):
            if not low - size < centre[1] < high + size:
                continue
            along = centre[0] * d[0] + centre[1] * d[1] + centre[2] * d[2]
            at = numpy.flatnonzero(along > 1 - size * size)
            near, along = [part[at] for part in d], along[at]
            x, y = ((a[0] * near[0] + a[1] * near[1] + a[2] * near[2]) / (along * size)
                    for a in (right, up))
            at = at[(x * x + y * y < 1) & inside_sign(kind, -x, y)]
            for channel, value in zip(color, own):
                channel[at] = value
        return color
    return painter


if __name__ == "__main__":
    make(files=[("slides/rose.png", lambda: png(paint(512, 512, rose))),
                ("slides/compass.png", lambda: png(paint(512, 512, compass))),
                ("slides/stars.png", lambda: png(paint(1024, 512, starry(sky_signs()), 2)))])
