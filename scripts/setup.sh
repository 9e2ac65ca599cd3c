#!/usr/bin/env bash
# Installs the Debian packages the project needs, if any is missing (through
# install-packages.sh), then what the language server's client tests need.
set -euo pipefail

packages=(
  cmake g++ make pkg-config binutils
  googletest libgtest-dev libgmock-dev libbenchmark-dev
  libsqlite3-dev sqlite3 nlohmann-json3-dev libedit-dev libxxhash-dev libcli11-dev help2man
  python3-jsonschema tmux zsh fish
  clang-14 libclang-rt-14-dev llvm-14
  python3 dpkg-dev file valgrind
)

bash "$(dirname "$0")/install-packages.sh" "${packages[@]}"

# The language server's real clients: Node.js with the pinned protocol client,
# Neovim and Emacs with eglot.
bash "$(dirname "$0")/setup-clients.sh"
