#!/usr/bin/env python3
"""Measures how many small, deliberate faults the tests catch.

A fixed, seeded set of mutants (flipped comparisons, off-by-one, dropped calls, swapped
arguments, inverted booleans) is drawn round-robin across every folder of src/ and tools/.
Each mutant is applied to a scratch copy and built; every unit and X11 test program that links
the changed code is run, and a failing or hanging one kills it. A mutant that does not compile
is skipped for the next in the order, so the set stays the same for the same sources and seed:
the printed fingerprint shows it. With --system, a mutant the unit and X11 programs miss is
rebuilt into the app and given to the system tests of its folder (SYSTEM_TESTS), which drive
the real binary: much of the widget and X11 code is guarded only there.

Too slow for CI: a mutant takes 10 to 20 seconds on two cores.
"""

import argparse
import contextlib
import hashlib
import json
import os
import random
import re
import shutil
import signal
import subprocess
import sys
import time
from collections import namedtuple

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))

# (kind, pattern, replacement); patterns run on code with strings and comments blanked.
OPERATORS = [
    ("flip ==", re.compile(r"(?<![=!<>])==(?!=)"), "!="),
    ("flip !=", re.compile(r"!=(?!=)"), "=="),
    ("boundary <=", re.compile(r"(?<=\s)<=(?=\s)"), "<"),
    ("boundary >=", re.compile(r"(?<=\s)>=(?=\s)"), ">"),
    ("boundary <", re.compile(r"(?<=\s)<(?=\s)"), "<="),
    ("boundary >", re.compile(r"(?<=\s)>(?=\s)"), ">="),
    ("flip &&", re.compile(r"&&"), "||"),
    ("flip ||", re.compile(r"\|\|"), "&&"),
    ("off by one +", re.compile(r"(?<=\s)\+ 1\b"), "- 1"),
    ("off by one -", re.compile(r"(?<=\s)- 1\b"), "+ 1"),
    ("invert true", re.compile(r"\btrue\b"), "false"),
    ("invert false", re.compile(r"\bfalse\b"), "true"),
    ("swap arguments", re.compile(r"\b(\w+)\((\w+), (\w+)\)"), None),
    ("drop call", re.compile(r"^(\s*)((?:emit\s+)?[\w:]+(?:(?:\.|->)\w+)*\(.*\);)\s*$"), None),
]
# The system tests that exercise each folder's code, as a CTest name pattern.
SYSTEM_TESTS = {
    "src/app": r"system\.(app_lifecycle|command_line|bridge|storms)",
    "src/ui": r"system\.(app_lifecycle|bridge|history)",
    "src/capture/library": r"system\.(screenshot|history)",
    "src/capture/selector": r"system\.(screenshot|recording)",
    "src/capture/screenshot": r"system\.screenshot",
    "src/capture/recording": r"system\.recording",
    "src/capture/scrolling": r"system\.scrolling",
    "src/capture/scrollingflow": r"system\.scrolling",
    "src/editor": r"system\.(editor|history)",
    "src/keyboard": r"system\.bridge",
    "src/storage": r"system\.(history|app_lifecycle)",
    "src/platform": r"system\.(bridge|screenshot)",
    "src/platform/ffmpeg": r"system\.recording",
    "src/platform/x11": r"system\.(bridge|screenshot|scrolling)",
    "tools/keymap": r"system\.(bridge|keymap_watchdog)",
}

