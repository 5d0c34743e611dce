#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""The lab itself: what it makes, that it leaves nothing behind, and what it says when it cannot be made."""

import os
import pathlib
import pwd
import shutil
import signal
import subprocess
import sys
import tempfile
import time
import unittest
import uuid

LAB = str(pathlib.Path(__file__).resolve().parent / "lab")
DEADLINE = 60


def lab(*arguments, **options):
    return subprocess.run([LAB, *arguments], stdin=subprocess.DEVNULL, capture_output=True, text=True,
                          timeout=DEADLINE, **options)


def wait_until(condition):
    deadline = time.monotonic() + DEADLINE
    while not condition():
        if time.monotonic() > deadline:
            return False
        time.sleep(0.02)
    return True


class Marked:
    """A run whose processes are known by a variable that all of them inherit."""

    def __init__(self, *command, environment=os.environ):
        self.mark = f"LAB_TEST_MARK={uuid.uuid4()}"
        name, value = self.mark.split("=")
        self.front = subprocess.Popen(command, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                                      stderr=subprocess.DEVNULL, text=True, start_new_session=True,
                                      env={**environment, name: value})

    def processes(self):
        """The names of those that live, by number."""
        found = {}
        for number in filter(str.isdecimal, os.listdir("/proc")):
            process = pathlib.Path("/proc", number)
            try:
                if self.mark in (process / "environ").read_bytes().decode(errors="replace").split("\0"):
                    found[number] = (process / "comm").read_text().strip()
            except OSError:
                pass  # ended meanwhile, or another user's
        return found


class WhatItMakes(unittest.TestCase):
    def test_status_of_the_command_is_passed_on(self):
        self.assertEqual(lab("1", "--", "sh", "-c", "exit 42").returncode, 42)

    def test_input_of_the_command_is_the_callers(self):
        done = subprocess.run([LAB, "1", "--", "cat"], input="spoken", capture_output=True, text=True,
                              timeout=DEADLINE)
        self.assertEqual(done.stdout, "spoken")

    def test_command_finds_itself_on_the_first_host_in_the_callers_directory(self):
        done = lab("2", "--", "sh", "-c", "hostname; echo $LAB_HOST; pwd", cwd="/usr")
        self.assertEqual(done.stdout.split(), ["hosta", "hosta", "/usr"])

    def test_other_hosts_are_reached_by_name_and_by_number(self):
        done = lab("2", "--", "sh", "-c", "lab-on hostb hostname; lab-on 2 hostname; lab-on hostb lab-on hosta hostname")
        self.assertEqual(done.stdout.split(), ["hostb", "hostb", "hosta"])

    def test_unknown_host_is_refused_with_the_ones_there_are(self):
        done = lab("2", "--", "lab-on", "hostc", "true")
        self.assertEqual(done.returncode, 2)
        self.assertIn("there is no host 'hostc'; this lab has 2 host(s)", done.stderr)

    def test_interfaces_have_names_indexes_and_addresses_of_their_own(self):
        done = lab("--links", "2", "--ula", "2", "--", "lab-on", "hostb", "ip", "-oneline", "address")
        seen = {tuple(line.replace(":", " ", 1).split()[:4]) for line in done.stdout.splitlines()}
        for expected in [("21", "lan1", "inet", "10.99.1.2/24"), ("22", "lan2", "inet", "10.99.2.2/24"),
                         ("21", "lan1", "inet6", "fd99:1::2/64"), ("22", "lan2", "inet6", "fd99:2::2/64"),
                         ("21", "lan1", "inet6", "fe80::99:ff:fe00:201/64")]:
            self.assertIn(expected, seen)

    def test_one_family_alone_leaves_the_other_out(self):
        only4 = lab("--families", "4", "1", "--", "ip", "-oneline", "address").stdout
        only6 = lab("--families", "6", "1", "--", "ip", "-oneline", "address").stdout
        self.assertNotIn("inet6", only4)
        self.assertIn("10.99.1.1", only4)
        self.assertNotIn("10.99", only6)
        self.assertIn("fe80", only6)

    def test_no_way_leads_out(self):
        done = lab("1", "--", "sh", "-c",
                   "ip -oneline link; nsenter -t 1 -n ip -oneline link; ip route show default; ip -6 route show default")
        names = {line.split()[1].split("@")[0].rstrip(":") for line in done.stdout.splitlines()}
        self.assertEqual(names, {"lo", "lan1", "switch1", "plug1-1"})

    def test_services_of_one_host_are_seen_on_the_other(self):
        done = lab("2", "--", "bash", "-c", """
            lab-on hostb avahi-publish -s 'Far Away' _demo._tcp 80 >/dev/null 2>&1 &
            timeout 50 sh -c 'until avahi-browse -pt _demo._tcp | grep Far; do :; done'""")
        self.assertIn("+;lan1;", done.stdout)

    def test_daemon_takes_further_configuration(self):
        done = lab("--avahi", "server.host-name=other", "1", "--", "dbus-send", "--system", "--print-reply",
                   "--dest=org.freedesktop.Avahi", "/", "org.freedesktop.Avahi.Server.GetHostName")
        self.assertIn('"other"', done.stdout)


