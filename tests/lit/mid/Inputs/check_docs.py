"""check_docs.py PAGE OPERATORS OUT: fails if the page's table of operators differs from the source's, and
writes the unit that the page shows to OUT."""
import re
import sys

page = open(sys.argv[1]).read()
FIRST_MEMORY_OP = 164
rows = re.findall(r"^OPERATOR\(\s*(\d+),\s*([A-Z0-9_]+),\s*(-?\d+),", open(sys.argv[2]).read(), re.M)
wanted = {(code, "LOOP" if name == "LOOP_OP" else name, operands)
          for code, name, operands in rows if int(code) < FIRST_MEMORY_OP}
found = set(re.findall(r"^\| (\d+) \| `([A-Z0-9_]+)` \| (\d) \|", page, re.M))
if wanted != found:
    sys.exit(f"operators differ: {sorted(wanted ^ found)}")
open(sys.argv[3], "w").write(re.search(r"```ict\n(.*?)```", page, re.S).group(1))
