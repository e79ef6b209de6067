#!/usr/bin/env python3
"""Tries to bring the command and the shaders down, and prints one line a check with its figures.

    hard.py [--time SECONDS | --short] [NAME...]

SECONDS is what each check that chooses at random gets. The builds that are needed, sanitized and fuzzing ones among
them, are made beside build/release. The short form takes few scenes and leaves the thread sanitizer and other
compilers out. Exits with 1 when a check has found something; what it was is told behind its line, traces are left in
out/hard."""
import argparse
import collections
import os
import random
import re
import shutil
import signal
import subprocess
import sys
import time
from pathlib import Path

import OpenImageIO

ROOT = Path(__file__).resolve().parents[2]
OUT = ROOT / 'out' / 'hard'
FEW = ('slide', 'beam_minimal', 'toon', 'flare', 'frosty', 'hot_stuff')  # in the short form, one a family
SCENES = [s for s in sorted(ROOT.glob('scenes/*.mi')) + sorted(ROOT.glob('scenes/docs/*.mi'))
          if 'render "' in s.read_text()]
SMALL = ['--resolution', 16, 12, '--samples', 0, 0]
SHOWN = 12  # findings of a check that are told
LATE = 0.5  # seconds after which a signal should have been heard

# Libraries that are not ours and that their reports lead to: the threads of OpenImageIO's picture formats.
FOREIGN = {'TSAN_OPTIONS': 'called_from_lib:libOpenImageIO.so\nrace:libOpenImageIO.so\n',
           'LSAN_OPTIONS': 'leak:libOpenImageIO.so\n'}


def build(preset, *targets):
    """The folder of a preset in which these targets are up to date."""
    log = open(OUT / f'{preset}.log', 'w')
    for step in (['cmake', '--preset', preset],
                 ['cmake', '--build', f'build/{preset}', '--target', *targets]):
        if subprocess.run(step, cwd=ROOT, stdout=log, stderr=log).returncode:
            sys.exit(f'{preset} does not build: see {log.name}')
    return ROOT / 'build' / preset


def command(preset='release', *more):
    """The program of a preset; what scenes use is made once, and the other builds have it as well."""
    release = build('release', 'orvane', 'orvane_shaders', 'scene_parts')
    if preset == 'release':
        return release / 'orvane'
    folder = build(preset, 'orvane', 'orvane_shaders', *more)
    for parts in ('meshes', 'textures', 'slides', 'presets'):
        if not (folder / parts).exists():
            (folder / parts).symlink_to(release / parts)
    return folder / 'orvane'


def run(*arguments, timeout=600, environment={}):
    return subprocess.run([str(a) for a in arguments], capture_output=True, text=True, errors='replace', cwd=OUT,
                          timeout=timeout, env={**os.environ, **environment})


def suppressions(variable):
    file = OUT / f'{variable}.txt'
    file.write_text(FOREIGN[variable])
    return {variable: f'suppressions={file}:exitcode=99'}


def pixels(file):
    """A picture's rows from the top; None when it is not whole."""
    picture = OpenImageIO.ImageInput.open(str(OUT / file))
    return picture.read_image(OpenImageIO.FLOAT) if picture else None


def in_scenes(orvane, *more, environment={}):
    """What rendering each scene small says beside progress, where it does not succeed in silence."""
    found = []
    for scene in SCENES:
        ran = run(orvane, 'render', scene, *SMALL, '-o', 'scene.png', *more, environment=environment)
        said = re.sub(r'orvane: progress: .*\n', '', ran.stderr)
        if ran.returncode or said:
            found.append(f'{scene.name}: status {ran.returncode} {said}')
    return f'{len(SCENES)} scenes', found


# ---- Checks: each returns its figures, and what it found ----

def scenes(seconds):
    """Every scene is read and rendered without a word."""
    return in_scenes(command(), '-j', 2)


def threads(seconds):
    """Every scene with eight threads under the thread sanitizer."""
    return in_scenes(command('tsan'), '-j', 8, environment=suppressions('TSAN_OPTIONS'))


def leaks(seconds):
    """Every scene under the address, leak and undefined-behaviour sanitizers."""
    return in_scenes(command('asan'), '-j', 2, environment=suppressions('LSAN_OPTIONS'))


def bits(seconds):
    """Pixels depend neither on threads, tiles and windows nor on what was rendered before."""
    orvane, found, pictures = command(), [], 0
    size = ['--resolution', 48, 36, '--samples', -1, 1]
    for name in ('slide', 'toon', 'frosty', 'beams', 'flare', 'hot_stuff'):
        scene = ROOT / 'scenes' / f'{name}.mi'

        def rendered(*more):
            ran = run(orvane, 'render', scene, *size, '-o', 'bits.exr', *more)
            assert ran.returncode == 0, ran.stderr
            return pixels('bits.exr')

        whole = rendered('-j', 1)
        for more in (['-j', 8], ['-j', 3, '--tile-size', 5], ['-j', 2, '--tile-size', 64]):
            pictures += 1
            if not (rendered(*more) == whole).all():
                found.append(f'{name} {more}')
        for x0, y0, x1, y1 in ((7, 5, 30, 20), (0, 0, 15, 35), (47, 35, 47, 35)):
            pictures += 1
            part = slice(35 - y1, 36 - y0), slice(x0, x1 + 1)
            if not (rendered('-j', 2, '--window', x0, y0, x1, y1)[part] == whole[part]).all():
                found.append(f'{name} window {x0} {y0} {x1} {y1}')
    return f'{pictures} pictures', found