class WhatItsHelpersDo(unittest.TestCase):
    def test_daemon_is_stopped_continued_killed_and_started(self):
        done = lab("2", "--", "bash", "-euc", """
            state() { ps -o stat= -p "$(lab-daemon hostb pid)" | cut -c1 | tr RD SS || true; } # it may just compute
            state; lab-daemon hostb stop; state; lab-daemon hostb cont; state
            lab-daemon hostb kill; echo "gone:$(state)"; lab-daemon hostb kill; lab-daemon hostb start; state
            lab-daemon hostb restart; state""")
        self.assertEqual(done.stdout.split(), ["S", "T", "S", "gone:", "S", "S"], done.stderr)

    def test_bus_is_killed_and_started(self):
        done = lab("1", "--", "bash", "-uc", """
            ask() { dbus-send --system --print-reply --dest=org.freedesktop.DBus / org.freedesktop.DBus.GetId; }
            ask >/dev/null 2>&1; echo $?; lab-bus 1 kill; ask >/dev/null 2>&1; echo $?
            lab-bus 1 start; ask >/dev/null 2>&1; echo $?; lab-daemon 1 start; echo $?""")
        self.assertEqual(done.stdout.split(), ["0", "1", "0", "0"], done.stderr)

    def test_bus_lets_one_user_have_as_many_connections_as_debians(self):
        done = lab("1", "--", "python3", "-c", """if True:
            import os, socket, struct
            def field(code, kind, text):
                value = bytes([code, 1, ord(kind), 0]) + struct.pack("<I", len(text)) + text.encode() + bytes(1)
                return value.ljust((len(value) + 7) // 8 * 8, bytes(1))
            fields = (field(1, "o", "/org/freedesktop/DBus") + field(6, "s", "org.freedesktop.DBus")
                      + field(2, "s", "org.freedesktop.DBus") + field(3, "s", "Hello"))
            hello = b"l" + bytes([1, 0, 1]) + struct.pack("<III", 0, 1, len(fields) - 2) + fields
            kept = []
            for count in range(400):
                peer = socket.socket(socket.AF_UNIX)
                peer.connect(os.environ["DBUS_SYSTEM_BUS_ADDRESS"].split("=")[1])
                peer.sendall(bytes(1) + b"AUTH EXTERNAL 30" + bytes([13, 10]))
                peer.recv(100)
                peer.sendall(b"BEGIN" + bytes([13, 10]) + hello)
                if b"LimitsExceeded" in peer.recv(1000):
                    break
                kept.append(peer)
            print(len(kept) + 1)  # the mDNS daemon has one
            """)
        self.assertEqual(done.stdout.strip(), "256", done.stderr)

    def test_detached_link_splits_the_network_and_attached_merges_it(self):
        done = lab("--families", "4", "2", "--", "bash", "-c", """
            reach() { timeout 5 bash -c 'exec 3<>/dev/tcp/10.99.1.2/9' 2>&1 | grep -m1 -o -e refused -e 'No route'; }
            reach; lab-link hostb 1 detach; ip neigh flush all; reach; lab-link hostb 1 attach; ip neigh flush all; reach""")
        self.assertEqual(done.stdout.splitlines(), ["refused", "No route", "refused"], done.stderr)

    def test_link_keeps_its_addresses_over_down_and_up(self):
        done = lab("1", "--", "sh", "-c", """
            addresses() { ip -oneline address show lan1 | cut -d/ -f1; }
            addresses; echo; lab-link 1 1 down; lab-link 1 1 up; addresses""")
        before, after = done.stdout.split("\n\n")
        self.assertEqual(before.splitlines(), after.splitlines())
        self.assertEqual(len(before.splitlines()), 2)


