#!/usr/bin/env bash
# Checks a built library's exports against the list, and that a DLL imports only Windows libraries.
# Usage: exports.sh LIBRARY LIST
set -euo pipefail
export LC_ALL=C # objdump speaks the caller's language

library=$1
list=$2

# names: one "name address" line for each exported function.
if [[ $library == *.dll ]]; then
  dump=$(x86_64-w64-mingw32-objdump -p "$library")
  # The address table maps each ordinal to an address, and the name table maps it to a name.
  names=$(tr -d '[]' <<<"$dump" | awk '
    /^Export Address Table --/ { part = "addresses" }
    /^Ordinal\/Name Pointer Table/ { part = "names"; next }
    /^$/ { part = part == "names" ? "" : part }
    part == "addresses" && /Export RVA$/ { address[$1] = $(NF - 2) }
    part == "names" { print $2, address[$1] }')
  # The DLL must not require separate libraries of the compiler, libcurl or liboauth.
  foreign=$(sed -nE 's/^\tDLL Name: (.*)/\1/p' <<<"$dump" |
    grep -viE '^(ADVAPI32|bcrypt|CRYPT32|KERNEL32|msvcrt|WS2_32)\.dll$' || true)
  [[ -z $foreign ]] || { echo "imports libraries that are not part of Windows: $foreign"; exit 1; }
else
  names=$(nm -D --defined-only "$library" | awk '{ print $3, $1 }')
fi

diff <(sed -nE 's/^([A-Za-z]+).*/\1/p' "$list" | sort) <(awk '{ print $1 }' <<<"$names" | sort) ||
  { echo 'the exports do not match the list'; exit 1; }

address() { awk -v name="$1" '$1 == name { print $2 }' <<<"$names"; }

# An alias must have the address of its target.
while read -r alias target; do
  [[ $(address "$alias") == $(address "$target") ]] ||
    { echo "$alias and $target are different functions"; exit 1; }
done < <(sed -nE 's/^([A-Za-z]+) = ([A-Za-z]+)$/\1 \2/p' "$list")
echo "$(wc -l <<<"$names") exports match the list"
