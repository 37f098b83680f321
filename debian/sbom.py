#!/usr/bin/env python3
"""Writes the bill of materials of built packages, as SPDX 2.3: what each package is, what it depends on, and what it
was built with, which for libraries of headers alone is a part of it.

    sbom.py FOLDER      for FOLDER/*.deb, to FOLDER/vorlandi_VERSION.spdx.json

Dependencies have the version that this machine has; those that it lacks, such as alternatives, are left out. The time
is the changelog's, or SOURCE_DATE_EPOCH.
"""
import datetime
import hashlib
import json
import os
import pathlib
import re
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parents[1]


def output(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True, cwd=ROOT).stdout.strip()


def identifier(name):
    return "SPDXRef-" + re.sub(r"[^A-Za-z0-9.-]", "-", name)


def described(deb):
    """The SPDX package of a built one, and the names that it depends on."""
    fields = dict(line.split(": ", 1) for line in output("dpkg-deb", "-f", str(deb.resolve()), "Package", "Version",
                                                         "Architecture", "Depends").splitlines())
    digest = hashlib.sha256(deb.read_bytes()).hexdigest()
    # debian/copyright: the site has the style sheets and scripts of its theme.
    licence = "Apache-2.0 AND MIT" if fields["Package"] == "vorlandi-doc" else "Apache-2.0"
    package = {
        "SPDXID": identifier(fields["Package"]), "name": fields["Package"], "versionInfo": fields["Version"],
        "packageFileName": deb.name, "supplier": "Organization: the libvorlandi authors",
        "downloadLocation": "NOASSERTION", "filesAnalyzed": False, "licenseConcluded": licence,
        "licenseDeclared": licence, "copyrightText": "2026 the libvorlandi authors",
        "checksums": [{"algorithm": "SHA256", "checksumValue": digest}],
        "externalRefs": [reference(fields["Package"], fields["Version"], fields["Architecture"])]}
    return package, re.findall(r"(?:^|[,|] )([a-z0-9][a-z0-9+.-]+)", fields.get("Depends", ""))


def reference(name, version, architecture):
    return {"referenceCategory": "PACKAGE-MANAGER", "referenceType": "purl",
            "referenceLocator": f"pkg:deb/debian/{name}@{version}?arch={architecture}"}


def foreign(name):
    """The SPDX package of an installed one; None if it is not installed."""
    found = subprocess.run(["dpkg-query", "-W", "-f", "${db:Status-Abbrev} ${Version} ${Architecture}", name],
                           check=False, capture_output=True, text=True).stdout.split()
    if len(found) != 3 or found[0] != "ii":
        return None
    return {"SPDXID": identifier(name), "name": name, "versionInfo": found[1], "supplier": "Organization: Debian",
            "downloadLocation": "NOASSERTION", "filesAnalyzed": False, "licenseConcluded": "NOASSERTION",
            "licenseDeclared": "NOASSERTION", "copyrightText": "NOASSERTION",
            "externalRefs": [reference(name, found[1], found[2])]}


def build_dependencies(packages):
    """The names of what these packages were built with; those of the site are in vorlandi-doc."""
    control = (ROOT / "debian" / "control").read_text()
    fields = ["Build-Depends"] + ["Build-Depends-Indep"] * ("vorlandi-doc" in packages)
    entries = [entry for field in fields
               for entry in re.search(rf"^{field}:(.*?)^\S", control, re.S | re.M).group(1).split(",")]
    return [re.split(r"[\s:]", entry.strip())[0] for entry in entries
            if "python3-vorlandi" in packages or "!nopython" not in entry]


def main():
    folder = pathlib.Path(sys.argv[1])
    debs = [deb for deb in sorted(folder.glob("*.deb")) if "-dbgsym_" not in deb.name]
    if not debs:
        sys.exit(f"sbom.py: no packages in {folder}")
    packages, wanted = {}, []
    for deb in debs:
        package, names = described(deb)
        packages[package["name"]] = package
        wanted += [(package["name"], name) for name in names]
    own = list(packages)
    relations = [("SPDXRef-DOCUMENT", "DESCRIBES", name) for name in own]
    for name, other in wanted:
        found = packages.get(other) or foreign(other)
        if found:
            packages[other] = found
            relations.append((identifier(name), "DEPENDS_ON", other))
    for other in build_dependencies(own):
        found = packages.get(other) or foreign(other)
        if found:
            packages[other] = found
            relations.append((identifier(other), "BUILD_DEPENDENCY_OF", "DOCUMENT"))
    version = packages[own[0]]["versionInfo"]
    seconds = int(os.environ.get("SOURCE_DATE_EPOCH") or output("dpkg-parsechangelog", "-S", "Timestamp"))
    digest = hashlib.sha256(json.dumps(packages, sort_keys=True).encode()).hexdigest()
    document = {
        "spdxVersion": "SPDX-2.3", "dataLicense": "CC0-1.0", "SPDXID": "SPDXRef-DOCUMENT",
        "name": f"vorlandi {version}", "documentNamespace": f"https://spdx.org/spdxdocs/vorlandi-{version}-{digest}",
        "creationInfo": {"created": datetime.datetime.fromtimestamp(seconds, datetime.timezone.utc).strftime(
            "%Y-%m-%dT%H:%M:%SZ"), "creators": ["Tool: debian/sbom.py", "Organization: the libvorlandi authors"]},
        "packages": list(packages.values()),
        "relationships": [{"spdxElementId": one, "relationshipType": kind, "relatedSpdxElement": identifier(other)}
                          for one, kind, other in relations]}
    path = folder / f"vorlandi_{version}.spdx.json"
    path.write_text(json.dumps(document, indent=1) + "\n")
    print(f"{path.name}: {len(own)} packages, {len(packages) - len(own)} that they need")


main()