class WhatItLeavesBehind(unittest.TestCase):
    def interrupt(self, number, whole_group=False, when=""):
        run = Marked(LAB, "2", "--", "sh", "-c", "echo up; exec sleep 1000")
        if when:
            self.assertTrue(wait_until(lambda: when in run.processes().values()))
        else:
            self.assertEqual(run.front.stdout.readline(), "up\n")
        (os.killpg if whole_group else os.kill)(run.front.pid, number)
        status = run.front.wait(DEADLINE)
        left = run.processes()
        if number != signal.SIGKILL:
            self.assertEqual((status, left), (128 + number, {}))  # all are gone when the front returns
        self.assertTrue(wait_until(lambda: not run.processes()), run.processes())
        run.front.stdout.close()

    def test_no_process_after_the_command_ended(self):
        run = Marked(LAB, "2", "--", "sh", "-c", "setsid sleep 1000 & lab-on hostb setsid sleep 1000 & exit 0")
        self.assertEqual(run.front.wait(DEADLINE), 0)
        self.assertEqual(run.processes(), {})
        run.front.stdout.close()

    def test_no_process_after_ctrl_c(self):
        self.interrupt(signal.SIGINT, whole_group=True)

    def test_no_process_after_sigterm(self):
        self.interrupt(signal.SIGTERM)

    def test_no_process_after_sighup(self):
        self.interrupt(signal.SIGHUP)

    def test_no_process_after_sigkill(self):
        self.interrupt(signal.SIGKILL)

    def test_no_process_when_interrupted_while_the_hosts_come_up(self):
        for stage in ["unshare", "sleep", "dbus-daemon", "avahi-daemon"]:
            for number in [signal.SIGINT, signal.SIGTERM, signal.SIGKILL]:
                with self.subTest(stage=stage, signal=number.name):
                    self.interrupt(number, when=stage)

    def test_no_file_and_no_mount(self):
        """All places for temporary files are empty ones, in namespaces that only this test sees."""
        places = [place for place in ["/run", "/tmp", "/var/tmp", "/dev/shm"] if not LAB.startswith(place + "/")]
        user = [] if os.getuid() == 0 else ["--map-root-user"]
        with tempfile.TemporaryDirectory() as home:
            script = f"""
                for place in {' '.join(places)}; do mount --no-mtab -t tmpfs none $place; done
                before=$(wc -l </proc/self/mounts)
                '{LAB}' 2 -- sh -c 'echo > "$TMPDIR/kept"; exit 7'
                echo "status $?"
                timeout --signal=KILL 3 '{LAB}' 2 -- sleep 1000
                echo "mounts $(($(wc -l </proc/self/mounts) - before))"
                find {' '.join(places)} '{home}' -mindepth 1"""
            done = subprocess.run(["unshare", *user, "--mount", "bash", "-c", script], capture_output=True, text=True,
                                  timeout=DEADLINE, cwd=home, env={**os.environ, "HOME": home, "TMPDIR": home})
        self.assertEqual(done.stdout.splitlines(), ["status 7", "mounts 0"], done.stderr)

    def test_no_network_namespace_is_named(self):
        before = subprocess.run(["ip", "netns"], capture_output=True, text=True).stdout
        lab("2", "--", "true")
        self.assertEqual(subprocess.run(["ip", "netns"], capture_output=True, text=True).stdout, before)


