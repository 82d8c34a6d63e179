# SPDX-License-Identifier: MIT
"""What boot promises, tried on guests that come up: two at a time, since that is promised too."""
import concurrent.futures
import os
import pathlib
import signal
import subprocess
import tempfile
import time
import unittest

HERE = pathlib.Path(__file__).resolve().parent
BOOT = HERE / "boot"

# Everything that one well-behaved command can show.
FRIENDLY = r"""
import os, pathlib, sys
folder, results = pathlib.Path(sys.argv[1]), pathlib.Path(sys.argv[2])
pathlib.Path("/dev/kmsg").write_text("<1>a word of the kernel's\n")
sys.stdout.buffer.write(bytes(range(256)) * 4096)
sys.stderr.write("e" * 100000)
(folder / "of the guest").write_text("unseen")
report = [os.getcwd(), sys.argv[3], os.environ.get("HANDED_ON", "-"), os.environ.get("KEPT", "-"),
          sys.stdin.read(), os.environ["HOME"], str(os.getuid()), (folder / "of the host").read_text(),
          str(os.path.exists("/dev/uinput")), str(os.path.exists("/dev/uhid")),
          str(os.path.isdir("/sys/kernel/config/usb_gadget")), str(bool(os.listdir("/sys/class/udc"))),
          str([name for name in os.listdir("/etc/udev/rules.d") if "lightpen" in name])]
(results / "report").write_text("\n".join(report))
"""


def processes_with(*texts):
    """The numbers of all processes that have these texts among their arguments."""
    found = []
    for folder in pathlib.Path("/proc").glob("[0-9]*"):
        try:
            words = (folder / "cmdline").read_bytes()
            if all(text.encode() in words for text in texts):
                found.append(int(folder.name))
        except OSError:
            pass
    return found


def boot(*words, options=(), **more):
    return subprocess.run([BOOT, *options, *words], capture_output=True, check=False, **more)