def signals(seconds):
    """Signals at random moments: what is there is whole, and they are heard within half a second."""
    orvane, found, chance, slowest = command(), [], random.Random(1), 0
    folder = OUT / 'signals'
    shutil.rmtree(folder, ignore_errors=True)
    folder.mkdir()
    run(orvane, 'render', SCENES[0], *SMALL, '-o', folder / 'picture.png')
    finished = (folder / 'picture.png').read_bytes()
    end, count = time.time() + seconds, 0
    while time.time() < end:
        count += 1
        (folder / 'picture.png').write_bytes(finished)
        scene = ROOT / 'scenes' / chance.choice(['slide.mi', 'beams.mi', 'toon.mi', 'bg_pic.mi'])
        number = chance.choice([signal.SIGINT, signal.SIGTERM, signal.SIGKILL])
        child = subprocess.Popen([orvane, 'render', scene, '-o', folder / 'picture.png', '--resolution', '640', '360',
                                  '-v', '0'], stderr=subprocess.PIPE)
        time.sleep(chance.uniform(0, 2))
        child.send_signal(number)
        sent = time.time()
        child.wait()
        took = time.time() - sent
        slowest = max(slowest, took)
        expected = (0, -number) if number == signal.SIGKILL else (0, 128 + number, -number)
        if child.returncode not in expected:
            found.append(f'{scene.name}, signal {number}: status {child.returncode}')
        if took > LATE:
            found.append(f'{scene.name}, signal {number}: heard after {took:.2f} s')
        for file in folder.iterdir():
            if file.suffix == '.part' and number != signal.SIGKILL:
                found.append(f'{scene.name}, signal {number}: leaves {file.name}')
            elif file.suffix == '.png' and pixels(file) is None:
                found.append(f'{scene.name}, signal {number}: half a picture')
            elif file.suffix == '.png' and not pixels(file).any():
                found.append(f'{scene.name}, signal {number}: a picture of nothing in place of a finished one')
    if list(folder.glob('*.part')) and run(orvane, 'render', SCENES[0], *SMALL, '-o', folder / 'picture.png'):
        found += [f'still there: {file.name}' for file in folder.glob('*.part')]
    return f'{count} signals, the slowest answer {slowest:.2f} s', found


def failing(orvane, at, scene, picture):
    """A render in which allocations fail; how it ended, and what it left beside the undisturbed picture."""
    folder = OUT / 'allocations'
    shutil.rmtree(folder, ignore_errors=True)
    folder.mkdir()
    name = 'picture.exr' if 'docs' in scene else 'picture.png'
    try:
        ran = run(orvane, 'render', ROOT / 'scenes' / scene, '--resolution', 8, 6, '--samples', 0, 0, '-j', 2, '-o',
                  folder / name, timeout=60,
                  environment={'LD_PRELOAD': str(orvane.parent / 'failing_allocations.so'), 'FAIL_AT': at,
                               'COUNT_TO': str(OUT / 'count')})
    except subprocess.TimeoutExpired:
        return f'{scene}, allocation {at}: hangs', {}
    lines = [line for line in ran.stderr.splitlines() if not line.startswith('orvane: progress:')]
    left = {file.name: file.read_bytes() for file in folder.iterdir()}
    whole = left == {name: picture} if picture else len(left) == 1
    if ran.returncode == 33 and len(lines) == 1 and (not left or whole):
        return 'kept' if left else 'ended', left
    if ran.returncode == 0 and whole:
        return 'coped', left
    return f'{scene}, allocation {at}: status {ran.returncode}, {sorted(left)} {ran.stderr[-300:]}', left


def allocations(seconds):
    """Each allocation fails in turn, alone and with all that follow: the command ends with 33, one line and no
    picture, or with the bits of the undisturbed one. As many as there is time for, evenly. Pictures are PNG and EXR: the
    250 libraries of other formats (GLib, GnuTLS and their like) abort by themselves while they are loaded. One place is
    left where a foreign library falls: when all fails from within TBB's look for libtbbmalloc on, in rtcNewDevice,
    dlopen of glibc reads an error that it could not keep (-11)."""
    orvane = build('release', 'orvane', 'orvane_shaders', 'presets', 'failing_allocations') / 'orvane'
    found, ends, counts = [], collections.Counter(), []
    scenes = ['docs/beam_minimal.mi', 'flare.mi', 'toon.mi', 'velvet.mi', 'bg_pic.mi']
    for scene in scenes:
        begin = time.time()
        how, left = failing(orvane, '0', scene, None)
        if how != 'coped':
            return 'nothing tried', [how]
        counts.append(int((OUT / 'count').read_text()))
        (picture,), cases = left.values(), [f'{n}{more}' for n in range(1, counts[-1] + 1) for more in ('', '+')]
        step = max(1, round(len(cases) * (time.time() - begin) * len(scenes) / max(seconds, 1)))
        step += step % 2 == 0 and step > 1
        for at in cases[::step]:
            how, left = failing(orvane, at, scene, picture)
            ends[how if len(how) < 6 else 'found'] += 1
            found += [how] if len(how) > 5 else []
    return (f'{ends.total()} failing of {sum(counts)} allocations in {len(scenes)} scenes, alone and with all that '
            f'follow: {ends["ended"]} ended with 33, {ends["kept"]} of them after the picture, {ends["coped"]} coped',
            found)


