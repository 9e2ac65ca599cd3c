#!/bin/sh
# Runs test files of the language-client suite with node's built-in test runner.
# Needs VANTLE_LSP (CTest sets it, with VANTLE_ASSIST and VANTLE_SOURCE_DIR).
# Exit 77 (CTest: skipped) when the pinned client library is not installed
# (node_modules, made by scripts/setup-clients.sh), outside CI; in CI its absence
# is a failure.
set -u
here=$(cd "$(dirname "$0")" && pwd)

if [ ! -f "$here/node_modules/vscode-jsonrpc/package.json" ]; then
  if [ -n "${CI:-}" ]; then
    echo "lsp-client: $here/node_modules is missing; scripts/setup-clients.sh installs it" >&2
    exit 1
  fi
  echo "lsp-client: SKIPPED: $here/node_modules is missing (run scripts/setup-clients.sh)"
  exit 77
fi
cd "$here" || exit 1
exec node --test "$@"
