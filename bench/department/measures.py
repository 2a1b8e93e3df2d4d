"""What a department's work costs, and whether each desk's reports lie where it was told that they do."""

import collections
import dataclasses
import itertools
import os
import pathlib
import statistics
import threading
import time
import warnings

import pydicom

from department import STUDIES, bytes_on_network, signature

warnings.filterwarnings("ignore", "Invalid value for VR UI")  # of the classic form's UIDs, which have leading zeros

TICKS = os.sysconf("SC_CLK_TCK")
EVERY = 0.5  # seconds between two looks
SAVES = ("save", "approve")


# What it costs

def programs_below(root):
    """The processes that come from that one: their number to program and processor time, in seconds."""
    parents, found = {}, {}
    for folder in pathlib.Path("/proc").iterdir():
        if not folder.name.isdigit():
            continue
        try:
            line = (folder / "stat").read_text()
        except OSError:
            continue  # it has ended
        program = line[line.index("(") + 1:line.rindex(")")]
        fields = line[line.rindex(")") + 2:].split()
        parents[int(folder.name)] = int(fields[1])
        # Of this server its children's that have ended as well: it makes a process for each connection.
        spent = fields[11:15] if program == "postgres" else fields[11:13]
        found[int(folder.name)] = (program, sum(map(int, spent)) / TICKS)

    def comes_from_root(process):
        while process not in (root, 0):
            process = parents.get(process, 0)
        return process == root

    return {process: what for process, what in found.items() if comes_from_root(process)}


def disk_counters(folder):
    device = os.stat(folder).st_dev
    block = pathlib.Path(f"/sys/dev/block/{os.major(device)}:{os.minor(device)}/stat")
    if not block.exists():
        return {}
    fields = [int(field) for field in block.read_text().split()]
    return {"syncs of the disk": fields[15], "bytes to the disk": fields[6] * 512}


class Meter:
    """Looks at processes, disk, network and database while a block runs."""

    def __init__(self, department):
        self._department = department
        self._root = int(os.environ.get("DEPARTMENT_ROOT", os.getpid()))
        self._ended = threading.Event()
        self._sampler = threading.Thread(target=self._sample, daemon=True)
        self.processor = collections.Counter()  # program to seconds
        self.waits = collections.Counter()
        self.looks = 0

    def __enter__(self):
        self._before, self._spent = self._counters(), programs_below(self._root)
        self.begin = time.monotonic()
        self._sampler.start()
        return self

    def __exit__(self, *failure):
        self.seconds = time.monotonic() - self.begin
        self._ended.set()
        self._sampler.join()
        self._add_processor()
        after = self._counters()
        self.counters = {what: after[what] - before for what, before in self._before.items()}

    def _counters(self):
        return {**self._department.server.counters(), **disk_counters(self._department.folder),
                "bytes on the network": bytes_on_network()}

    def _add_processor(self):
        now = programs_below(self._root)
        for process, (program, spent) in now.items():
            self.processor[program] += max(0, spent - self._spent.get(process, (program, 0))[1])
        self._spent = now

    def _sample(self):
        while not self._ended.wait(EVERY):
            self._add_processor()
            self.waits.update(self._department.server.waits())
            self.looks += 1


# What was done

@dataclasses.dataclass
class Action:
    desk: int
    when: float
    what: str
    milliseconds: float
    late: float
    wrong: str  # what was told in messages, or is not right on the screen
    band: str
    version: str = ""
    series: str = ""
    study: str = ""
    reading: str = ""

    def told_stored(self):
        return self.what in SAVES and self.band.startswith(("Saved at ", "Approved")) and not self.told_kept()

    def told_kept(self):
        return self.what in SAVES and "waiting for the storage service" in self.band


def actions_of(desk):
    made = []
    for line in (desk.folder / "actions").read_text().splitlines():
        when, what, milliseconds, late, *rest = line.split("\t")
        made.append(Action(desk.number, float(when), what, float(milliseconds), float(late), *rest))
    return made


