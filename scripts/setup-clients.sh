#!/usr/bin/env bash
# Installs what the language-server client tests need (tests/lsp-client,
# tests/lsp-nvim, tests/lsp-emacs): the Debian packages nodejs, npm, neovim,
# emacs-nox and elpa-eglot if any is missing,
# then the client library pinned in tests/lsp-client/package-lock.json, with
# `npm ci`, when tests/lsp-client/node_modules is missing or older than the lock
# file. Quick when all is there: it only asks dpkg and compares two times.
# Installing packages needs root (a fresh Debian 12 machine is set up as root).
set -euo pipefail

cd "$(dirname "$0")/.."

bash scripts/install-packages.sh nodejs npm neovim emacs-nox elpa-eglot

client=tests/lsp-client
if [ ! -d "$client/node_modules" ] || [ "$client/package-lock.json" -nt "$client/node_modules" ]; then
  echo "setup-clients: npm ci in $client"
  (cd "$client" && npm ci --no-audit --no-fund --loglevel=error)
  # npm ci leaves the folder's time as it was when the folder already existed.
  touch "$client/node_modules"
fi
