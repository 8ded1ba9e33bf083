#!/usr/bin/env bash
# Tests velk-publish as people and scripts use it. Runs inside the sandbox.
# Usage: velk-sandbox -- publish.sh COMMAND...    (such as velk-publish, or wine velk-publish.exe)
set -uo pipefail
set -m # otherwise the shell would hide Ctrl-C from what runs in the background
mapfile -t tool < <(realpath -- "$@") # the tests change the folder
media=$(cd "$(dirname "${BASH_SOURCE[0]}")/../../examples/media" && pwd)
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
cd "$folder" || exit 1
failures=0
windows=
[[ ${tool[-1]} != *.exe ]] || windows=1
export LC_ALL=C.UTF-8
unset "${!VELK_FACEBOOK_@}" "${!VELK_TWITTER_@}" "${!VELK_YOUTUBE_@}" VELK_PUBLISH_CONFIG
cp "$media"/{clip.mp4,photo.jpg} .
umask 077
printf 's3cret \r\n' >token # the line end of an editor of Windows
printf 'velk-secret\n' >secret

fail() {
  printf 'FAILED: %s\n' "$*"
  failures=$((failures + 1))
}

# run WORDS...: runs the program, and sets code, out and err.
run() {
  code=0
  "${tool[@]}" "$@" >out 2>err </dev/null || code=$?
  out=$(tr -d '\r' <out) err=$(tr -d '\r' <err)
  [[ $out$err != *s3cret* ]] || fail "$*: shows a secret: $out $err"
}

# expect NAME STATUS OUT ERR WORDS...: compares the exit status and both streams with regular expressions.
expect() {
  run "${@:5}"
  ((code == $2)) || fail "$1: status $code instead of $2: $out $err"
  [[ $out =~ $3 ]] || fail "$1: no \"$3\" in the output: $out"
  [[ $err =~ $4 ]] || fail "$1: no \"$4\" in the errors: $err"
}

control() { curl -q -sS --max-time 10 --noproxy '*' "$VELK_SANDBOX_CONTROL/$1" "${@:2}"; }
script() { control scripts -o scripts.log -d "$1"; }
reset() { control reset -o reset.log -X POST; }
count() { control requests | grep -o "\"method\":\"$1\"" | wc -l; } # requests by method
state() { control state | grep -qF -- "$1" || fail "$2: not in the state: $1"; }

youtube=(youtube upload --token-file token --title Bars --description Test)
video=(facebook video --token-file token --title Bars --description Test)

# ---- Results

expect 'video to YouTube' 0 '^[A-Za-z0-9_-]{11}$' '^Published clip.mp4 to YouTube.$' "${youtube[@]}" clip.mp4
expect 'quiet' 0 '^[0-9]+$' '^$' "${video[@]}" --quiet clip.mp4
success='"bytes":329839,"file":"clip.mp4","seconds":[0-9]+\.[0-9]{3}\}'
expect 'JSON of a success' 0 \
  '^\{"service":"youtube","id":"[^"]{11}","url":null,"result":0,"name":"VELK_OK","advice":"Nothing\."'",$success\$" \
  '' --json "${youtube[@]}" clip.mp4
expect 'two files, one missing' 7 $'^[^\t]{11}\tclip.mp4$' '^.*none.mp4: No such file' \
  "${youtube[@]}" --quiet none.mp4 clip.mp4
expect 'JSON of a missing file' 5 \
  '"id":null.*"result":-19,"name":"VELK_FILE_NOT_OPENED","advice":"none.mp4: No such file' '' --json \
  "${youtube[@]}" none.mp4
cp clip.mp4 --force -- --odd.mp4
expect '-- ends the options' 0 '^[0-9]+$' '' "${video[@]}" -- --odd.mp4

reset
expect 'apostrophe and backslash' 0 '' '' youtube upload --token-file token --title "It's C:\\new \"x\"" \
  --description $'a\tb\nc\\u0027 \'' --tag "it's" --tag 'a\b' clip.mp4
