#!/usr/bin/env bash
# Signs copies of a Windows binary through packaging/sign with a certificate of its own, and tests refusals.
# Usage: sign.sh EXE
set -euo pipefail
sign=$(cd "$(dirname "${BASH_SOURCE[0]}")/../../packaging" && pwd)/sign
exe=$(realpath "$1")
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
cd "$folder"
failures=0

fail() {
  printf 'FAILED: %s\n' "$*"
  failures=$((failures + 1))
}

for name in publisher stranger; do
  openssl req -x509 -newkey rsa:2048 -nodes -sha256 -days 2 -subj "/CN=Test $name" \
    -addext 'extendedKeyUsage=codeSigning' -addext 'keyUsage=critical,digitalSignature' \
    -keyout "$name.key" -out "$name.pem" 2>openssl.log ||
    { cat openssl.log; exit 1; }
done

# program NAME: makes a program of the standard input. Its last argument is the file to sign.
program() {
  # shellcheck disable=SC2016 # the $ is for the program
  { printf '#!/usr/bin/env bash\nset -e\nfile=${!#}\n'; cat; } >"$1"
  chmod +x "$1"
}

program signer <<'END'
[[ $# -ge 3 && $1 == -* ]] || { echo "unexpected arguments: $*" >&2; exit 3; }
osslsigncode sign "${@:1:$#-1}" -certs publisher.pem -key publisher.key -in "$file" -out signed >/dev/null
mv signed "$file"
END
program signer_twice <<'END'
"$(dirname "$0")/signer" -h sha1 "$file"
"$(dirname "$0")/signer" -nest -h sha256 "$file"
END
program failing <<'END'
exit 7
END
program failing_after_signing <<'END'
"$(dirname "$0")/signer" -h sha256 "$file"
exit 1
END
program idle <<'END'
END
program deleting <<'END'
rm "$file"
END
program announcing <<'END'
# Writes the size of a certificate table into the header, without the table.
header=$(od -An -t u4 -j 60 -N 4 "$file")
printf '\1\0\0\0\1\0\0\0' | dd of="$file" bs=1 seek=$((header + 24 + 112 + 32)) conv=notrunc status=none
END
program filling <<'END'
# Announces a table of zeros that is in the file.
header=$(od -An -t u4 -j 60 -N 4 "$file")
printf '\0\1\0\0\0\1\0\0' | dd of="$file" bs=1 seek=$((header + 24 + 112 + 32)) conv=notrunc status=none
END
program changing_afterwards <<'END'
"$(dirname "$0")/signer" -h sha256 "$file"
printf 'X' | dd of="$file" bs=1 seek=4096 conv=notrunc status=none
END

verified() { osslsigncode verify -CAfile "$1.pem" -in "$2" >verify.log 2>&1; }

# Without a command, nothing happens to any file.
for value in '' ' '; do
  cp "$exe" 'a program.exe'
  VELK_SIGN=$value "$sign" 'a program.exe' || fail "VELK_SIGN='$value' fails"
  cmp -s "$exe" 'a program.exe' || fail "VELK_SIGN='$value' changes the file"
done
env -u VELK_SIGN "$sign" 'a program.exe' || fail 'fails without VELK_SIGN'

# Names with spaces, capitals and a leading hyphen.
for name in 'a program.exe' -h.dll LIBRARY.DLL; do cp "$exe" "./$name"; done
VELK_SIGN="$folder/signer -h sha256" "$sign" 'a program.exe' -h.dll LIBRARY.DLL || fail 'signing'
for name in 'a program.exe' -h.dll LIBRARY.DLL; do
  verified publisher "./$name" || fail "verifying $name: $(<verify.log)"
  ! verified stranger "./$name" || fail "the signature of $name is also good for another certificate"
done

cp "$exe" twice.exe
VELK_SIGN=$folder/signer_twice "$sign" twice.exe || fail 'two signatures with different digests'

# refused COMMAND PATTERN: the hook must fail for a fresh copy, with this message.
refused() {
  cp "$exe" refused.exe
  ! VELK_SIGN=$1 "$sign" refused.exe 2>errors || fail "accepted: $1"
  grep -q "$2" errors || fail "$1: no \"$2\" in: $(<errors)"
}

refused "$folder/failing" 'failed for'
refused "$folder/failing_after_signing" 'failed for'
refused "$folder/no-such-command" 'failed for'
refused "$folder/idle" 'has no signature'
refused true 'has no signature'
refused "$folder/deleting" 'is no Windows binary'
refused "$folder/announcing" 'is damaged'
refused "$folder/filling" 'contains no PKCS #7 signature'
refused "$folder/changing_afterwards" 'is not for its content'

# A failure in the middle of a list counts, and so does a file that is no binary.
cp "$exe" first.exe
cp "$exe" last.exe
program second_time <<'END'
[[ $file != *first.exe ]] || exec "$(dirname "$0")/signer" -h sha256 "$file"
END
! VELK_SIGN=$folder/second_time "$sign" last.exe first.exe 2>errors ||
  fail 'accepted: an unsigned file before a signed one'
! VELK_SIGN=$folder/second_time "$sign" first.exe last.exe 2>errors ||
  fail 'accepted: an unsigned file after a signed one'
for name in README.md none.exe; do
  ! VELK_SIGN="$folder/signer -h sha256" "$sign" "$name" 2>errors || fail "accepted: $name"
done

# Without osslsigncode, the table of certificates is checked alone.
mkdir bin
for tool in bash env cat rm awk od tr stat dirname x86_64-w64-mingw32-objdump true; do
  ln -s "$(type -P "$tool")" "bin/$tool"
done
cp first.exe signed.exe
PATH=$folder/bin VELK_SIGN=true "$sign" signed.exe || fail 'a signed file without osslsigncode'
cp "$exe" refused.exe
! PATH=$folder/bin VELK_SIGN=true "$sign" refused.exe 2>errors || fail 'accepted without osslsigncode'
grep -q 'has no signature' errors || fail "without osslsigncode: $(<errors)"

((failures == 0)) && echo 'all passed'
exit $((failures > 0))
