#!/usr/bin/env python3
"""Compares manual pages and completions of shells with what the programs themselves say they take.

Usage: check_manuals.py [--all-shells] FOLDER ORV ORV_DEVSERVER

Bash is always asked; zsh and fish where they are, and with --all-shells they have to be.
"""

import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

ALL_SHELLS = "--all-shells" in sys.argv
FOLDER, *PROGRAMS = [pathlib.Path(word).resolve() for word in sys.argv[1:] if word != "--all-shells"]
HAS = {shell: ALL_SHELLS or shutil.which(shell) is not None for shell in ("zsh", "fish")}
HAS["man"] = ALL_SHELLS or (shutil.which("man") is not None and shutil.which("groff") is not None)
OPTION_ROW = re.compile(r"^ +(?:(-\w), ?)?(--[\w-]+)(?: \S+)*?(?:$|  )", re.MULTILINE)
# Each of the programs, with what stands in the help of each command: "" is the program.
PATHS = {}


def run(*command, **more):
    result = subprocess.run([str(word) for word in command], stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                            text=True, **more)
    if result.returncode != 0:
        raise AssertionError(f"{command}: exit code {result.returncode}\n{result.stdout}")
    return result.stdout


def commands_of(text):
    """The commands that a help lists."""
    block = re.search(r"^Commands[^\n]*:\n((?: .*\n)+)", text, re.MULTILINE)
    rows = re.findall(r"^  ([a-z]+(?: [a-z]+)?)\b", block.group(1), re.MULTILINE) if block else []
    return list(dict.fromkeys(rows))


def helps(program):
    if program not in PATHS:
        found = {"": run(program, "--help")}
        for command in commands_of(found[""]):
            for name in {command.split()[0], command}:
                found.setdefault(name, run(program, *name.split(), "--help"))
        PATHS[program] = found
    return PATHS[program]


def options_of(text):
    """The options that a help lists, by both their names."""
    return {name for row in OPTION_ROW.findall(text) for name in row[:2] if name}


def groups_of(program):
    return {name.split()[0] for name in helps(program) if " " in name}


def plain(text):
    """Words only, as a reader of the page, or of the help, has them."""
    for what, by in ((r"\\f[BIR]", ""), (r"\\-", "-"), (r"\\&", ""), (r"\\e", r"\\"), (r"^\.TP$|^\.S[HS] ", ""), ("`", "")):
        text = re.sub(what, by, text, flags=re.MULTILINE)
    return " ".join(text.split())


def rows_of(text):
    """What a help says of each option: its names, its value and the text behind, as one line of words."""
    for row in re.split(r"\n(?= {2,8}-)", text)[1:]:
        row = re.split(r"\n(?! )|\n\n", row)[0]
        yield plain(row)


class ManPage(unittest.TestCase):
    def test_says_all_that_the_help_of_orv_says_of_options(self):
        page = plain((FOLDER / "orv.1").read_text(encoding="utf-8"))
        rows = [row for text in helps(PROGRAMS[0]).values() for row in rows_of(text)]
        self.assertGreater(len(rows), 25)
        for row in rows:
            self.assertIn(row, page)

    def test_is_of_the_version_of_the_program(self):
        for program in PROGRAMS:
            page = (FOLDER / f"{program.name}.1").read_text(encoding="utf-8")
            named, = re.findall(r"^\.TH \S+ 1 \"\" \"(.*?)\"", page, re.MULTILINE)
            self.assertEqual(named, run(program, "--version").strip())

    def test_has_the_options_of_each_command_and_no_others(self):
        for program in PROGRAMS:
            page = (FOLDER / f"{program.name}.1").read_text(encoding="utf-8").replace("\\-", "-")
            parts = re.split(r"^\.S[SH] ", page, flags=re.MULTILINE)
            for command, text in helps(program).items():
                if command in groups_of(program):
                    continue
                title = re.compile(rf"\\fB{command}\\fR" if command else "OPTIONS\n")
                part, = [part for part in parts if title.match(part)]
                tagged = re.findall(r"^\.TP\n(.*)", part, re.MULTILINE)
                names = {name for tag in tagged for name in re.findall(r"\\fB(-[\w-]+)", tag)}
                self.assertEqual(names, options_of(text), f"{program.name} {command}")

    def test_lists_every_command_with_what_it_is_for(self):
        page = plain((FOLDER / "orv.1").read_text(encoding="utf-8"))
        for command in commands_of(helps(PROGRAMS[0])[""]):
            self.assertIn(plain(helps(PROGRAMS[0])[command].split("\n")[0]), page)


if HAS["man"]:
    class Man(unittest.TestCase):
        def test_is_read_by_man_without_a_warning(self):
            for program in PROGRAMS:
                text = run("man", "--warnings", "-E", "UTF-8", "-l", "-Tutf8", FOLDER / f"{program.name}.1",
                           env={"MANROFFSEQ": "", "MANWIDTH": "80", "PATH": "/usr/bin:/bin", "LC_ALL": "C.UTF-8"})
                text = re.sub(".\x08", "", text)
                self.assertNotIn("warning", text)
                self.assertIn("SYNOPSIS", text)


