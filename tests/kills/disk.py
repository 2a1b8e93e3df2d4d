"""A disk that keeps what was synced and nothing else, made from the system calls that strace has recorded.

The contents of a file are durable once the file was synced, a name once its folder was. At a power failure the rest
is gone, or there by any part: see the ways of losing at the end."""

import re
from pathlib import Path

# What records that, as a child of the recorded program, which is then the caller's own.
STRACE = ("strace", "-D", "-f", "-xx", "-s", "100000000", "-e",
          "trace=openat,open,creat,close,write,pwrite64,writev,pwritev,lseek,ftruncate,truncate,fallocate,fsync,"
          "fdatasync,sync_file_range,copy_file_range,sendfile,rename,renameat,renameat2,link,linkat,symlink,symlinkat,"
          "unlink,unlinkat,rmdir,mkdir,mkdirat,sendto")
SECTOR = 512

_WHOLE = re.compile(r"^(\d+) +(\w+)\((.*)\) += (-?\d+)")
_BEGUN = re.compile(r"^(\d+) +(\w+)\((.*) <unfinished \.\.\.>$")
_ENDED = re.compile(r"^(\d+) +<\.\.\. (\w+) resumed>(.*)\) += (-?\d+)")
_TEXT = re.compile(r'"((?:\\x[0-9a-f]{2})*)"')


class Call:
    """A system call that succeeded."""

    def __init__(self, name, arguments, result):
        self.name, self.result = name, int(result)
        self.texts = [bytes.fromhex(text.replace("\\x", "")) for text in _TEXT.findall(arguments)]
        self.arguments = _TEXT.sub("", arguments).split(", ")

    def number(self, index):
        return int(self.arguments[index].split("=")[-1], 0)

    def path(self, index):
        return Path(self.texts[index].decode())


def calls(trace):
    """The calls of a recording that succeeded, in the order of their ends."""
    begun = {}
    for line in trace.read_text().splitlines():
        if found := _BEGUN.match(line):
            begun[found[1], found[2]] = found[3]
            if found[2] == "close":  # before it ends the number may be another thread's
                yield Call(found[2], found[3], "0")
        elif found := _ENDED.match(line):
            if int(found[4]) >= 0 and found[2] != "close":
                yield Call(found[2], begun[found[1], found[2]] + found[3], found[4])
        elif (found := _WHOLE.match(line)) and int(found[4]) >= 0:
            yield Call(found[2], found[3], found[4])


class File:
    def __init__(self, data=b""):
        self.data = self.durable = data
        self.pending = []

    def change(self, change):
        self.pending.append(change)
        self.data = changed(self.data, [change])

    def sync(self):
        self.durable, self.pending = self.data, []


def changed(data, changes):
    """A change is a length to which a file is cut or extended, or an offset with what is written there."""
    data = bytearray(data)
    for change in changes:
        if isinstance(change, int):
            data[change:] = bytes(max(change - len(data), 0))
        else:
            offset, written = change
            data.extend(bytes(max(offset - len(data), 0)))
            data[offset:offset + len(written)] = written
    return bytes(data)


class Folder:
    def __init__(self):
        self.names, self.durable, self.pending = {}, {}, []

    def change(self, names):
        self.pending.append(names)
        name_all(self.names, names)

    def sync(self):
        self.durable, self.pending = dict(self.names), []


class Link:
    def __init__(self, text):
        self.text = text


