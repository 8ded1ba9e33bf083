#!/usr/bin/env bash
# Runs the first upload of an unpacked release archive, and lets it fail.
# Usage: try_it.sh FOLDER [WINE]    (for an archive for Windows, WINE is the command that runs its programs)
set -uo pipefail
wine=("${@:2}")
parent=$(mktemp -d)
trap 'rm -rf "$parent"' EXIT
root="$parent/Zoë's folder"
cp -r "$1" "$root" && cp -r "$root" "$parent/before" || exit 1
# Here the sandbox of the Linux archive keeps its files. Wine has another folder, and uses this one for itself.
mkdir "$parent/temporary"
((${#wine[@]})) || export TMPDIR=$parent/temporary
cd / || exit 1
failures=0

fail() {
  printf 'FAILED: %s\n' "$*"
  failures=$((failures + 1))
}

# expect NAME STATUS PATTERN: runs the script, and compares its exit status and what it prints.
expect() {
  local output code=0 run=("$root/try-it.sh")
  ((${#wine[@]} == 0)) || run=("${wine[@]}" cmd /c "Z:${root//\//\\}\\try-it.cmd" --no-pause)
  output=$(timeout 60 "${run[@]}" 2>&1 <&-) || code=$?
  ((code == $2)) || fail "$1: status $code instead of $2: $output"
  [[ $output =~ $3 ]] || fail "$1: no \"$3\" in: $output"
  steps=$(grep -c '^\[ok\]' <<<"$output")
}

# damage FILE, repair FILE: replaces a file of the folder, and brings it back.
damage() { mv "$root/$1" "$parent/kept" && printf 'damaged' >"$root/$1"; }
repair() { mv "$parent/kept" "$root/$1"; }

for time in first second; do
  expect "$time run" 0 'YouTube: video published, and what arrived'
  ((steps == 6)) || fail "$time run: $steps steps succeeded"
  left=$(diff -r "$parent/before" "$root" && ls -A "$parent/temporary")
  [[ -z $left ]] || fail "$time run: it left $left"
done

media=share/examples/media/clip.mp4
mv "$root/$media" "$parent/kept"
expect 'missing file' 1 "share.examples.media.clip.mp4"$'\r?\n''  Cause: It is missing'
repair "$media"

library=lib/libvelkupload.so.1
((${#wine[@]} == 0)) || library=bin/LibVelkUpload.dll
damage "$library"
expect 'damaged library' 1 'failed. velk-publish(.exe)? starts'
repair "$library"

if ((${#wine[@]} == 0)); then
  # A program that changes what the sandbox has stored.
  mv "$root/bin/velk-publish" "$root/bin/publish"
  cat >"$root/bin/velk-publish" <<'SCRIPT'
#!/bin/sh
"${0%/*}/publish" "$@" || exit
for file in "${VELK_SANDBOX_STORE:-}"/video-*; do
  [ ! -f "$file" ] || printf x | dd of="$file" bs=1 seek=100 conv=notrunc status=none
done
SCRIPT
  chmod +x "$root/bin/velk-publish"
else
  # A comparison that finds a difference.
  x86_64-w64-mingw32-gcc -o "$root/fc.exe" -x c - <<<'int main(void) { return 1; }' || fail 'no compiler'
fi
expect 'damaged upload' 1 'Facebook: video published to a page'$'\r?\n''  Cause: What arrived differs'

((failures == 0)) && echo 'all passed'
exit $((failures > 0))
