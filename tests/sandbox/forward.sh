#!/usr/bin/env bash
# Publishes through a sandbox that forwards to a second one, and runs tests of the library the same way.
# Usage: forward.sh SANDBOX... -- TESTS...    (such as velk-sandbox -- wire_tests --gtest_filter=Youtube*)
set -uo pipefail
set -m # otherwise the shell would hide Ctrl-C from what runs in the background
sandbox=()
while [[ $1 != -- ]]; do
  sandbox+=("$1")
  shift
done
shift
folder=$(mktemp -d)
processes=()
failures=0
unset {http,https,all,no}_proxy {HTTP,HTTPS,ALL,NO}_PROXY

# shellcheck disable=SC2317 # called by the trap
cleanup() {
  kill "${processes[@]}" 2>/dev/null
  wait
  rm -rf "$folder"
}
trap cleanup EXIT

fail() {
  printf 'FAILED: %s\n' "$*"
  failures=$((failures + 1))
}

# start NAME ARGUMENTS...: starts a sandbox in the background, and waits for its line.
start() {
  local name=$1
  : >"$folder/$name"
  "${sandbox[@]}" --port 0 --control-port 0 "${@:2}" >"$folder/$name" 2>"$folder/$name.errors" </dev/null &
  processes+=($!)
  for ((i = 0; i < 200; ++i)); do
    [[ ! -s $folder/$name ]] || return 0
    sleep 0.1
  done
  fail "$name did not start: $(cat "$folder/$name.errors")"
  exit 1
}

# member NAME SANDBOX: prints a member of the line that a sandbox printed.
member() { sed -n "s/.*\"$1\":\"\([^\"]*\)\".*/\1/p" "$folder/$2"; }

request() { curl -q -sS --max-time 10 "$@"; }

start service --ca-dir "$folder/authority"
service=$(member proxy service)
upstreams=()
for host in graph.facebook.com graph-video.facebook.com api.twitter.com upload.twitter.com www.googleapis.com; do
  upstreams+=(--upstream "$host=${service#http://}")
done
start front --forward --upstream-ca "$folder/authority/ca.pem" "${upstreams[@]}" --verbose
front=$(member proxy front) control=$(member control front)

# A developer sees why a call fails, and nobody sees the token.
request "$control/ca.pem" >"$folder/ca.pem"
publish() {
  request --cacert "$folder/ca.pem" -x "$front" -F "access_token=$1" -F message=Hello https://graph.facebook.com/me/feed
}
post=$(publish token-of-a-user)
[[ $post == *'"id"'* ]] || fail "a post through the front: $post"
[[ $(request "$(member control service)/state") == *Hello* ]] || fail 'the service has no post'
[[ $(publish expired) == *OAuthException* ]] || fail 'the error of the service did not come back'
reason='400 POST https://graph.facebook.com/me/feed: the service states: Error validating access token'
for ((i = 0; i < 50; ++i)); do # the line follows the reply
  grep -qF "$reason" "$folder/front.errors" && break
  sleep 0.1
done
((i < 50)) || fail "no reason: $(cat "$folder/front.errors")"
exports=$(request "$control/requests" "$control/har"; cat "$folder/front.errors")
[[ $exports == *'access_token'* && $exports != *token-of-a-user* ]] || fail 'a token is shown'

# Some clients send a URL of https to a proxy as they would send one of http. What is meant for TLS must not go out
# without it.
without_tunnel() {
  request -x "$1" --request-target 'https://graph.facebook.com/me?access_token=t' -o /dev/null -w '%{http_code}' \
    http://graph.facebook.com/
}
code=$(without_tunnel "$service")
((code == 200)) || fail "a URL of https without a tunnel: $code"
before=$(request "$(member control service)/totals")
code=$(without_tunnel "$front")
((code == 502)) || fail "a URL of https without a tunnel, forwarded: $code"
[[ $(request "$(member control service)/totals") == "$before" ]] || fail 'the service got what was meant for TLS'

variables=(VELK_SANDBOX_PROXY="$front" VELK_SANDBOX_CONTROL="$(member control service)" VELK_SANDBOX_FORWARDS=1)
env "${variables[@]}" "$@" || fail "$*"

# Ctrl-C ends the front, even while the service reads nothing.
request -o /dev/null "$(member control service)/scripts" -d '{"path": "/stall", "stopReadingAfter": 100}'
head -c 30000000 /dev/zero >"$folder/large"
curl -q -sS -x "$front" -T "$folder/large" http://graph.facebook.com/stall >/dev/null 2>&1 &
for ((i = 0; i < 100; ++i)); do
  [[ $(request "$control/requests?path=/stall&brief=1") =~ '"bodyReceived":'[1-9] ]] && break
  sleep 0.1
done
front_process=${processes[-1]}
kill -INT "$front_process"
for ((i = 0; i < 50; ++i)); do
  kill -0 "$front_process" 2>/dev/null || break
  sleep 0.1
done
((i < 50)) || fail 'the front goes on after Ctrl-C'

((failures == 0)) && echo 'all passed'
exit $((failures > 0))
