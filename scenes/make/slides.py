"""Paints the slides that the scenes' lights project.

rose.png     a rose window: rings of coloured panes between dark leads
compass.png  a compass star, for a light that points down on a floor
stars.png    stars and moons for a point light: the whole sphere of directions, north up
"""

import math

from parts import make
from picture import BLACK, clamp, fractal, mix, noise, paint, png, scaled, smooth

LEAD = 0.011  # half the width of a lead, in radii of the window

RUBY, GOLD, COBALT = (0.95, 0.07, 0.10), (1.0, 0.70, 0.10), (0.08, 0.20, 0.95)
EMERALD, VIOLET, SKY = (0.05, 0.70, 0.28), (0.55, 0.12, 0.85), (0.20, 0.62, 0.98)
CREAM = (1.0, 0.90, 0.66)


def fold(angle, count):
    """The angle within its sector of count equal ones, -half .. half, and the sector's number."""
    width = 2 * math.pi / count
    sector = math.floor(angle / width + 0.5)
    return angle - sector * width, sector % count


def circle(x, y, cx, cy, radius):
    return math.hypot(x - cx, y - cy) - radius


def petal(x, y, start, end, half_width):
    """Distance-like value (negative inside) of an upright petal: a wedge with a round head."""
    head = end - half_width
    if y > head:
        return math.hypot(x, y - head) - half_width
    width = half_width * (0.42 + 0.58 * clamp((y - start) / (head - start)))
    return max(abs(x) - width, start - y)


def glass(color, x, y, seed):
    """A pane of hand-made glass: the colour, uneven and a little paler in places."""
    shade = 0.72 + 0.42 * fractal(x * 9 + seed * 3.7, y * 9 + seed * 1.3, 2, seed=seed)
    return mix(scaled(color, shade), CREAM, 0.12 * noise(x * 5 - seed, y * 5, seed=seed + 9))


def window(panes, x, y):
    """The first pane (distance, colour, seed) that holds the point; lead at the panes' edges."""
    for distance, color, seed in panes:
        if distance < LEAD:
            return scaled(glass(color, x, y, seed), smooth(0.0, -0.008, distance + LEAD * 0.5))
    return BLACK


def rose(u, v):
    """Eighteen oculi, twelve great petals with lights between them, twelve small, a rosette."""
    x, y = 2 * u - 1, 2 * v - 1
    radius, angle = math.hypot(x, y), math.atan2(x, y)
    if radius > 0.985:
        return BLACK
    panes = []

    # Fold the plane to one upright sector a ring.
    if radius > 0.79:
        a, k = fold(angle, 24)
        px, py = radius * math.sin(a), radius * math.cos(a)
        panes.append((circle(px, py, 0, 0.885, 0.078), (RUBY, GOLD, EMERALD, GOLD)[k % 4], k))
        panes.append((0.806 - radius, COBALT, 40 + k))
    elif radius > 0.405:
        a, k = fold(angle, 12)
        px, py = radius * math.sin(a), radius * math.cos(a)
        inner = petal(px, py, 0.48, 0.715, 0.058)
        panes.append((inner, (GOLD, CREAM)[k % 2], 90 + k))
        panes.append((max(petal(px, py, 0.42, 0.775, 0.125), 0.010 - inner),
                      (RUBY, VIOLET)[k % 2], 100 + k))
        a, k = fold(angle + math.pi / 12, 12)
        px, py = radius * math.sin(a), radius * math.cos(a)
        panes.append((circle(px, py, 0, 0.735, 0.050), SKY, 120 + k))
        panes.append((0.42 - radius, (COBALT, EMERALD)[k % 2], 140 + k))
    elif radius > 0.17:
        a, k = fold(angle + math.pi / 12, 12)
        px, py = radius * math.sin(a), radius * math.cos(a)
        panes.append((petal(px, py, 0.185, 0.390, 0.068), (GOLD, SKY)[k % 2], 160 + k))
        panes.append((max(radius - 0.392, 0.185 - radius), (EMERALD, RUBY)[k % 2], 180 + k))
    else:
        a, k = fold(angle, 6)
        px, py = radius * math.sin(a), radius * math.cos(a)
        panes.append((radius - 0.052, CREAM, 200))
        panes.append((circle(px, py, 0, 0.105, 0.046), RUBY, 210 + k))
        panes.append((radius - 0.165, GOLD, 220 + k))
    return window(panes, x, y)