state '"title":"It'"'"'s C:\\new \"x\""' title
state '"description":"a\tb\nc\\u0027 '"'"'"' description
state '["it'"'"'s","a\\b"]' tags

printf 'VELK' >'Zoë 日本.mp4'
expect 'non-ASCII path and text' 0 '' 'Zoë 日本' youtube upload --token-file token --title 'Zoë 日本' \
  --description Ж 'Zoë 日本.mp4'
state '"title":"Zoë 日本"' 'non-ASCII title'

reset
expect 'percent-encoding' 0 '_' '' facebook post --token-file token --message 'a&b=c%d +e' \
  --link 'https://x.example/?a=1&b=2'
state '"message":"a&b=c%d +e"' message
state 'https://x.example/?a=1&b=2' link
expect 'a post that reads NULL' 0 '_' '' facebook post --token-file token --message NULL --link https://x.example
state '"message":"NULL"' 'NULL'
expect 'a text that looks like an option' 0 '_' '' facebook post --token-file token --message --help
state '"message":"--help"' '--help'

# ---- Credentials

printf '\xef\xbb\xbfexpired\r\n' >marked
expect 'token after a byte order mark' 3 '' 'VELK_TOKEN_REJECTED' facebook me --token-file marked
printf '\xef\xbb\xbf[facebook]\r\ntoken = "a"\r\n' >marked.conf
expect 'configuration after a byte order mark' 0 'Velk' '' --config marked.conf facebook me
printf '\xff\xfea\0\r\0\n\0' >wide
expect 'token in UTF-16' 5 '' 'wide: is UTF-16; save it as UTF-8' facebook me --token-file wide

expect 'secret as an argument' 2 '^$' 'unknown option "--token".*--token-file' \
  "${youtube[@]:0:2}" --token s3cret clip.mp4
expect 'secret as an argument, joined' 2 '^$' 'unknown option "--token"' "${youtube[@]:0:2}" --token=s3cret clip.mp4
expect 'no token' 2 '' 'no access token.*VELK_YOUTUBE_TOKEN' youtube upload --title a --description b clip.mp4
VELK_YOUTUBE_TOKEN=s3cret expect 'token from the environment' 0 '' '' youtube upload --title a --description b clip.mp4
VELK_YOUTUBE_TOKEN=expired expect 'expired token' 3 '"result":-2' '' \
  --json youtube upload --title a --description b clip.mp4
VELK_FACEBOOK_TOKEN=expired expect 'expired token of Facebook' 3 '"name":"VELK_TOKEN_REJECTED"' '' --json facebook me
VELK_YOUTUBE_TOKEN=forbidden expect 'forbidden' 6 '"result":-8' '' \
  --json youtube upload --title a --description b clip.mp4

sign_in=(twitter sign-in --consumer-key velk --consumer-secret-file secret --save)
printf '1234567 \n' >pin
code=0
"${tool[@]}" "${sign_in[@]}" user.conf <pin >out 2>err || code=$?
((code == 0)) || fail "sign-in: status $code: $(cat err)"
grep -q 'oauth_token=' err || fail 'sign-in: no URL'
! grep -q 'secret' out || fail 'sign-in: shows a secret'
if [[ ! $windows ]]; then
  [[ $(stat -c %a user.conf) == 600 ]] || fail "--save: mode $(stat -c %a user.conf)"
fi
expect 'tweet with a saved sign-in' 0 '' 'Published' twitter tweet --config user.conf --text 'Hello & good morning'
expect 'repeated tweet' 6 '"name":"VELK_DUPLICATE_STATUS"' '' \
  --json twitter tweet --config user.conf --text 'Hello & good morning'
