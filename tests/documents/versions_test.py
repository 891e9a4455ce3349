#!/usr/bin/env python3
"""Plants versions that are not the project's and sees that each one is found."""

import pathlib
import sys
import tempfile
import unittest

sys.dont_write_bytecode = True
sys.path.insert(0, str(pathlib.Path(__file__).parent))
from versions import version_breaches  # noqa: E402

HEADER = "#define ORV_VERSION_MAJOR {}\n#define ORV_VERSION_MINOR {}\n#define ORV_VERSION_PATCH {}\n"


def found(version, **files):
    """The breaches in a tree of this version with these documents."""
    with tempfile.TemporaryDirectory() as folder:
        root = pathlib.Path(folder)
        for part in ("docs", "orvnetwork", "tests/packages"):
            (root / part).mkdir(parents=True)
        files = {"CHANGELOG_md": f"# Changes\n\n## {version}\n", "orvnetwork__version_h": ""} | files
        files["orvnetwork__version_h"] += HEADER.format(*version.split("."))
        for name, text in files.items():
            (root / name.replace("__", "/").replace("_md", ".md").replace("_sh", ".sh").replace("_h", ".h")).write_text(text)
        return list(version_breaches(root))


class VersionsTest(unittest.TestCase):
    def test_NamesOfPackagesLibrariesAndWhatIsAskedFor(self):
        for named in ("`liborvnetwork{}`", "`liborvnetwork-qt{}`,", "liborvnetwork.so.{}", "find_package(OrvNetwork {} REQUIRED)"):
            self.assertEqual(found("0.3.7", docs__a_md=named.format("0.3")), [], named)
            for other in ("0.1", "0.30", "0", "1"):
                self.assertEqual(len(found("0.3.7", docs__a_md=named.format(other))), 1, (named, other))
            self.assertEqual(found("2.3.7", tests__packages__a_sh=named.format("2")), [], named)
            self.assertEqual(len(found("2.3.7", tests__packages__a_sh=named.format("2.3"))), 1, named)

    def test_WholeVersions(self):
        for named in ("orvnetwork-{}.tar.gz", "orv {}", "OrvNetwork {}", '.TH ORV 1 "" "orv {}" "x"'):
            self.assertEqual(found("0.3.7", README_md=named.format("0.3.7")), [], named)
            self.assertNotEqual(found("0.3.7", README_md=named.format("0.3.6")), [], named)

    def test_OtherNumbersAreNotTheProjects(self):
        self.assertEqual(found("0.3.7", docs__a_md="libboost-json1.81.0, version 4.0.1201, `liborvnetwork-dev`, Qt 6.4, Debian 12"), [])

    def test_TheHeadersOwnComments(self):
        together = "/// built with 0.3.0 runs with 0.3.7\n"
        self.assertEqual(found("0.3.7", orvnetwork__version_h=together + '/// a text: "0.3.7"\n'), [])
        self.assertEqual(len(found("0.3.7", orvnetwork__version_h='/// a text: "0.3.6"\n')), 1)
        self.assertEqual(len(found("0.4.0", orvnetwork__version_h=together)), 1)

    def test_TheListOfChangesBeginsWithTheVersion(self):
        older = "## 0.2.0\n\n- `liborvnetwork0.2`\n"
        self.assertEqual(found("0.3.7", CHANGELOG_md=f"# Changes\n\n## 0.3.7 (unreleased)\n\n- `liborvnetwork0.3`\n\n{older}"), [])
        self.assertEqual(len(found("0.3.7", CHANGELOG_md=f"# Changes\n\n{older}")), 2)


if __name__ == "__main__":
    unittest.main()
