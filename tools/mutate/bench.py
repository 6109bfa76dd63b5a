"""The bench of the planted faults: a mirror of the build with one source changed, and what tests say to it."""

import json
import os
import shlex
import shutil
import signal
import subprocess
import tempfile
import time
from pathlib import Path

# The test programs that reach a floor's units, the cheapest that knows most first.
PROGRAMS = {
    "base": ["framework_base_tests", "framework_data_tests", "framework_runtime_tests",
             "framework_cipher_tests", "toolkit_tests", "utility_console_tests"],
    "data": ["framework_data_tests", "framework_cipher_tests", "framework_runtime_tests",
             "utility_console_tests"],
    "runtime": ["framework_runtime_tests", "toolkit_tests", "framework_data_tests",
                "utility_console_tests", "utility_collection_tests"],
    "toolkit": ["toolkit_tests", "framework_runtime_tests", "backend_tests"],
    "backend": ["backend_tests", "utility_console_tests"],
    "utility": ["utility_console_tests", "utility_collection_tests"],
}
FIRST = {"ZuCipher": "framework_cipher_tests"}
# What is made from the utility's sources beside the utility itself.
DRIVERS = ["bin/utility_console_tests.exe", "bin/utility_collection_tests.exe"]
COMPILE_LIMIT = 180
# What a test that was ended amid its work leaves of the add-in; the next one would find it there.
ADDIN = [r"HKLM\Software\Classes\PelloryForOutlook.Connect",
         r"HKLM\Software\Classes\CLSID\{5E0B2F6A-31C7-4E0B-9C55-6D5C6C1E7A10}"]


class Build:
    """The finished build: how each source is compiled and each program linked."""

    def __init__(self, root, folder):
        self.root, self.folder = root, folder
        entries = json.loads((folder / "compile_commands.json").read_text(encoding="utf-8"))
        self.compiled = {}
        for entry in entries:
            self.compiled.setdefault(Path(entry["file"]), []).append(shlex.split(entry["command"]))
        self._links = {}

    def link(self, program):
        """The command that links a program of the build."""
        if program not in self._links:
            listing = subprocess.run(["ninja", "-C", str(self.folder), "-t", "commands", program],
                                     check=True, capture_output=True, text=True).stdout
            command = listing.strip().split("\n")[-1].split("&&")[1]
            self._links[program] = shlex.split(command)
        return self._links[program]


