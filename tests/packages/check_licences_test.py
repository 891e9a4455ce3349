#!/usr/bin/env python3
"""Tries script/licences on two small packages: what it lists, and that --check tells when a document is another one."""

import pathlib
import shutil
import subprocess
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
CONTROL = """Package: {name}
Version: 1
Architecture: all
Maintainer: A <a@b.invalid>
Depends: {depends}
Description: small
"""


class LicencesTest(unittest.TestCase):
    def setUp(self):
        place = tempfile.TemporaryDirectory(prefix="orv-licences-")
        self.addCleanup(place.cleanup)
        self.root = pathlib.Path(place.name)
        for folder in ("script", "docs", "build/package/packages"):
            (self.root / folder).mkdir(parents=True)
        shutil.copy(ROOT / "script" / "licences", self.root / "script")
        self.document = self.root / "docs" / "licences.md"
        self.package("orvnetwork-tools", "libc6 (>= 2.36), liborvnetwork0.1 (= 1)")
        self.package("orvnetwork-doc", "libc6", ["html/jquery.js", "html/search/search.js", "html/search/all_0.js"])

    def package(self, name, depends, files=()):
        tree = self.root / name
        (tree / "DEBIAN").mkdir(parents=True, exist_ok=True)
        (tree / "DEBIAN" / "control").write_text(CONTROL.format(name=name, depends=depends), encoding="utf-8")
        for file in files:
            path = tree / "usr" / "share" / "doc" / name / file
            path.parent.mkdir(parents=True, exist_ok=True)
            path.touch()
        subprocess.run(["dpkg-deb", "--root-owner-group", "--build", tree, self.root / "build/package/packages" / f"{name}_1_all.deb"],
                       check=True, capture_output=True)

    def licences(self, *arguments):
        ended = subprocess.run(["script/licences", *arguments], cwd=self.root, stdout=subprocess.PIPE,
                               stderr=subprocess.STDOUT, text=True)
        return ended.returncode, ended.stdout

    def test_ListsWhatPackagesDependOnAndTheScriptsOfTheReference(self):
        self.assertEqual(self.licences(), (0, ""))
        text = self.document.read_text(encoding="utf-8")
        self.assertIn("\n| `libc6` | `orvnetwork-doc`, `orvnetwork-tools` | ", text)
        self.assertNotIn("liborvnetwork0.1", text)
        self.assertRegex(text, r"\n\| `jquery\.js` \| `jquery/jquery\.smartmenus\*\.js` \| .+ \| Expat \|\n")
        self.assertRegex(text, r"\n\| `search\.js` \| `templates/html/search\.js` \| .+ \| Expat \|\n")
        # Doxygen has scripts that are not in these pages, and the pages have some that are not Doxygen's.
        self.assertNotIn("svgpan.js", text)
        self.assertNotIn("all_0.js", text)

    def test_CheckTellsWhatADocumentLacks(self):
        self.licences()
        self.assertEqual(self.licences("--check"), (0, ""))
        written = self.document.read_text(encoding="utf-8")
        self.package("orvnetwork-tools", "libc6, tzdata")
        code, said = self.licences("--check")
        self.assertEqual(code, 1)
        self.assertIn("\n+| `tzdata` | `orvnetwork-tools` | ", said)
        self.assertIn("docs/licences.md is not what script/licences writes", said)
        self.assertEqual(self.document.read_text(encoding="utf-8"), written)

    def test_WithoutPackagesItSaysSo(self):
        shutil.rmtree(self.root / "build")
        code, said = self.licences("--check")
        self.assertEqual((code, said), (1, "script/licences: there are no packages: script/package\n"))


if __name__ == "__main__":
    unittest.main()