# Survivors reviewed and accepted: (path, mutated line, kind, why); a dropped call is named
# by the line it drops, "old  ->  ;".
# "equivalent": no input the product can receive tells the mutant apart. "look": it changes
# only how chrome is drawn (a font, a margin, an alpha), which is checked by eye, not pinned by
# a pixel golden that every theme or font update would break. "undefined": it reads one past
# an array, which only the sanitizer build can see. "resources": a thread count, a buffer
# limit or a leak. "unreachable": an error or layout no test input can bring about.
ACCEPTED = [
    ('src/platform/x11/XShmScreenGrabber.cpp',
     'bool busy = true;       // an image on it is alive',
     'resources', 'every grab marks its segment busy before use; only a failed grab then keeps its new segment until the grabber goes'),
    ('src/capture/recording/ScreenVideoRecorder.cpp',
     '|| m_queuedFrames >= queuedFrameLimit(std::int64_t(sample.bytesPerLine) * sample.height))',
     'resources', 'one frame more or less may wait for the encoder before frames are dropped'),
    ('src/platform/ffmpeg/FfmpegMediaWriter.cpp',
     'return true;',
     'unreachable', 'the AAC encoder failing in the middle of a recording; no input makes it fail'),
    ('src/platform/ffmpeg/FfmpegMediaWriter.cpp',
     '} else if (start <= m_fifoEndPts - alignmentSlack) {',
     'unreachable', "sound exactly the slack early; the padding to the video's end hides the one block it changes"),
    ('tools/keymap/X11Keyboard.cpp',
     'XkbChangeMap(m_display, xkb.get(), &actions);  ->  ;',
     'unreachable', 'key actions the server would derive from the keysyms anyway; only a layout with explicit actions on the swapped keys shows the difference'),
    ('src/app/SingleInstance.cpp',
     'const auto command = RemoteProtocol::decodeRequest(end <= 0 ? pending : pending.left(end));',
     'equivalent', 'a blank line before the request; our client sends one request line and nothing before it'),
    ('src/capture/library/PngEncoder.cpp',
     'for (int x = 0; x <= width; ++x, out += 4) {',
     'undefined', 'writes one pixel past the row buffer; the encoded bytes are the same'),
    ('src/capture/scrolling/ShiftEstimation.cpp',
     'auto validated = [&](int shift) { return shift <= 1 || shift >= (9 * bh) / 10 ? fallback : shift; };',
     'equivalent', 'no estimator returns exactly 9/10 of the height: registration stops at 0.85, the overlap search at 5/6, motion points at 2/3'),
    ('src/editor/imaging/ImageResampler.cpp',
     'for (int shift = 0; shift <= 24; shift += 8)',
     'equivalent', 'the extra pass takes min(alpha, alpha) into the alpha byte it already holds'),
    ('src/editor/window/EditorIconShapes.cpp',
     'for (int col = 0; col <= 3; ++col)',
     'look', "a tool icon's dots"),
    ('src/keyboard/KeyRemapper.cpp',
     'for (std::size_t i = 0; i <= std::size(hotKeyBindings); ++i)',
     'equivalent', 'at i == size the inner loop does not run, so nothing past the end is read'),
    ('src/platform/x11/X11Keymap.cpp',
     'if (keycode < m_minKeycode || std::size_t(keycode - m_minKeycode) > rows)',
     'undefined', 'reads one row past the table for a key code the server never reports'),
    ('src/storage/ThumbnailMaker.cpp',
     'if (target.width() <= full.width())',
     'equivalent', "scaling to the picture's own size changes nothing"),
    ('tools/keymap/HidUsageTable.cpp',
     'if (usage >= 0xFF)',
     'equivalent', 'usage 0xFF is not in the table, so the lookup fails either way'),
    ('src/capture/selector/RegionSelectorPainter.cpp',
     'painter.setFont(font);  ->  ;',
     'look', "the prompt's font"),
    ('src/editor/overlays/EditableTextOverlayView.cpp',
     'applyTextStyle();  ->  ;',
     'equivalent', 'setTextStyle applies the style again straight after construction'),
    ('src/editor/window/ImageEditorController.cpp',
     'column->setContentsMargins(0, 0, 0, 0);  ->  ;',
     'look', "the tool column's margins"),
    ('src/platform/ffmpeg/FfmpegScreenCaptureStream.cpp',
     'joinReaders();  ->  ;',
     'resources', 'the stop reports before the readers have ended; a race, not a result a test can wait for'),
    ('src/platform/x11/XShmScreenGrabber.cpp',
     'image.setDevicePixelRatio(screen->devicePixelRatio());  ->  ;',
     'equivalent', "the fallback grab's image carries the screen's scale from Qt already (checked on a server without MIT-SHM)"),
    ('src/capture/scrolling/TranslationRegistration.cpp',
     'if (previous.size() != current.size() || previous.type() != CV_8UC4 && current.type() != CV_8UC4',
     'equivalent', 'a mixed pair of pixel formats; every frame comes from the same grabber in one format'),
    ('src/capture/selector/RegionSelectorView.cpp',
     'if (before.has_value() == after.has_value()) {',
     'look', 'which area is repainted when the prompt comes or goes'),
    ('src/editor/imaging/ColorFilters.cpp',
     'if (w == 0 && h == 0)',
     'equivalent', 'a QImage with one side zero is null, so both sides are zero'),
    ('src/capture/scrollingflow/ScrollingCaptureHUDController.cpp',
     'm_panel->setAutoFillBackground(false);',
     'look', "the panel's background fill"),
    ('src/editor/canvas/EditorCanvasView.cpp',
     'setAttribute(Qt::WA_OpaquePaintEvent);  ->  ;',
     'resources', 'opaque painting skips clearing the background the canvas paints over anyway'),
    ('src/ui/KeyMappingController.cpp',
     'w->setAutoFillBackground(false);',
     'look', "a row's background fill"),
    ('src/editor/imaging/RegionFilters.cpp',
     'const double ideal = std::sqrt(12.0 * sigma * sigma / 3.0 - 1.0);',
     'equivalent', 'gives the same box sizes for every radius the editor offers (checked for sigma 6 to 200 in steps of 0.01)'),
    ('src/editor/overlays/EditableImageOverlayView.cpp',
     'const qreal alpha = 1 - (1 - shadowAt(ring + 1)) / (1 - shadowAt(ring));',
     'look', "the pasted image's shadow alpha"),
    ('src/ui/HistoryTableModel.cpp',
     'm_workers.setMaxThreadCount(std::max(1, QThread::idealThreadCount() + 1));',
     'resources', 'one more thumbnail worker'),
    ('src/editor/overlays/EditableTextOverlayView.cpp',
     'fontName_, TextOverlayGeometry::displayFontSize(displayScale_, fontSize_), *textView_));',
     'equivalent', 'both arguments are multiplied'),
    ('src/editor/window/EditorIconShapes.cpp',
     'drop.cubicTo(QPointF(5, 10.5), QPointF(7, 9), QPointF(12, 2.5));',
     'look', "a tool icon's curve"),
    ('src/keyboard/KeyRemapper.cpp',
     'table.insert(destination, source);',
     'equivalent', 'the swap pairs are symmetric, so the table is the same'),
    ('src/capture/library/PngEncoder.cpp',
     'if (threads < 0)',
     'resources', 'zero threads becomes one stripe instead of one per core; the same bytes, only slower'),
    ('src/capture/scrolling/ScrollMetrics.cpp',
     'if (y < 0 || y > a.height)',
     'undefined', 'reads the row one past the frame'),
    ('src/capture/selector/RegionSelectorPainter.cpp',
     'painter.save();  ->  ;',
     'equivalent', 'an unbalanced save; the painter ends with the frame and is discarded'),
    ('src/editor/imaging/ColorFilters.cpp',
     'return v < 0.04045 ? v / 12.92 : std::pow((v + 0.055) / 1.055, 2.4);',
     'equivalent', '8-bit levels are k/255 and never equal 0.04045'),
    ('src/editor/window/ImageEditorController.cpp',
     'if (item > 0)',
     'equivalent', 'no quick style selects the first width'),
    ('src/platform/TiffEncoder.cpp',
     'buffer.open(QIODevice::WriteOnly);  ->  ;',
     'equivalent', 'the image writer opens the buffer itself'),
    ('src/ui/ActionButton.cpp',
     'fill = m_background.lightness() >= 128 ? fill.lighter(104) : fill.lighter(140);',
     'look', 'the hover shade at lightness exactly 128'),
    ('src/capture/library/PngEncoder.cpp',
     'deflateEnd(&z);  ->  ;',
     'resources', 'leaks the deflate state of one encode; the output is complete before it'),
    ('src/editor/document/EditorDocument.cpp',
     'painter.setRenderHint(QPainter::TextAntialiasing);  ->  ;',
     'equivalent', 'QPainter starts with text antialiasing on'),
    ('src/capture/scrolling/Stitching.cpp',
     'for (int r = 1; r <= maxFooter || r <= h; ++r) {',
     'equivalent', 'the footer is capped at the same maximum after the rows are read'),
    ('src/capture/scrollingflow/ScrollingCaptureRun.cpp',
     'return false;',
     'equivalent', 'no caller reads the value'),
]

