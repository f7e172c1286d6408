"""Takes every example through assembler or C front end, interpreter and optimiser, and prints a table:
expression nodes in the file, executed operations, loads and stores, before and after."""
import json
import pathlib
import re
import subprocess
import sys
import tempfile
import time

bin_dir = pathlib.Path(sys.argv[1])
root = pathlib.Path(__file__).resolve().parent.parent
LEVEL = "2"


def call(*args):
    return subprocess.run([str(a) for a in args], capture_output=True, text=True, errors="replace")


def measure(unit):
    """Output, status and counts of one run."""
    done = call(bin_dir / "icode-run", "--stats", unit)
    stats = re.search(r"^\{.*^\}|^\{.*\}$", done.stderr, re.S | re.M)
    return done.stdout, done.returncode, json.loads(stats.group(0)) if stats else {}


def text_of(unit):
    return call(bin_dir / "icode-dis", unit, "-o", "-").stdout


def count_nodes(text):
    """Operators and leaves of all statements of the text form."""
    return sum(len(re.findall(r"[\w$]+", re.sub(r'"(\\.|[^"\\])*"|@\S+', "s", line)))
               for line in text.splitlines() if line.startswith("  ") and "(" in line)


def changed_function(before, after):
    """The smallest function that the optimiser changed, before and after; positions are left out."""
    def functions(text):
        plain = re.sub(r" @\S+", "", text)
        return {re.match(r"func (\S+)", f).group(1): f for f in re.findall(r"^func [\s\S]*?^\}", plain, re.M)}

    old, new = functions(before), functions(after)
    names = [name for name in old if name in new and old[name].count("CALL") > new[name].count("CALL")]
    return min(((old[name], new[name]) for name in names), key=lambda pair: len(pair[0]), default=None)


def main():
    sources = sorted((root / "examples").glob("*.ict")) + sorted((root / "examples").glob("*.c"))
    print(f"{'program':<22}{'nodes':>7} {'->':>2}{'':>1}{'':<6}{'operations':>12} {'->':>2}{'':<12}"
          f"{'loads':>9}{'->':>3}{'':<8}{'stores':>8}{'->':>3}{'':<8}{'ms':>5}  result")
    faults, shown = 0, None
    with tempfile.TemporaryDirectory() as folder:
        for source in sources:
            unit = pathlib.Path(folder) / (source.stem + ".icode")
            optimised = unit.with_suffix(".opt")
            maker = "icode-as" if source.suffix == ".ict" else "icode-cc"
            if not (bin_dir / maker).exists():
                continue
            made = call(bin_dir / maker, source, "-o", unit)
            if made.returncode:
                print(f"{source.name:<22} {made.stderr.strip()}")
                faults += 1
                continue
            start = time.perf_counter()
            done = call(bin_dir / "vrx-mid", "--opt_level=" + LEVEL, unit, optimised)
            milliseconds = (time.perf_counter() - start) * 1000
            before, after = text_of(unit), text_of(optimised)
            out0, status0, stats0 = measure(unit)
            out1, status1, stats1 = measure(optimised)
            same = done.returncode == 0 and (out0, status0) == (out1, status1)
            faults += not same or status0 != 0

            def pair(key, width):
                return f"{stats0.get(key, 0):>{width}} -> {stats1.get(key, 0):<{width}}"

            print(f"{source.name:<22}{count_nodes(before):>7} -> {count_nodes(after):<6}{pair('operations', 12)}"
                  f"{pair('loads', 9)}{pair('stores', 9)}{milliseconds:>5.0f}  "
                  f"{'same output' if same else 'DIFFERENT'}")
            changed = changed_function(before, after)
            if changed and (shown is None or len(changed[0]) < len(shown[1])):
                shown = (source.name, *changed)
    if shown:
        print(f"\nA function of {shown[0]} before:\n\n{shown[1]}\n\nand after, at level {LEVEL}:\n\n{shown[2]}")
    return 1 if faults else 0


sys.exit(main())
