"""check_docs.py PAGE OPCODES OUT: fails if the page's table of operators differs from the source's, and
writes the unit that the page shows to OUT."""
import re
import sys

page = open(sys.argv[1]).read()
source = re.sub(r"\s*\\\n\s*", " ", open(sys.argv[2]).read())  # entries may run over lines
wanted = {(code, "LOOP" if name == "LOOP_OP" else name, operands)
          for code, name, operands in re.findall(r"X\((\d+),\s*([A-Z0-9_]+),\s*(\d)\)", source)}
found = set(re.findall(r"^\| (\d+) \| `([A-Z0-9_]+)` \| (\d) \|", page, re.M))
if wanted != found:
    sys.exit(f"operators differ: {sorted(wanted ^ found)}")
open(sys.argv[3], "w").write(re.search(r"```ict\n(.*?)```", page, re.S).group(1))
