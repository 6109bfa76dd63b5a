"""Writes and checks the bill of materials: SPDX 2.3 in JSON."""

import hashlib
import json
import re

NAME = "zuplutil.spdx.json"
# What the bill cannot have a sum of: itself, and what has a sum of it.
EXCLUDED = (NAME, "SHA256SUMS.txt")

DOCUMENT = "SPDXRef-DOCUMENT"
PROGRAM = "SPDXRef-Package-zuplutil"
UNKNOWN = "NOASSERTION"

IDENTIFIER = re.compile(r"SPDXRef-[A-Za-z0-9.-]+")
# The licences that a bill of ours may name, and the exception.
LICENSES = {"BSL-1.0", "GPL-3.0-or-later", "MIT", "BSD-3-Clause", "ZPL-2.1", "GCC-exception-3.1"}


def identifier(kind, name):
    """An identifier made of a name; only letters, digits, dots and hyphens are allowed."""
    return f"SPDXRef-{kind}-" + re.sub(r"[^A-Za-z0-9.-]+", "-", name.replace("+", "p"))


def verification_code(contents):
    """The sum of the files' sums, as the format defines it."""
    sums = sorted(hashlib.sha1(contents[name]).hexdigest()
                  for name in contents if name not in EXCLUDED)
    return hashlib.sha1("".join(sums).encode("ascii")).hexdigest()


def file_entry(name, content):
    """A file of the package with its sums."""
    return {
        "SPDXID": identifier("File", name),
        "fileName": f"./{name}",
        "fileTypes": ["BINARY" if name.endswith(".exe") else "TEXT"],
        "checksums": [
            {"algorithm": "SHA1", "checksumValue": hashlib.sha1(content).hexdigest()},
            {"algorithm": "SHA256", "checksumValue": hashlib.sha256(content).hexdigest()},
        ],
        "licenseConcluded": UNKNOWN,
        "licenseInfoInFiles": [UNKNOWN],
        "copyrightText": UNKNOWN,
    }


def program_entry(version, archive, contents):
    """The package itself."""
    return {
        "SPDXID": PROGRAM,
        "name": "Pellory Maintenance Utility",
        "versionInfo": version,
        "packageFileName": archive,
        "supplier": "Organization: Pellory",
        "downloadLocation": UNKNOWN,
        "filesAnalyzed": True,
        "packageVerificationCode": {
            "packageVerificationCodeValue": verification_code(contents),
            "packageVerificationCodeExcludedFiles": [f"./{name}" for name in EXCLUDED],
        },
        "licenseConcluded": UNKNOWN,
        "licenseDeclared": UNKNOWN,
        "licenseInfoFromFiles": [UNKNOWN],
        "copyrightText": UNKNOWN,
        "primaryPackagePurpose": "APPLICATION",
    }


def component_entry(component):
    """A library of others that is linked in."""
    return {
        "SPDXID": identifier("Package", component.library.name),
        "name": component.library.name,
        "versionInfo": component.version,
        "supplier": "Organization: Debian",
        "homepage": component.library.home,
        "downloadLocation": UNKNOWN,
        "filesAnalyzed": False,
        "sourceInfo": f"Debian source package {component.source} {component.source_version}",
        "licenseConcluded": component.library.license,
        "licenseDeclared": component.library.license,
        "licenseComments": "NOTICES.txt has the texts, also of the few files with other terms.",
        "copyrightText": UNKNOWN,
        "externalRefs": [{
            "referenceCategory": "PACKAGE-MANAGER",
            "referenceType": "purl",
            "referenceLocator": f"pkg:deb/debian/{component.source.replace('+', '%2B')}@"
                                f"{component.source_version.replace('+', '%2B')}?arch=source",
        }],
        "primaryPackagePurpose": "LIBRARY",
    }


def relationship(subject, kind, other):
    """One arrow between two elements."""
    return {"spdxElementId": subject, "relationshipType": kind, "relatedSpdxElement": other}