expect 'photo' 0 '' 'Published photo.jpg' twitter photo --config user.conf --text 'A gradient' photo.jpg
before=$(count POST)
long=$(printf 'word %.0s' {1..60})
expect 'tweet that is too long' 2 '' 'at least 300.*280' twitter photo --config user.conf --text "$long" photo.jpg
(($(count POST) == before)) || fail 'a photo was uploaded for a tweet that is too long'
for line in s3cret 'facebook.token s3cret' 'facebook.token : "s3cret"'; do # run looks for the secret
  printf '%s\n' "$line" >wrong.conf
  expect "configuration with $line" 2 '' 'wrong.conf: a line is no known setting' \
    --json --config wrong.conf facebook me
done
printf '[facebook]\ntokn = "a"\n' >wrong.conf
expect 'unknown setting' 2 '' '"facebook.tokn"; did you mean "facebook.token"' --config wrong.conf facebook me
chmod 644 user.conf
expect 'configuration that others may read' 5 '^$' 'user.conf: others may read' \
  twitter tweet --config user.conf --text a
chmod 600 user.conf

# ---- Retries

retries=(--quiet --retry-pause 0.01 --retries 3)
reset
script '{"method":"POST","status":500,"times":2}'
expect 'the session fails twice' 0 '' '' "${retries[@]}" "${youtube[@]}" clip.mp4
(($(count POST) == 3 && $(count PUT) == 1)) || fail "two failed sessions: $(count POST) POST, $(count PUT) PUT"
reset
script '{"method":"PUT","passThrough":true,"reset":true}'
expect 'a reset after the video' 4 '' 'VELK_TRANSFER_FAILED' "${retries[@]}" "${youtube[@]}" clip.mp4
(($(count PUT) == 1)) || fail "a video that may exist was sent $(count PUT) times"
reset
script '{"path":"/me/feed","passThrough":true,"reset":true,"times":0}'
expect 'a reset after a post' 4 '' '' "${retries[@]}" facebook post --token-file token --message once
(($(count POST) == 1)) || fail "a post that may exist was sent $(count POST) times"
reset
script '{"host":"graph.facebook.com","method":"POST","passThrough":true,"reset":true,"times":0}'
script '{"host":"graph-video.facebook.com","method":"POST","status":500,"times":0}'
expect 'a video that the first host published' 6 '' 'VELK_SERVER_ERROR' "${retries[@]}" "${video[@]}" clip.mp4
(($(count POST) == 2)) || fail "a video that may exist was sent $(count POST) times"
reset
script '{"path":"/me","reset":true,"times":2}'
expect 'reading after two resets' 0 'Velk' '' "${retries[@]}" facebook me --token-file token
expect 'a tweet' 0 '' '' twitter tweet --config user.conf --text twice
script '{"path":"/1.1/statuses/update.json","status":503}'
expect 'a tweet that an earlier try published' 0 '' '' "${retries[@]}" twitter tweet --config user.conf --text twice
reset

# ---- Ctrl-C

# press_ctrl_c NAME: once, in what runs in the background, which then ends with the status for it.
press_ctrl_c() {
  kill -INT "$running"
  code=0
  wait "$running" || code=$?
  ((code == 130)) || fail "Ctrl-C, $1: status $code: $(cat out err)"
}

# interrupt NAME METHOD SCRIPT WORDS...: presses Ctrl-C once, after a request with the method.
interrupt() {
  reset
  script "$3"
  "${tool[@]}" --json "${@:4}" >out 2>err </dev/null &
  running=$!
  for ((i = 0; i < 100; ++i)); do
    (($(count "$2") == 0)) || break
    sleep 0.1
  done
  press_ctrl_c "$1"
  grep -q '"name":"VELK_CANCELLED"' out || fail "Ctrl-C, $1: $(cat out)"
}
interrupt 'during the video' PUT '{"method":"PUT","passThrough":true,"readSlowly":20000}' \
  "${youtube[@]}" clip.mp4
interrupt 'before the video' POST '{"method":"POST","neverAnswer":true}' "${youtube[@]}" clip.mp4
interrupt 'a post' POST '{"path":"/me/feed","neverAnswer":true}' facebook post --token-file token --message a
interrupt 'the text of a photo' POST '{"host":"upload.twitter.com","neverAnswer":true}' \
  twitter photo --config user.conf --text cancelled photo.jpg
