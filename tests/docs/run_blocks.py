#!/usr/bin/env python3
"""Runs or compiles every block of the documents, so that none of them can be wrong. Blocks are
fenced; an indented one is an error. Of a manual page they are what stands between .nf and .fi, of a
scenario file it is the whole file.

usage: run_blocks.py --root DIR --bin DIR --library FILE [--transcripts-elsewhere FILE] DOCUMENT...

    console     each "$ COMMAND" is run in a folder of its own and must print what follows it; one
                with nothing after it must only succeed; "$ cat FILE" makes the file
    sh          each line must be one of the commands known here
    scenario    the virtual PIN pad must start with it
    manual      each line runs pinpad-sim, until the block ends, or pinpad, which must succeed
    c, cpp      compiled against the header, or those of sim/, with warnings as errors
    python      byte-compiled
    csharp      compiled where mcs is installed
    pascal      compiled where fpc is installed
    win32       C for Windows, compiled where its compiler is installed
    cmake       configured with a program of its own, against what was installed earlier in the
                document, or the sources
    frame       checked by the test of the wire format
    text        not code
    (nothing)   figures, in docs/performance.md only
"""

import argparse
import contextlib
import json
import os
import re
import shlex
import shutil
import signal
import subprocess
import sys
import tempfile
from pathlib import Path

BUILT = "build/release/bin/"
WITHOUT_LANGUAGE = {"performance.md"}
TRANSCRIPT_WORDS = {"pinpad", "pinpad-sim", "cat", "sed", "head", "echo"}
# What stands for a real PIN pad in the documents.
REAL_PORT = "--port ttyUSB0"
PROGRAM = """#include <pinpad/pinpad.h>
int main(void) { return PP_Close("BYE") == PINPAD_OK ? 0 : 1; }
"""


class Problem(Exception):
    """A block that is not right."""


def blocks_of(document):
    """Gives (line number, language, text) of each block."""
    if document.suffix == ".scn":
        return [(1, "scenario", document.read_text())]
    return manual_blocks(document) if document.suffix == ".1" else fenced_blocks(document)


def manual_blocks(document):
    page = document.read_text()
    for block in re.finditer(r"^\.nf\n(.*?)^\.fi$", page, re.M | re.S):
        yield page[:block.start(1)].count("\n"), "manual", block[1].replace("\\-", "-")


def fenced_blocks(document):
    language = None
    for number, line in enumerate(document.read_text().splitlines(), 1):
        if not line.startswith("```"):
            if language is not None:
                text.append(line)
            elif line.startswith("    "):
                yield number, "indented", line
        elif language is None:
            language, text, begin = line[3:].strip(), [], number
        else:
            yield begin, language, "\n".join(text) + "\n"
            language = None
    if language is not None:
        raise Problem(f"{document}: block without an end")


def same_terminal(text):
    return re.sub(r"/dev/pts/\d+", "/dev/pts/N", text)


