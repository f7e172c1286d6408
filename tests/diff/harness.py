"""Running a unit before and after the optimiser, and finding the step that breaks it."""
import os
import pathlib
import re
import subprocess

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
BIN = pathlib.Path(os.environ.get("VRX_BIN") or ROOT / "build" / "bin").resolve()
STEPS = 85  # of the table; the output step is always run
TIMEOUT = 60


class Fault(Exception):
    """What differs, and the command that shows it."""


def run(args, timeout=TIMEOUT, **more):
    try:
        return subprocess.run([str(a) for a in args], capture_output=True, text=True, errors="replace",
                              timeout=timeout, **more)
    except subprocess.TimeoutExpired:
        return subprocess.CompletedProcess(args, 124, "", "timeout")


def make_unit(source, unit, flags=()):
    """The intermediate file of a source: C, text, or a file as it is. A message if there is none."""
    source = pathlib.Path(source)
    if source.suffix == ".icode":
        unit.write_bytes(source.read_bytes())
        return ""
    tool = "icode-as" if source.suffix == ".ict" else "icode-cc"
    done = run([BIN / tool, *flags, source, "-o", unit])
    return "" if done.returncode == 0 else done.stderr.strip() or f"{tool}: status {done.returncode}"


def execute(unit, max_steps=None):
    """Output and status of a run. A fault's message names places, which the optimiser may move."""
    limit = ["--max-steps", max_steps] if max_steps else []
    done = run([BIN / "icode-run", *limit, unit])
    return done.stdout, done.returncode


def refusal(unit):
    """Why icode-run takes a unit for a bad file, or "". Status 1 may be the program's own too."""
    done = run([BIN / "icode-run", "--max-steps", 0, unit])
    return done.stderr.strip() if done.returncode == 1 and done.stderr.startswith("icode-run: ") else ""


def check_readers(unit, out):
    """Raises a Fault unless icode-run and vrx-mid agree on whether the unit is well-formed."""
    refused = refusal(unit)
    done = run([BIN / "vrx-mid", "--opt_level=0", unit, out])
    if refused and done.returncode == 0:
        raise Fault(f"icode-run refuses what vrx-mid accepts: {refused}\n    {BIN / 'icode-run'} {unit}")
    if not refused and done.returncode != 0:
        raise Fault(f"vrx-mid refuses what icode-run accepts: {' '.join(done.stderr.split())[:300]}\n"
                    f"    {BIN / 'vrx-mid'} {unit} {out}")
    if refused:
        raise Fault(f"the unit is refused: {refused}")


def optimise(unit, out, options):
    done = run([BIN / "vrx-mid", *options, unit, out])
    if done.returncode != 0:
        raise Fault(f"vrx-mid ends with status {done.returncode}: {' '.join(done.stderr.split())[:300]}\n"
                    f"    {BIN / 'vrx-mid'} {' '.join(options)} {unit} {out}")


def compare(unit, out, options, expected, max_steps=None):
    """Raises a Fault unless the unit, optimised so, does what it did before."""
    optimise(unit, out, options)
    got = execute(out, max_steps)
    if got != expected:
        what = "status %d instead of %d" % (got[1], expected[1]) if got[1] != expected[1] else "other output"
        raise Fault(f"{what} with {' '.join(options)}\n"
                    f"    {BIN / 'vrx-mid'} {' '.join(options)} {unit} {out} && {BIN / 'icode-run'} {out}")


def without_command_line(path):
    """The bytes of an output, less the recorded command line. The offsets in the header are compared as
    distances, which the length of that record does not change."""
    data = path.read_bytes()
    return re.sub(rb";\t[^\0]*vrx-mid[^\0]*\0", b"", data, count=1)  # ";\t" alone may be an offset


def check_unit(unit, folder, levels=range(5), threads=True, orders=0, seed=1, max_steps=None):
    """The whole comparison of one unit. Raises a Fault."""
    expected = execute(unit, max_steps)
    if expected[1] == 125:
        raise Fault(f"the program is faulty before any step\n    {BIN / 'icode-run'} {unit}")
    out, other = folder / "out.opt", folder / "two.opt"
    for level in levels:
        # Command lines of one length, so that the recorded ones differ in a digit only.
        options = [f"--opt_level={level}", "--debug:nthreads=1"]
        compare(unit, out, options, expected, max_steps)
        if threads:
            first = without_command_line(out)
            optimise(unit, out, [options[0], "--debug:nthreads=2"])
            if without_command_line(out) != first:
                raise Fault(f"other bytes with two threads at level {level}")
    for k in range(orders):
        order = ",".join(map(str, random_order(seed * 1000 + k)))
        compare(unit, other, ["--opt_level=2", f"--opt_passes={order}"], expected, max_steps)


def random_order(seed):
    import random
    steps = list(range(STEPS))
    random.Random(seed).shuffle(steps)
    return steps


def narrow(unit, folder, level=2, order=None):
    """The first step of the order after which the program behaves otherwise, or None."""
    expected = execute(unit)
    order = order or list(range(STEPS))
    out = folder / "narrow.opt"

    def broken(count):
        forced = ",".join(map(str, order[:count]))
        try:
            compare(unit, out, [f"--opt_level={level}", f"--opt_passes={forced}"], expected)
        except Fault:
            return True
        return False

    if not broken(len(order)):
        return None
    low, high = 0, len(order)  # broken(high) holds; broken(low) may not
    if broken(0):
        return "reading or writing"
    while high - low > 1:
        middle = (low + high) // 2
        if broken(middle):
            high = middle
        else:
            low = middle
    names = run([BIN / "vrx-mid", "--list_passes"]).stderr.splitlines()
    step = order[high - 1]
    name = next((line.strip() for line in names if line.split(":")[0].strip() == str(step)), str(step))
    # Does leaving just this step out mend it?
    try:
        compare(unit, out, [f"--opt_level={level}", f"--debug:skip_pass={step}"], expected)
        return f"step {name} (skipping it mends the program)"
    except Fault:
        return f"step {name} (together with others)"
