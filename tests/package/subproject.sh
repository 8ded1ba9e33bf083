#!/usr/bin/env bash
# Tests the library as a subdirectory of another project: that project decides about warnings, folders and what
# is installed.
# Usage: subproject.sh
set -euo pipefail
tests=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
checkout=$(dirname "$(dirname "$tests")")
# shellcheck source-path=SCRIPTDIR source=../../scripts/lib/environment
source "$checkout/scripts/lib/environment"

fail() {
  printf 'subproject: %s\n' "$*"
  exit 1
}

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"

cmake -S "$tests/subproject" -B build -G Ninja -DCHECKOUT="$checkout" >log 2>&1 ||
  { cat log; fail 'does not configure'; }
# Without the sandbox and the tests, everything is the library and the parent.
cmake --build build -j 2 >log 2>&1 || { tail -n 40 log; fail "the parent's warnings are errors, or the build fails"; }
grep -F 'src/core/' log >/dev/null || fail 'the library was not compiled'
grep -F 'Wmissing-include-dirs' log >/dev/null || fail 'the compiler gave no warning, so this tests nothing'

[[ $(find build -name 'libvelkupload.so*' -printf '%h\n' | sort -u) == build/out ]] ||
  fail "the library is not in the parent's output folder: $(find build -name 'libvelkupload.so*')"
foreign=$(find build -type f -perm -100 ! -path 'build/out/*' ! -path '*/CMakeFiles/*')
[[ -z $foreign ]] || fail "programs outside the parent's output folder: $foreign"
build/out/parent >/dev/null || fail 'the program of the parent does not run'

cmake --install build --prefix "$work/prefix" >log 2>&1 || { cat log; fail 'does not install'; }
installed=$(cd prefix && find . ! -type d -printf '%P\n')
[[ $installed == bin/parent ]] || fail "installs more than the parent's program: $installed"
[[ ! -e build/CPackConfig.cmake ]] || fail 'packs the parent'
echo "the parent project decides about warnings, folders and what is installed"
