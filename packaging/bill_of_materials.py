#!/usr/bin/env python3
"""Writes what a release consists of as SPDX 2.3: bill_of_materials.py VERSION OUTPUT FILE...

The versions of what is linked in are those of the packages that this machine has. The same files and packages give the
same bytes.
"""
import datetime
import hashlib
import json
import os
import pathlib
import subprocess
import sys
import uuid

ROOT = pathlib.Path(__file__).resolve().parent.parent
MAKER = "Organization: The NorvelTL authors"

# Name, the Debian package whose version counts or the file that tells it, licence, where it comes from, what it is to the products.
CONTAINED = [
    ("Boost", "libboost1.81-dev", "BSL-1.0", "https://www.boost.org", "STATIC_LINK"),
    ("GCC-runtime", "g++-mingw-w64-x86-64-posix", "GPL-3.0-or-later WITH GCC-exception-3.1", "https://gcc.gnu.org",
     "STATIC_LINK"),
    ("mingw-w64", "mingw-w64-x86-64-dev", "ZPL-2.1", "https://www.mingw-w64.org", "STATIC_LINK"),
    ("nlohmann-json", "nlohmann-json3-dev", "MIT", "https://github.com/nlohmann/json", "STATIC_LINK"),
    ("CLI11", "libcli11-dev", "BSD-3-Clause", "https://github.com/CLIUtils/CLI11", "STATIC_LINK"),
    ("stb", "libstb-dev", "MIT OR LicenseRef-public-domain", "https://github.com/nothings/stb", "STATIC_LINK"),
    ("libtiff", "libtiff-dev", "libtiff", "https://gitlab.com/libtiff/libtiff", "STATIC_LINK"),
    ("cpp-httplib", ".cache/httplib/release.txt", "MIT", "https://github.com/yhirose/cpp-httplib", "STATIC_LINK"),
    ("zlib", "libz-mingw-w64-dev", "Zlib", "https://zlib.net", "STATIC_LINK"),
    ("Aravis", "libaravis-dev", "LGPL-2.1-or-later", "https://github.com/AravisProject/aravis", "DYNAMIC_LINK"),
    ("GLib", "libglib2.0-dev", "LGPL-2.1-or-later", "https://gitlab.gnome.org/GNOME/glib", "DYNAMIC_LINK"),
    ("NSIS", "nsis", "Zlib", "https://nsis.sourceforge.io", "CONTAINS"),
]


def version_of(package):
    if package.startswith(".cache/"):
        return (ROOT / package).read_text().strip()
    query = ["dpkg-query", "-W", "-f", "${Version}", package]
    return subprocess.run(query, check=True, capture_output=True, text=True).stdout


def package_entry(name, version, licence, place):
    return {"SPDXID": f"SPDXRef-Package-{name}", "name": name, "versionInfo": version, "downloadLocation": place,
            "filesAnalyzed": False, "licenseConcluded": licence, "licenseDeclared": licence,
            "copyrightText": "NOASSERTION"}


def file_entry(path):
    content = path.read_bytes()
    return {"SPDXID": f"SPDXRef-File-{path.name.replace('_', '-')}", "fileName": f"./{path.name}",
            "checksums": [{"algorithm": "SHA1", "checksumValue": hashlib.sha1(content).hexdigest()},
                          {"algorithm": "SHA256", "checksumValue": hashlib.sha256(content).hexdigest()}],
            "licenseConcluded": "NOASSERTION", "licenseInfoInFiles": ["NOASSERTION"], "copyrightText": "NOASSERTION"}


def relation(one, kind, other):
    return {"spdxElementId": one, "relationshipType": kind, "relatedSpdxElement": other}


def bill(version, files, moment):
    product = package_entry("NorvelTL", version, "MIT", "NOASSERTION") | {
        "supplier": MAKER, "copyrightText": "Copyright (c) 2026 The NorvelTL authors"}
    parts = [package_entry(name, version_of(package), licence, place)
             for name, package, licence, place, _ in CONTAINED]
    entries = [file_entry(path) for path in sorted(files)]
    relations = [relation("SPDXRef-DOCUMENT", "DESCRIBES", product["SPDXID"])]
    relations += [relation(product["SPDXID"], kind, part["SPDXID"]) for part, (*_, kind) in zip(parts, CONTAINED)]
    relations += [relation(product["SPDXID"], "CONTAINS", entry["SPDXID"]) for entry in entries]
    identity = uuid.uuid5(uuid.NAMESPACE_URL, json.dumps(entries))
    return {
        "spdxVersion": "SPDX-2.3", "dataLicense": "CC0-1.0", "SPDXID": "SPDXRef-DOCUMENT",
        "name": f"norveltl-{version}", "documentNamespace": f"https://spdx.org/spdxdocs/norveltl-{version}-{identity}",
        "creationInfo": {"created": moment.strftime("%Y-%m-%dT%H:%M:%SZ"),
                         "creators": [MAKER, f"Tool: bill_of_materials.py-{version}"]},
        "hasExtractedLicensingInfos": [{"licenseId": "LicenseRef-public-domain", "name": "Public domain",
                                        "extractedText": "This is free and unencumbered software released into the "
                                                         "public domain."}],
        "packages": [product, *parts], "files": entries, "relationships": relations}


def main(version, output, *files):
    moment = datetime.datetime.fromtimestamp(int(os.environ["SOURCE_DATE_EPOCH"]), datetime.timezone.utc)
    written = bill(version, [pathlib.Path(file) for file in files], moment)
    pathlib.Path(output).write_text(json.dumps(written, indent=2) + "\n")


if __name__ == "__main__":
    main(*sys.argv[1:])