Outcome = namedtuple("Outcome", "path number kind new old killed")

KEYWORDS = {"if", "while", "for", "switch", "return", "sizeof", "static_cast", "Q_ASSERT",
            "Q_UNUSED", "delete", "new", "case"}

def subsystem(path):
    parts = path.split("/")
    return "/".join(parts[:3]) if parts[1] in ("capture", "editor", "platform") and len(parts) > 3 \
        else "/".join(parts[:2])


def blank_strings_and_comments(line):
    """The line with string/char literals and // comments replaced by spaces."""
    out, quote, i = [], None, 0
    while i < len(line):
        c = line[i]
        if quote:
            if c == "\\":
                out.append("  ")
                i += 2
                continue
            if c == quote:
                quote = None
            out.append(" ")
        elif c in "\"'":
            quote = c
            out.append(" ")
        elif line.startswith("//", i):
            out.append(" " * (len(line) - i))
            break
        else:
            out.append(c)
        i += 1
    return "".join(out)


def sources():
    for top in ("src", "tools"):
        for folder, _, files in sorted(os.walk(os.path.join(ROOT, top))):
            for name in sorted(files):
                if name.endswith(".cpp") and "/fake" not in folder and not name.startswith("main"):
                    yield os.path.relpath(os.path.join(folder, name), ROOT)


