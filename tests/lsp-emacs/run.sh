#!/bin/sh
# Runs client.lua's counterpart for Emacs: client.el in a batch Emacs with eglot,
# against the language server on PATH as docs/editors.md configures it. Needs
# VANTLE_LSP (CTest sets it). Exit 77 (CTest: skipped) when Emacs or eglot is not
# installed, outside CI; in CI their absence is a failure.
set -u
here=$(cd "$(dirname "$0")" && pwd)

if ! command -v emacs >/dev/null 2>&1 || ! ls -d /usr/share/emacs/site-lisp/elpa/eglot-* >/dev/null 2>&1; then
  if [ -n "${CI:-}" ]; then
    echo "lsp-emacs: emacs or eglot is not installed; scripts/setup-clients.sh installs them" >&2
    exit 1
  fi
  echo "lsp-emacs: SKIPPED: emacs or eglot is not installed (run scripts/setup-clients.sh)"
  exit 77
fi

work=$(mktemp -d "${TMPDIR:-/tmp}/vantle-lsp-emacs.XXXXXX")
trap 'rm -rf "$work"' EXIT INT TERM
# A fresh home: no user configuration, no state left behind.
export HOME="$work" TMPDIR="$work"
PATH="$(dirname "$VANTLE_LSP"):$PATH"
export PATH

limit=$(( ${VANTLE_LSP_TIMEOUT_MS:-20000} / 1000 * 6 + 30 ))
timeout --kill-after=5 "$limit" emacs --batch -q -l "$here/client.el" </dev/null