class Disk:
    """The folder `root`, which is durable as it is now, under what processes do to it."""

    def __init__(self, root):
        self.root, self._files = root, {}
        self.top = _load(root)

    def new_process(self):
        self._files = {}

    def put(self, path, data):
        """A file that another program has brought to the disk whole."""
        folder, name = self._place(path)
        folder.names[name] = folder.durable[name] = File(data)

    def run(self, call):
        """Whether it can make a difference to what a power failure leaves."""
        return bool(getattr(self, "_" + re.sub("at2?$|64$", "", call.name))(call))

    def _place(self, path):
        """The folder of a path and its name there, nothing for one that is not of this disk. The index of a
        database's log is memory that is shared, and made anew after a failure."""
        if self.root not in path.parents or path.name.endswith("-shm"):
            return None, None
        folder = self.top
        for name in path.relative_to(self.root).parts[:-1]:
            folder = folder.names[name]
        return folder, path.name

    def _node(self, path):
        if path == self.root:
            return self.top
        folder, name = self._place(path)
        return folder and folder.names.get(name)

    def _open(self, call):
        path, flags = call.path(0), " ".join(call.arguments)
        node = self._node(path)
        made = node is None and "O_CREAT" in flags and self._place(path)[0] is not None
        if made:
            node = File()
            self._rename_all((path, node))
        self._files[call.result] = [node, 0, "O_APPEND" in flags]
        if node and "O_TRUNC" in flags:
            node.change(0)
        return made or "O_TRUNC" in flags

    def _close(self, call):
        self._files.pop(call.number(0), None)

    def _of(self, call):
        return self._files.get(call.number(0)) or [None, 0, False]

    def _write(self, call):
        node, position, appending = place = self._of(call)
        if not isinstance(node, File):
            return False
        position = len(node.data) if appending else position
        node.change((position, b"".join(call.texts)[:call.result]))
        place[1] = position + call.result
        return True

    _writev = _write

    def _pwrite(self, call):
        node = self._of(call)[0]
        if not isinstance(node, File):
            return False
        node.change((call.number(-1), call.texts[0][:call.result]))
        return True

    def _lseek(self, call):
        self._of(call)[1] = call.result

    def _ftruncate(self, call):
        node = self._of(call)[0]
        if not isinstance(node, File):
            return False
        node.change(call.number(1))
        return True

    def _fsync(self, call):
        node = self._of(call)[0]
        if node:
            node.sync()
        return node is not None

    _fdatasync = _fsync

    def _rename_all(self, *changes):
        """Names that come and go at once where they are in one folder."""
        by_folder = {}
        for path, node in changes:
            folder, name = self._place(path)
            if folder:
                by_folder.setdefault(id(folder), (folder, {}))[1][name] = node
        for folder, names in by_folder.values():
            folder.change(names)
        return bool(by_folder)

    def _rename(self, call):
        node = self._node(call.path(0))
        return self._rename_all((call.path(0), None), (call.path(1), node))

    def _link(self, call):
        return self._rename_all((call.path(1), self._node(call.path(0))))

    def _symlink(self, call):
        return self._rename_all((call.path(1), Link(call.texts[0].decode())))

    def _unlink(self, call):
        return self._rename_all((call.path(0), None))

    _rmdir = _unlink

    def _mkdir(self, call):
        return self._rename_all((call.path(0), Folder()))

    def _unexpected(self, call):
        raise NotImplementedError(call.name)

    def _sendto(self, _call):
        return False

    _creat = _fallocate = _truncate = _copy_file_range = _sendfile = _sync_file_range = _pwritev = _unexpected


def name_all(names, change):
    for name, node in change.items():
        if node is None:
            names.pop(name, None)
        else:
            names[name] = node


def _load(path):
    if path.is_symlink():
        return Link(str(path.readlink()))
    if not path.is_dir():
        return File(path.read_bytes())
    folder = Folder()
    folder.names = {each.name: _load(each) for each in path.iterdir() if not each.name.endswith("-shm")}
    folder.durable = dict(folder.names)
    return folder


class Strict:
    """All that was not synced is gone."""

    def names(self, folder):
        return folder.durable

    def contents(self, file):
        return file.durable


class NamesKept(Strict):
    """The names are there, what stands in the files is gone."""

    def names(self, folder):
        return folder.names


class ContentsKept(Strict):
    """The other way round."""

    def contents(self, file):
        return file.data


class Torn:
    """By chance each change of a name is there or not, and each of a file whole, in some of its sectors, or not."""

    def __init__(self, chance):
        self._chance = chance

    def names(self, folder):
        names = dict(folder.durable)
        for change in folder.pending:
            if self._chance.random() < 0.5:
                name_all(names, change)
        return names

    def contents(self, file):
        return changed(file.durable, [part for change in file.pending for part in self._parts(change)])

    def _parts(self, change):
        fate = self._chance.choice(("whole", "torn", "gone"))
        if isinstance(change, int) or fate != "torn":
            return [change] if fate == "whole" else []
        offset, written = change
        return [(offset + at, written[at:at + SECTOR]) for at in range(0, len(written), SECTOR)
                if self._chance.random() < 0.5]


def left(top, loss):
    """What a power failure leaves, as a value: a folder's names, a file's bytes, a link's text; for a further name of a
    file the number of the file, in the order of their first names."""
    files = {}

    def value(node):
        if isinstance(node, Link):
            return node.text
        if isinstance(node, File):
            if id(node) in files:
                return files[id(node)]
            files[id(node)] = len(files)
            return loss.contents(node)
        return tuple((name, value(each)) for name, each in sorted(loss.names(node).items()))

    return value(top)


def lay(tree, path, files=None):
    """Writes what is left as a folder."""
    files = [] if files is None else files
    if isinstance(tree, str):
        path.symlink_to(tree)
    elif isinstance(tree, bytes):
        path.write_bytes(tree)
        files.append(path)
    elif isinstance(tree, int):
        path.hardlink_to(files[tree])
    else:
        path.mkdir()
        for name, each in tree:
            lay(each, path / name, files)
