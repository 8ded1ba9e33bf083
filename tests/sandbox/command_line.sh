#!/usr/bin/env bash
# Tests what clients of the sandbox cannot see: its command line, its files, and how it ends.
# Usage: command_line.sh COMMAND...    (such as velk-sandbox, or wine velk-sandbox.exe)
set -uo pipefail
set -m # otherwise the shell would hide Ctrl-C from what runs in the background
sandbox=("$@")
folder=$(mktemp -d)
failures=0
running=
windows=
[[ ${sandbox[-1]} != *.exe ]] || windows=1
unset {http,https,all,no}_proxy {HTTP,HTTPS,ALL,NO}_PROXY

# shellcheck disable=SC2317 # called by the trap
cleanup() {
  [[ -z $running ]] || kill "$running" 2>/dev/null
  rm -rf "$folder"
}
trap cleanup EXIT

fail() {
  printf 'FAILED: %s\n' "$*"
  failures=$((failures + 1))
}

# expect NAME STATUS PATTERN ARGUMENTS...: runs the sandbox, and compares its exit status and what it prints.
expect() {
  local name=$1 status=$2 pattern=$3 output code=0
  output=$(timeout 10 "${sandbox[@]}" "${@:4}" 2>&1 </dev/null) || code=$?
  ((code == status)) || fail "$name: status $code instead of $status: $output"
  [[ $output =~ $pattern ]] || fail "$name: no \"$pattern\" in: $output"
}

# member NAME: prints a member of the line that the running sandbox printed.
member() { sed -n "s/.*\"$1\":\"\([^\"]*\)\".*/\1/p" "$folder/line"; }

# start ARGUMENTS...: starts the sandbox in the background, and waits for its line.
start() {
  : >"$folder/line"
  "${sandbox[@]}" "$@" >"$folder/line" 2>"$folder/errors" </dev/null &
  running=$!
  for ((i = 0; i < 200; ++i)); do
    [[ ! -s $folder/line ]] || return 0
    sleep 0.1
  done
  fail "start $*: no line; $(cat "$folder/errors")"
}

# stop: ends the sandbox as Ctrl-C does.
stop() {
  kill -INT "$running"
  wait "$running" || fail "status $? after Ctrl-C"
  running=
}

request() { curl -q -sS --max-time 10 "$@"; }

printf 'text' >"$folder/file"
expect 'help' 0 'Usage: .*--slow-network' --help
expect 'unknown option' 2 '--nonsense' --nonsense
expect 'a word that is no option' 2 'program' program
expect 'port with a letter' 2 '--port.*8o' --port 8o
expect 'port above 65535' 2 '--control-port.*65536' --control-port 65536
expect 'option without its value' 2 '--store' --store
expect 'no command' 2 'no command after --' --
expect 'unknown command' 127 'no-such-program' -- no-such-program
expect 'store that is a file' 1 'cannot create the folder .*file' --port 0 --control-port 0 --store "$folder/file"
[[ -n $windows || ! -d /sys/kernel ]] || # not even root can create a folder there
  expect 'store that cannot be created' 1 '/sys/store: (Operation not permitted|Permission denied|Read-only)' \
    --port 0 --control-port 0 --store /sys/store
cp "$folder/file" "$folder/ca.pem"
expect 'authority without a key' 1 'ca-key.pem' --port 0 --control-port 0 --ca-dir "$folder"
cp "$folder/file" "$folder/ca-key.pem"
expect 'damaged authority' 1 'ca.pem is not a certificate' --port 0 --control-port 0 --ca-dir "$folder"

# The command sees its arguments and the sandbox's variables, but no proxy of the machine.
# shellcheck disable=SC1003 # a word that ends with a backslash
expect 'arguments of the command' 2 'expected: a "quoted" word\\;' -- "${sandbox[-1]}" 'a "quoted" word\'
lister=(env)
[[ -z $windows ]] || lister=(cmd /c set)
variables=$(http_proxy=a https_proxy=a all_proxy=a no_proxy=a HTTP_PROXY=a HTTPS_PROXY=a ALL_PROXY=a NO_PROXY=a \
  "${sandbox[@]}" -- "${lister[@]}")
for name in PROXY CONTROL STORE; do [[ $variables == *VELK_SANDBOX_$name=* ]] || fail "no VELK_SANDBOX_$name"; done
! grep -iE '^(http|https|all|no)_proxy=' <<<"$variables" || fail 'the command sees a proxy'

umask 022
start --port 0 --control-port 0 --store "$folder/store" --ca-dir "$folder/authority"
proxy=$(member proxy) control=$(member control)
expect 'port in use' 1 "--port ${proxy##*:}: " --port "${proxy##*:}" --control-port 0
expect 'control port in use' 1 "--control-port ${control##*:}: " --port 0 --control-port "${control##*:}"