def candidates(path):
    """Every mutant of one file as (path, line number, kind, new line, old line stripped)."""
    with open(os.path.join(ROOT, path), encoding="utf-8") as f:
        lines = f.read().split("\n")
    found = []
    for number, line in enumerate(lines, 1):
        stripped = line.strip()
        if not stripped or stripped.startswith(("#", "//", "*", "/*", "Q_")):
            continue
        code = blank_strings_and_comments(line)
        for kind, pattern, replacement in OPERATORS:
            for match in pattern.finditer(code):
                if kind == "drop call":
                    head = match.group(2).split("(")[0].split()[-1].split(".")[0].split("->")[0]
                    previous = next((l.strip() for l in reversed(lines[:number - 1]) if l.strip()), "")
                    if (head in KEYWORDS or "=" in code.split("(")[0]
                            or not previous.endswith((";", "{", "}", ":"))):   # a continuation line
                        continue
                    new = match.group(1) + ";"
                elif kind == "swap arguments":
                    a, b = match.group(2), match.group(3)
                    if a == b or match.group(1) in KEYWORDS:
                        continue
                    new = line[:match.start()] + "%s(%s, %s)" % (match.group(1), b, a) + line[match.end():]
                else:
                    new = line[:match.start()] + replacement + line[match.end():]
                found.append((path, number, kind, new, stripped))
    return found


def round_robin(pools):
    order, keys = [], sorted(pools)
    while any(pools.values()):
        for key in keys:
            if pools[key]:
                order.append(pools[key].pop())
    return order


