#!/usr/bin/env bash
# Builds the Debian packages, installs them with apt-get as a user would, and
# checks the installed files alone: vantle-assist demo and the example host built
# against /usr both ways, run from outside the source tree with an empty home.
# Then removes the packages and checks that no file of theirs is left. Needs root;
# leaves the machine as it found it.
set -euo pipefail

root="$(cd "$(dirname "$0")/.." && pwd)"
if [ "$(id -u)" -ne 0 ]; then
    echo "check-packages.sh: installing packages needs root" >&2
    exit 2
fi
if dpkg -s vantle >/dev/null 2>&1; then
    echo "check-packages.sh: vantle is installed already; remove it first" >&2
    exit 2
fi
bash "$root/scripts/package.sh"

scratch="$(mktemp -d)"
installed=0
cleanup() {
    [ "$installed" -eq 1 ] && apt-get purge -y -q vantle vantle-dev >/dev/null 2>&1 || true
    rm -rf "$scratch"
}
trap cleanup EXIT

apt-get install -y -q "$root"/dist/vantle_*.deb "$root"/dist/vantle-dev_*.deb >"$scratch/apt.log" 2>&1 ||
    { tail -n 20 "$scratch/apt.log" >&2; exit 1; }
installed=1
dpkg -L vantle vantle-dev | sort -u >"$scratch/files"

# Nothing below may reach the source tree: the example is copied out, and every
# command runs elsewhere with a clean environment.
cp -r "$root/examples/embed" "$scratch/embed"
run() { (cd "$scratch" && env -i PATH=/usr/bin:/bin HOME="$scratch/home" "$@"); }
mkdir -p "$scratch/home"

run vantle-assist --version
run vantle-assist demo >"$scratch/demo.txt"
grep -q 'service: registered class' "$scratch/demo.txt" ||
    { echo "check-packages.sh: the demo did not create the service as a registered class" >&2; exit 1; }

run cmake -S embed -B embed-cmake -DCMAKE_BUILD_TYPE=Release >/dev/null
run cmake --build embed-cmake >/dev/null
run embed-cmake/embed >"$scratch/cmake.out"
run sh -c 'c++ -std=c++17 -Wall -Wextra -Werror embed/main.cpp $(pkg-config --cflags --libs vantleassist) -o embed-pc'
run sh -c './embed-pc "$(pkg-config --variable=dictionarydir vantleassist)/shop.json"' >"$scratch/pkgconfig.out"
for variant in cmake pkgconfig; do
    if ! diff -u "$scratch/embed/expected-output.txt" "$scratch/$variant.out"; then
        echo "check-packages.sh: the example built with $variant answers differently" >&2
        exit 1
    fi
done

apt-get purge -y -q vantle vantle-dev >/dev/null
installed=0
left=0
while read -r file; do
    if [ -e "$file" ] && [ ! -d "$file" ]; then echo "left behind: $file" >&2; left=1; fi
done <"$scratch/files"
[ "$left" -eq 0 ] || exit 1
echo "check-packages.sh: packages install, work from the installed files alone, and remove cleanly"
