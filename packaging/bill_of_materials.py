"""The bill of materials of a release, in SPDX 2.3: bill_of_materials.py FOLDER NAME COMMIT

FOLDER has the source archive NAME.tar.gz and the packages. Lists the files of the archive, the
packages, and the third-party libraries and scripts in them. SOURCE_DATE_EPOCH is the creation time
of the bill; scripts/release sets it.
"""

import datetime
import hashlib
import json
import os
import pathlib
import re
import subprocess
import sys
import tarfile
import urllib.parse
import uuid

AUTHORS = "Organization: The ClientCompliance authors"
LICENSE = "MIT"
# A file of each library, and its licence.
C_LIBRARY = ("libc.a", "LGPL-2.1-or-later")
CPP_LIBRARY = ("libstdc++.a", "GPL-3.0-or-later WITH GCC-exception-3.1")
JSON_LIBRARY = ("/usr/include/nlohmann/json.hpp", "MIT")
MUSTACHE_LIBRARY = ("/usr/include/kainjow/mustache.hpp", "BSL-1.0")
THEME = ("/usr/share/mkdocs/themes/material/base.html", "MIT")
STATICALLY_LINKED = {
    "clientcompliance": [C_LIBRARY, CPP_LIBRARY],
    "clientcompliance-companions": [C_LIBRARY, CPP_LIBRARY, JSON_LIBRARY, MUSTACHE_LIBRARY],
}
# The site includes style sheets and scripts of its theme.
CONTAINED = {"clientcompliance-doc": [THEME]}


def checksums(content, *algorithms):
    return [{"algorithm": algorithm, "checksumValue": hashlib.new(algorithm, content).hexdigest()}
            for algorithm in algorithms]


def described(identifier, name, version, **more):
    return {"SPDXID": identifier, "name": name, "versionInfo": version, "supplier": AUTHORS,
            "downloadLocation": "NOASSERTION", "filesAnalyzed": False,
            "licenseConcluded": "NOASSERTION", "licenseDeclared": LICENSE,
            "copyrightText": "NOASSERTION", **more}


def source_files(archive):
    with tarfile.open(archive) as tar:
        for number, member in enumerate(filter(tarfile.TarInfo.isfile, tar.getmembers())):
            content = tar.extractfile(member).read()
            named = re.findall(rb"SPDX-License-Identifier: ([\w.+-]+)$", content, re.M)
            yield {"SPDXID": f"SPDXRef-File-{number}",
                   "fileName": "./" + member.name.partition("/")[2],
                   "checksums": checksums(content, "SHA1", "SHA256"),
                   "licenseConcluded": LICENSE,
                   "licenseInfoInFiles": sorted({name.decode() for name in named}) or ["NONE"],
                   "copyrightText": "NOASSERTION"}


def source(archive, version, files):
    sums = sorted(file["checksums"][0]["checksumValue"] for file in files)
    code = hashlib.sha1("".join(sums).encode()).hexdigest()
    return described("SPDXRef-Source", "clientcompliance", version, packageFileName=archive.name,
                     checksums=checksums(archive.read_bytes(), "SHA256"), filesAnalyzed=True,
                     packageVerificationCode={"packageVerificationCodeValue": code},
                     licenseConcluded=LICENSE, licenseInfoFromFiles=[LICENSE],
                     primaryPackagePurpose="SOURCE")


def library(file, license_of_library):
    """Describes the Debian package that contains the file, with the licence of the library."""
    def output(*command):
        return subprocess.run(command, check=True, capture_output=True, text=True).stdout.strip()

    path = os.path.realpath(output("g++", f"-print-file-name={file}"))
    owner = output("dpkg-query", "--search", path).partition(":")[0]
    name, version, vendor = output(
        "dpkg-query", "--show", "--showformat=${source:Package} ${Version} ${Maintainer}", owner
    ).split(maxsplit=2)
    locator = f"pkg:deb/debian/{owner}@{urllib.parse.quote(version)}"
    reference = {"referenceCategory": "PACKAGE-MANAGER", "referenceType": "purl",
                 "referenceLocator": locator}
    return described(f"SPDXRef-Library-{re.sub('[^A-Za-z0-9.]', '-', name)}", name, version,
                     supplier=f"Organization: {vendor.partition(' <')[0]}",
                     licenseDeclared=license_of_library, externalRefs=[reference],
                     primaryPackagePurpose="LIBRARY")


def bill(folder, name, commit):
    version = name.rpartition("-")[2]
    archive = folder / f"{name}.tar.gz"
    files = list(source_files(archive))
    packages = {"SPDXRef-Source": source(archive, version, files)}
    links = [("SPDXRef-Source", "CONTAINS", file["SPDXID"]) for file in files]
    for path in sorted([*folder.glob("*.deb"), *folder.glob("*.rpm")]):
        package = re.split(rf"[_-]{re.escape(version)}", path.name)[0]
        identifier = f"SPDXRef-Package-{package}{path.suffix.replace('.', '-')}"
        packages[identifier] = described(identifier, package, version, packageFileName=path.name,
                                         checksums=checksums(path.read_bytes(), "SHA256"),
                                         primaryPackagePurpose="INSTALL")
        links.append((identifier, "GENERATED_FROM", "SPDXRef-Source"))
        for kind, parts in (("STATIC_LINK", STATICALLY_LINKED), ("CONTAINS", CONTAINED)):
            for file in parts.get(package, []):
                part = library(*file)
                packages[part["SPDXID"]] = part
                links.append((identifier, kind, part["SPDXID"]))
    links += [("SPDXRef-DOCUMENT", "DESCRIBES", identifier) for identifier in packages
              if not identifier.startswith("SPDXRef-Library-")]
    time = datetime.datetime.fromtimestamp(int(os.environ["SOURCE_DATE_EPOCH"]),
                                           datetime.timezone.utc)
    return {"spdxVersion": "SPDX-2.3", "dataLicense": "CC0-1.0", "SPDXID": "SPDXRef-DOCUMENT",
            "name": name, "documentNamespace": uuid.uuid5(uuid.NAMESPACE_OID, commit).urn,
            "creationInfo": {"created": time.strftime("%Y-%m-%dT%H:%M:%SZ"),
                             "creators": [AUTHORS, f"Tool: bill_of_materials-{version}"]},
            "packages": list(packages.values()), "files": files,
            "relationships": [dict(zip(("spdxElementId", "relationshipType", "relatedSpdxElement"),
                                       link)) for link in links]}


if __name__ == "__main__":
    json.dump(bill(pathlib.Path(sys.argv[1]), *sys.argv[2:]), sys.stdout, indent=1)
    print()