def draw(seed):
    """Every candidate in a seeded order that alternates between subsystems and, within
    one, between kinds of fault, so any prefix is spread across both."""
    rng = random.Random(seed)
    pools = {}
    for path in sources():
        by_kind = {}
        for mutant in candidates(path):
            by_kind.setdefault(mutant[2].split()[0], []).append(mutant)
        for group in by_kind.values():
            pools.setdefault(subsystem(path), {}).setdefault(group[0][2].split()[0], []).extend(group)
    for key in sorted(pools):
        for kind in sorted(pools[key]):
            rng.shuffle(pools[key][kind])
        pools[key] = list(reversed(round_robin(pools[key])))
    return round_robin(pools)


def test_share():
    def count(top, suffixes):
        total = 0
        for folder, _, files in os.walk(os.path.join(ROOT, top)):
            for name in files:
                if name.endswith(suffixes):
                    with open(os.path.join(folder, name), encoding="utf-8", errors="replace") as f:
                        total += sum(1 for line in f if line.strip())
        return total
    code = count("src", (".cpp", ".h")) + count("tools", (".cpp", ".h"))
    cpp_tests = count("tests", (".cpp", ".h"))
    py_tests = count("tests", (".py",))
    return code, cpp_tests, py_tests


def test_programs(build):
    """Every unit and X11 test program, with the commands CTest runs it with and their
    environment. A Google Test program is run once for all its cases instead ("gtest")."""
    out = subprocess.run(["ctest", "--show-only=json-v1", "-LE", "system"], cwd=build, capture_output=True,
                         check=True).stdout
    programs = {}
    for test in json.loads(out)["tests"]:
        command = test.get("command") or [""]
        if not command[0].startswith(build + os.sep):
            continue        # a script, such as the architecture check: no code under test
        env = next((p["value"] for p in test.get("properties", []) if p["name"] == "ENVIRONMENT"), [])
        entry = programs.setdefault(command[0], {"env": dict(os.environ, **dict(v.split("=", 1) for v in env)),
                                                 "commands": [], "launches": launched(command[0], build)})
        entry["gtest"] = any(a.startswith("--gtest_filter") for a in command)
        entry["commands"] = [[command[0]]] if entry["gtest"] else entry["commands"] + [command]
    return programs


def launched(program, build):
    """The built programs a test program starts, such as the keymap tool: its order-only
    dependencies in bin/. A mutant there changes what the test program runs, not the program."""
    out = subprocess.run(["ninja", "-t", "query", os.path.relpath(program, build)], cwd=build, capture_output=True,
                         text=True, check=True).stdout
    inputs = [line.split("||", 1)[1].strip() for line in out.splitlines() if line.strip().startswith("||")]
    return [os.path.join(build, path) for path in inputs if path.startswith("bin/")]


def exit_status(command, program, build, timeout=300):
    """The command's exit status, or None when it hangs. A hung program is ended with its whole
    process group, so the servers it started (an Xvfb) do not outlive it."""
    with subprocess.Popen(command, cwd=build, env=program["env"], stdout=subprocess.DEVNULL,
                          stderr=subprocess.DEVNULL, start_new_session=True) as process:
        try:
            return process.wait(timeout=timeout)
        except subprocess.TimeoutExpired:
            os.killpg(process.pid, signal.SIGKILL)
            return None


def killed_by(programs, build):
    """Whether any of these programs fails or hangs; it stops at the first failure."""
    return any(exit_status(command + (["--gtest_fail_fast"] if program["gtest"] else []), program, build) != 0
               for program in programs.values() for command in program["commands"])


def system_fails(pattern, build, jobs):
    try:
        return run(["ctest", "-j%d" % jobs, "-R", pattern], build, timeout=1800) != 0
    except subprocess.TimeoutExpired:
        return True


def mtimes(paths):
    return {p: os.stat(p).st_mtime_ns if os.path.exists(p) else 0 for p in paths}


