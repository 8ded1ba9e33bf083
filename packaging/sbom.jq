# Composes the document of packaging/sbom. Arguments: $data is parts.json. $sources, $files and $notices are the bytes of
# sources.tsv, of a list of the files, and of THIRD_PARTY_NOTICES. The others are strings.

def fail: "sbom: \(.)\n" | halt_error(1);
def rows: split("\n") | map(select(. != "") | split("\t"));
def identifier($kind): "SPDXRef-\($kind)-" + gsub("[^A-Za-z0-9.-]+"; "-");
def ordered_set: reduce .[] as $item ([]; if index([$item]) then . else . + [$item] end);
def all_of: map(split(" AND ")[]) | ordered_set | join(" AND ");

# The text of a section of THIRD_PARTY_NOTICES. Lines of 80 dashes surround the titles.
def notice($title):
  ($notices | split("-" * 80 + "\n")) as $sections
  | ($sections | index([$title + "\n"])) // ("THIRD_PARTY_NOTICES has no section \"\($title)\"" | fail)
  | $sections[. + 1] | ltrimstr("\n") | rtrimstr("\n");

($data.binaries[$platform] // ("no platform named \($platform)" | fail)) as $binaries
| "Organization: Velk Upload contributors" as $supplier
| "SPDXRef-Package-velk-upload" as $product
| "MIT" as $licence

# What the files are, and that they load what parts.json states.
| [ $files | rows[] | {name: .[0], sha1: .[1], sha256: .[2], needed: (.[3] | split(","))} | . as $file
    | (.name | split("/")[-1] | sub("\\.so\\.[0-9.]+$"; ".so")) as $binary
    | ($binaries[$binary] // ("parts.json does not list \($binary)" | fail)) as $links
    | ([ .needed[] | sub("\\.so\\.[0-9.]+$"; ".so")
        | select(ascii_downcase as $lower | $data.ownOrSystemLibraries | index([$lower]) | not)
        | $data.libraries[.] // ("parts.json does not list \(.), which \($file.name) loads" | fail) ] | unique) as $loaded
    | if $loaded == ($links.DYNAMIC_LINK | sort) then .
      else "\(.name) loads \($loaded | join(", ")), and parts.json states otherwise" | fail end
    | . + {id: (.name | identifier("File")), links: $links} ] as $listed
| (if ($listed | map(.id) | unique | length) == ($listed | length) then . else "two files have the same name" | fail end)

| ([$binaries[] | .STATIC_LINK[], .DYNAMIC_LINK[]] | ordered_set) as $linked
| ($linked + [$linked[] | $data.parts[.].generatedFrom // empty] | ordered_set) as $names
| ([$binaries[].STATIC_LINK[]] | ordered_set) as $contained

| [ $names[] as $part | $data.parts[$part]
    | [$sources | rows[] | select(.[0] == $platform and .[1] == $part)] as $lines
    | ($lines[0] // ("sources.tsv has no source of \($part)" | fail)) as [$a, $b, $package, $version]
    | [$lines[] | select(.[4] != "-") | {name: .[4], sha256: .[5]}] as $archives
    # A .dsc file contains the SHA-256 of the others. Without it, the archive of the authors was built alone.
    | ($archives | map(select(.name | endswith(".dsc"))) + . | .[0]) as $main
    | {
        SPDXID: ($part | identifier("Package")),
        name: .name,
        versionInfo: $version,
        supplier: "Organization: Debian",
        downloadLocation: "NOASSERTION",
        filesAnalyzed: false,
        licenseConcluded: .licence,
        licenseDeclared: .licence,
        copyrightText: "NOASSERTION",
        primaryPackagePurpose: "LIBRARY",
        externalRefs: [{
          referenceCategory: "PACKAGE-MANAGER",
          referenceType: "purl",
          referenceLocator: "pkg:deb/debian/\($package | @uri)@\($version | @uri)?arch=source"
        }]
      }
      + (if .note then {licenseComments: .note} else {} end)
      + if $main then {
          packageFileName: $main.name,
          checksums: [{algorithm: "SHA256", checksumValue: $main.sha256}],
          sourceInfo: ([$archives[] | "\(.name) has the SHA-256 \(.sha256)."] | join(" "))
        } else {
          sourceInfo: "Checksum: NOASSERTION. No repository offered this version of the source when this was recorded."
        } end
  ] as $packages

| ([$licence] + [$contained[] | $data.parts[.].licence] | all_of) as $whole
| ({
    SPDXID: $product,
    name: "velk-upload",
    versionInfo: $version,
    supplier: $supplier,
    downloadLocation: "NOASSERTION",
    filesAnalyzed: ($listed != []),
    licenseConcluded: $whole,
    licenseDeclared: $licence,
    copyrightText: $copyright,
    primaryPackagePurpose: "LIBRARY",
    sourceInfo: "Checksum: NOASSERTION. SHA256SUMS of the release lists the archives.",
    externalRefs: [{
      referenceCategory: "PACKAGE-MANAGER",
      referenceType: "purl",
      referenceLocator: "pkg:generic/velk-upload@\($version | @uri)"
    }]
  }
  + (if $listed == [] then {} else {packageVerificationCode: {packageVerificationCodeValue: $verification}} end))
  as $described

| {
    spdxVersion: "SPDX-2.3",
    dataLicense: "CC0-1.0",
    SPDXID: "SPDXRef-DOCUMENT",
    name: "velk-upload-\($version)-\($platform)",
    documentNamespace: "",
    creationInfo: {created: $created, creators: [$supplier, "Tool: velk-upload-sbom-\($version)"]},
    packages: ([$described] + $packages),
    files: [ $listed[] | {
        SPDXID: .id,
        fileName: "./\(.name)",
        fileTypes: ["BINARY"],
        checksums: [{algorithm: "SHA1", checksumValue: .sha1}, {algorithm: "SHA256", checksumValue: .sha256}],
        licenseConcluded: ([$licence] + [.links.STATIC_LINK[] | $data.parts[.].licence] | all_of),
        licenseInfoInFiles: ["NOASSERTION"],
        copyrightText: "NOASSERTION"
      } ],
    hasExtractedLicensingInfos: [
      $data.noticeTitles | to_entries[] | .key as $reference
      | select($packages | any(.licenseConcluded | split(" ") | index([$reference])))
      | {licenseId: .key, name: .value, extractedText: notice(.value)} ],
    relationships: [
      ["SPDXRef-DOCUMENT", "DESCRIBES", $product],
      ($listed[] | [$product, "CONTAINS", .id]),
      (("STATIC_LINK", "DYNAMIC_LINK") as $type
        | [$binaries[][$type][]] | ordered_set[] | [$product, $type, identifier("Package")]),
      ($listed[] | .id as $id | ("STATIC_LINK", "DYNAMIC_LINK") as $type
        | .links[$type][] | [$id, $type, identifier("Package")]),
      ($names[] | $data.parts[.].generatedFrom as $origin | select($origin)
        | [identifier("Package"), "GENERATED_FROM", ($origin | identifier("Package"))])
      | {spdxElementId: .[0], relationshipType: .[1], relatedSpdxElement: .[2]} ]
  }