def fuzzed(reader, seeds, longest, seconds):
    folder = build('fuzz', 'fuzzers')
    corpus = OUT / f'corpus_{reader}'
    corpus.mkdir(exist_ok=True)
    (OUT / reader).mkdir(exist_ok=True)
    ran = run(folder / f'{reader}_fuzz', corpus, *seeds, f'-dict={folder}/tests/{reader}.dict', '-timeout=10',
              f'-max_total_time={seconds}', f'-max_len={longest}', f'-artifact_prefix={OUT}/{reader}/', '-verbosity=1',
              timeout=seconds + 600)
    runs = re.findall(r'Done (\d+) runs', ran.stderr)
    kept = len(list(corpus.iterdir()))
    found = [] if ran.returncode == 0 else [ran.stderr[-2000:]]
    return f'{int(runs[-1]) if runs else 0:,} runs, {kept} inputs that differ', found


def scene_reader(seconds):
    """Random texts for the scene reader, from the scenes for people and its own keywords."""
    return fuzzed('scene', [ROOT / 'scenes' / 'docs', ROOT / 'tests' / 'fuzz' / 'corpus' / 'scene'], 2048, seconds)


def preset_reader(seconds):
    """Random bytes for the readers of flare presets."""
    return fuzzed('preset', [ROOT / 'scenes' / 'presets', ROOT / 'tests' / 'fuzz' / 'corpus' / 'preset'], 256, seconds)


def told(*arguments, timeout):
    """What a tool that prints a line "name: figures" has counted, and all that it said when it failed."""
    ran = run(*arguments, timeout=timeout)
    lines = ran.stdout.strip().splitlines() or ['no figures']
    return lines[-1].split(': ', 1)[-1], [ran.stdout[-2000:] + ran.stderr[-2000:]] if ran.returncode else []


def roundings(preset, seconds):
    return told(ROOT / 'tests' / 'hard' / 'roundings.sh', preset, 200 * seconds, timeout=900 + 20 * seconds)


def optimisation(seconds):
    """Results of random calls of all functions are those of a build without optimisation."""
    return roundings('release', seconds)


def clang(seconds):
    """They are those of the other compiler, too."""
    return roundings('clang', seconds)


def bits32(seconds):
    """With 32 bits as well they do not depend on optimisation, nor do records on their layout."""
    return roundings('32bit', seconds)


def calls(seconds):
    """Random calls of all functions under the sanitizers."""
    return roundings('asan', seconds)


def blocks(seconds):
    """Random parameters, legal and hostile, for every shader in pictures by the sanitized command."""
    orvane = command('asan', 'probe')
    return told(sys.executable, ROOT / 'tests' / 'hard' / 'blocks.py', orvane, '--seconds', seconds, '--calls', 200000,
                timeout=seconds + 900)


CHECKS = [scenes, bits, signals, allocations, threads, leaks, optimisation, clang, bits32, calls, blocks, scene_reader,
          preset_reader]
LONG = (threads, clang, bits32)  # not in the short form


def main():
    parser = argparse.ArgumentParser(description=__doc__.split('\n')[0])
    parser.add_argument('--time', type=int, default=60, help='seconds for each check at random (default: 60)')
    parser.add_argument('--short', action='store_true', help='a form of a few minutes')
    parser.add_argument('names', nargs='*', help='checks: ' + ', '.join(check.__name__ for check in CHECKS))
    args = parser.parse_args()
    OUT.mkdir(parents=True, exist_ok=True)
    if args.short:
        global LATE
        args.time, LATE = 10, 5  # machines that are tested on are busy
        SCENES[:] = [scene for scene in SCENES if scene.stem in FEW]
    failed = False
    for check in CHECKS:
        if check.__name__ not in args.names if args.names else args.short and check in LONG:
            continue
        begin = time.time()
        figures, found = check(args.time)
        failed = failed or bool(found)
        print(f'{check.__name__}: {len(found)} findings, {figures}, {time.time() - begin:.0f} s', flush=True)
        for text in found[:SHOWN]:
            print('    ' + text.replace('\n', '\n    '))
    sys.exit(failed)


if __name__ == '__main__':
    main()
