#!/usr/bin/env bash
# Checks the bill of materials of a platform's binaries: the rules of SPDX 2.3 for what it contains, that the same input
# gives the same bytes, and that a binary is refused when packaging/parts.json does not list it.
# Usage: sbom.sh PLATFORM FILE...      (windows-x64 or linux-x64, and its binaries)
# shellcheck disable=SC2016 # the $ in the rules is for jq
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
sbom=$here/../../packaging/sbom
platform=$1
shift
export SOURCE_DATE_EPOCH=1700000000
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
failures=0

fail() {
  printf 'FAILED: %s\n' "$*"
  failures=$((failures + 1))
}

# stage FOLDER FILE...: arranges an archive's tree with copies of the files.
stage() {
  local tree=$1/velk-upload-1.1.0-$platform
  mkdir -p "$tree/bin"
  cp -L "${@:2}" "$tree/bin/"
}

VELK_WINDOWS_DEPS=${VELK_WINDOWS_DEPS:-$("$here/../../scripts/windows-deps")}
export VELK_WINDOWS_DEPS
stage "$folder/here" "$@"
stage "$folder/there" "$@"
tree=$folder/here/velk-upload-1.1.0-$platform
document=$folder/document.json
"$sbom" "$platform" 1.1.0 "$tree"/bin/* >"$document"

# Other folders, another order of the files, another language and time zone, relative paths change nothing.
(cd "$folder/there/velk-upload-1.1.0-$platform" && find bin -type f | sort -r |
  TZ=Asia/Tokyo LC_ALL=C xargs "$sbom" "$platform" 1.1.0) | cmp "$document" - || fail 'the second run differs'
for other in "1.1.1 1700000000" "1.1.0 1700000001"; do
  read -r version epoch <<<"$other"
  [[ $(cd "$tree" && SOURCE_DATE_EPOCH=$epoch "$sbom" "$platform" "$version" bin/* | jq .documentNamespace) != \
    $(jq .documentNamespace "$document") ]] || fail "the same namespace for $other"
done
! grep -F -e "$folder" -e "$VELK_WINDOWS_DEPS" "$document" || fail 'a path of the machine'

# rule NAME FILTER: the filter must give true. $all is the list of all identifiers.
rule() {
  jq --exit-status --rawfile sources "$VELK_WINDOWS_DEPS/share/sources.tsv" --arg platform "$platform" '
    [.. | objects | .SPDXID // empty] as $all
    | [.packages[], .files[] | .licenseConcluded, .licenseDeclared // empty | splits(" (AND|WITH) ")] as $licences
    | [$sources | split("\n")[] | split("\t") | select(.[0] == $platform)] as $records
    | .packages[0] as $product | .packages[1:] as $parts
    | '"$2" "$document" >/dev/null || fail "$1"
}

rule 'members of the document' '
  .spdxVersion == "SPDX-2.3" and .dataLicense == "CC0-1.0" and .SPDXID == "SPDXRef-DOCUMENT" and (.name | length > 0)'
rule 'namespace' '.documentNamespace | test("^https://[^# ]+-[0-9a-f]{64}$")'
rule 'creation' '
  .creationInfo
  | .created == "2023-11-14T22:13:20Z" and (.creators | length > 0)
    and all(.creators[]; test("^(Organization: .|Tool: [^ ]+-[0-9.]+$)"))'
rule 'identifiers' '
  all($all[]; test("^SPDXRef-[A-Za-z0-9.-]+$")) and ($all | length == (unique | length))'
rule 'packages' '
  all(.packages[];
    all(.name, .versionInfo, .supplier, .downloadLocation, .licenseConcluded, .licenseDeclared, .copyrightText;
      type == "string" and length > 0))'
rule 'locations' 'all(.packages[].downloadLocation; . == "NOASSERTION" or test("^https://[^ ]+$"))'
rule 'a checksum or NOASSERTION' '
  all(.packages[]; (.checksums // [] | length > 0) != (.sourceInfo | test("NOASSERTION")))'
rule 'purl' '
  all(.packages[].externalRefs; length == 1 and all(.[];
    .referenceCategory == "PACKAGE-MANAGER" and .referenceType == "purl"
    and (.referenceLocator | test("^pkg:[a-z]+/[^ +]+@[^ +]+$"))))'
rule 'hashes' '
  all(.packages[], .files[] | .checksums[]?;
    {SHA1: 40, SHA256: 64}[.algorithm] as $length
    | .checksumValue | test("^[0-9a-f]+$") and length == $length)'
rule 'both hashes of files' 'all(.files[]; [.checksums[].algorithm] | sort == ["SHA1", "SHA256"])'
rule 'files belong to an analysed package' '
  .files != [] and $product.filesAnalyzed
  and all($parts[]; .filesAnalyzed == false and (has("packageVerificationCode") | not))'
rule 'names of files' 'all(.files[]; .fileName | startswith("./bin/"))'
rule 'licences' 'all($licences[]; test("^[A-Za-z0-9.-]+$"))'
rule 'licences of their own' '
  ([$licences[] | select(startswith("LicenseRef-"))] | unique) ==
  ([.hasExtractedLicensingInfos[]
    | select(.extractedText | length > 100 and (test("-{20}") | not)) | .licenseId] | sort)'
rule 'ends of relationships' '
  [.relationships[] | .spdxElementId, .relatedSpdxElement] - $all == []'
rule 'types of relationships' '
  ["CONTAINS", "DESCRIBES", "DYNAMIC_LINK", "GENERATED_FROM", "STATIC_LINK"] as $types
  | [.relationships[].relationshipType] - $types == []'
rule 'the same relationship twice' '.relationships | length == (unique | length)'
rule 'everything is related' '$all - [.relationships[].relatedSpdxElement] == ["SPDXRef-DOCUMENT"]'
rule 'every file links something' '
  [.files[].SPDXID] - [.relationships[] | select(.relationshipType | endswith("_LINK")) | .spdxElementId] == []'
rule 'hashes and versions are from the same record' '
  all($parts[];
    .versionInfo as $version
    | (.packageFileName // "-") as $file
    | (.externalRefs[0].referenceLocator | capture("/(?<name>[^/@]+)@").name) as $name
    | (.checksums // [{checksumValue: "-"}])[0].checksumValue as $hash
    | any($records[]; .[2:] == [$name, $version, $file, $hash]))'

while read -r name sha1 sha256; do
  [[ $(sha1sum <"$tree/$name") == "$sha1 "* && $(sha256sum <"$tree/$name") == "$sha256 "* ]] || fail "hashes of $name"
done < <(jq -r '.files[] | [.fileName] + [.checksums | sort_by(.algorithm)[].checksumValue] | join(" ")' "$document")
[[ $(jq '.files | length' "$document") == "$#" ]] || fail 'the number of files'
code=$(sha1sum "$tree"/bin/* | cut -c 1-40 | LC_ALL=C sort | tr -d '\n' | sha1sum | cut -c 1-40)
[[ $(jq -r '.packages[0].packageVerificationCode.packageVerificationCodeValue' "$document") == "$code" ]] ||
  fail 'the verification code'
"$sbom" "$platform" 1.1.0 | jq --exit-status '.files == [] and (.packages[0].filesAnalyzed | not)
  and (.packages[0] | has("packageVerificationCode") | not)' >/dev/null || fail 'the document without files'

# refused NAME PATTERN COMMAND...: the command must fail with a message, and print no document.
refused() {
  local output
  ! output=$("${@:3}" 2>"$folder/errors") || fail "$1: accepted"
  [[ -z ${output:-} ]] || fail "$1: printed a document"
  grep -qE "$2" "$folder/errors" || fail "$1: no \"$2\" in: $(<"$folder/errors")"
}

mkdir "$folder/odd"
cp "$1" "$folder/odd/unknown.exe"
refused 'a binary that nobody described' 'does not list unknown.exe' \
  env -C "$folder/odd" "$sbom" "$platform" 1.1.0 unknown.exe
refused 'a file outside the archive' 'is not in the folder' "$sbom" "$platform" 1.1.0 "$folder/odd/unknown.exe"
refused 'a file above the archive' 'is not in the folder' env -C "$tree/bin" "$sbom" "$platform" 1.1.0 "../bin/${1##*/}"
refused 'a file that does not exist' 'none' env -C "$tree" "$sbom" "$platform" 1.1.0 bin/none
refused 'the same file twice' 'same name' env -C "$tree" "$sbom" "$platform" 1.1.0 "bin/${1##*/}" "bin/${1##*/}"
refused 'a platform' 'no platform named' "$sbom" linux-arm 1.1.0
refused 'a version' 'is no version' "$sbom" "$platform" '1.1 0'
refused 'no date' 'SOURCE_DATE_EPOCH' env -u SOURCE_DATE_EPOCH "$sbom" "$platform" 1.1.0
printf 'int main(void) { return 0; }' >"$folder/odd/main.c"
case $platform in
  windows-*)
    printf 'LIBRARY libother-1.dll\nEXPORTS\n other\n' >"$folder/odd/other.def"
    x86_64-w64-mingw32-dlltool -d "$folder/odd/other.def" -l "$folder/odd/other.a"
    printf 'int other(void); int main(void) { return other(); }' >"$folder/odd/main.c"
    x86_64-w64-mingw32-gcc -o "$folder/odd/velk-publish.exe" "$folder/odd/main.c" "$folder/odd/other.a"
    refused 'a DLL that nobody described' 'libother-1.dll' \
      env -C "$folder/odd" "$sbom" "$platform" 1.1.0 velk-publish.exe
    ;;
  *)
    gcc -o "$folder/odd/velk-publish" "$folder/odd/main.c" -Wl,--no-as-needed -lcurl
    refused 'a library that it does not state' 'loads curl' \
      env -C "$folder/odd" "$sbom" "$platform" 1.1.0 velk-publish
    gcc -o "$folder/odd/velk-publish" "$folder/odd/main.c" -Wl,--no-as-needed -l:libresolv.so.2
    refused 'a library that nobody described' 'libresolv.so' \
      env -C "$folder/odd" "$sbom" "$platform" 1.1.0 velk-publish
    ;;
esac

((failures == 0)) && echo 'all passed'
exit $((failures > 0))
