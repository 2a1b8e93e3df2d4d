"""DICOM objects as a modality and the report editor make them, and the way of one to the storage service."""

import collections
import itertools
import socket
import struct
from dataclasses import dataclass

CT = "1.2.840.10008.5.1.4.1.1.2"
BASIC_TEXT_SR = "1.2.840.10008.5.1.4.1.1.88.11"
EXPLICIT_LITTLE_ENDIAN = "1.2.840.10008.1.2.1"
SERVICE, EDITOR = "PORVANE", "AE_INTERNAL"
STORED = 0

_numbers = itertools.count(1)


def new_uid():
    return f"2.999.99.{next(_numbers)}"


def _even(text, pad):
    value = text.encode()
    return value + pad * (len(value) % 2)


def _element(group, element, vr, value):
    if vr == "OW":
        return struct.pack("<HH2sHI", group, element, b"OW", 0, len(value)) + value
    value = _even(value, b"\0" if vr == "UI" else b" ") if isinstance(value, str) else value
    return struct.pack("<HH2sH", group, element, vr.encode(), len(value)) + value


@dataclass(frozen=True)
class Object:
    """`data` is its data set, with the pixels or with nothing that would be a report's content."""
    sop_class: str
    uid: str
    series: str
    data: bytes

    def is_report(self):
        return self.sop_class == BASIC_TEXT_SR

    def file(self):
        """Its bytes as the editor keeps a version."""
        meta = (_element(0x0002, 0x0001, "OW", b"\0\1").replace(b"OW", b"OB", 1) +
                _element(0x0002, 0x0002, "UI", self.sop_class) + _element(0x0002, 0x0003, "UI", self.uid) +
                _element(0x0002, 0x0010, "UI", EXPLICIT_LITTLE_ENDIAN) + _element(0x0002, 0x0012, "UI", "2.999.1"))
        return bytes(128) + b"DICM" + _element(0x0002, 0x0000, "UL", struct.pack("<I", len(meta))) + meta + self.data


def _sequence(group, element, items):
    value = b"".join(struct.pack("<HHI", 0xFFFE, 0xE000, len(each)) + each for each in items)
    return struct.pack("<HH2sHI", group, element, b"SQ", 0, len(value)) + value


def _predecessors(series, uids):
    documents = _sequence(0x0008, 0x1199, [_element(0x0008, 0x1155, "UI", uid) for uid in uids])
    return _sequence(0x0040, 0xA360, [_sequence(0x0008, 0x1115, [documents + _element(0x0020, 0x000E, "UI", series)])])


_versions = collections.defaultdict(list)


def make_object(study, series, report=False, pixels=0):
    """A report's version follows those that were made before, as the editor writes it."""
    uid, sop_class = new_uid(), BASIC_TEXT_SR if report else CT
    number = uid.rsplit(".", 1)[1]
    data = (_element(0x0008, 0x0016, "UI", sop_class) + _element(0x0008, 0x0018, "UI", uid) +
            _element(0x0008, 0x0023, "DA", "20261122") + _element(0x0008, 0x0033, "TM", "100000") +
            _element(0x0008, 0x0060, "CS", "SR" if report else "CT") +
            _element(0x0010, 0x0010, "PN", "KILLED^BY CHANCE") + _element(0x0010, 0x0020, "LO", "P" + study[-12:]) +
            _element(0x0020, 0x000D, "UI", study) + _element(0x0020, 0x000E, "UI", series) +
            _element(0x0020, 0x0013, "IS", number))
    if report:
        data += _predecessors(series, _versions[series])
        _versions[series].append(uid)
    else:
        data += _element(0x7FE0, 0x0010, "OW", (number.encode() * (pixels + 2))[:2 * (pixels + 1)])
    return Object(sop_class, uid, series, data)


def data_set(file):
    """The data set of a file's bytes; None when it is none."""
    if file[128:132] != b"DICM" or len(file) < 144:
        return None
    return file[144 + struct.unpack("<I", file[140:144])[0]:]


def _item(kind, value):
    return struct.pack(">BBH", kind, 0, len(value)) + value


class Association:
    """An association with the service, on which objects are sent one after the other."""

    def __init__(self, port, caller):
        self._wire = socket.create_connection(("127.0.0.1", port), timeout=30)
        self._wire.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
        contexts = b"".join(
            _item(0x20, bytes([number, 0, 0, 0]) + _item(0x30, sop_class.encode()) +
                  _item(0x40, EXPLICIT_LITTLE_ENDIAN.encode()))
            for number, sop_class in ((1, CT), (3, BASIC_TEXT_SR)))
        user = _item(0x50, _item(0x51, struct.pack(">I", 65536)) + _item(0x52, b"2.999.1"))
        self._send(1, struct.pack(">HH16s16s32x", 1, 0, f"{SERVICE:16}".encode(), f"{caller:16}".encode()) +
                   _item(0x10, b"1.2.840.10008.3.1.1.1") + contexts + user)
        if self._receive()[0] != 2:
            raise ConnectionError("the service takes no association")

    def store(self, item):
        """The status that the service answers. A service that is killed meanwhile is a ConnectionError."""
        command = b"".join(
            struct.pack("<HHI", 0, element, len(value)) + value
            for element, value in ((0x0002, _even(item.sop_class, b"\0")), (0x0100, b"\1\0"), (0x0110, b"\1\0"),
                                   (0x0700, b"\0\0"), (0x0800, b"\0\0"), (0x1000, _even(item.uid, b"\0"))))
        command = struct.pack("<HHII", 0, 0, 4, len(command)) + command
        context = 3 if item.is_report() else 1
        self._data(context, 3, command)
        pieces = [item.data[at:at + 32768] for at in range(0, len(item.data), 32768)]
        for piece in pieces[:-1]:
            self._data(context, 0, piece)
        self._data(context, 2, pieces[-1])
        kind, answer = self._receive()
        if kind != 4:
            raise ConnectionError("the service ended the association")
        return struct.unpack("<H", _command(answer[6:])[0x0900])[0]

    def close(self):
        self._wire.close()

    def _data(self, context, control, value):
        self._send(4, struct.pack(">IBB", len(value) + 2, context, control) + value)

    def _send(self, kind, value):
        self._wire.sendall(struct.pack(">BBI", kind, 0, len(value)) + value)

    def _receive(self):
        kind, length = struct.unpack(">BxI", self._read(6))
        return kind, self._read(length)

    def _read(self, length):
        read = b""
        while len(read) < length:
            piece = self._wire.recv(length - len(read))
            if not piece:
                raise ConnectionError("the service is gone")
            read += piece
        return read


def _command(data):
    """The values of a command set by their elements."""
    values, at = {}, 0
    while at + 8 <= len(data):
        _, element, length = struct.unpack_from("<HHI", data, at)
        values[element] = data[at + 8:at + 8 + length]
        at += 8 + length
    return values


def stored_uid(sent):
    """The object that the service answers as stored in what it sends, if any."""
    values = _command(sent[12:]) if sent[:1] == b"\4" else {}
    return frozenset([values[0x1000].rstrip(b"\0").decode()] if values.get(0x0900) == b"\0\0" else [])
