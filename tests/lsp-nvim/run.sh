#!/bin/sh
# Runs client.lua in a headless Neovim against the language server and passes on
# its verdict. Needs VANTLE_LSP and VANTLE_ASSIST (CTest sets both).
# Exit 77 (CTest: skipped) when Neovim is not installed, outside CI; in CI its
# absence is a failure, since scripts/setup-clients.sh installs it.
set -u
here=$(cd "$(dirname "$0")" && pwd)

if ! command -v nvim >/dev/null 2>&1; then
  if [ -n "${CI:-}" ]; then
    echo "lsp-nvim: nvim is not installed; scripts/setup-clients.sh installs it" >&2
    exit 1
  fi
  echo "lsp-nvim: SKIPPED: nvim is not installed (run scripts/setup-clients.sh)"
  exit 77
fi

work=$(mktemp -d "${TMPDIR:-/tmp}/vantle-lsp-nvim.XXXXXX")
trap 'rm -rf "$work"' EXIT INT TERM
# Keep Neovim's state, cache and LSP log out of the user's home.
export XDG_CONFIG_HOME="$work/config" XDG_DATA_HOME="$work/data" XDG_STATE_HOME="$work/state" XDG_CACHE_HOME="$work/cache"
export VANTLE_NVIM_STDERR="$work/server-stderr.txt"
: > "$VANTLE_NVIM_STDERR"

limit=$(( ${VANTLE_LSP_TIMEOUT_MS:-20000} / 1000 * 6 + 30 ))
timeout --kill-after=5 "$limit" nvim --headless --clean -u NONE -i NONE -n -c "luafile $here/client.lua" </dev/null
status=$?
if [ "$status" -eq 124 ] || [ "$status" -eq 137 ]; then
  echo "lsp-nvim: Neovim did not finish within $limit s" >&2
fi
if [ "$status" -ne 0 ] && [ -s "$VANTLE_NVIM_STDERR" ]; then
  echo "--- server stderr ---" >&2
  tail -c 4000 "$VANTLE_NVIM_STDERR" >&2
fi
exit "$status"
