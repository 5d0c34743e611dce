#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""What ./run does to the machine: it installs without starting anything, and an interrupt leaves nothing behind.

The variable DEMO_PROGRAMS names the directory of the programs of the demo.
"""

import os
import pathlib
import signal
import subprocess
import tempfile
import unittest

from lab_test import DEADLINE, LAB, Marked, wait_until

ROOT = pathlib.Path(__file__).resolve().parents[2]
RUN = str(ROOT / "run")
PROGRAMS = os.environ.get("DEMO_PROGRAMS")


class Programs(tempfile.TemporaryDirectory):
    """A directory with programs that stand in for others on the PATH."""

    def __enter__(self):
        super().__enter__()
        return self

    def program(self, name, text):
        path = pathlib.Path(self.name, name)
        path.write_text("#!/bin/bash\n" + text)
        path.chmod(0o755)

    def environment(self):
        return {**os.environ, "PATH": self.name + ":" + os.environ["PATH"], "TMPDIR": self.name}


class Setup(unittest.TestCase):
    """Runs in namespaces of its own, where /usr/sbin is a directory of this test."""

    def install(self, script, policy=None):
        with Programs() as programs, Programs() as system:
            programs.program("dpkg-query", '[ "${!#}" = avahi-daemon ] || echo installed\n')
            programs.program("systemctl", 'echo "systemctl $*"\n')
            programs.program("apt-get", script)
            if policy:
                system.program("policy-rc.d", policy)
            user = [] if os.getuid() == 0 else ["--map-root-user"]
            done = subprocess.run(
                ["unshare", *user, "--mount", "bash", "-c",
                 f"mount --no-mtab --bind '{system.name}' /usr/sbin && '{RUN}' setup"],
                env=programs.environment(), stdin=subprocess.DEVNULL, capture_output=True, text=True, timeout=DEADLINE)
            left = {path.name: path.read_text() for path in pathlib.Path(system.name).iterdir()}
            return done, left

    ASK_POLICY = '[ "$1" = update ] && exit; /usr/sbin/policy-rc.d; echo "policy $?"; echo "install ${!#}"\n'

    def test_nothing_is_started_while_packages_are_installed(self):
        done, left = self.install(self.ASK_POLICY)
        self.assertEqual(done.stdout.splitlines(), ["policy 101", "install avahi-daemon",
                                                    "systemctl disable avahi-daemon.service avahi-daemon.socket"])
        self.assertEqual(left, {})

    def test_policy_of_the_machine_comes_back(self):
        done, left = self.install(self.ASK_POLICY, policy="exit 0\n")
        self.assertIn("policy 101", done.stdout)
        self.assertEqual(left, {"policy-rc.d": "#!/bin/bash\nexit 0\n"})

    def test_policy_of_the_machine_comes_back_after_a_failure_and_an_interrupt(self):
        for script in ["exit 100\n", "kill -TERM $PPID\n"]:
            with self.subTest(script=script):
                done, left = self.install(script, policy="exit 0\n")
                self.assertNotEqual(done.returncode, 0)
                self.assertEqual(left, {"policy-rc.d": "#!/bin/bash\nexit 0\n"})

    def test_nothing_is_installed_when_nothing_is_missing(self):
        with Programs() as programs:
            programs.program("dpkg-query", "echo installed\n")
            programs.program("apt-get", "echo called\n")
            done = subprocess.run([RUN, "setup"], env=programs.environment(), capture_output=True, text=True)
        self.assertEqual((done.returncode, done.stdout), (0, ""))


class Interrupted(unittest.TestCase):
    def test_build_ends_with_all_it_started(self):
        for number, whole_group in [(signal.SIGINT, True), (signal.SIGTERM, False), (signal.SIGHUP, False)]:
            with self.subTest(signal=number.name), Programs() as programs:
                programs.program("dpkg-query", "echo installed\n")
                programs.program("cmake", "sleep 1000 & echo building; sleep 1000\n")
                run = Marked(RUN, "build", environment=programs.environment())
                self.assertEqual(run.front.stdout.readline(), "building\n")
                (os.killpg if whole_group else os.kill)(run.front.pid, number)
                self.assertEqual(run.front.wait(DEADLINE), 128 + number)
                self.assertEqual(run.processes(), {})
                run.front.stdout.close()

    def test_temporary_files_of_tests_go(self):
        programs = Programs()
        self.addCleanup(programs.cleanup)
        programs.program("dpkg-query", "echo installed\n")
        programs.program("cmake", "")
        programs.program("ctest", 'touch "$TMPDIR/kept"; echo testing; sleep 1000\n')
        run = Marked(RUN, "test", environment=programs.environment())
        self.assertEqual(run.front.stdout.readline(), "testing\n")
        os.kill(run.front.pid, signal.SIGTERM)
        run.front.wait(DEADLINE)
        run.front.stdout.close()
        self.assertEqual(sorted(os.listdir(programs.name)), ["cmake", "ctest", "dpkg-query"])

    @unittest.skipIf(PROGRAMS is None, "the demo's programs are not built")
    def test_demo_ends_with_all_it_started(self):
        for number in [signal.SIGINT, signal.SIGTERM, signal.SIGKILL]:
            with self.subTest(signal=number.name):
                run = Marked(LAB, "2", "--", str(ROOT / "examples/demo/run"), PROGRAMS)
                while "clientChanged" not in run.front.stdout.readline():
                    self.assertIsNone(run.front.poll(), "the demo ended early")
                os.kill(run.front.pid, number)
                run.front.wait(DEADLINE)
                self.assertTrue(wait_until(lambda: not run.processes()), run.processes())
                run.front.stdout.close()


if __name__ == "__main__":
    unittest.main(verbosity=2)
