#!/usr/bin/env python3
"""The --json output of real command lines, validated against the JSON Schema in
docs/json.md: every command, answers, "not found", usage and dictionary errors,
the prompt's lines. Each invocation must print exactly one document (one per line
at the prompt) whose exitCode is the process's exit code.

usage: json_schema_test.py VANTLE_ASSIST DOCS_JSON_MD
"""
import json
import os
import re
import subprocess
import sys
import tempfile

import jsonschema

tool, document = sys.argv[1], sys.argv[2]
with open(document, encoding="utf-8") as f:
    blocks = re.findall(r"```json\n(.*?)```", f.read(), re.S)
schema = json.loads(blocks[-1])
jsonschema.Draft202012Validator.check_schema(schema)
validator = jsonschema.Draft202012Validator(schema)

folder = tempfile.mkdtemp(prefix="vantle-json-")
bad = os.path.join(folder, "bad.json")
with open(bad, "w") as f:
    f.write('{"classes": [{"name": "A.B", "super": ["A.C"], "methods": [{"name": "M", "formalSpec": "a,,b"}]},\n'
            ' {"name": "A.B"}]}\n')
environment = dict(os.environ, KESTO_REGISTRY=os.path.join(folder, "registry.db"))
environment.pop("VANTLE_DICTIONARY", None)

lines = [
    "classes", "classes Util.", "classes Nothing",
    "members Shop.Order --flags 63 --extended", "members Shop.Nope", "members %Text", "members Shop.Ordr",
    "type Shop.Order Lines", "type Shop.Order Nothing", "type Shop..Order X",
    "signature Shop.Order Save", "signature Shop.Order Save 2", "signature Shop.Order Save 9",
    "signature Shop.Order Nope 1",
    "origin Shop.ExpressOrder Touch", "origin Shop.Order Trail --kind property", "origin No.Such X",
    "check", "check " + bad + " /dev/zero " + folder,
    "--dictionary " + bad + " classes", "--dictionary /dev/null classes",
    "register", "registry", "unregister", "unregister",
    "demo", "help", "help members", "signature --help", "completion zsh", "--version",
    "", "bogus", "members", "members X --flags 64", "--color=sometimes classes", "completion tcsh",
]
failures = 0
documents = 0


def check(line, text, status, expect_lines=1):
    global failures, documents
    outputs = text.splitlines()
    if len(outputs) != expect_lines:
        print(f"FAIL {line!r}: {len(outputs)} lines of output, expected {expect_lines}:\n{text}")
        failures += 1
        return
    for output in outputs:
        documents += 1
        try:
            value = json.loads(output)
        except json.JSONDecodeError as error:
            print(f"FAIL {line!r}: not JSON ({error}):\n{output}")
            failures += 1
            continue
        problems = sorted(validator.iter_errors(value), key=lambda e: list(e.path))
        for problem in problems:
            print(f"FAIL {line!r}: {problem.message} at {list(problem.absolute_path)}\n{output}")
            failures += 1
        if status is not None and value.get("exitCode") != status:
            print(f"FAIL {line!r}: exitCode {value.get('exitCode')} but the process exited {status}")
            failures += 1


for line in lines:
    run = subprocess.run([tool, "--json"] + line.split(), capture_output=True, text=True, env=environment,
                         timeout=60)
    check(line, run.stdout, run.returncode)

prompt = ["classes Util.", "members Shop.Nope", ":set", ":set flags 3", ":set bogus", "registry",
          "classes\0x", ":reload", "help", "type Shop.Order Sav"]
run = subprocess.run([tool, "repl", "--json"], input="\n".join(prompt) + "\n", capture_output=True, text=True,
                     env=environment, timeout=60)
check("repl", run.stdout, None, expect_lines=len(prompt))

print(f"{documents} documents checked, {failures} failures")
sys.exit(1 if failures else 0)
