#!/usr/bin/env python3
"""Installs a build, moves the installed tree elsewhere, and builds and runs hosts against it.

Usage: check_install.py BUILD_DIRECTORY COMPILER
"""

import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "documents"))
from snippets import files  # noqa: E402

BUILD, COMPILER = pathlib.Path(sys.argv[1]), sys.argv[2]
SOURCE = pathlib.Path(__file__).resolve().parents[2]
CONSUMER = pathlib.Path(__file__).resolve().parent / "consumer"
# A build without programs and tests has no embedded server to install.
SERVER_TESTS = ["server_test"] if (BUILD / "devserver").is_dir() else []
QT_TESTS = ["qt_host"] if (BUILD / "orvnetwork-qt.pc").is_file() else []
GLIB_TESTS = ["glib_host"] if (BUILD / "orvnetwork-glib.pc").is_file() else []


def run(*command, env=None):
    result = subprocess.run([str(part) for part in command], env={**os.environ, **(env or {})},
                            stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
    if result.returncode != 0:
        raise AssertionError(f"{command}: exit code {result.returncode}\n{result.stdout}")
    return result.stdout


class InstallTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = pathlib.Path(tempfile.mkdtemp(prefix="orv-install-"))
        cls.addClassCleanup(shutil.rmtree, cls.folder)
        run("cmake", "--install", BUILD, "--prefix", cls.folder / "first")
        cls.prefix = (cls.folder / "first").rename(cls.folder / "moved")
        cls.library_folder = next(cls.prefix.rglob("pkgconfig")).parent
        cls.pkg_config = {"PKG_CONFIG_PATH": str(cls.library_folder / "pkgconfig")}

    def flags(self, package):
        static = [] if list(self.library_folder.glob("liborvnetwork.so")) else ["--static"]
        return run("pkg-config", *static, "--cflags", "--libs", package, env=self.pkg_config).split()

    def test_find_package(self):
        build = self.folder / "consumer"
        run("cmake", "-S", CONSUMER, "-B", build, f"-DCMAKE_PREFIX_PATH={self.prefix}",
            f"-DCMAKE_CXX_COMPILER={COMPILER}", "-DCMAKE_BUILD_TYPE=Debug")
        run("cmake", "--build", build, "-j2")
        for program in ("host", "host_test", *SERVER_TESTS, *QT_TESTS, *GLIB_TESTS):
            self.assertIn("done", run(build / program, env={"HOME": str(self.folder)}))

    def test_the_host_of_the_document(self):
        folder = self.folder / "host"
        folder.mkdir()
        for name, text in files((SOURCE / "docs" / "hosting.md").read_text(encoding="utf-8")).items():
            (folder / name).write_text(text, encoding="utf-8")
        build = folder / "build"
        run("cmake", "-S", folder, "-B", build, f"-DCMAKE_PREFIX_PATH={self.prefix}",
            f"-DCMAKE_CXX_COMPILER={COMPILER}", "-DCMAKE_BUILD_TYPE=Debug")
        run("cmake", "--build", build, "-j2")
        environment = {"HOME": str(self.folder)}
        self.assertIn("0 tests failed out of 1", run("ctest", "--test-dir", build, env=environment))
        for arguments, code in (([], 1), (["nowhere", "1", "2"], 1)):
            program = subprocess.run([str(build / "host"), *arguments], env={**os.environ, **environment},
                                     stdout=subprocess.PIPE, stderr=subprocess.PIPE)
            self.assertEqual(program.returncode, code, program)

    def test_pkg_config(self):
        hosts = [("host", "orvnetwork"), ("host_test", "orvnetwork-testing")]
        for program, package in hosts + [(test, "orvnetwork-devserver") for test in SERVER_TESTS] + [
                (test, "orvnetwork-qt") for test in QT_TESTS] + [(test, "orvnetwork-glib") for test in GLIB_TESTS]:
            binary = self.folder / f"{program}-pkg-config"
            # The standard is a part of what pkg-config says; a host's own, if later, stands behind it.
            run(COMPILER, CONSUMER / f"{program}.cpp", "-o", binary, *self.flags(package))
            self.assertIn("done", run(binary, env={"HOME": str(self.folder),
                                                   "LD_LIBRARY_PATH": str(self.library_folder)}))

    def test_later_standard_of_a_host_counts(self):
        source = self.folder / "later.cpp"
        source.write_text("static_assert(__cplusplus > 202002L);\n", encoding="utf-8")
        run(COMPILER, "-fsyntax-only", *self.flags("orvnetwork"), "-std=c++23", source)

    def test_version_is_the_same_everywhere(self):
        numbers = re.findall(r"^#define ORV_VERSION_(?:MAJOR|MINOR|PATCH) (\d+)$",
                             (SOURCE / "orvnetwork" / "version.h").read_text(encoding="utf-8"), re.MULTILINE)
        version = ".".join(numbers)
        changes = (SOURCE / "CHANGELOG.md").read_text(encoding="utf-8")
        self.assertEqual(re.search(r"^## (\S+)", changes, re.MULTILINE).group(1), version)
        self.assertEqual(run("pkg-config", "--modversion", "orvnetwork", env=self.pkg_config).strip(), version)
        for program in ("orv", "orv-devserver"):
            if (BUILD / "cli").is_dir():
                self.assertEqual(run(self.prefix / "bin" / program, "--version").strip(), f"{program} {version}")
        source = self.folder / "version.cpp"
        source.write_text("#include <orvnetwork/version.h>\n#include <cstdio>\n"
                          f'static_assert(ORV_VERSION_NUMBER == ORV_MAKE_VERSION({", ".join(numbers)}));\n'
                          "int main() { return orv::libraryVersion() == ORV_VERSION_TEXT && std::puts(ORV_VERSION_TEXT) >= 0 "
                          "? 0 : 1; }\n", encoding="utf-8")
        run(COMPILER, source, "-o", self.folder / "version", *self.flags("orvnetwork"))
        said = run(self.folder / "version", env={"LD_LIBRARY_PATH": str(self.library_folder)})
        self.assertEqual(said.strip(), version)

    def test_library_is_named_after_the_versions_that_it_goes_with(self):
        for library in self.library_folder.glob("*.so"):
            name = re.search(r"SONAME.*\[(.*)\]", run("readelf", "--dynamic", library)).group(1)
            major, minor, _ = run("pkg-config", "--modversion", "orvnetwork", env=self.pkg_config).split(".")
            self.assertEqual(name, f"{library.name}.0.{minor}" if major == "0" else f"{library.name}.{major}")
            self.assertTrue((self.library_folder / name).exists())

    def test_package_takes_compatible_versions_only(self):
        major, minor, _ = map(int, run("pkg-config", "--modversion", "orvnetwork", env=self.pkg_config).split("."))
        for asked, fits in ((f"{major}.{minor}", True), (f"{major}.{minor + 1}", False), (f"{major + 1}.0", False),
                            (f"{major}.{minor - 1}" if minor else f"{major}.{minor}.999", major > 0 and minor > 0)):
            folder = self.folder / f"asks-{asked}"
            folder.mkdir()
            (folder / "CMakeLists.txt").write_text(
                "cmake_minimum_required(VERSION 3.25)\nproject(Asks LANGUAGES CXX)\n"
                f"find_package(OrvNetwork {asked} QUIET)\n"
                "message(FATAL_ERROR \"found: ${OrvNetwork_FOUND}\")\n", encoding="utf-8")
            said = subprocess.run(["cmake", "-S", folder, "-B", folder / "build", f"-DCMAKE_PREFIX_PATH={self.prefix}",
                                   f"-DCMAKE_CXX_COMPILER={COMPILER}"], capture_output=True, text=True).stderr
            self.assertIn(f"found: {1 if fits else 0}", said, asked)

    def test_pages_for_man_and_completions_are_installed(self):
        share = self.prefix / "share"
        wanted = {f"man/man1/{program}.1.gz" for program in ("orv", "orv-devserver")} | {
            f"{folder}/{name}" for folder, name in (("bash-completion/completions", "orv"),
            ("zsh/site-functions", "_orv"), ("fish/vendor_completions.d", "orv.fish"))}
        found = {path.relative_to(share).as_posix() for path in share.rglob("*") if path.is_file()}
        self.assertEqual(wanted - found, wanted if not (BUILD / "cli").is_dir() else set())

    def test_installed_files_name_no_place_of_the_build(self):
        texts = list(self.prefix.rglob("*.cmake")) + list(self.prefix.rglob("*.pc"))
        self.assertGreaterEqual(len(texts), 5)
        for path in texts:
            text = path.read_text(encoding="utf-8")
            for place in (SOURCE, BUILD, self.folder):
                self.assertNotIn(str(place), text, path)
        for binary in [*self.library_folder.glob("*.so"), *(self.prefix / "bin").glob("*")]:
            self.assertNotIn(str(BUILD), run("readelf", "--dynamic", binary), binary)

    def test_installed_headers_are_the_public_ones(self):
        headers = {path.relative_to(self.prefix / "include").as_posix() for path in self.prefix.rglob("*.h")}
        self.assertIn("orvnetwork/orvnetwork.h", headers)
        self.assertIn("orvnetwork/platform/MainQueue.h", headers)
        self.assertFalse([header for header in headers if "/native/" in header])
        server = {header.removeprefix("orvnetwork-devserver/devserver/") for header in headers
                  if header.startswith("orvnetwork-devserver/")}
        self.assertEqual(server, {"DevServer.h", "engine/Counters.h", "engine/ReceivedFrame.h", "faults/Cut.h",
                                  "faults/Faults.h", "faults/Garbage.h", "faults/WireFaults.h"} if SERVER_TESTS else set())

    def test_installed_server_headers_compile_alone(self):
        root = self.prefix / "include" / "orvnetwork-devserver"
        for header in root.rglob("*.h"):
            source = self.folder / "alone.cpp"
            source.write_text(f"#include <{header.relative_to(root).as_posix()}>\n", encoding="utf-8")
            run(COMPILER, "-std=c++20", "-fsyntax-only", "-Wall", "-Wextra", "-Werror", f"-I{root}", source)

    def test_installed_programs_run(self):
        for program in ("orv", "orv-devserver"):
            if (BUILD / "cli").is_dir():
                run(self.prefix / "bin" / program, "--help", env={"HOME": str(self.folder)})


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