for origin in "Host: evil.example:${control##*:}" "Host: 127.0.0.1" 'Origin: http://evil.example' 'Origin: null' \
  "Origin: https://127.0.0.1:${control##*:}"; do
  [[ $(request -o /dev/null -w '%{http_code}' -H "$origin" "$control/state") == 403 ]] || fail "accepted: $origin"
done
for origin in "Host: LOCALHOST:${control##*:}" "Host: [::1]:${control##*:}" "Origin: $control"; do
  [[ $(request -o /dev/null -w '%{http_code}' -H "$origin" "$control/state") == 200 ]] || fail "refused: $origin"
done

request "$control/ca.pem" >"$folder/first.pem"
head -c 200000 /dev/urandom >"$folder/video"
video=$(request --cacert "$folder/first.pem" -x "$proxy" -F "file=@$folder/video" \
  'https://graph.facebook.com/me/videos?access_token=t')
[[ $video == *'"id"'* ]] || fail "upload by a client that trusts ca.pem: $video"
cmp -s "$folder/video" "$folder"/store/video-* || fail 'the stored video differs'
others=077
[[ -z $windows ]] || others=007 # Wine gives the group what Windows gives the administrators
readable=$(find "$folder/store" "$folder/authority" -perm "/$others")
[[ -z $readable ]] || fail "others can read $readable"
stop
[[ ! -e $folder/store/spool ]] || fail 'the spool was left'
cmp -s "$folder/video" "$folder"/store/video-* || fail 'the video was not kept'

# A file that cannot be read is not taken for an empty one. A folder in its place fails for every user.
mv "$folder/store/state.jsonl" "$folder/state.kept"
mkdir "$folder/store/state.jsonl"
expect 'records that cannot be read' 1 'cannot read .*state.jsonl' --port 0 --control-port 0 --store "$folder/store"
rmdir "$folder/store/state.jsonl"
mv "$folder/state.kept" "$folder/store/state.jsonl"

start --port 0 --control-port 0 --ca-dir "$folder/authority"
request "$(member control)/ca.pem" | cmp -s - "$folder/first.pem" || fail 'the authority was not kept'
stop

# Reasons are on the standard error stream, one line each, and nothing in them can control a terminal.
start --port 0 --control-port 0
request -o /dev/null -x "$(member proxy)" -H 'Authorization: Bearer t' \
  -d $'{\'snippet\': {\'title\': \'<\n\e[31m\xc2\x9b\'}}' \
  'http://www.googleapis.com/upload/youtube/v3/videos?uploadType=resumable&part=snippet'
request -o /dev/null -x "$(member proxy)" 'http://graph.facebook.com/me?access_token=secret&fields=none'
stop
lines=$(tr -d '\r' <"$folder/errors")
expected='velk-sandbox: 400 POST http://www.googleapis.com/upload/youtube/v3/videos: '
expected+='the title contains an angle bracket'
expected+=', which YouTube refuses: "<\x0a\x1b[31m\x9b"
velk-sandbox: 400 GET http://graph.facebook.com/me: (#100) Tried accessing nonexisting field (none) on node type (User)'
[[ $lines == "$expected" ]] || fail "reasons: $lines"

# A window of the usual size would take the whole file at once.
start --port 0 --control-port 0 --slow-network 100000
begin=$(date +%s%N)
request -o /dev/null -x "$(member proxy)" -F "file=@$folder/video" \
  'http://graph.facebook.com/me/videos?access_token=t'
milliseconds=$((($(date +%s%N) - begin) / 1000000))
((milliseconds >= 1800)) || fail "200 kB at 100 kB/s took $milliseconds ms"
stop

start --port 0 --control-port 0 --journal 3
for i in 1 2 3 4 5; do request -o /dev/null -x "$(member proxy)" "http://graph.facebook.com/$i"; done
kept=$(request "$(member control)/requests" | grep -oE '"(id|target)":[^,]*' | tr '\n' ' ')
[[ $kept == '"id":3 "target":"/3" "id":4 "target":"/4" "id":5 "target":"/5" ' ]] || fail "journal: $kept"
[[ $(request "$(member control)/totals") == '{"requests":5,"kept":3,"bodyBytes":0}' ]] || fail 'totals'
stop

# A killed sandbox takes its command with it.
start -- "${sandbox[-1]}" --port 0 --control-port 0
control=$(member control)
request -o /dev/null "$control/totals" || fail 'no sandbox inside the sandbox'
kill -KILL "$running"
wait "$running" 2>/dev/null
running=
for ((i = 0; i < 50; ++i)); do
  request -o /dev/null "$control/totals" 2>/dev/null || break
  sleep 0.1
done
((i < 50)) || fail 'the command of a killed sandbox goes on'

((failures == 0)) && echo 'all passed'
exit $((failures > 0))