reset

# ---- Values that are wrong

expect 'unknown category' 2 '"service":"youtube"' '--category.*"99" is not one of' \
  "${youtube[@]}" --json --category 99 clip.mp4
expect 'option without its value' 2 '"service":"youtube"' '--title: ' --json youtube upload --title
expect 'title that is too long' 2 '' 'title is too long: 101 characters' youtube upload --token-file token \
  --title "$(printf 'x%.0s' {1..101})" --description a clip.mp4
printf '{\n "title": "a",\n "tags": ["a", 1]\n}' >bad.json
expect 'wrong member in --meta' 2 '' 'bad.json, line 3: member "tags"' \
  youtube upload --token-file token --meta bad.json clip.mp4
[[ ! $windows ]] || { ((failures == 0)) && echo 'all passed'; exit $((failures > 0)); }

# The rest does not depend on the system, or needs what Wine has not.
printf '{"title": "From meta", "description": "d", "tags": ["x"], "category": "28"}' >meta.json
expect 'metadata' 0 '' '' youtube upload --token-file token --meta meta.json clip.mp4
state '"title":"From meta"' metadata
deep=$(printf './%.0s' {1..600})clip.mp4
expect 'a path that is too long between two files' 7 \
  $'^[^\t]{11}\tclip.mp4\n[^\t]{11}\tclip.mp4$' 'the path is too long' \
  "${youtube[@]}" --quiet clip.mp4 "$deep" clip.mp4
expect 'unknown service' 2 '' 'unknown word "facebok"; did you mean facebook' facebok me
expect 'unknown command' 2 '' 'unknown word "tweat" after "twitter"; did you mean tweet' twitter tweat
expect 'unknown option' 2 '' 'unknown option "--titel".*did you mean --title' youtube upload --titel a clip.mp4
expect 'target that is no number' 2 '' '--target: "mypage"' facebook post --token-file token --target mypage --message a
expect 'folder instead of a file' 5 '' 'is a folder' "${youtube[@]}" .
expect 'missing configuration' 5 '' 'none.conf: No such file' --config none.conf facebook me
expect 'version' 0 '^velk-publish [0-9]+\.[0-9]+\.[0-9]+$' '^$' --version
expect 'help' 0 'Example:.*velk-publish youtube upload' '^$' youtube upload --help
expect 'network' 4 '"name":"VELK_TRANSFER_FAILED"' '' --proxy http://127.0.0.1:1 --json facebook me --token-file token
VELK_FACEBOOK_TOKEN=pageless expect 'no pages' 0 '^$' '' facebook pages
expect 'message beyond the field, once encoded' 2 '' 'message is too long: 60000 bytes' \
  facebook post --token-file token --message "$(printf '&%.0s' {1..20000})"
"${tool[@]}" --version >/dev/full 2>err
(($? == 5)) || fail "full standard output: $(cat err)"

# The terminal of a person who does not type the PIN.
mkfifo input
"${tool[@]}" "${sign_in[@]}" cancelled.conf <>input >out 2>err &
running=$!
for ((i = 0; i < 100; ++i)); do
  ! grep -q oauth_token= err || break
  sleep 0.1
done
press_ctrl_c 'at the PIN'
[[ -z $(find . -name 'cancelled.conf*') ]] || fail 'Ctrl-C at the PIN left a file'

# ---- Manual page and completions

run --make man man.1
run --make bash complete.bash
for word in 'facebook url' 'twitter sign' 'youtube update'; do
  grep -q "^.SH $word" man.1 || fail "the manual page lacks $word"