class Runner:
    """Runs the blocks of one document, in the order in which they stand."""

    def __init__(self, options, document, folder):
        self.root = Path(options.root).resolve()
        self.bin = Path(options.bin).resolve()
        self.library = Path(options.library).resolve()
        self.transcripts_elsewhere = document.name in options.transcripts_elsewhere
        self.document = document
        self.folder = Path(folder)
        self.last_c = None

    def block(self, language, text):
        """Tells whether the block was checked; raises Problem when it is wrong."""
        if language == "console":
            return self.transcripts_elsewhere or self.transcript(text)
        checks = {"sh": self.shell, "c": self.c, "cpp": self.cpp, "python": self.python,
                  "csharp": self.csharp, "pascal": self.pascal, "win32": self.win32,
                  "cmake": self.cmake, "scenario": self.scenario, "manual": self.manual}
        if language in checks:
            return checks[language](text)
        if language in ("frame", "text"):
            return False
        if language == "indented":
            raise Problem("an indented block is not checked: put it into fences")
        if not language and self.document.name in WITHOUT_LANGUAGE:
            return False
        raise Problem(f"unknown language '{language}'")

    def run(self, command):
        environment = dict(os.environ, PATH=f"{self.bin}:{os.environ['PATH']}", LC_ALL="C.UTF-8")
        done = subprocess.run(command, cwd=self.folder, env=environment, text=True, timeout=60,
                              shell=isinstance(command, str), stdin=subprocess.DEVNULL,
                              stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False)
        return done.returncode, done.stdout

    def must_run(self, command):
        status, output = self.run(command)
        if status != 0:
            raise Problem(f"{command}: exit status {status}\n{output}")

    # console

    def transcript(self, text):
        steps = []
        for line in text.splitlines():
            if line.startswith("$ "):
                steps.append([line[2:], ""])
            elif steps:
                steps[-1][1] += line + "\n"
            else:
                raise Problem(f"output before a command: {line}")
        for command, output in steps:
            self.step(command, output.strip("\n"))
        return True

    def step(self, command, expected):
        if re.fullmatch(r"cat \S+", command) and expected:
            (self.folder / command.split()[1]).write_text(expected + "\n")
            return
        command = command.replace(BUILT, "")
        if command.split()[0] not in TRANSCRIPT_WORDS:
            raise Problem(f"not allowed: {command}")
        if REAL_PORT in command:
            (self.folder / "customer-at-hand.scn").write_text("capture keys 12345678 enter\n")
            command = command.replace(REAL_PORT, "--simulate customer-at-hand.scn")
        status, printed = self.run(command)
        if not expected:
            if status != 0:
                raise Problem(f"{command}: exit status {status}\n{printed}")
        elif same_terminal(printed.strip("\n")) != same_terminal(expected):
            raise Problem(f"{command}\n--- documented\n{expected}\n--- printed\n{printed}")

    # scenario

    def scenario(self, text):
        (self.folder / "block.scn").write_text(text)
        with self.running_device(["--scenario", "block.scn"]):
            return True

    # manual

    def manual(self, text):
        with contextlib.ExitStack() as devices:
            for line in text.splitlines():
                words = shlex.split(line)
                if words[0] == "pinpad-sim":
                    devices.enter_context(self.running_device(words[1:]))
                else:
                    self.step(line.replace("/tmp/", f"{self.folder}/"), "")
        return True

    # sh

    def shell(self, text):
        for line in text.splitlines():
            line = re.sub(r"\s+#.*", "", line).strip()
            if line:
                self.shell_line(line)
        return True

    def shell_line(self, line):
        words = line.split()
        if words[0] in ("./run-demo.sh", "./run-tests.sh", "scripts/fuzz.sh",
                        "scripts/fuzz-coverage.sh", "scripts/soak.sh", "scripts/build-packages.sh",
                        "scripts/build-windows-dependencies.sh"):
            self.script(words)
        elif words[0] == "scripts/install-dependencies.sh":
            self.script(words)
            if len(words) != 2 or not re.search(rf"^ *{re.escape(words[1])}\)",
                                                (self.root / words[0]).read_text(), re.M):
                raise Problem(f"unknown mode: {line}")
        elif words[:2] == ["cmake", "--preset"] and all(re.match("-DPINPAD_[A-Z_]+=", word)
                                                        for word in words[3:]):
            self.preset("configurePresets", words[2])
        elif words[:3] == ["cmake", "--build", "--preset"] and len(words) == 4:
            self.preset("buildPresets", words[3])
        elif words[:3] == ["cmake", "--install", "build/release"]:
            self.must_run(["cmake", "--install", str(self.bin.parent), "--prefix",
                           str(self.folder / "installed")])
        elif words[:4] == ["ctest", "--test-dir", "build/release", "-R"]:
            self.selected_tests(words[4])
        elif words == ["ldconfig"]:
            pass
        elif words[:2] == ["apt-get", "install"]:
            self.packages(words[2:])
        elif line == "cc till.c $(pkg-config --cflags --libs pinpad)":
            self.build_with_pkg_config(line)
        elif words == ["cc", "till.c", "-lpinpad"]:
            self.build_till()
        elif words[0] in ("pinpad-sim", BUILT + "pinpad-sim"):
            with self.running_device(words[1:]):
                pass
        elif words[0] == BUILT + "pinpad-soak":
            short = re.sub(r"--exchanges \d+", "--exchanges 4 --seed 1", line.replace(BUILT, ""))
            self.must_run(short)
        else:
            raise Problem(f"not allowed: {line}")

    def script(self, words):
        script = self.root / words[0]
        if not os.access(script, os.X_OK):
            raise Problem(f"cannot be run: {words[0]}")
        self.must_run(["sh", "-n", str(script)])

    def selected_tests(self, pattern):
        _, listed = self.run(["ctest", "--test-dir", str(self.bin.parent), "-N", "-R", pattern])
        if re.search(r"^Total Tests: 0$", listed, re.M):
            raise Problem(f"no test has a name like {pattern}")

    def preset(self, kind, name):
        presets = json.loads((self.root / "CMakePresets.json").read_text())
        if name not in [preset["name"] for preset in presets[kind]]:
            raise Problem(f"no such preset: {name}")

    def packages(self, files):
        """The files are named as the packages are."""
        control = (self.root / "debian/control").read_text()
        for file in files:
            found = re.fullmatch(r"\./build/packages/([a-z0-9-]+)_\*\.deb", file)
            if not found or not re.search(rf"^Package: {found[1]}$", control, re.M):
                raise Problem(f"no such package: {file}")

    def installed(self):
        tree = self.folder / "installed"
        if not tree.exists():
            raise Problem("nothing was installed before this block")
        return tree

    def build_with_pkg_config(self, line):
        found = next(self.installed().glob("lib*/**/pinpad.pc"), None)
        if found is None:
            raise Problem("no pinpad.pc was installed")
        (self.folder / "till.c").write_text(PROGRAM)
        self.must_run(f"export PKG_CONFIG_PATH={found.parent}; {line}")

    def cmake(self, text):
        project = self.folder / "project"
        shutil.rmtree(project, ignore_errors=True)
        project.mkdir()
        (project / "till.c").write_text(PROGRAM)
        (project / "pinpad").symlink_to(self.root)
        (project / "CMakeLists.txt").write_text(
            "cmake_minimum_required(VERSION 3.25)\nproject(till LANGUAGES C CXX)\n"
            "add_executable(till till.c)\n" + text)
        self.must_run(["cmake", "-S", str(project), "-B", str(project / "build"),
                       f"-DCMAKE_PREFIX_PATH={self.installed()}"])
        return True

    def build_till(self):
        if self.last_c is None:
            raise Problem("no program in C before this command")
        (self.folder / "till.c").write_text(self.last_c)
        self.must_run(["cc", "till.c", f"-I{self.root}/api/include", str(self.library)])

    @contextlib.contextmanager
    def running_device(self, arguments):
        """A device that opens its port, and ends cleanly when told to."""
        line = shlex.join(["pinpad-sim", *arguments])
        here = re.sub(r"--web \d+", "--web 0", line.replace("/tmp/", f"{self.folder}/"))
        command = [str(self.root / word) if (self.root / word).is_file() else word
                   for word in shlex.split(here)]
        device = subprocess.Popen([str(self.bin / command[0]), *command[1:]], cwd=self.folder,
                                  text=True, stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                  stderr=subprocess.PIPE)
        try:
            port = device.stdout.readline().strip()
            if not port:
                raise Problem(f"{line}: no port, but: {device.stderr.read().strip()}")
            if not Path(port).exists():
                raise Problem(f"{line}: no port, but '{port}'")
            yield
            device.send_signal(signal.SIGTERM)
            if device.wait(timeout=20) != 0:
                raise Problem(f"{line}: exit status {device.returncode}")
        finally:
            device.kill()
            device.communicate()

    # code

    def compile(self, compiler, name, text):
        (self.folder / name).write_text(text)
        self.must_run([*compiler, "-Wall", "-Wextra", "-Werror", "-fsyntax-only",
                       f"-I{self.root}/api/include", f"-I{self.root}", name])
        return True

    def c(self, text):
        self.last_c = text
        return self.compile(["cc", "-std=c11"], "block.c", text)

    def cpp(self, text):
        standard = "c++20" if '#include "sim/' in text else "c++17"
        return self.compile(["c++", f"-std={standard}"], "block.cpp", text)

    def python(self, text):
        try:
            compile(text, "block.py", "exec")
        except SyntaxError as error:
            raise Problem(str(error)) from error
        return True

    def not_run(self, language, why):
        print(f"Not run: the code in {language} in {self.document.name}: {why}")
        return False

    def csharp(self, text):
        if shutil.which("mcs") is None:
            return self.not_run("C#", "mcs is missing; ./run-tests.sh --languages")
        (self.folder / "block.cs").write_text(text)
        self.must_run(["mcs", "-warnaserror", "-target:library", "block.cs"])
        return True

    def pascal(self, text):
        if shutil.which("fpc") is None:
            return self.not_run("Pascal", "fpc is missing; Debian package fpc")
        unit = re.match(r"unit (\w+);", text)
        if unit is None:
            raise Problem("no unit")
        (self.folder / f"{unit[1].lower()}.pas").write_text(text)
        self.must_run(["fpc", "-Mdelphi", "-Cn", f"{unit[1].lower()}.pas"])
        return True

    def win32(self, text):
        compiler = shutil.which("i686-w64-mingw32-gcc")
        if compiler is None:
            return self.not_run("C for Windows",
                                "no compiler for Windows; ./run-tests.sh --windows")
        return self.compile([compiler, "-std=c11"], "block_win32.c", text)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--root", required=True)
    parser.add_argument("--bin", required=True)
    parser.add_argument("--library", required=True)
    parser.add_argument("--transcripts-elsewhere", action="append", default=[])
    parser.add_argument("documents", nargs="+", type=Path)
    options = parser.parse_args()

    checked = wrong = 0
    for document in options.documents:
        with tempfile.TemporaryDirectory() as folder:
            runner = Runner(options, document, folder)
            for number, language, text in blocks_of(document):
                try:
                    checked += runner.block(language, text)
                except Problem as problem:
                    wrong += 1
                    print(f"{document}:{number}: {problem}", file=sys.stderr)
    print(f"{checked} blocks checked, {wrong} wrong")
    return 1 if wrong or not checked else 0


if __name__ == "__main__":
    sys.exit(main())