class Bash(unittest.TestCase):
    def complete(self, program, *words):
        function = "_" + program.name.replace("-", "_")
        script = ('source "$1"; shift; COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1)); compopt() { :; }; '
                  f'{function}; printf "%s\\n" "${{COMPREPLY[@]}}"')
        with tempfile.TemporaryDirectory() as folder:
            for name in ("pins.pem", "homes/one"):
                (pathlib.Path(folder) / name).parent.mkdir(exist_ok=True)
                (pathlib.Path(folder) / name).touch()
            return run("bash", "-uc", script, "bash", FOLDER / f"{program.name}.bash", program.name,
                       *words, cwd=folder).split()

    def test_offers_the_options_of_each_command_and_no_others(self):
        for program in PROGRAMS:
            for command, text in helps(program).items():
                wanted = options_of(text) | options_of(helps(program)[""])
                self.assertEqual(set(self.complete(program, *command.split(), "-")), wanted, command)

    def test_offers_the_commands_where_one_may_stand(self):
        orv = PROGRAMS[0]
        names = commands_of(helps(orv)[""])
        firsts = list(dict.fromkeys(name.split()[0] for name in names))
        self.assertEqual(self.complete(orv, ""), firsts)
        self.assertEqual(self.complete(orv, "--wait", "3", "--json", ""), firsts)
        self.assertEqual(self.complete(orv, "lo"), [name for name in firsts if name.startswith("lo")])
        for group in groups_of(orv):
            self.assertEqual(self.complete(orv, group, ""),
                             [name.split()[1] for name in names if name.startswith(group + " ")])
        self.assertEqual(self.complete(orv, "call", "lo"), [])

    def test_value_of_an_option_is_no_command(self):
        self.assertIn("courses", self.complete(PROGRAMS[0], "--uuid", "local", ""))
        self.assertEqual(self.complete(PROGRAMS[0], "--uuid", ""), [])

    def test_completes_values(self):
        orv, server = PROGRAMS
        self.assertEqual(self.complete(orv, "courses", "--status", ""), ["1", "2", "3"])
        self.assertEqual(self.complete(orv, "--tls-min", "=", "1.3"), ["1.3"])
        self.assertEqual(self.complete(orv, "--tls-min", "="), ["1.2", "1.3"])
        self.assertEqual(self.complete(orv, "--root", "pi"), ["pins.pem"])
        self.assertEqual(self.complete(orv, "--home", ""), ["homes"])
        self.assertEqual(self.complete(server, "--tls", "pins.pem", "p"), ["pins.pem"])
        self.assertEqual(self.complete(server, "--tls", "pins.pem", "pins.pem", "--por"), ["--port"])

    def test_is_bound_to_the_program(self):
        for program in PROGRAMS:
            said = run("bash", "-c", f'source "$1"; complete -p {program.name}', "-", FOLDER / f"{program.name}.bash")
            self.assertIn("-F _" + program.name.replace("-", "_"), said)


if HAS["fish"]:
    class Fish(unittest.TestCase):
        def complete(self, program, line):
            script = f"source {FOLDER / program.name}.fish; complete -C '{program.name} {line}'"
            with tempfile.TemporaryDirectory() as home:
                said = run("fish", "--no-config", "-c", script, env={"HOME": home, "PATH": "/usr/bin:/bin", "LC_ALL": "C.UTF-8"})
            return {row.split("\t")[0] for row in said.splitlines()}

        def test_file_is_well_formed(self):
            for program in PROGRAMS:
                self.assertEqual(run("fish", "-n", f"{FOLDER / program.name}.fish"), "")

        def test_offers_the_options_of_each_command_and_no_others(self):
            for program in PROGRAMS:
                for command, text in helps(program).items():
                    wanted = {name for name in options_of(text) | options_of(helps(program)[""]) if name[1] == "-"}
                    found = {name.rstrip("=") for name in self.complete(program, f"{command} --".strip())}
                    self.assertEqual(found, wanted, command)

        def test_offers_the_commands_where_one_may_stand(self):
            orv = PROGRAMS[0]
            names = commands_of(helps(orv)[""])
            self.assertEqual(self.complete(orv, "--wait 3 "), {name.split()[0] for name in names})
            self.assertEqual(self.complete(orv, "local "), {name.split()[1] for name in names if name.startswith("local ")})
            self.assertEqual(self.complete(orv, "courses --status "), {"1", "2", "3"})


if HAS["zsh"]:
    class Zsh(unittest.TestCase):
        # Completes as at a terminal, where the shell's own functions run, and prints what it would offer.
        SCRIPT = pathlib.Path(__file__).with_name("zsh_candidates.zsh")

        def complete(self, program, line):
            with tempfile.TemporaryDirectory() as home:
                folder = pathlib.Path(home) / "functions"
                folder.mkdir()
                shutil.copy(f"{FOLDER / program.name}.zsh", folder / f"_{program.name}")
                said = run("zsh", "-f", self.SCRIPT, folder, f"{program.name} {line}",
                           env={"HOME": home, "PATH": "/usr/bin:/bin", "LC_ALL": "C.UTF-8", "TERM": "dumb"})
            return set(said.split())

        def test_file_is_well_formed(self):
            for program in PROGRAMS:
                self.assertEqual(run("zsh", "-n", f"{FOLDER / program.name}.zsh"), "")

        def test_offers_the_options_of_each_command(self):
            for program in PROGRAMS:
                for command, text in helps(program).items():
                    if command in groups_of(program):
                        continue
                    wanted = {name for name in options_of(text) | options_of(helps(program)[""]) if name[1] == "-"}
                    found = {name.rstrip("=") for name in self.complete(program, f"{command} --".lstrip())}
                    self.assertEqual(found, wanted, command)

        def test_offers_the_commands_where_one_may_stand(self):
            names = commands_of(helps(PROGRAMS[0])[""])
            self.assertEqual(self.complete(PROGRAMS[0], "--wait 3 "), {name.split()[0] for name in names})
            self.assertEqual(self.complete(PROGRAMS[0], "local "),
                             {name.split()[1] for name in names if name.startswith("local ")})
            self.assertEqual(self.complete(PROGRAMS[0], "courses --status "), {"1", "2", "3"})


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
