# Configuration of the text tests. Run them with tests/lit/run, which finds lit.
import os
import shutil

import lit.formats

config.name = "vrx"
config.test_format = lit.formats.ShTest(True)
config.suffixes = [".ict", ".test", ".c"]
config.excludes = ["Inputs"]
config.test_source_root = os.path.dirname(__file__)

# Where the programs are: parameter "bin", else the environment's VRX_BIN, else the usual build.
root = os.path.dirname(os.path.dirname(config.test_source_root))
bin_dir = lit_config.params.get("bin") or os.environ.get("VRX_BIN") or os.path.join(root, "build", "bin")
bin_dir = os.path.abspath(bin_dir)
config.test_exec_root = os.path.join(os.path.dirname(bin_dir), "lit")


def find(name):
    return shutil.which(name) or shutil.which(name + "-14") or name


# A longer name stands before its own beginnings.
for name in ["fold-program", "icode-as", "icode-cc", "icode-dis", "icode-run", "options-doc", "vrx-mid"]:
    config.substitutions.append(("%" + name, os.path.join(bin_dir, name)))
config.substitutions.append(("%FileCheck", find("FileCheck")))
config.substitutions.append(("%not", find("not")))
code = b""
if os.path.exists(os.path.join(bin_dir, "vrx-mid")):
    with open(os.path.join(bin_dir, "vrx-mid"), "rb") as program:
        code = program.read()
if b"VRX_CRASH" in code:  # a test build, which fails on demand
    config.available_features.add("crash-trigger")
if b"__asan_init" not in code:  # whose runtime takes faults and address space for itself
    config.available_features.add("plain-memory")
config.environment["VRX_BIN"] = bin_dir
