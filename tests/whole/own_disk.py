"""A small disk of a folder's own, which can be full or read-only."""

import os
import subprocess
import tempfile

MEGABYTE = 2 ** 20


def _mount(*arguments):
    return subprocess.run(["mount", *arguments], capture_output=True, text=True)


def possible():
    """Whether this process may mount a disk; tests/whole/own_mounts lets it."""
    with tempfile.TemporaryDirectory() as folder:
        return _mount("-t", "tmpfs", "none", folder).returncode == 0 and subprocess.run(["umount", folder])


class SmallDisk:

    def __init__(self, folder, megabytes=2):
        self.folder = folder
        folder.mkdir(parents=True, exist_ok=True)
        self._check(_mount("-t", "tmpfs", "-o", f"size={megabytes}m,mode=700", "none", str(folder)))

    def fill(self):
        """Leaves no room for a single byte."""
        with open(self.folder / "filler", "wb", buffering=0) as filler:
            try:
                while filler.write(bytes(4096)):
                    pass
            except OSError:
                return

    def make_room(self):
        (self.folder / "filler").unlink(missing_ok=True)

    def make_read_only(self):
        """For whoever opens a file from now on."""
        self._check(_mount("--bind", str(self.folder), str(self.folder)))
        self._check(_mount("-o", "remount,bind,ro", str(self.folder)))

    def make_writable(self):
        self._unmount()

    def remove(self):
        while os.path.ismount(self.folder):
            self._unmount()

    def _unmount(self):
        subprocess.run(["umount", "--lazy", str(self.folder)], check=True)

    @staticmethod
    def _check(mounted):
        if mounted.returncode != 0:
            raise OSError(mounted.stderr)