def texts_of(dataset):
    for item in dataset.get("ContentSequence", ()):
        if "TextValue" in item:
            yield item.TextValue.rstrip()
        yield from texts_of(item)


class Judge:
    """Compares what the desks were told with rows and files, once all of them have ended."""

    def __init__(self, department):
        self._rows = collections.defaultdict(list)
        for version, *place in department.server.rows(
                "SELECT Image.SOPInstanceUID, Series.SeriesInstanceUID, Study.StudyInstanceUID, Study.IDPatient,"
                " Study.StudyPath, Series.SeriesDir, Image.ImageFile FROM Image, Series, Study WHERE"
                " Series.SeriesInstanceUID = Image.SeriesInstanceUID AND Series.Modality = 'SR' AND"
                " Study.StudyInstanceUID = Series.StudyInstanceUID ORDER BY Image.ImageID"):
            self._rows[version].append(place)
        self._department = department
        actions = [action for desk in department.desks for action in actions_of(desk)]
        told = [action for action in actions if action.told_stored() or action.told_kept()]
        self.told = len(told)
        self.lost = [(action.when, f"desk {action.desk}, {action.version}: {fault}") for action in told
                     if (fault := self._fault(action))]
        self.versions, self.rows = len(self._rows), sum(map(len, self._rows.values()))
        filed = {os.path.join(path.replace("\\", "/"), folder, file)
                 for (_, _, _, path, folder, file), *_ in self._rows.values()}
        on_disk = {str(file) for file in (department.folder / STUDIES).rglob("*.dcm")
                   if ".incoming" not in file.parts and "SR" in self._modality(file)}
        self.without_row = sorted(on_disk - filed)

    def sizes(self):
        """Of the first, second ... version of a report, in bytes: the middle one of all reports."""
        reports = collections.defaultdict(list)
        for (series, _, _, path, folder, file), *_ in self._rows.values():
            reports[series].append(os.path.getsize(os.path.join(path.replace("\\", "/"), folder, file)))
        return [statistics.median(at_all) for at_all in
                ([size for size in sizes if size] for sizes in itertools.zip_longest(*reports.values()))]

    def bytes_on_disk(self):
        """What the disk gives to a report in the middle: its versions' blocks and its folder's."""
        reports = collections.defaultdict(int)
        for (series, _, _, path, folder, file), *_ in self._rows.values():
            place = pathlib.Path(path.replace("\\", "/")) / folder
            reports[place] += os.stat(place / file).st_blocks * 512
        return statistics.median(size + os.stat(place).st_blocks * 512 for place, size in reports.items())

    @staticmethod
    def _modality(file):
        return str(pydicom.dcmread(file, specific_tags=["Modality"]).get("Modality"))

    def _fault(self, action):
        """What is wrong with a version that a desk was told is saved."""
        places = self._rows.get(action.version, [])
        if len(places) != 1:
            return f"{len(places)} rows"
        [(series, study, patient, path, folder, file)] = places
        if (series, study) != (action.series, action.study) or not patient.startswith(f"D{action.desk}P"):
            return f"its row is of patient {patient}, study {study}"
        try:
            version = pydicom.dcmread(pathlib.Path(path.replace("\\", "/")) / folder / file)
        except (OSError, pydicom.errors.InvalidDicomError) as failure:
            return str(failure)
        if (version.SOPInstanceUID, version.PatientID) != (action.version, patient):
            return f"its file holds {version.SOPInstanceUID} of patient {version.PatientID}"
        if action.reading.rstrip() not in texts_of(version):
            return "its file has another reading"
        names = set(observers(version))
        return "" if names == {signature(action.desk)} else f"its observers are {names}"


def observers(dataset):
    """The names of those who saved, in either form of a report."""
    for item in dataset.get("VerifyingObserverSequence", ()):
        yield str(item.VerifyingObserverName)
    for item in dataset.get("ContentSequence", ()):
        if "PersonName" in item:
            yield str(item.PersonName)
        yield from observers(item)
