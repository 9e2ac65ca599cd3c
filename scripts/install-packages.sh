#!/usr/bin/env bash
# Installs those of the named Debian packages that are missing. Quick when all are
# there: it only asks dpkg. Installing needs root (a fresh Debian 12 machine is set
# up as root). Used by setup.sh and setup-clients.sh.
set -euo pipefail

installed() {
  dpkg -s "$1" 2>/dev/null | grep -q '^Status: install ok installed'
}

missing=()
for package in "$@"; do
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
  echo "setup: installing ${missing[*]}"
  if [ "$(id -u)" -ne 0 ]; then
    echo "setup: these packages are missing and installing them needs root: ${missing[*]}" >&2
    exit 1
  fi
  export DEBIAN_FRONTEND=noninteractive
  apt-get update -q
  apt-get install -y -q --no-install-recommends "${missing[@]}"
fi
