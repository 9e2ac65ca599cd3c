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

packages=(nodejs npm neovim emacs-nox elpa-eglot)

installed() {
  dpkg -s "$1" 2>/dev/null | grep -q '^Status: install ok installed'
}

missing=()
for package in "${packages[@]}"; do
  if installed "$package"; then
    continue
  fi
  # An installed nodejs that is not Debian's may bring npm itself (and conflict
  # with Debian's npm); then npm on PATH will do.
  if [ "$package" = npm ] && installed nodejs && command -v npm >/dev/null 2>&1; then
    continue
  fi
  missing+=("$package")
done

if [ ${#missing[@]} -ne 0 ]; then
  echo "setup-clients: installing ${missing[*]}"
  if [ "$(id -u)" -ne 0 ]; then
    echo "setup-clients: these packages are missing and installing them needs root: ${missing[*]}" >&2
    exit 1
  fi
  export DEBIAN_FRONTEND=noninteractive
  apt-get update -q
  apt-get install -y -q --no-install-recommends "${missing[@]}"
fi

client=tests/lsp-client
if [ ! -d "$client/node_modules" ] || [ "$client/package-lock.json" -nt "$client/node_modules" ]; then
  echo "setup-clients: npm ci in $client"
  (cd "$client" && npm ci --no-audit --no-fund --loglevel=error)
  # npm ci leaves the folder's time as it was when the folder already existed.
  touch "$client/node_modules"
fi
