"""What the shells offer behind a line that a person has begun, each in a terminal of its own."""

import os
import pty
import select
import sys
import time
import unittest
from pathlib import Path

BUILD = Path(os.environ["BUILD"])
SECONDS = 20


class Terminal:
    """A shell at its prompt, with the completions of the build."""

    def __init__(self, *command):
        self.said = ""
        self.pid, self.terminal = pty.fork()
        if self.pid == 0:
            os.environ.update(TERM="dumb", LC_ALL="C.UTF-8", COLUMNS="400", LINES="200")
            os.execvp(command[0], command)

    def type(self, text):
        os.write(self.terminal, text.encode())

    def wait(self, *words):
        end = time.monotonic() + SECONDS
        while not all(word in self.said for word in words) and time.monotonic() < end:
            if select.select([self.terminal], [], [], 0.1)[0]:
                self.said += os.read(self.terminal, 65536).decode(errors="replace")
        missing = [word for word in words if word not in self.said]
        assert not missing, f"the shell does not offer {missing}: {self.said}"

    def close(self):
        os.close(self.terminal)
        os.waitpid(self.pid, 0)


class Bash:
    LIST = "\x1b?"

    @staticmethod
    def start():
        shell = Terminal("bash", "--norc", "--noprofile", "-i")
        # A terminal in which nothing is asked and no page is turned.
        shell.type("bind 'set page-completions off'; bind 'set completion-query-items 0'; stty cols 400\n")
        for program in ("orbenta-catalogue", "porvane"):
            shell.type(f". {BUILD}/packaging/{program}.bash\n")
        return shell


class Zsh:
    LIST = "\t"

    @staticmethod
    def start():
        shell = Terminal("zsh", "-f", "-i")
        shell.type(f"stty cols 400; LISTMAX=0; fpath=({BUILD}/packaging $fpath); autoload -U compinit; compinit -u -D\n")
        return shell


SHELL = {"bash": Bash, "zsh": Zsh}[os.environ["COMPLETING"]]


class Completion(unittest.TestCase):
    def expect(self, line, *offers):
        shell = SHELL.start()
        self.addCleanup(shell.close)
        shell.type("echo re''ady\n")
        shell.wait("ready")
        shell.said = ""
        shell.type(line + SHELL.LIST)
        shell.wait(*offers)

    def test_offers_every_command(self):
        self.expect("orbenta-catalogue ", "odbc", "init", "site", "user", "port", "codes", "import", "check")

    def test_offers_the_options_of_a_command_and_those_of_all(self):
        self.expect("orbenta-catalogue check --", "--mend", "--unsent", "--dsn")

    def test_offers_the_values_of_a_choice(self):
        self.expect("orbenta-catalogue codes import --table ", "bodyparts", "diagnoses", "findings", "titles")

    def test_offers_the_folders_for_a_folder(self):
        self.expect("porvane --studies /usr/", "share", "bin")

    def test_offers_the_options_of_the_service(self):
        self.expect("porvane --", "--studies", "--unsent", "--dsn", "--largest-object")


if __name__ == "__main__":
    unittest.main(argv=[sys.argv[0], "-v"])