def star_ray(px, py, length, half_width):
    """Where a point lies in an upright pointed ray: (distance-like value, right half or not)."""
    t = clamp(py / length)
    shoulder = 0.22
    width = half_width * (t / shoulder if t < shoulder else (1 - t) / (1 - shoulder))
    return (abs(px) - width if 0 < py < length else 1.0), px > 0


def compass(u, v):
    """A wind rose of three times eight rays in a ring of ticks and beads."""
    x, y = 2 * u - 1, 2 * v - 1
    radius, angle = math.hypot(x, y), math.atan2(x, y)
    if radius > 0.985:
        return BLACK
    if radius < 0.060:
        return scaled(CREAM, smooth(0.060, 0.050, radius))

    rays = ((4, 0.0, 0.74, 0.150, GOLD, RUBY),
            (4, math.pi / 4, 0.66, 0.125, SKY, COBALT),
            (8, math.pi / 8, 0.50, 0.085, CREAM, EMERALD))
    for count, turn, length, half_width, light, dark in rays:
        a, _ = fold(angle + turn, count)
        distance, right = star_ray(radius * math.sin(a), radius * math.cos(a), length, half_width)
        if distance < 0.012:
            edge = smooth(0.002, -0.008, distance)
            return scaled(light if right else dark, edge)

    if 0.80 < radius < 0.955:
        a, k = fold(angle, 32)
        px, py = radius * math.sin(a), radius * math.cos(a)
        bead = circle(px, py, 0, 0.878, 0.052 if k % 2 == 0 else 0.026)
        if bead < 0.010:
            color = (GOLD, CREAM, SKY, CREAM)[k % 4]
            return scaled(color, smooth(0.006, -0.004, bead))
        return mix((0.02, 0.05, 0.20), COBALT, 0.25)
    if 0.765 < radius:
        return scaled(GOLD, 0.9)
    ripple = 0.5 + 0.5 * math.cos(radius * 70)
    return mix((0.01, 0.04, 0.14), (0.05, 0.18, 0.40), ripple * 0.7)


def sky_signs(count=130):
    """Signs spread evenly over the sphere: (centre, right, up, size, kind, colour)."""
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
    radius = math.hypot(x, y)
    if kind == "moon":
        return radius < 1 and math.hypot(x - 0.42, y - 0.12) > 0.82
    a, _ = fold(math.atan2(x, y), 5 if kind == "star" else 4)
    reach, waist = (1.0, 0.42) if kind == "star" else (1.0, 0.22)
    half = math.pi / (5 if kind == "star" else 4)
    # The side runs from the tip at angle 0 to the waist at half a sector.
    tip, notch = (0.0, reach), (waist * math.sin(half), waist * math.cos(half))
    px, py = radius * math.sin(abs(a)), radius * math.cos(a)
    ex, ey = notch[0] - tip[0], notch[1] - tip[1]
    return ex * (py - tip[1]) - ey * (px - tip[0]) < 0


def starry(signs):
    """The painter of stars.png: longitude across (the middle looks along -z), latitude up."""
    def painter(u, v):
        longitude, latitude = 2 * math.pi * (1 - u), math.pi * (v - 0.5)
        d = (math.cos(latitude) * math.sin(longitude), math.sin(latitude),
             math.cos(latitude) * math.cos(longitude))
        for centre, right, up, size, kind, color in signs:
            along = centre[0] * d[0] + centre[1] * d[1] + centre[2] * d[2]
            if along < 0.98:
                continue
            x = -(right[0] * d[0] + right[1] * d[1] + right[2] * d[2]) / (along * size)
            y = (up[0] * d[0] + up[1] * d[1] + up[2] * d[2]) / (along * size)
            if x * x + y * y < 1 and inside_sign(kind, x, y):
                return color
        return mix((0.105, 0.095, 0.175), (0.150, 0.135, 0.250), v)
    return painter


if __name__ == "__main__":
    make(files=[("slides/rose.png", lambda: png(paint(512, 512, rose))),
                ("slides/compass.png", lambda: png(paint(512, 512, compass))),
                ("slides/stars.png", lambda: png(paint(1024, 512, starry(sky_signs()), 2)))])
