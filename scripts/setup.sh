#!/usr/bin/env bash
# Installs the Debian packages the project needs, if any is missing. Quick when all
# are there: it only asks dpkg. Installing needs root (a fresh Debian 12 machine is
# set up as root).
set -euo pipefail

packages=(
  cmake g++ make pkg-config binutils
  googletest libgtest-dev libgmock-dev libbenchmark-dev
  libsqlite3-dev sqlite3 nlohmann-json3-dev libedit-dev libcli11-dev help2man
  python3-jsonschema tmux zsh fish
  clang-14 libclang-rt-14-dev llvm-14
  python3 dpkg-dev file valgrind
)

missing=()
for package in "${packages[@]}"; do
  if ! dpkg -s "$package" 2>/dev/null | grep -q '^Status: install ok installed'; then
    missing+=("$package")
  fi
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

# The language server's real clients: Node.js with the pinned protocol client, and
# Neovim.
bash "$(dirname "$0")/setup-clients.sh"