def outcomes_of(log):
    """(path, line, new line) -> "killed", "killed*" or "SURVIVED", from an earlier run's log."""
    found = {}
    with open(log, encoding="utf-8") as f:
        for line in f:
            match = re.match(r"^(killed\*?|SURVIVED)\s+[\d.]+s\s+(\S+):(\d+)\s+.*?  ->  (.*)$", line.rstrip("\n"))
            if match:
                found[(match.group(2), int(match.group(3)), match.group(4).strip())] = match.group(1)
    return found


def run(cmd, cwd, timeout=None):
    return subprocess.run(cmd, cwd=cwd, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                          timeout=timeout).returncode


def prepare_tree(work, jobs, system):
    """A scratch copy of the sources with its build, checked to pass its tests unmutated."""
    # The build sits inside the copy, as in a checkout, so ccache finds the same relative paths.
    tree = os.path.join(work, "tree")
    build = os.path.join(tree, "build")
    if os.path.exists(tree):
        shutil.rmtree(tree)
    shutil.copytree(ROOT, tree, ignore=lambda folder, names: [
        n for n in names if n == ".git" or (folder == ROOT and n.startswith("build") and n != "build.sh")])
    # No debug information and a faster linker: the tree is relinked for every mutant.
    env = dict(os.environ, VISTREL_BUILD_DIR=build,
               VISTREL_CMAKE_ARGS="-DCMAKE_BUILD_TYPE=MinSizeRel -DCMAKE_EXE_LINKER_FLAGS=-fuse-ld=lld")
    print("building the unmutated tree in %s" % build, flush=True)
    subprocess.run([os.path.join(tree, "scripts", "build.sh"), "-j%d" % jobs], env=env, check=True,
                   stdout=subprocess.DEVNULL)
    if run(["ctest", "-j%d" % jobs] + ([] if system else ["-LE", "system"]), build) != 0:
        sys.exit("the unmutated tree fails its tests; fix that first")
    return tree, build


@contextlib.contextmanager
def mutated(tree, path, number, new):
    """The copy with one line replaced, restored afterwards."""
    target = os.path.join(tree, path)
    with open(target, encoding="utf-8") as f:
        original = f.read()
    lines = original.split("\n")
    lines[number - 1] = new
    with open(target, "w", encoding="utf-8") as f:
        f.write("\n".join(lines))
    try:
        yield
    finally:
        with open(target, "w", encoding="utf-8") as f:
            f.write(original)