class WhoMayMakeIt(unittest.TestCase):
    def test_ordinary_user(self):
        if os.getuid() != 0:
            self.skipTest("everything here already runs as an ordinary user")
        nobody = pwd.getpwnam("nobody")
        become = ["setpriv", f"--reuid={nobody.pw_uid}", f"--regid={nobody.pw_gid}", "--clear-groups"]
        if subprocess.run([*become, "test", "-x", LAB]).returncode != 0:
            self.skipTest("an ordinary user may not read this tree")
        if subprocess.run([*become, "unshare", "--map-root-user", "true"]).returncode != 0:
            self.skipTest("this system lets no ordinary user make namespaces")
        done = subprocess.run([*become, LAB, "2", "--", "bash", "-c", """
            lab-on hostb avahi-publish -s 'Far Away' _demo._tcp 80 >/dev/null 2>&1 &
            timeout 50 sh -c 'until avahi-browse -pt _demo._tcp | grep Far; do :; done'"""],
            capture_output=True, text=True, timeout=DEADLINE, env={**os.environ, "HOME": "/nonexistent"})
        self.assertIn("+;lan1;", done.stdout, done.stderr)

    def run_with(self, programs, without=(), ci=None):
        """Runs the lab with other programs put before, and some taken from, those on the PATH."""
        with tempfile.TemporaryDirectory() as directory:
            path = directory + ":" + os.environ["PATH"]
            for name, text in programs.items():
                program = pathlib.Path(directory, name)
                program.write_text(text)
                program.chmod(0o755)
            if without:
                for name in ["bash", "readlink", "dirname", "id", "unshare", "nsenter", "setpriv", "ip", "dbus-daemon",
                             "dbus-send", "avahi-daemon", "true"]:
                    if name not in without:
                        os.symlink(shutil.which(name, path="/usr/sbin:/usr/bin:/sbin:/bin"), f"{directory}/{name}")
                path = directory
            environment = {**os.environ, "PATH": path}
            environment.pop("CI", None)
            if ci:
                environment["CI"] = ci
            return lab("1", "--", "true", env=environment)

    def test_refusal_by_the_kernel_is_one_sentence_with_the_remedy(self):
        refusing = {"unshare": "#!/bin/sh\nexit 1\n"}
        done = self.run_with(refusing)
        self.assertEqual(done.returncode, 77)
        self.assertIn("run it as root, or allow user namespaces", done.stderr)
        self.assertEqual(len(done.stderr.splitlines()), 1)
        self.assertEqual(self.run_with(refusing, ci="true").returncode, 1)

    def test_missing_program_is_named(self):
        done = self.run_with({}, without=["avahi-daemon"])
        self.assertEqual(done.returncode, 77)
        self.assertEqual(done.stderr, "lab: avahi-daemon is missing; './run setup' installs it.\n")

    def test_wrong_arguments_are_explained(self):
        for arguments, words in [(["0", "--", "true"], "must be 1 to 26"), (["2"], "a command is missing"),
                                 (["--families", "5", "1", "--", "true"], "must be 4, 6 or 46"),
                                 (["--links"], "needs a value"), (["--nonsense"], "unknown option")]:
            with self.subTest(arguments=arguments):
                done = lab(*arguments)
                self.assertEqual(done.returncode, 2)
                self.assertIn(words, done.stderr)

    def test_daemon_that_does_not_start_is_a_failure_with_its_words(self):
        done = lab("--avahi", "server.nonsense=1", "1", "--", "true")
        self.assertNotIn(done.returncode, [0, 77])
        self.assertIn('Invalid configuration key "nonsense"', done.stderr)


if __name__ == "__main__":
    probe = lab("1", "--", "true")
    if probe.returncode != 0:
        print(probe.stderr, end="")
        sys.exit(probe.returncode)
    unittest.main(verbosity=2)
