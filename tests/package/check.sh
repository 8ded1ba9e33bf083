#!/usr/bin/env bash
# Tests what was packed: unpacks the archives into an empty folder, and uses them as other developers do.
# Usage: check.sh [--quick] DIST
#   DIST     the folder of the archives
#   --quick  leaves out repetitions: each compiler links and runs one host
# shellcheck disable=SC2317 # step calls the functions
set -euo pipefail
tests=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
checkout=$(dirname "$(dirname "$tests")")
# shellcheck source-path=SCRIPTDIR source=../../scripts/lib/environment
source "$checkout/scripts/lib/environment"

quick=0
if [[ ${1-} == --quick ]]; then
  quick=1
  shift
fi
(($# == 1)) || { echo 'usage: check.sh [--quick] DIST' >&2; exit 2; }
dist=$(realpath -e "$1")

mingw=x86_64-w64-mingw32
strict=(-std=c99 -Wall -Wextra -Wpedantic -Werror)

fail() {
  printf '   %s\n' "$*"
  exit 1
}

# equal WHAT ACTUAL EXPECTED
equal() { [[ $2 == "$3" ]] || fail "$1: '$2' instead of '$3'"; }

# same_lines WHAT ACTUAL EXPECTED: compares two lists in any order.
same_lines() {
  diff <(sort <<<"$3") <(sort <<<"$2") || fail "$1: '<' is missing, '>' should not be there"
}

faults=()
steps=0
# step NAME COMMAND...: runs one test in a shell of its own, so that it can stop at its first fault.
step() {
  local status=0
  steps=$((steps + 1))
  printf '%s\n' "-- $1"
  set +e
  (set -e; "${@:2}") 2>&1
  status=$?
  set -e
  ((status == 0)) || { printf '   FAILED\n'; faults+=("$1"); }
}

# long_step: a step that --quick leaves out.
long_step() { ((quick)) || step "$@"; }

finish() {
  if ((${#faults[@]})); then
    printf '\n%s of %s steps failed:\n' ${#faults[@]} "$steps"
    printf '  %s\n' "${faults[@]}"
    exit 1
  fi
  printf '\nall %s steps passed in %s s\n' "$steps" "$SECONDS"
  exit 0
}

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"

# --- The archives

check_sums() {
  cd "$dist"
  sha256sum --check --strict --quiet SHA256SUMS || fail 'SHA256SUMS does not fit the files'
  same_lines 'the files that SHA256SUMS lists' "$(sed -E 's/^[0-9a-f]+ [ *]//' SHA256SUMS)" \
    "$(find . -type f ! -name SHA256SUMS -printf '%P\n')"
}

# unpack ARCHIVE FOLDER: an archive must contain one folder of its own name.
unpack() {
  local name=${1##*/}
  name=${name%.zip} name=${name%.tar.gz}
  mkdir -p "$2"
  case $1 in
    *.zip) unzip -q "$1" -d "$2" ;;
    *) tar -xzf "$1" -C "$2" ;;
  esac
  equal "what ${1##*/} contains" "$(ls -A "$2")" "$name"
}

# only PATTERN: the one file of DIST that fits.
only() {
  local files
  files=$(find "$dist" -maxdepth 1 -name "$1" ! -name '*-symbols.*')
  [[ -f $files ]] || { echo "check.sh: needs exactly one $1 in $dist" >&2; exit 1; }
  printf '%s\n' "$files"
}

windows_archive=$(only 'velk-upload-*-windows-x64.zip')
linux_archive=$(only 'velk-upload-*-linux-x64.tar.gz')

# The blanks in the folders' names find programs that split paths.
step 'SHA256SUMS fits the files' check_sums
step 'the Windows archive unpacks' unpack "$windows_archive" "$work/a blank/windows"
step 'the Windows symbols unpack' unpack "${windows_archive%.zip}-symbols.zip" "$work/a blank/windows symbols"
step 'the Linux archive unpacks' unpack "$linux_archive" "$work/a blank/linux"
step 'the Linux symbols unpack' unpack "${linux_archive%.tar.gz}-symbols.tar.gz" "$work/a blank/linux symbols"
((${#faults[@]} == 0)) || finish

windows=$(echo "$work/a blank/windows/"*)
linux=$(echo "$work/a blank/linux/"*)
windows_symbols="$work/a blank/windows symbols"
linux_symbols="$work/a blank/linux symbols"
version=$(sed -nE 's/^#define VELK_UPLOAD_VERSION "(.*)"$/\1/p' "$windows/include/velk_upload.h")

common_files='CHANGELOG.md
README.md
include/velk_upload.h
include/velk_upload.hpp
include/velk_upload_results.hpp
lib/pkgconfig/velk-upload.pc
share/bash-completion/completions/velk-publish
share/licenses/velk-upload/LICENSE
share/licenses/velk-upload/THIRD_PARTY_NOTICES
share/man/man1/velk-publish.1
share/zsh/site-functions/_velk-publish
verified/README.md'
windows_files="$common_files
bin/LibVelkUpload.dll
bin/velk-publish.exe
bin/velk-sandbox.exe
lib/LibVelkUpload.def
lib/LibVelkUpload.dll.a
lib/LibVelkUpload.lib
try-it.cmd
verified/LibVelkUpload.dll"
linux_files="$common_files
bin/velk-publish
bin/velk-sandbox
lib/libvelkupload.so
lib/libvelkupload.so.1
lib/libvelkupload.so.$version
try-it.sh
verified/libvelkupload.so.1"

# files FOLDER EXPECTED: the CMake package, the documentation and the examples have steps of their own.
files() {
  same_lines 'the files' "$(cd "$1" && find . \( -type f -o -type l \) ! -path './lib/cmake/VelkUpload/*' \
    ! -path './share/doc/*' ! -path './share/examples/*' -printf '%P\n')" "$2"
}

linux_links() {
  equal 'libvelkupload.so' "$(readlink "$linux/lib/libvelkupload.so")" libvelkupload.so.1
  equal 'libvelkupload.so.1' "$(readlink "$linux/lib/libvelkupload.so.1")" "libvelkupload.so.$version"
  local file
  for file in bin/velk-publish bin/velk-sandbox try-it.sh; do
    [[ -x $linux/$file ]] || fail "$file is not executable"
  done
  equal 'the owner of the packed files' \
    "$(tar --numeric-owner -tvzf "$linux_archive" | awk '{ print $2 }' | sort -u)" 0/0
}

# pages FOLDER: every link to a local file must lead to one. The reference has its own start page.
pages() {
  [[ -f $1/share/doc/html/index.html ]] || fail 'no reference at share/doc/html/index.html'
  local page link dead=0
  for page in "$1"/*.md "$1"/verified/*.md "$1"/share/doc/*.md; do
    while read -r link; do
      [[ -e ${page%/*}/$link ]] || { printf '   %s has a dead link to %s\n' "${page#"$1"/}" "$link"; dead=1; }
    done < <(grep -oP '\]\(\K(?![a-z]+:)[^)#\s]+' "$page" || true)
  done
  ((dead == 0)) || fail 'a page has a dead link'
}

step 'the Windows archive has its files' files "$windows" "$windows_files"
step 'the Linux archive has its files' files "$linux" "$linux_files"
step 'the Linux archive keeps links, modes and no owner' linux_links
step 'the pages of the Windows archive have no dead link' pages "$windows"
step 'the pages of the Linux archive have no dead link' pages "$linux"

# --- Hosts

compatible=$(grep -oE '^[0-9]+\.[0-9]+' <<<"$version")

# runs COMMAND...: a host prints the version that it was compiled for.
runs() {
  local output
  output=$("$@" | tr -d '\r') || fail "the host failed with exit code $?: $output"
  equal 'what the host printed' "$output" "Velk Upload $version"
}

# runs_freestanding HOST: the host without a C run-time returns 42 when everything went well.
runs_freestanding() {
  local status=0
  "$checkout/scripts/wine" "$1" || status=$?
  equal 'the exit code of the host' "$status" 42
}

# configured PREFIX FOLDER HOST OPTIONS...: builds a host that finds the package with CMake.
configured() {
  cmake -S "$tests" -B "$2" -G Ninja -DCMAKE_PREFIX_PATH="$1" -DCMAKE_FIND_USE_PACKAGE_REGISTRY=OFF \
    -DVERSION="$version" -DHOST="$3" -DCMAKE_BUILD_TYPE=Release "${@:4}" >"$2.log" 2>&1 ||
    { cat "$2.log"; fail "CMake does not find version $compatible of the package"; }
  cmake --build "$2" >"$2.log" 2>&1 || { cat "$2.log"; fail 'the host does not build'; }
}

plain_mingw() {
  mkdir plain-mingw
  "$mingw"-gcc "${strict[@]}" -I "$windows/include" "$tests/host.c" "$windows/lib/LibVelkUpload.dll.a" \
    -o plain-mingw/host.exe
  cp "$windows/bin/LibVelkUpload.dll" plain-mingw
  runs "$checkout/scripts/wine" plain-mingw/host.exe
}

cmake_mingw() {
  configured "$windows" "$work/cmake mingw" host.c -DCMAKE_SYSTEM_NAME=Windows \
    -DCMAKE_C_COMPILER="$mingw"-gcc -DCMAKE_RC_COMPILER="$mingw"-windres
  equal 'the DLL of the target' "$(<'cmake mingw/library')" "$windows/bin/LibVelkUpload.dll"
  equal 'what MinGW links' "$(<'cmake mingw/linked')" "$windows/lib/LibVelkUpload.dll.a"
  runs "$checkout/scripts/wine" 'cmake mingw/host.exe'
}

plain_visual_c() {
  mkdir plain-visual-c
  clang --target=x86_64-pc-windows-msvc "${strict[@]}" -ffreestanding -I "$windows/include" -c "$tests/host_msvc.c" \
    -o plain-visual-c/host.obj
  lld-link /nologo /entry:main /subsystem:console /nodefaultlib /out:plain-visual-c/host.exe plain-visual-c/host.obj \
    "$windows/lib/LibVelkUpload.lib"
  cp "$windows/bin/LibVelkUpload.dll" plain-visual-c
  runs_freestanding plain-visual-c/host.exe
}

# There is no Visual C++ run-time library here, so that even CMake's own tests of the compiler link without one.
cmake_visual_c() {
  ln -s "$(command -v clang)" clang-cl
  configured "$windows" "$work/cmake visual c" host_msvc.c -DCMAKE_SYSTEM_NAME=Windows \
    -DCMAKE_C_COMPILER="$work/clang-cl" -DCMAKE_C_COMPILER_TARGET=x86_64-pc-windows-msvc \
    -DCMAKE_LINKER="$(command -v lld-link)" -DCMAKE_RC_COMPILER="$mingw"-windres -DCMAKE_MT=mt \
    -DCMAKE_C_FLAGS='/W4 /WX /GS-' -DCMAKE_C_STANDARD_LIBRARIES= \
    -DCMAKE_EXE_LINKER_FLAGS='/entry:main /subsystem:console /nodefaultlib /manifest:no'
  equal 'the DLL of the target' "$(<'cmake visual c/library')" "$windows/bin/LibVelkUpload.dll"
  equal 'what Visual C++ links' "$(<'cmake visual c/linked')" "$windows/lib/LibVelkUpload.lib"
  runs_freestanding 'cmake visual c/host.exe'
}

# pkg_config PREFIX: sets the array flags.
pkg_config() {
  local quoted
  quoted=$(PKG_CONFIG_LIBDIR="$1/lib/pkgconfig" pkg-config --cflags --libs velk-upload) ||
    fail 'pkg-config does not know velk-upload'
  # The output quotes blanks for a shell.
  eval "flags=($quoted)"
}

pkg_config_mingw() {
  local flags
  pkg_config "$windows"
  "$mingw"-gcc "${strict[@]}" "$tests/host.c" "${flags[@]}" -o pkg-config.exe
}

pkg_config_linux() {
  local flags
  pkg_config "$linux"
  gcc "${strict[@]}" "$tests/host.c" "${flags[@]}" -o pkg-config-host
  LD_LIBRARY_PATH="$linux/lib" runs ./pkg-config-host
}

cmake_linux() {
  configured "$linux" "$work/cmake linux" host.c
  equal 'the library of the target' "$(realpath "$(<'cmake linux/library')")" "$linux/lib/libvelkupload.so.$version"
  runs 'cmake linux/host'
}

# examples PREFIX COMPILER LIBRARIES...: the examples must build from the archive alone.
examples() {
  local file
  for file in clip.mp4 photo.jpg; do
    cmp "$1/share/examples/media/$file" "$checkout/examples/media/$file"
  done
  for file in "$1"/share/examples/*.c; do
    "$2" "${strict[@]}" -I "$1/include" "$file" "${@:3}" -o example || fail "${file##*/} does not build"
  done
}

long_step 'Windows: MinGW links and runs a host' plain_mingw
step 'Windows: MinGW finds the package with CMake' cmake_mingw
step 'Windows: MinGW finds the package with pkg-config' pkg_config_mingw
step 'Windows: Visual C++ mode links and runs a host' plain_visual_c
long_step 'Windows: Visual C++ mode finds the package with CMake' cmake_visual_c
step 'Linux: pkg-config finds the package' pkg_config_linux
step 'Linux: CMake finds the package' cmake_linux
step 'Windows: the examples build' examples "$windows" "$mingw"-gcc "$windows/lib/LibVelkUpload.dll.a"
step 'Linux: the examples build' examples "$linux" gcc "$linux/lib/libvelkupload.so" -pthread

# --- Binaries

# binary FILE IMPORTS: imports the listed libraries at most, and is stripped.
binary() {
  local foreign
  foreign=$(objdump -p "$1" | sed -nE 's/^(\tDLL Name: |  NEEDED +)//p' | grep -viE "^($2)\$" || true)
  [[ -z $foreign ]] || fail "requires libraries that the system does not have: $foreign"
  [[ ! $(objdump -h "$1") =~ \.z?debug_ ]] || fail 'contains debug information'
  [[ $(objdump -t "$1" 2>/dev/null) == *'no symbols'* ]] || fail 'contains a symbol table'
}

windows_binary() {
  binary "$1" '(advapi32|bcrypt|crypt32|kernel32|msvcrt|mswsock|ntdll|shell32|user32|ws2_32|LibVelkUpload)\.dll'
  local header characteristic
  header=$(objdump -p "$1")
  for characteristic in HIGH_ENTROPY_VA DYNAMIC_BASE NX_COMPAT; do
    [[ $header == *$characteristic* ]] || fail "lacks $characteristic"
  done
  # Without relocations, Windows loads a program at a fixed base in spite of DYNAMIC_BASE.
  grep -qE '^Entry 5 [0-9a-f]+ 0*[1-9a-f][0-9a-f]* ' <<<"$header" || fail 'has no base relocations'
}

# resource FILE: the numbers of a version resource have four parts, the strings need not.
resource() {
  local text numbers="${version//./, }, 0" key
  text=$("$mingw"-windres -J coff -O rc "$1" 2>/dev/null) || fail 'has no resources'
  for key in FILEVERSION PRODUCTVERSION; do
    equal "$key" "$(sed -nE "s/^ *$key //p" <<<"$text")" "$numbers"
  done
  for key in FileVersion ProductVersion; do
    equal "$key" "$(sed -nE "s/^ *VALUE \"$key\", \"([^\"]*)\".*/\1/p" <<<"$text")" "$version"
  done
  [[ $1 != *.exe ]] || [[ $text =~ \<longPathAware[^\>]*\>true\</longPathAware\> ]] ||
    fail 'the manifest does not declare longPathAware'
}

linux_binary() {
  binary "$1" 'lib(curl|oauth|ssl|crypto|stdc\+\+|gcc_s|m|c|velkupload)\.so(\.[0-9]+)?'
  local dynamic
  dynamic=$(objdump -p "$1")
  case $1 in
    *.so*) equal 'SONAME' "$(awk '$1 == "SONAME" { print $2 }' <<<"$dynamic")" libvelkupload.so.1 ;;
    */velk-publish)
      # shellcheck disable=SC2016 # the loader expands it
      equal 'RUNPATH' "$(awk '$1 == "RUNPATH" { print $2 }' <<<"$dynamic")" '$ORIGIN/../lib' ;;
  esac
}

# build_id FILE: the identifier that an ELF file shares with its symbols.
build_id() { readelf -n "$1" 2>/dev/null | sed -nE 's/.*Build ID: //p' || true; }

# symbols FILE FOLDER: one file of the folder must belong to the binary, and contain the lines of our sources.
symbols() {
  local link name sum id candidate found
  link=$(objdump --dwarf=links "$1" 2>/dev/null)
  name=$(sed -nE 's/^ *Separate debug info file: //p' <<<"$link")
  sum=$(sed -nE 's/^ *CRC value: 0x//p' <<<"$link")
  id=$(build_id "$1")
  [[ -n $name || -n $id ]] || fail 'has neither a debug link nor a build identifier'
  while IFS= read -r candidate; do
    if [[ -n $name ]]; then
      [[ ${candidate##*/} == "$name" ]] || continue
      # The trailer of a gzip file has the checksum that a debug link uses.
      [[ $(gzip -1c "$candidate" | tail -c 8 | head -c 4 | od -An -tx4 | tr -d ' ') == \
        $(printf '%08x' "0x$sum") ]] || continue
    else
      [[ $(build_id "$candidate") == "$id" ]] || continue
    fi
    found=$candidate
  done < <(find "$2" -name '*.debug')
  [[ -n ${found-} ]] || fail "no file of symbols belongs to it (${name:-no debug link}, ${id:-no build identifier})"
  local plain=$work/plain/${found#"$work/"}
  mkdir -p "${plain%/*}"
  objcopy --decompress-debug-sections "$found" "$plain"
  [[ $(objdump -h "$plain") == *.debug_line* ]] || fail "${found##*/} has no line numbers"
  grep -aqE 'src/core|sandbox/|tools/publish' "$plain" || fail "${found##*/} does not name our sources"
}

# exports FILE: tests/exports.sh reports the difference.
exports() { "$checkout/tests/exports.sh" "$1" "$checkout/src/core/exports.list"; }

# import_libraries: each offers every export, so that no host fails to link.
import_libraries() {
  local list file
  list=$(sed -nE 's/^([A-Za-z]+).*/\1/p' "$checkout/src/core/exports.list")
  for file in LibVelkUpload.lib LibVelkUpload.dll.a; do
    same_lines "$file" \
      "$("$mingw"-nm "$windows/lib/$file" 2>/dev/null | sed -nE 's/^[0-9a-f]+ T ([A-Za-z]+)$/\1/p')" "$list"
  done
  same_lines LibVelkUpload.def "$(sed -nE 's/^  ([A-Za-z]+).*/\1/p' "$windows/lib/LibVelkUpload.def")" "$list"
}

verified_differs() {
  ! cmp -s "$windows/bin/LibVelkUpload.dll" "$windows/verified/LibVelkUpload.dll" || fail 'the DLLs are the same file'
  ! cmp -s "$linux/lib/libvelkupload.so.1" "$linux/verified/libvelkupload.so.1" ||
    fail 'the libraries are the same file'
}

for file in bin/LibVelkUpload.dll verified/LibVelkUpload.dll bin/velk-sandbox.exe bin/velk-publish.exe; do
  step "Windows: $file loads on any Windows" windows_binary "$windows/$file"
  step "Windows: $file states its version" resource "$windows/$file"
  step "Windows: $file has symbols" symbols "$windows/$file" "$windows_symbols"
done
for file in "lib/libvelkupload.so.$version" verified/libvelkupload.so.1 bin/velk-sandbox bin/velk-publish; do
  step "Linux: $file loads on Debian" linux_binary "$linux/$file"
  step "Linux: $file has symbols" symbols "$linux/$file" "$linux_symbols"
done
for file in "$windows/bin/LibVelkUpload.dll" "$windows/verified/LibVelkUpload.dll" "$linux/lib/libvelkupload.so.1" \
  "$linux/verified/libvelkupload.so.1"; do
  step "the exports of ${file#"$work/a blank/"}" exports "$file"
done
step 'the import libraries offer every export' import_libraries
step 'the verified libraries are others' verified_differs

# --- What the files state

# described_version BILL: the version of the package that a bill of materials describes.
described_version() {
  jq -r '([.documentDescribes[]?] +
      [.relationships[]? | select(.relationshipType == "DESCRIBES") | .relatedSpdxElement])
    as $described | [.packages[] | select(.SPDXID | IN($described[])) | .versionInfo] | unique | join(" ")' "$1"
}

versions() {
  local folder bill name
  name=${windows_archive##*/}
  equal 'the name of the Windows archive' "$name" "velk-upload-$version-windows-x64.zip"
  name=${linux_archive##*/}
  equal 'the name of the Linux archive' "$name" "velk-upload-$version-linux-x64.tar.gz"
  cmp "$windows/include/velk_upload.h" "$linux/include/velk_upload.h" || fail 'the archives have different headers'
  for folder in "$windows" "$linux"; do
    name=${folder##*/}
    equal "pkg-config of $name" \
      "$(PKG_CONFIG_LIBDIR="$folder/lib/pkgconfig" pkg-config --modversion velk-upload)" "$version"
    equal "CMake of $name" \
      "$(sed -nE 's/^set\(PACKAGE_VERSION "(.*)"\)$/\1/p' \
        "$folder/lib/cmake/VelkUpload/VelkUploadConfigVersion.cmake")" "$version"
    bill=$dist/$name.spdx.json
    equal "the bill of materials ${bill##*/}" "$(described_version "$bill")" "$version"
    equal "the newest section of CHANGELOG.md in $name" \
      "$(sed -nE 's/^## ([0-9.]+).*/\1/p' "$folder/CHANGELOG.md" | head -n 1)" "$version"
  done
}

# bill_fits FOLDER: the bill of materials lists the packed binaries with their checksums.
bill_fits() {
  local sums
  sums=$(jq -r '.files[] | "\(.checksums[] | select(.algorithm == "SHA256").checksumValue)  \(.fileName)"' \
    "$dist/${1##*/}.spdx.json")
  cd "$1"
  sha256sum --check --strict --quiet <<<"$sums" || fail 'a checksum does not fit the packed file'
  same_lines 'the files that the bill lists' "$(sed -E 's/^[0-9a-f]+ +//' <<<"$sums")" \
    "$(find ./bin ./lib ./verified -type f \( -name '*.dll' -o -name '*.so*' -o -name '*.exe' -o -path './bin/*' \))"
}

# build_paths: names the files that contain a path of the machine that built them. The steps about symbols have
# copied them without compression. A page shows the folder of a sandbox, /tmp/velk-sandbox-NAME.
build_paths() {
  local found
  mkdir -p plain
  found=$({
    LC_ALL=C grep -aorE '(^|[^A-Za-z0-9_.~-])/(tmp|root|home)/.{0,50}' 'a blank' plain "$dist"/*.json || true
    grep -aorF -e "$checkout/" -e "$VELK_CACHE/" 'a blank' plain "$dist"/*.json || true
  } | sed '/\/tmp\/velk-sandbox-/d' | tr -cd '[:print:]\n' | sort -u | head -n 20)
  [[ -z $found ]] || fail "paths of the machine that built the files: $found"
}

step 'everything states the same version' versions
step 'Windows: the bill of materials fits' bill_fits "$windows"
step 'Linux: the bill of materials fits' bill_fits "$linux"
step 'no file contains a path of the build' build_paths

# --- Publishing to the sandbox

# readme_host PREFIX HOST COMPILER...: the program in README.md publishes when the command of the array sandbox runs it.
readme_host() {
  local output
  cd "$1"
  # shellcheck disable=SC2016 # the backquotes are those of the page
  sed -n '/^```c$/,/^```$/{/^```/d;p}' README.md >host.c
  "${@:3}" -o "$2"
  output=$("${sandbox[@]}" -- "$2" | tr -d '\r') || fail "exit code $?: $output"
  [[ $output =~ ^VELK_OK\ [A-Za-z0-9_-]{11}$ ]] || fail "it printed: $output"
}

readme_host_linux() {
  local flags sandbox=(env LD_LIBRARY_PATH=lib bin/velk-sandbox)
  pkg_config "$linux"
  readme_host "$linux" bin/host gcc "${strict[@]}" host.c "${flags[@]}"
}

readme_host_windows() {
  local sandbox=("$checkout/scripts/wine" bin/velk-sandbox.exe)
  readme_host "$windows" bin/host.exe "$mingw-gcc" "${strict[@]}" host.c -I include lib/LibVelkUpload.dll.a
}

# cpp_host FOLDER HOST COMPILER...: the same for the page of the C++ binding.
cpp_host() {
  local output
  cd "$1"
  # shellcheck disable=SC2016 # the backquotes are those of the page
  sed -n '/^```cpp$/,/^```$/{/^```/d;p}' share/doc/cpp.md >host.cpp
  cp share/examples/media/clip.mp4 .
  "${@:3}" -std=c++20 -Wall -Wextra -Werror -I include host.cpp -o "$2"
  output=$("${sandbox[@]}" -- "$2" | tr -d '\r' | tail -n 1) || fail "exit code $?: $output"
  [[ $output =~ ^video\ [A-Za-z0-9_-]{11}$ ]] || fail "it printed: $output"
}

cpp_host_linux() {
  local sandbox=(env LD_LIBRARY_PATH=lib bin/velk-sandbox)
  cpp_host "$linux" bin/cpp_host g++
}

cpp_host_windows() {
  local sandbox=("$checkout/scripts/wine" bin/velk-sandbox.exe)
  cpp_host "$windows" bin/cpp_host.exe "$mingw-g++-posix" -static
}

# npm_host: the program of the package's page publishes, after npm has installed the package. npm's registry has koffi.
npm_host() {
  local output package=node_modules/velk-upload
  mkdir -p 'an application'
  cd 'an application'
  echo '{"private": true}' >package.json
  npm install --silent --ignore-scripts --no-audit --no-fund --prefer-offline --cache "$VELK_CACHE/npm" \
    "$(only "velk-upload-$version.tgz")" || fail 'npm does not install the package'
  cmp "$package/native/win32-x64/LibVelkUpload.dll" "$windows/bin/LibVelkUpload.dll"
  cmp "$package/native/linux-x64/libvelkupload.so.1" "$linux/lib/libvelkupload.so.1"
  # shellcheck disable=SC2016 # the backquotes are those of the page
  sed -n '/^```js$/,/^```$/{/^```/d;p}' "$package/README.md" >host.mjs
  cp "$linux/share/examples/media/clip.mp4" .
  output=$("$linux/bin/velk-sandbox" -- node host.mjs | tail -n 1) || fail "exit code $?: $output"
  [[ $output =~ ^video\ [A-Za-z0-9_-]{11}$ ]] || fail "it printed: $output"
}

# page_host LANGUAGE PAGE FILE: writes the first program of that language on the page, and the video that it publishes.
page_host() {
  awk -v begin="\`\`\`$1" '$0 == begin { inside = 1; next } inside && /^```/ { exit } inside' "$2" >"$3"
  cp "$linux/share/examples/media/clip.mp4" .
}

# published COMMAND...: the command publishes a video inside the sandbox.
published() {
  "$linux/bin/velk-sandbox" -- "$@" >output 2>&1 </dev/null || fail "exit code $?: $(cat output)"
  tr -d '\r' <output | grep -qE '^video [A-Za-z0-9_-]{11}$' || fail "it printed: $(cat output)"
}

# wheel_host: the program of the page publishes, after pip has installed the wheel without a registry.
wheel_host() {
  local folder='a python' site
  /usr/bin/python3 -m venv "$folder"
  "$folder/bin/pip" install --quiet --no-index --disable-pip-version-check "$(only 'velk_upload-*-linux_x86_64.whl')"
  site=$("$folder/bin/python" -c 'import sysconfig; print(sysconfig.get_path("purelib"))')
  cmp "$site/velk_upload/libvelkupload.so.1" "$linux/lib/libvelkupload.so.1"
  cd "$folder"
  page_host python "$checkout/bindings/python/README.md" host.py
  published bin/python -W error host.py
}

# No Python for Windows runs here.
wheel_for_windows() {
  mkdir -p 'a wheel'
  unzip -q "$(only 'velk_upload-*-win_amd64.whl')" -d 'a wheel'
  cmp 'a wheel/velk_upload/LibVelkUpload.dll' "$windows/bin/LibVelkUpload.dll"
  grep -qx 'Tag: py3-none-win_amd64' 'a wheel'/*/WHEEL
}

# nuget_host RUNTIME LIBRARY PROGRAM...: the program of the page publishes, after NuGet has installed the package in a
# new folder without a registry. What the SDK itself needs comes from the cache.
nuget_host() {
  local folder="a nuget $1" major options=(--runtime "$1")
  major=$(dotnet --version)
  [[ $1 == win-x64 ]] && options+=(--self-contained) || options+=(--no-self-contained)
  mkdir -p "$folder"
  cd "$folder"
  export NUGET_PACKAGES=$PWD/packages DOTNET_CLI_HOME=$VELK_CACHE DOTNET_CLI_TELEMETRY_OPTOUT=1 DOTNET_NOLOGO=1
  cat >nuget.config <<END
<configuration>
  <packageSources><clear /><add key="release" value="$dist" /></packageSources>
  <fallbackPackageFolders><add key="cache" value="$VELK_CACHE/nuget" /></fallbackPackageFolders>
</configuration>
END
  cat >host.csproj <<END
<Project Sdk="Microsoft.NET.Sdk">
  <PropertyGroup>
    <OutputType>Exe</OutputType>
    <TargetFramework>net${major%%.*}.0</TargetFramework>
    <UseAppHost Condition="'\$(SelfContained)' != 'true'">false</UseAppHost>
    <EventSourceSupport>false</EventSourceSupport>
  </PropertyGroup>
  <ItemGroup><PackageReference Include="Velk.Upload" Version="[$version]" /></ItemGroup>
</Project>
END
  page_host csharp "$checkout/bindings/dotnet/README.md" host.cs
  dotnet publish -c Release -o out "${options[@]}" >log || fail "$(cat log)"
  cmp "out/${2##*/}" "$2"
  published "${@:3}"
}

nuget_host_linux() { nuget_host linux-x64 "$linux/lib/libvelkupload.so.1" dotnet out/host.dll; }
nuget_host_windows() { nuget_host win-x64 "$windows/bin/LibVelkUpload.dll" "$checkout/scripts/wine" out/host.exe; }

step 'Linux: the program of the README publishes' readme_host_linux
step 'Linux: the program of the C++ page publishes' cpp_host_linux
long_step 'Windows: the program of the C++ page publishes' cpp_host_windows
step 'the program of the npm package publishes' npm_host
step 'the program of the Python page publishes' wheel_host
step 'the wheel for Windows contains its library' wheel_for_windows
if command -v dotnet >/dev/null; then
  step 'Linux: the program of the .NET page publishes' nuget_host_linux
  long_step 'Windows: the program of the .NET page publishes' nuget_host_windows
fi
step 'Windows: the program of the README publishes' readme_host_windows
long_step 'Linux: publishes to the sandbox' "$tests/try_it.sh" "$linux"
long_step 'Windows: publishes to the sandbox' "$tests/try_it.sh" "$windows" "$checkout/scripts/wine"

finish