done
completes() { # WORDS... EXPECTED
  COMP_WORDS=(velk-publish "${@:1:$#-1}") COMP_CWORD=$(($# - 1)) COMPREPLY=()
  _velk_publish
  [[ "${COMPREPLY[*]}" == "${!#}" ]] || fail "completion of $*: ${COMPREPLY[*]}"
}
# shellcheck disable=SC1091 # it was just made
source ./complete.bash
completes tw twitter
completes youtube u 'upload update'
completes youtube upload --ti --title
completes twitter tweet --te --text
completes --json --proxy http://127.0.0.1:1 facebook pa pages
completes --vers --version
completes facebook --qui --quiet
completes youtube upload --privacy un unlisted
completes youtube upload --title up ''

# ---- --save

printf '[facebook]\ntoken = "kept"\n' >full.conf
cp full.conf before.conf
(
  trap '' XFSZ
  ulimit -f 0
  "${tool[@]}" "${sign_in[@]}" full.conf <pin 2>&1
) | cat >out
((PIPESTATUS[0] == 5)) || fail "no space for --save: $(cat out)"
grep -q 'full.conf: cannot be written' out || fail "no space for --save: $(cat out)"
cmp -s full.conf before.conf || fail '--save changed a file that it could not replace'
[[ -z $(find . -name '*.new') ]] || fail '--save left a file'
expect '--save without a name' 2 '^$' '--save: the name of the file is empty' "${sign_in[@]}" ''
script '{"host":"api.twitter.com","neverAnswer":true}'
"${tool[@]}" "${sign_in[@]}" ended.conf <pin >out 2>err &
running=$!
sleep 1
kill -INT "$running"
wait "$running" && fail 'Ctrl-C during the sign-in: status 0'
[[ -z $(find . -name 'ended.conf*') ]] || fail 'Ctrl-C during the sign-in left a file'
reset
"${tool[@]}" "${sign_in[@]}" full.conf <pin >out 2>err || fail "--save into an existing file: $(cat err)"
grep -q kept full.conf || fail '--save lost another section'
"${tool[@]}" "${sign_in[@]}" /dev/full <pin >out 2>err
(($? == 5)) || fail '--save to a device'
[[ -c /dev/full ]] || fail '--save replaced a device'

# ---- Progress on a terminal

# More than the buffers of a connection hold.
head -c 9000000 /dev/zero >long.mp4
for columns in 60 120; do
  reset
  script '{"method":"PUT","passThrough":true,"readSlowly":6000000}'
  command script -qec "stty cols $columns
    '${tool[0]}' youtube upload --token-file token --title a --description b long.mp4" \
    /dev/null </dev/null >terminal
  tr '\r' '\n' <terminal | grep '%' >lines
  grep -q '/s  0:0[0-9] left' lines || fail "$columns columns: neither rate nor time: $(tail -n 2 lines)"
  grep -q '100 %' lines || fail "$columns columns: no end"
  awk -v width="$columns" 'length($0) >= width { exit 1 }
    match($0, /[0-9]+ %/) && substr($0, RSTART) + 0 > 100 { exit 2 }' lines ||
    fail "$columns columns: a line is too long, or beyond 100 %"
done
# A photo of several segments: the line shows all of it.
reset
script '{"host":"upload.twitter.com","method":"POST","passThrough":true,"readSlowly":4000000,"times":0}'
{ cat photo.jpg; head -c 3000000 /dev/zero; } >long.jpg
command script -qec "stty cols 60; '${tool[0]}' twitter photo --config user.conf --text long long.jpg" /dev/null \
  </dev/null >terminal
tr '\r' '\n' <terminal | grep -o '[0-9.]* [KM]*i*B of [0-9.]* MiB' | uniq >lines
(($(wc -l <lines) > 1)) || fail "segments: $(cat lines)"
[[ $(tail -n 1 lines) == '2.9 MiB of 2.9 MiB' ]] || fail "segments: $(cat lines)"
! grep -qv 'of 2.9 MiB' lines || fail "segments: $(cat lines)"
reset
run "${youtube[@]}" clip.mp4
[[ $err != *%* ]] || fail 'progress without a terminal'

((failures == 0)) && echo 'all passed'
exit $((failures > 0))
