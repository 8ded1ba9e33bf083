#!/bin/sh
# Publishes a photo and a video to the sandbox, and compares what arrived with the originals.
# The exit status is 0 when everything worked, otherwise 1. With --inside, it runs inside the sandbox.
set -u
unset CDPATH
cd -- "$(dirname -- "$0")" || exit 1
media=share/examples/media
failures=0

# failed NAME CAUSE ADVICE...
failed() {
  failures=$((failures + 1))
  printf '[failed] %s\n  Cause: %s\n' "$1" "$2"
  shift 2
  printf '  To do: %s\n' "$@"
}

# present FILE
present() {
  if [ ! -e "$1" ]; then
    failed "The file $1" 'It is missing.' 'Unpack the whole archive with tar, and start try-it.sh in its folder.'
  elif [ ! -s "$1" ]; then
    failed "The file $1" 'It is empty.' 'Unpack the whole archive again.'
  fi
}

# starts PROGRAM
starts() {
  "bin/$1" --help >/dev/null && return
  ldd "bin/$1" 2>&1 | grep 'not found' | sort -u | sed 's/^[[:space:]]*/ldd: /'
  failed "$1 starts" 'The lines above state it.' \
    'If a library is missing: on Debian 12, install the packages libcurl4, liboauth0 and libssl3.' \
    'If a version of GLIBC or GLIBCXX is missing: use Debian 12, or a system that is at least as new.' \
    'If permission is denied: unpack with tar, which keeps permissions, and on a disk that may run programs.' \
    'If a file is damaged or has the wrong format: unpack the archive again. It is for 64-bit Linux (x86-64).'
}

# show WORDS...: prints the command so that it can be copied.
show() {
  printf '\n> velk-publish'
  for word; do case $word in *' '*) printf ' "%s"' "$word" ;; *) printf ' %s' "$word" ;; esac done
  echo
}

# publish NAME WORDS...: runs velk-publish. Its standard output can be captured: the rest goes to descriptor 3.
publish() {
  name=$1
  shift
  show "$@" >&3
  bin/velk-publish --proxy "$VELK_SANDBOX_PROXY" "$@" && return
  failed "$name" "velk-publish ended with status $?. Its line above states the cause." \
    'If a service could not be reached: let the firewall allow connections on this computer (127.0.0.1).' >&3
  return 1
}

# update NAME WORDS...
# shellcheck disable=SC2317 # called through `after`
update() { publish "$@" && printf '[ok] %s\n' "$1"; }

# upload NAME FILE WORDS...: publishes the file, and compares it with the only file of the store that is new.
upload() {
  name=$1 original=$media/$2 stored=
  shift 2
  publish "$name" "$@" "$original" || return
  for file in "$VELK_SANDBOX_STORE"/*; do
    [ ! -f "$file" ] || case $seen in *"/${file##*/}/"*) ;; *) stored=${file##*/} ;; esac
  done
  seen=$seen$stored/
  if [ -z "$stored" ]; then
    failed "$name" 'Nothing arrived in the store of the sandbox.' 'Start try-it.sh again.'
  elif cmp -- "$original" "$VELK_SANDBOX_STORE/$stored"; then
    printf '[ok] %s, and what arrived equals the original\n' "$name"
  else
    failed "$name" "What arrived differs from $original: see the line above." 'Start try-it.sh again.'
  fi
}

# sign_in NAME WORDS...: keeps the credentials of the signed-in user in the file $user.
sign_in() {
  printf '1234567\n' >"$user.pin"
  if publish "$@" --save "$user" <"$user.pin"; then printf '[ok] %s\n' "$1"; else user=; fi
}

# after VALUE NAME WORDS...: runs the step in WORDS, unless an earlier one failed to set the value.
after() {
  [ -n "$1" ] || { failed "$2" 'An earlier step failed.' 'Make the earlier step work first.'; return; }
  shift
  name=$1 step=$2
  shift 2
  "$step" "$name" "$@"
}

# open_page: shows the page of the sandbox, where there is a person and a browser.
open_page() {
  printf 'Open %s/ in a browser to watch what is published.\n' "$VELK_SANDBOX_CONTROL"
  [ -t 0 ] && [ -t 1 ] && command -v xdg-open >/dev/null || return 0
  xdg-open "$VELK_SANDBOX_CONTROL/" >/dev/null 2>&1 &
}

# keep_page: what the page shows comes from the sandbox, which ends after the steps.
keep_page() {
  [ -t 0 ] && [ -t 1 ] || return 0
  printf '\nThe page stays at %s/ until you press Enter. ' "$VELK_SANDBOX_CONTROL"
  read -r _
}

steps() {
  exec 3>&1
  seen=/ stored=
  # The services of the sandbox take any token.
  export VELK_FACEBOOK_TOKEN=demo VELK_YOUTUBE_TOKEN=demo VELK_TWITTER_CONSUMER_SECRET=velk-secret
  # The sandbox removes its store with this folder.
  mkdir "$VELK_SANDBOX_STORE/user" && user=$VELK_SANDBOX_STORE/user/twitter.conf
  upload 'Facebook: photo published' photo.jpg facebook photo --message 'A gradient' --privacy SELF
  upload 'Facebook: video published to a page' clip.mp4 facebook video --target 104000000000001 \
    --title 'Colour bars' --description 'A test picture'
  sign_in 'Twitter: signed in with the PIN 1234567' twitter sign-in --consumer-key velk
  after "$user" 'Twitter: photo published in a tweet' upload photo.jpg twitter photo --config "$user" \
    --text 'A gradient'
  upload 'YouTube: video published' clip.mp4 youtube upload --title 'Colour bars' \
    --description 'A test picture' --privacy unlisted
  after "$stored" 'YouTube: title of the video changed' update youtube update --title Bars \
    --description Tone --privacy public --category 22 --no-tags -- "$stored"
}

if [ "${1:-}" = --inside ]; then
  open_page
  steps
  keep_page
  # A status of its own: the sandbox's failures have others.
  [ "$failures" -eq 0 ] || exit 3
  exit 0
fi

for file in bin/velk-sandbox bin/velk-publish lib/libvelkupload.so.1 $media/photo.jpg $media/clip.mp4; do
  present "$file"
done
[ "$failures" -ne 0 ] || { starts velk-sandbox; starts velk-publish; }
if [ "$failures" -eq 0 ]; then
  echo 'The services are simulated on this computer, as slow as a network of 50 kB/s. Nothing leaves it.'
  bin/velk-sandbox --slow-network 50000 -- /bin/sh "./${0##*/}" --inside
  status=$?
  case $status in
    0) ;;
    3) failures=1 ;;
    *) failed 'The sandbox runs' "velk-sandbox ended with status $status. Its line above states the cause." \
      'For a port: let the firewall or the security policy allow velk-sandbox to listen on 127.0.0.1.' \
      'For a folder or a file: free some space, and check that TMPDIR, or /tmp, can be written.' ;;
  esac
fi
[ "$failures" -ne 0 ] || { printf '\nEverything worked.\n'; exit 0; }
printf '\nNot everything worked: see the lines with [failed].\n'
exit 1
