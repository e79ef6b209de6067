"""Prints the animation of the camp fire: python3 campfire_frames.py > ../hot_stuff_frames.mi"""

import math

from place import axes_of, transform

FRAMES = '''# A second of the camp fire: scenes/hot_stuff.mi from nearer, in 24 frames. Hot_Stuff moves with
# the frame time, which is the second number of the camera's frame.
#
#     orvane render scenes/hot_stuff_frames.mi
#
# writes out/hot_stuff_0001.png and so on. scenes/make/campfire_frames.py wrote this file.

set "frames" "on"           # keeps the scene from rendering its own picture
$include "hot_stuff.mi"

incremental options "opt" samples 0 1 end options
incremental camera "cam" focal 58  aspect 1.33333  resolution 320 240 end camera
# place.py -0.5 1.1 5.6 --target 0 0.75 0
incremental instance "cam_inst"
    transform
@PLACE@
end instance
'''


FRAME = '''
incremental camera "cam" output "rgb" "png" "out/hot_stuff_{0:04}.png"  frame {0} {1:.4f} end camera
incremental light "fire"
    "Orvane_Light" ( "color" 1 .58 .24, "intensity" {2:.3f}, "shadow" on, "attenuation" on, "atten_end" 12 )
end light
render "root" "cam_inst" "opt"
'''


def frames():
    """The text of the animation: a render for every frame, the fire's light flickering."""
    eye, target = (-0.5, 1.1, 5.6), (0, 0.75, 0)
    place = transform(eye, axes_of(eye, target, (0, 1, 0)), 1)
    rows = ["        " + "  ".join(f"{v:.6g}" if abs(v) > 5e-7 else "0" for v in row) for row in place]
    flicker = [1 + 0.10 * math.sin(1.9 * k) + 0.07 * math.sin(4.3 * k + 1) for k in range(24)]
    return FRAMES.replace("@PLACE@", "\n".join(rows)) + "".join(
        FRAME.format(k + 1, k / 24, 2.2 * f) for k, f in enumerate(flicker))


if __name__ == "__main__":
    print(frames(), end="")
