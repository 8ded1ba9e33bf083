#!/usr/bin/env bash
# Runs the examples: each must publish inside the sandbox, and exit with 1 without a service.
# Usage: examples.sh SANDBOX FOLDER [WINE]    (FOLDER contains the programs)
set -uo pipefail
set -m
sandbox=$(realpath "$1") programs=$(cd "$2" && pwd) wine=("${@:3}")
checkout=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
mkdir -p "$folder/share/examples"
ln -s "$checkout/examples/media" "$folder/share/examples/media"
cd "$folder" || exit 1
failures=0
suffix=
((${#wine[@]} == 0)) || suffix=.exe

fail() {
  printf 'FAILED: %s\n' "$*"
  failures=$((failures + 1))
}

# example NAME PATTERN WRAPPER...: runs an example in a sandbox, and without a service.
example() {
  local output code=0
  output=$("$sandbox" "${@:3}" -- "${wine[@]}" "$programs/example_$1$suffix" <<<1234567 2>&1 | tr -d '\r') || code=$?
  [[ $code == 0 && $output =~ $2 ]] || fail "$1: status $code, no \"$2\" in: $output"
  VELK_SANDBOX_PROXY=http://127.0.0.1:1 "${wine[@]}" "$programs/example_$1$suffix" \
    <<<1234567 >failed 2>&1 && code=0 || code=$?
  ((code == 1)) || fail "$1 without a service: status $code: $(cat failed)"
}

example upload '^VELK_OK [A-Za-z0-9_-]{11}$'
example progress 'of 329839 bytes.*VELK_OK [A-Za-z0-9_-]{11}$' --slow-network 500000
example tweet_photo 'VELK_OK$'
example post_to_page 'VELK_OK 104000000000001_[0-9]+$'

"$sandbox" --slow-network 20000 -- "${wine[@]}" "$programs/example_cancel$suffix" >out 2>&1 &
sleep 1.5
kill -INT $!
code=0
wait $! || code=$?
[[ $code == 1 && $(<out) == VELK_CANCELLED* ]] || fail "cancel: status $code: $(cat out)"

# The first program of both pages is the first example, word for word.
for page in README.md packaging/README.md; do
  # shellcheck disable=SC2016 # the backquotes are those of the page
  sed -n '/^```c$/,/^```$/{/^```/d;p}' "$checkout/$page" |
    cmp - "$checkout/examples/upload.c" || fail "$page has another program"
done
# What starts a thread does not count.
for file in "$checkout"/examples/*.c; do
  lines=$(sed '/^#ifdef _WIN32/,/^#endif/d' "$file" | wc -l)
  ((lines <= 60)) || fail "${file##*/} has $lines lines"
done

((failures == 0)) && echo 'all passed'
exit $((failures > 0))
