#!/usr/bin/env python3
"""The prompt on a real terminal: tmux runs `vantle-assist repl`, types keys and
reads the screen. Completion offers what each command accepts (methods only for
signature, the prompt's own options), Ctrl-C cancels the line and keeps the
prompt, Ctrl-D leaves and keeps the history in $XDG_STATE_HOME, and a history
file that is a FIFO or a link to /dev/zero is refused at once.

usage: prompt_terminal_test.py VANTLE_ASSIST
"""
import os
import shutil
import subprocess
import sys
import tempfile
import time

tool = sys.argv[1]
if shutil.which("tmux") is None:
    print("tmux is missing (scripts/setup.sh installs it)")
    sys.exit(1)

folder = tempfile.mkdtemp(prefix="vantle-prompt-")
sessions = 0
state = os.path.join(folder, "state")
history = os.path.join(state, "vantle", "history")
failures = []


def tmux(*arguments):
    # A server of its own for each session: a server being stopped cannot take the next one's commands.
    socket = os.path.join(folder, f"tmux-{sessions}.socket")
    return subprocess.run(["tmux", "-S", socket, "-f", "/dev/null"] + list(arguments), capture_output=True,
                          text=True, timeout=30).stdout


def screen():
    return tmux("capture-pane", "-p", "-t", "prompt")


# tmux drops the blanks at the end of a screen line, so texts are looked for without them.
def wait_for(text, seconds=10.0):
    deadline = time.time() + seconds
    while time.time() < deadline:
        shown = screen()
        if text in shown:
            return shown
        time.sleep(0.05)
    failures.append(f"never saw {text!r} on the screen:\n{screen()}")
    return screen()


def keys(*typed):
    tmux("send-keys", "-t", "prompt", *typed)


def start():
    global sessions
    sessions += 1
    environment = (f"env TERM=xterm HOME={folder} XDG_STATE_HOME={state} "
                   f"KESTO_REGISTRY={folder}/registry.db NO_COLOR=1")
    tmux("new-session", "-d", "-s", "prompt", "-x", "110", "-y", "40",
         f"{environment} '{tool}' repl; echo EXIT=$?; sleep 30")
    wait_for("assist>")


def stop():
    tmux("kill-server")


def expect(condition, message, shown):
    if not condition:
        failures.append(f"{message}:\n{shown}")


try:
    start()
    keys("cla", "Tab")
    wait_for("assist> classes")
    keys("Util.F", "Tab", "Enter")
    wait_for("Util.Format\n")

    # signature completes methods only: Shop.Order has a property Status.
    keys("signature Shop.Order S", "Tab", "Tab")
    shown = wait_for("Submit")
    expect("Save" in shown and "Stamp" in shown and "Status" not in shown,
           "signature should offer the methods starting with S only", shown)

    # Ctrl-C drops the line and gives a new prompt.
    keys("C-c")
    shown = wait_for("^C")
    keys("members Shop.Order --", "Tab", "Tab")
    shown = wait_for("--extended")
    expect("--kind" in shown and "--dictionary" not in shown and "--module" not in shown,
           "options offered should be those the prompt takes", shown)
    keys("C-u", "origin Shop.Order T --kind property", "Enter")
    wait_for("has no property T")
    keys("origin Shop.Order --kind property Tr", "Tab")
    wait_for("origin Shop.Order --kind property Trail")
    keys("C-u", "help", "Enter")
    shown = wait_for(":reload")
    expect("--dictionary" not in shown, "the prompt's help must not offer --dictionary", shown)
    keys("C-u", ":set relative Shop.Inv", "Tab")
    wait_for(":set relative Shop.Invoice")
    keys("Enter")
    wait_for("relative   Shop.Invoice")
    keys("C-d")
    shown = wait_for("EXIT=0")
    stop()
    with open(history, encoding="utf-8", errors="replace") as f:
        kept = f.read()
    expect("Util.Format" in kept and "signature" not in kept, "the history should keep the lines run", kept)

    # History files the prompt must not read: a FIFO (would block) and /dev/zero (endless).
    for kind in ("fifo", "zero"):
        os.remove(history)
        if kind == "fifo":
            os.mkfifo(history)
        else:
            os.symlink("/dev/zero", history)
        began = time.time()
        start()
        shown = wait_for("is not a regular file")
        keys("classes Util.L", "Enter")
        wait_for("Util.Log\n")
        keys("C-d")
        wait_for("EXIT=0")
        stop()
        expect(time.time() - began < 15, f"the prompt with a {kind} history took too long", "")
        expect(not os.path.isfile(history), f"the {kind} history must be left as it was", "")
finally:
    stop()
    shutil.rmtree(folder, ignore_errors=True)

for failure in failures:
    print("FAIL", failure)
print(f"{len(failures)} failures")
sys.exit(1 if failures else 0)