class Guests(unittest.TestCase):
    """Each case starts its guest beforehand, in the order of the names below."""
    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.TemporaryDirectory()
        cls.pool = concurrent.futures.ThreadPoolExecutor(2)
        path = pathlib.Path(cls.folder.name)
        (path / "of the host").write_text("seen")
        (path / "results").mkdir()
        environment = {**os.environ, "HANDED_ON": "two words", "KEPT": "kept"}
        submit = cls.pool.submit
        cls.friendly = submit(boot, "python3", "-c", FRIENDLY, path, path / "results", "an 'odd' $argument",
                              options=["--results", path / "results", "--env", "HANDED_ON", "--env", "UNSET"],
                              cwd=path, env=environment, stdin=None)
        cls.status = submit(boot, "bash", "-c", "sleep 1000 & echo left; exit 77")
        cls.killed = submit(boot, "bash", "-c", "echo words; kill -KILL $$")
        cls.unknown = submit(boot, "/no/such command")
        cls.slow = submit(boot, "bash", "-c", "echo begun; sleep 1000", options=["--seconds", "15"])
        cls.panic = submit(cls.triggering, "c")
        cls.off = submit(cls.triggering, "o")
        cls.asked = submit(cls.ended_by, signal.SIGINT)
        cls.forced = submit(cls.ended_by, signal.SIGKILL)

    @classmethod
    def tearDownClass(cls):
        cls.pool.shutdown()
        cls.folder.cleanup()

    @staticmethod
    def triggering(letter):
        """Runs a command that kills its guest in this way, once its first line has arrived here."""
        with tempfile.TemporaryDirectory() as folder, tempfile.TemporaryFile() as errors:
            command = 'echo begun; until [ -e "$0" ]; do sleep 0.1; done; echo "$1" >/proc/sysrq-trigger; sleep 1000'
            seen = pathlib.Path(folder) / "seen"
            with subprocess.Popen([BOOT, "--results", folder, "bash", "-c", command, seen, letter],
                                  stdout=subprocess.PIPE, stderr=errors) as process:
                line = process.stdout.readline()
                seen.touch()
                output = line + process.stdout.read()
            errors.seek(0)
            return subprocess.CompletedProcess(process.args, process.returncode, output, errors.read())

    @classmethod
    def ended_by(cls, number):
        """Sends boot this signal while its guest comes up: whether there was one, boot's status, what is left."""
        with tempfile.TemporaryDirectory() as folder:
            process = subprocess.Popen([BOOT, "sleep", "1000"], stdout=subprocess.DEVNULL,
                                       stderr=subprocess.DEVNULL, env={**os.environ, "TMPDIR": folder})
            guests = cls.wait_for(folder, lambda found: found)
            process.send_signal(number)
            status = process.wait(60)
            return len(guests), status, cls.wait_for(folder, lambda found: not found), os.listdir(folder)

    @classmethod
    def wait_for(cls, folder, enough):
        """The guests whose files are in the folder, once they are as wanted; after a minute as they are."""
        end = time.monotonic() + 60
        while True:
            found = processes_with("qemu-system-x86_64\0", folder)
            if enough(found) or time.monotonic() > end:
                return found
            time.sleep(0.05)

    def test_output_is_whole_and_nothing_of_the_kernels_is_in_it(self):
        run = self.friendly.result()
        self.assertEqual(run.returncode, 0, run.stderr[-3000:])
        self.assertEqual(len(run.stdout), 1 << 20)
        self.assertEqual(run.stdout, bytes(range(256)) * 4096)
        self.assertEqual(run.stderr, b"e" * 100000)

    def test_the_command_has_what_it_was_given_and_no_more(self):
        self.friendly.result()
        path = pathlib.Path(self.folder.name)
        report = (path / "results" / "report").read_text().split("\n")
        self.assertEqual(report, [str(path), "an 'odd' $argument", "two words", "-", "", "/root", "0", "seen",
                                  "True", "True", "True", "True", "[]"])

    def test_what_the_guest_writes_stays_there(self):
        self.friendly.result()
        self.assertEqual(sorted(os.listdir(self.folder.name)), ["of the host", "results"])

    def test_the_status_is_handed_back_whatever_is_left_running(self):
        run = self.status.result()
        self.assertEqual((run.returncode, run.stdout, run.stderr), (77, b"left\n", b""))

    def test_the_end_by_a_signal_is_told_as_a_shell_does(self):
        run = self.killed.result()
        self.assertEqual((run.returncode, run.stdout), (128 + signal.SIGKILL, b"words\n"))

    def test_an_unknown_command_is_named(self):
        run = self.unknown.result()
        self.assertEqual((run.returncode, run.stdout), (127, b""))
        self.assertIn(b"/no/such command: No such file or directory", run.stderr)

    def test_the_limit_ends_the_command_and_says_so(self):
        run = self.slow.result()
        self.assertEqual((run.returncode, run.stdout), (124, b"begun\n"))
        self.assertIn(b"The command did not end within 15 s: bash -c", run.stderr)

    def test_a_panic_is_told_with_the_kernels_words(self):
        run = self.panic.result()
        self.assertEqual((run.returncode, run.stdout), (125, b"begun\n"))
        self.assertIn(b"The guest died before the command ended: bash -c", run.stderr)
        self.assertIn(b"Kernel panic - not syncing: sysrq triggered crash", run.stderr)

    def test_a_guest_that_goes_off_is_told(self):
        run = self.off.result()
        self.assertEqual((run.returncode, run.stdout), (125, b"begun\n"))
        self.assertIn(b"The guest died before the command ended: bash -c", run.stderr)

    def test_an_interrupt_leaves_nothing_behind(self):
        self.assertEqual(self.asked.result(), (1, 130, [], []))

    def test_an_end_by_force_leaves_nothing_running(self):
        guests, status, left, _ = self.forced.result()
        self.assertEqual((guests, status, left), (1, -signal.SIGKILL, []))


class WithoutGuest(unittest.TestCase):
    """What is refused before anything is started."""
    def test_wrong_words_are_refused_at_once(self):
        for words, text in ((["--seconds", "soon", "true"], b"--seconds needs a number, not soon."),
                            (["--seconds"], b"--seconds needs a value."),
                            (["--nonsense", "true"], b"Unknown option: --nonsense"),
                            ([], b"usage: ")):
            run = boot(*words)
            self.assertEqual((run.returncode, run.stdout), (1, b""), words)
            self.assertIn(text, run.stderr)

    def test_a_folder_must_be_there(self):
        for option in ("--results", "--desktops"):
            self.assertEqual(boot("true", options=[option, "/no/such/folder"]).returncode, 1, option)


if __name__ == "__main__":
    unittest.main()