def make(version, archive, commit, created, contents, linked):
    """The bill's text. contents: the other files by name; linked: the components of each
    executable by its name."""
    components = {name: part for parts in linked.values() for name, part in parts.items()}
    relationships = [relationship(DOCUMENT, "DESCRIBES", PROGRAM)]
    relationships += [relationship(PROGRAM, "CONTAINS", identifier("File", name))
                      for name in sorted(contents)]
    relationships += [relationship(identifier("File", executable), "STATIC_LINK",
                                   identifier("Package", name))
                      for executable in sorted(linked) for name in sorted(linked[executable])]
    document = {
        "spdxVersion": "SPDX-2.3",
        "dataLicense": "CC0-1.0",
        "SPDXID": DOCUMENT,
        "name": archive.removesuffix(".zip"),
        "documentNamespace": f"https://pellory.example/bill-of-materials/"
                             f"{archive.removesuffix('.zip')}-{commit}",
        "creationInfo": {"created": created,
                         "creators": ["Organization: Pellory", "Tool: dev-package"]},
        "packages": [program_entry(version, archive, contents)] +
                    [component_entry(components[name]) for name in sorted(components)],
        "files": [file_entry(name, contents[name]) for name in sorted(contents)],
        "relationships": relationships,
    }
    return json.dumps(document, indent=1) + "\n"


def check_required(entry, names, findings):
    """Names what an element lacks."""
    label = entry.get("SPDXID", "an element without identifier")
    findings += [f"{label} has no {name}" for name in names if entry.get(name) in (None, "", [])]


def check_licenses(entry, findings):
    """Every licence is one that the format knows, or none is claimed."""
    for name in ("licenseConcluded", "licenseDeclared"):
        expression = entry.get(name, UNKNOWN)
        words = {UNKNOWN} if expression == UNKNOWN else set(re.split(r" (?:AND|WITH) ", expression))
        if not words <= LICENSES | {UNKNOWN}:
            findings.append(f"{entry['SPDXID']}: unknown licence {expression}")


def check_files(document, contents, findings):
    """The bill has exactly the package's files, with their sums."""
    entries = {entry["fileName"].removeprefix("./"): entry for entry in document["files"]}
    listed = set(contents) - set(EXCLUDED)
    findings += [f"the bill of materials and the package disagree on {name}"
                 for name in sorted(listed ^ set(entries))]
    for name in listed & set(entries):
        if entries[name] != file_entry(name, contents[name]):
            findings.append(f"the bill of materials has other sums or types for {name}")


def check(text, version, created, contents):
    """What is wrong with a bill: form, references, files, sums."""
    document = json.loads(text)
    findings = []
    check_required(document, ("spdxVersion", "dataLicense", "SPDXID", "name", "documentNamespace",
                              "creationInfo", "packages", "files", "relationships"), findings)
    if (document["spdxVersion"], document["dataLicense"], document["SPDXID"]) != \
            ("SPDX-2.3", "CC0-1.0", DOCUMENT):
        findings.append("the bill of materials is of another version or licence")
    if not re.fullmatch(r"https://[^\s#]+", document["documentNamespace"]):
        findings.append("the bill's name space is no address")
    if document["creationInfo"]["created"] != created:
        findings.append("the bill's date is not the commit's")
    for package in document["packages"]:
        check_required(package, ("SPDXID", "name", "versionInfo", "supplier", "downloadLocation",
                                 "licenseConcluded", "licenseDeclared", "copyrightText"), findings)
        check_licenses(package, findings)
    elements = [DOCUMENT] + [entry["SPDXID"] for entry in document["packages"] + document["files"]]
    findings += [f"{name} is no identifier, or is there twice" for name in elements
                 if not IDENTIFIER.fullmatch(name) or elements.count(name) > 1]
    arrows = [(arrow["spdxElementId"], arrow["relatedSpdxElement"])
              for arrow in document["relationships"]]
    findings += [f"a relationship names {name}, which is not there"
                 for arrow in arrows for name in arrow if name not in elements]
    reached = {DOCUMENT} | {other for _, other in arrows}
    findings += [f"nothing is related to {name}" for name in elements if name not in reached]
    program = document["packages"][0]
    if program["versionInfo"] != version:
        findings.append(f"the bill of materials is of version {program['versionInfo']}")
    if program["packageVerificationCode"]["packageVerificationCodeValue"] != \
            verification_code(contents):
        findings.append("the package's verification code is another")
    check_files(document, contents, findings)
    return findings