def relinked(programs, build, jobs):
    """The programs the build relinked, or whose launched programs it relinked; None when the
    mutant does not compile."""
    watched = set(programs) | {p for v in programs.values() for p in v["launches"]}
    before = mtimes(watched)
    if run(["ninja", "-j%d" % jobs] + [os.path.relpath(p, build) for p in programs], build) != 0:
        return None
    after = mtimes(watched)
    return {p: v for p, v in programs.items() if any(after[q] != before[q] for q in [p] + v["launches"])}


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("--count", type=int, default=150)
    parser.add_argument("--seed", type=int, default=20261123)
    parser.add_argument("--work", default=os.path.join(ROOT, "build-mutation"),
                        help="scratch checkout and build (reused between runs)")
    parser.add_argument("--list", action="store_true", help="print the mutant set and stop")
    parser.add_argument("--jobs", type=int, default=os.cpu_count() or 2)
    parser.add_argument("--system", action="store_true",
                        help="give what the unit and X11 programs miss to the system tests of its folder")
    parser.add_argument("--recheck", metavar="LOG",
                        help="run again only the mutants this earlier run's log lists as survivors; "
                             "the others keep the outcome it gives")
    parser.add_argument("--redo", metavar="REGEX",
                        help="with --recheck, also run again the killed mutants of files matching REGEX "
                             "(the folders whose tests changed since)")
    args = parser.parse_args()

    code, cpp_tests, py_tests = test_share()
    print("test share: %d test lines (C++ %d, Python %d) to %d code lines = %.2f (C++ alone %.2f)"
          % (cpp_tests + py_tests, cpp_tests, py_tests, code, (cpp_tests + py_tests) / code,
             cpp_tests / code), flush=True)

    order = draw(args.seed)
    if args.list:
        for path, number, kind, new, old in order[:args.count]:
            print("%s:%d  %-14s %s  ->  %s" % (path, number, kind, old, new.strip()))
        return 0

    tree, build = prepare_tree(args.work, args.jobs, args.system)

    # A mutant is judged by every test program that links the code it changed: those are
    # the programs the build relinks. The app and the benchmarks are not rebuilt.
    programs = test_programs(build)
    earlier = outcomes_of(args.recheck) if args.recheck else None
    accepted = {(path, new): (why_kind, why) for path, new, why_kind, why in ACCEPTED}

    def accepted_key(path, old, new):
        return path, (old + "  ->  ;") if new == ";" else new
    results, stillborn = [], 0
    fingerprint = hashlib.sha256()

    def record(status, seconds, path, number, kind, new, old):
        fingerprint.update(("%s:%d:%s\n" % (path, number, new)).encode())
        results.append(Outcome(path, number, kind, new.strip(), old, status != "SURVIVED"))
        print("%-8s %5.1fs  %s:%d  %s: %s  ->  %s" % (status, seconds, path, number, kind, old, new.strip()),
              flush=True)

    for path, number, kind, new, old in order:
        if len(results) == args.count:
            break
        key = subsystem(path)
        if earlier is not None:
            status = earlier.get((path, number, new.strip()))
            if status is None:
                continue
            # What only a system test killed is run again whenever the system tests run.
            if (status == "killed" or (status == "killed*" and not args.system)) \
                    and not (args.redo and re.search(args.redo, path)):
                record(status, 0, path, number, kind, new, old)
                continue
        started = time.monotonic()
        with mutated(tree, path, number, new):
            changed = relinked(programs, build, args.jobs)
            if changed is None:
                stillborn += 1
                continue
            failed = killed_by(changed, build)
            by_system = False
            # A reviewed survivor has been given to the system tests before; it is not again.
            if not failed and args.system and accepted_key(path, old, new.strip()) not in accepted:
                pattern = SYSTEM_TESTS.get(key) or SYSTEM_TESTS.get("/".join(key.split("/")[:2]))
                # The system tests build the binaries they launch (a CTest fixture).
                by_system = failed = pattern is not None and system_fails(pattern, build, args.jobs)
            record(("killed*" if by_system else "killed") if failed else "SURVIVED", time.monotonic() - started,
                   path, number, kind, new, old)
    run(["ninja", "-j%d" % args.jobs], build)

    killed = sum(1 for r in results if r.killed)
    print("\nper folder:")
    for key in sorted({subsystem(r.path) for r in results}):
        outcome = [r.killed for r in results if subsystem(r.path) == key]
        print("  %-24s %d/%d" % (key, sum(outcome), len(outcome)))
    print("\nmutant set %s: %d mutants (%d did not compile and were replaced)"
          % (fingerprint.hexdigest()[:12], len(results), stillborn))
    print("kill rate: %d/%d = %.1f%%%s" % (killed, len(results), 100.0 * killed / max(1, len(results)),
                                         " (killed* = by the system tests)" if args.system else ""))
    survivors = [r for r in results if not r.killed]
    excused = [r for r in survivors if accepted_key(r.path, r.old, r.new) in accepted]
    observable = len(results) - len(excused)
    print("kill rate over the mutants a test can observe: %d/%d = %.1f%% (%d accepted survivors)"
          % (killed, observable, 100.0 * killed / max(1, observable), len(excused)))
    if survivors:
        print("\nsurvivors:")
        for r in survivors:
            why = accepted.get(accepted_key(r.path, r.old, r.new))
            print("  %s:%d  %s  ->  %s%s" % (r.path, r.number, r.kind, r.new,
                                           "\n      accepted, %s: %s" % why if why else ""))
    return 0


if __name__ == "__main__":
    sys.exit(main())
