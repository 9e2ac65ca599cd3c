#!/usr/bin/env python3
"""The file work of mutation-audit.sh (standard library only):
  ids LIST [ID...]         "id<TAB>file" of the mutants to run, in list order
  sync TREE COPY           mirror TREE into COPY, leaving out build folders and .git
  apply LIST ID COPY SAVE  "applied<TAB>path" or "not-applicable<TAB>why"
  restore SAVE             put back what apply changed, and check that it is back
"""
import os
import shutil
import sys
from pathlib import Path

# A mutated file is never looked for here: tests and tools are not under audit,
# and a build folder holds only generated files.
NOT_SEARCHED = {".git", "tests", "bench", "fuzz"}


def read_list(path):
    mutants = {}
    with open(path, encoding="utf-8") as lines:
        for number, line in enumerate(lines, 1):
            line = line.rstrip("\n")
            if not line.strip() or line.lstrip().startswith("#"):
                continue
            fields = line.split(" ||| ") if " ||| " in line else line.split("\t")
            if len(fields) != 4 or not fields[2] or fields[2] == fields[3] or fields[0] in mutants:
                sys.exit(f"{path}:{number}: want a new id, a file, a snippet and a different replacement")
            mutants[fields[0]] = fields[1:]
    return mutants


def files_under(top, keep_dir=lambda rel, name: True):
    for root, dirs, files in os.walk(top):
        rel = os.path.relpath(root, top)
        dirs[:] = sorted(d for d in dirs if keep_dir(rel, d))
        yield from (os.path.normpath(os.path.join(rel, name)) for name in sorted(files))


def sync(tree, copy):
    # Unchanged files keep their times, so that the copy's build stays incremental.
    wanted = set(files_under(tree, lambda rel, d: d != ".git" and not (rel == "." and d.startswith("build"))))
    for rel in wanted:
        source, target = os.path.join(tree, rel), os.path.join(copy, rel)
        if not (os.path.isfile(target) and Path(source).read_bytes() == Path(target).read_bytes()):
            os.makedirs(os.path.dirname(target), exist_ok=True)
            shutil.copy(source, target)
    for rel in set(files_under(copy)) - wanted:
        os.remove(os.path.join(copy, rel))


def apply(list_path, mutant_id, copy, save):
    base, snippet, replacement = read_list(list_path)[mutant_id]
    searched = lambda rel, d: d not in NOT_SEARCHED and not d.startswith("build")
    found = [rel for rel in files_under(copy, searched) if os.path.basename(rel) == base]
    if len(found) != 1:
        return f"not-applicable\t{len(found)} files named {base}"
    path, save = Path(copy, found[0]), Path(save)
    original = path.read_bytes()
    count = original.decode("utf-8").count(snippet)
    if count != 1:
        return f"not-applicable\tsnippet found {count} times in {found[0]}"
    save.mkdir(parents=True, exist_ok=True)
    (save / "original").write_bytes(original)
    (save / "path").write_text(str(path))
    path.write_bytes(original.decode("utf-8").replace(snippet, replacement).encode("utf-8"))
    return f"applied\t{found[0]}"


def restore(save):
    record = Path(save, "path")
    if record.exists():
        # Written anew, not copied with its old time: the build has to see the change.
        path, original = Path(record.read_text()), Path(save, "original").read_bytes()
        path.write_bytes(original)
        if path.read_bytes() != original:
            sys.exit(f"mutation_audit.py: {path} could not be put back")
        record.unlink()


def ids(list_path, *wanted):
    mutants = read_list(list_path)
    unknown = set(wanted) - set(mutants)
    if unknown:
        sys.exit("unknown mutant ids: " + " ".join(sorted(unknown)))
    for mutant_id, (base, _, _) in mutants.items():
        if not wanted or mutant_id in wanted:
            print(f"{mutant_id}\t{base}")


if __name__ == "__main__":
    commands = {"ids": ids, "sync": sync, "apply": lambda *a: print(apply(*a)), "restore": restore}
    if len(sys.argv) < 2 or sys.argv[1] not in commands:
        sys.exit(__doc__)
    commands[sys.argv[1]](*sys.argv[2:])
