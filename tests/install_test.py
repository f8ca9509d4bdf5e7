#!/usr/bin/env python3
"""What `cmake --install` makes, and clients of it: install_test.py BUILD_DIRECTORY."""
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parent.parent
BUILD = pathlib.Path(sys.argv.pop(1)).resolve()


def run(*arguments, **options):
    done = subprocess.run([str(a) for a in arguments], capture_output=True, text=True, timeout=200, **options)
    if done.returncode != 0:
        raise AssertionError(f"status {done.returncode} of {arguments}: {done.stdout}{done.stderr}")
    return done.stdout


def cached(name):
    found = re.search(rf"^{name}:\w+=(.*)$", (BUILD / "CMakeCache.txt").read_text(), re.M)
    return found[1] if found else ""


class Installed(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        scratch = tempfile.TemporaryDirectory()
        cls.addClassCleanup(scratch.cleanup)
        cls.scratch = pathlib.Path(scratch.name)
        staged = cls.scratch / "staged"
        run("cmake", "--install", BUILD, env={**os.environ, "DESTDIR": str(staged)})
        # Not where it was installed: everything must be found from where it lies.
        cls.tree = cls.scratch / "moved"
        shutil.move(staged / cached("CMAKE_INSTALL_PREFIX").lstrip("/"), cls.tree)
        cls.component, = cls.tree.glob("lib*/**/VQLoan.so")
        cls.site = cls.scratch / "site"
        run(cls.tree / "bin/vqloan", "site", cls.site, "--sample", "--copies=40")
        (cls.site / "VQLoan.so").unlink()  # each test has the installed one do, or makes a site of its own
        cls.environment = {**os.environ, "AUTOMATION_REGISTRY": str(cls.scratch / "registry"),
                           "PATH": f"{cls.tree}/bin:{os.environ['PATH']}"}

    def python(self, packages):
        """The environment for a program in Python, which loads the sanitizer that the component is linked with first."""
        sanitizer = re.search(r"=> (\S*libasan\S*)", run("ldd", self.component))
        return {**self.environment, "PYTHONPATH": str(packages), "PYTHONDONTWRITEBYTECODE": "1",
                **({"LD_PRELOAD": sanitizer[1], "ASAN_OPTIONS": "detect_leaks=0"} if sanitizer else {})}

    @unittest.skipIf(cached("CMAKE_BUILD_TYPE") != "Release", "what a debugger reads names the sources")
    def test_nothing_leads_to_the_build_or_to_the_place_of_installing(self):
        for file in self.tree.rglob("*"):
            if file.is_symlink():
                self.assertTrue(file.exists(), file)
            elif file.is_file():
                content = file.read_bytes()
                self.assertNotIn(bytes(BUILD), content, file)
                self.assertNotIn(bytes(self.scratch), content, file)

    def test_the_first_steps_of_a_user(self):
        """Those that scripts/test-package takes on a bare Debian."""
        environment = {**self.python(ROOT / "python"), "HOME": str(self.scratch)}
        said = run("sh", ROOT / "packaging/first-steps", cwd=self.scratch, env=environment)
        over_http = re.findall(r'^{.*"inventory":"KA000002".*"status":"on_loan"', said, re.M)
        self.assertEqual(len(over_http), "serve" in run(self.tree / "bin/vqloan", "--help"), said)
        self.assertEqual(said.count("No findings."), 3, said)
        self.assertIn("Biblioteca di San Martino In prestito dal ", said)  # from Python

    def test_the_services_are_as_systemd_wants_them(self):
        units = sorted(self.tree.glob("lib/systemd/system/*"))
        self.assertIn(len(units), (2, 3))  # without HTTP, with it
        run(self.tree / "bin/vqloan", "site", self.site)
        for unit in units:
            command = re.search(r"^ExecStart=(.*)", unit.read_text(), re.M)[1].split()
            self.assertEqual(command.pop(0), f"{cached('CMAKE_INSTALL_PREFIX')}/bin/vqloan")
            values = {"%f": str(self.site), "${VQLOAN_KIND}": "SQL2", "${VQLOAN_LISTEN}": "127.0.0.1:0"}
            command = [re.sub(r"%f|\$\{\w+\}", lambda name: values[name[0]], word) for word in command]
            server = subprocess.Popen([self.tree / "bin/vqloan", *command], stdout=subprocess.PIPE)
            self.assertIn(b"Serving", server.stdout.readline())
            server.terminate()
            server.communicate()
            self.assertEqual(server.returncode, 0, command)
        (self.site / "VQLoan.so").unlink()
        if shutil.which("systemd-analyze"):
            here = self.scratch / "units"
            here.mkdir()
            for unit in units:  # with a program that is there
                text = unit.read_text().replace(f"{cached('CMAKE_INSTALL_PREFIX')}/bin", f"{self.tree}/bin")
                (here / unit.name.replace("@", "@srv-vqloan")).write_text(text)
            said = subprocess.run(["systemd-analyze", "verify", "--man=no", *here.iterdir()], capture_output=True, text=True)
            self.assertEqual([line for line in said.stderr.splitlines() if "vqloan" in line], [])
            run("systemd-analyze", "security", "--offline=true", "--threshold=15", *here.iterdir())

    def test_completion_offers_what_the_program_has(self):
        script = next(self.tree.glob("share/bash-completion/completions/vqloan"))
        for words, offered in (("che", ["check"]), ("ask --kind SQL", ["SQL", "SQL2"]), ("ask --inv", ["--inventory"])):
            command = (f"shopt -s progcomp; source {script}; compopt() {{ :; }}; COMP_WORDS=(vqloan {words}); "
                       "COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); _vqloan; printf '%s\\n' \"${COMPREPLY[@]}\"")
            self.assertEqual(sorted(run("bash", "-c", command, env=self.environment).split()), offered, words)

    def test_a_client_in_cpp_builds_outside_the_tree(self):
        source = next(self.tree.glob("share/doc/*/examples/clients"))
        run("cmake", "-G", "Ninja", "-S", source, "-B", self.scratch / "client", f"-DCMAKE_PREFIX_PATH={self.tree}",
            f"-DCMAKE_CXX_COMPILER={cached('CMAKE_CXX_COMPILER')}", f"-DCMAKE_CXX_FLAGS={cached('CMAKE_CXX_FLAGS')}")
        run("cmake", "--build", self.scratch / "client")
        registered = self.scratch / "registered"
        run(self.tree / "bin/vqloan", "site", registered, "--sample", "--copies=10")
        run(self.tree / "bin/vqloan", "register", "--site", registered, env=self.environment)
        self.assertIn("Disponibile", run(self.scratch / "client/ask", "SQL2", "00", "KA000001", env=self.environment))

    def test_pkg_config_names_what_a_client_needs(self):
        if not shutil.which("pkg-config"):
            self.skipTest("pkg-config is not installed")
        directory = next(self.tree.glob("lib*/**/vqloan.pc")).parent
        environment = {**os.environ, "PKG_CONFIG_PATH": str(directory)}
        flags = run("pkg-config", "--cflags", "--libs", "vqloan", env=environment).split()
        source = next(self.tree.glob("share/doc/*/examples/clients")) / "ask.cpp"
        run(cached("CMAKE_CXX_COMPILER"), "-std=c++20", *cached("CMAKE_CXX_FLAGS").split(), source, "-o",
            self.scratch / "ask", *flags)
        component = run("pkg-config", "--variable=component", "vqloan", env=environment).strip()
        self.assertEqual(pathlib.Path(component).resolve(), self.component.resolve())

    def test_the_python_package(self):
        tools = "import setuptools, wheel, pip"  # pip brings a distutils of its own along
        python = next((p for p in (sys.executable, "/usr/bin/python3")
                       if subprocess.run([p, "-c", tools], capture_output=True).returncode == 0), None)
        if not python:
            self.skipTest("pip, setuptools or wheel is not installed")
        source, packages = self.scratch / "source", self.scratch / "packages"
        shutil.copytree(ROOT / "python", source / "python")  # pip leaves things beside what it builds
        shutil.copy(ROOT / "CMakeLists.txt", source)
        run(python, "-m", "pip", "install", "--no-build-isolation", "--no-index", "--no-deps", "--target", packages,
            source / "python")
        self.assertEqual([f.name for f in packages.glob("*.dist-info")], [f"vqloan-{cached('CMAKE_PROJECT_VERSION')}.dist-info"])
        example = next(self.tree.glob("share/doc/*/examples/clients")) / "ask.py"
        run(python, source / "python/tests/vqloan_test.py", self.site, example, env=self.python(packages))
        if shutil.which("mypy"):
            run("mypy", cwd=source / "python")


if __name__ == "__main__":
    unittest.main(verbosity=2)