class Bench:
    """One worker's place: its mirror of sources and build, its Wine prefix, its screen."""

    def __init__(self, build, folder, prefix, processor):
        self.build, self.folder, self.processor = build, folder, processor
        self.environment = dict(os.environ, WINEPREFIX=prefix)
        self.limits = {}
        shutil.rmtree(folder, ignore_errors=True)
        folder.mkdir(parents=True)
        self._mirror_sources()
        self._mirror_build()
        self.settle()
        self._start_screen()

    def _mirror_sources(self):
        for name in ("src", "tests"):
            for file in (self.build.root / name).rglob("*.*"):
                link = self.folder / file.relative_to(self.build.root)
                link.parent.mkdir(parents=True, exist_ok=True)
                link.symlink_to(file)

    def _mirror_build(self):
        """Programs find each other by their place, so the mirror has the build's shape."""
        for name in ("bin", "standins", "tests/support"):
            (self.folder / "build" / name).mkdir(parents=True)
            for file in (self.build.folder / name).glob("*.*"):
                if file.suffix in (".exe", ".dll"):
                    (self.folder / "build" / name / file.name).symlink_to(file)

    def settle(self):
        """Keeps the calling thread, and what it starts from now on, to one processor: Wine and its
        server wait for each other all the time, which takes long across processors."""
        os.sched_setaffinity(0, {self.processor})

    def _start_screen(self):
        with tempfile.TemporaryFile() as told:
            self.screen = subprocess.Popen(
                ["Xvfb", "-displayfd", str(told.fileno()), "-screen", "0", "1280x1024x24"],
                pass_fds=[told.fileno()], stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                stderr=subprocess.DEVNULL)
            number = b""
            while not number.endswith(b"\n") and self.screen.poll() is None:
                time.sleep(0.05)
                told.seek(0)
                number = told.read()
        self.environment["DISPLAY"] = ":" + number.decode().strip()
        self._warm()

    def _quietly(self, *command):
        subprocess.run(command, env=self.environment, check=False, stdin=subprocess.DEVNULL,
                       stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)

    def _warm(self):
        self._quietly("wineserver", "-k")
        self._quietly("wineserver", "-w")
        self._quietly("wineserver", "-p600")
        self._quietly("wine", "cmd", "/c", "exit")

    def close(self):
        """Ends the screen and what runs in the prefix."""
        self._quietly("wineserver", "-k")
        self.screen.terminate()
        self.screen.wait()

    def _compile(self, source, number):
        """Compiles a source of the mirror as what ships is compiled; the object, or None."""
        own = self.build.root / source
        made = self.folder / f"{number}.obj"
        for command in self.build.compiled[own]:
            # What was warned of when it was written is a plant here.
            command = [word for word in command if word not in ("ccache", "-Werror")]
            command[command.index("-o") + 1] = str(made)
            text = "\0".join(command).replace(str(own), str(self.folder / source))
            text = text.replace(f"-I{self.build.root}/src", f"-I{self.folder}/src")
            command = text.split("\0") + ["-w", f"-ffile-prefix-map={self.folder}/="]
            done = subprocess.run(command, cwd=self.build.folder, check=False,
                                  timeout=COMPILE_LIMIT, capture_output=True)
            return made if done.returncode == 0 else None
        return None

    def _link(self, program, objects):
        """Links a program with objects in front of all others, so that theirs is the copy that counts
        wherever several have one."""
        own = {word for word in self.build.link(program) if word.endswith((".obj", ".o"))}
        inner = {Path(word).name for word in own}
        command = [word for word in self.build.link(program)
                   if word not in own or Path(word).name not in objects]
        front = next(at for at, word in enumerate(command) if word == "-o" or word in own)
        # A test's source belongs to the one program that has it.
        command[front:front] = [str(made) for name, made in objects.items()
                                if name in inner or not name.endswith("_test.cpp.obj")]
        target = self.folder / "build" / program
        command[command.index("-o") + 1] = str(target)
        target.unlink(missing_ok=True)
        subprocess.run([word for word in command if "--out-implib" not in word],
                       cwd=self.build.folder, check=True, capture_output=True)

    def run(self, program):
        """Runs a test program until its first failure: passed, failed or hung."""
        path = self.folder / "build" / "bin" / f"{program}.exe"
        command = ["wine", str(path), "--gtest_fail_fast", "--gtest_brief=1"]
        started = time.monotonic()
        with tempfile.TemporaryFile() as said:
            process = subprocess.Popen(command, env=self.environment, stdin=subprocess.DEVNULL,
                                       stdout=said, stderr=subprocess.DEVNULL,
                                       start_new_session=True)
            try:
                code = process.wait(self.limits.get(program, 600))
            except subprocess.TimeoutExpired:
                os.killpg(process.pid, signal.SIGKILL)
                process.wait()
                self._warm()
                self._forget_addin()
                return "hung", time.monotonic() - started
            said.seek(0)
            passed = code == 0 and b"[  PASSED  ]" in said.read()
        if not passed and program.startswith("utility"):
            self._forget_addin()
        return "passed" if passed else "failed", time.monotonic() - started

    def _forget_addin(self):
        for key in ADDIN:
            for view in ("/reg:32", "/reg:64"):
                self._quietly("wine", "reg", "delete", key, "/f", view)

    def measure(self, programs):
        """Runs the programs without a plant; each must pass, and its time sets its limit."""
        self.settle()
        for program in programs:
            outcome, seconds = self.run(program)
            if outcome != "passed":
                raise SystemExit(f"{program} does not pass without a plant")
            self.limits[program] = 3 * seconds + 30

    def try_plant(self, plant, sources, floor, unit):
        """What the tests say to one plant: killed by a program, hung or survived; or that it does not
        compile, or compiles to the same code as the original."""
        mirrored = self.folder / plant.path
        original = self.build.root / plant.path
        lines = original.read_text(encoding="utf-8").split("\n")
        lines[plant.line - 1] = plant.applied(lines[plant.line - 1])
        mirrored.unlink()
        mirrored.write_text("\n".join(lines), encoding="utf-8")
        try:
            objects = self._compile_all(sources)
            outcome = self._judge(objects, floor, unit) if objects else ("not compiled", "")
            # Read before the next compilation takes their place.
            code = [made.read_bytes() for made in objects.values()]
        finally:
            mirrored.unlink()
            mirrored.symlink_to(original)
        if outcome[0] == "survived":
            if code == [made.read_bytes() for made in self._compile_all(sources).values()]:
                return "the same code", ""
        return outcome

    def _compile_all(self, sources):
        """The objects of sources by name; none at all when one does not compile."""
        objects = {}
        for number, source in enumerate(sources):
            made = self._compile(source, number)
            if made is None:
                return {}
            objects[Path(source).name + ".obj"] = made
        return objects

    def _judge(self, objects, floor, unit):
        programs = list(PROGRAMS[floor])
        programs.sort(key=lambda name: name != FIRST.get(unit))
        utility_made = False
        for program in programs:
            try:
                if program.startswith("utility"):
                    if not utility_made:
                        for shipped in ["bin/zuplutil.exe", *DRIVERS]:
                            self._link(shipped, objects)
                    utility_made = True
                else:
                    self._link(f"bin/{program}.exe", objects)
            except subprocess.CalledProcessError:
                return "not compiled", "link"
            outcome, _ = self.run(program)
            if outcome != "passed":
                return ("killed" if outcome == "failed" else "hung"), program
        return "survived", ""
