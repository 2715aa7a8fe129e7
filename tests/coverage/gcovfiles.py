"""Reads what GCC 12 notes of an object's functions (.gcno) and what its processes counted (.gcda).

gcov shows the same, without telling which blocks only an exception reaches. Both files are records of
little-endian words: a tag, a length in bytes, and so many bytes."""
import collections
import dataclasses
import struct

FUNCTION, BLOCKS, ARCS, LINES, COUNTS = 0x01000000, 0x01410000, 0x01430000, 0x01450000, 0x01A10000
ON_TREE, FAKE, FALLS_THROUGH = 1, 2, 4
VERSION = b"*02B"  # of GCC 12
ENTRY, EXIT = 0, 1


@dataclasses.dataclass
class Arc:
    """A way from a block to the next. Its count is None until it is known."""

    source: int
    target: int
    flags: int
    count: int = None
    throws: bool = False


class Function:
    """A function as blocks 0 (its entry), 1 (its exit) and others, and the arcs between them."""

    def __init__(self, ident, name, file, place, is_artificial):
        self.ident, self.name, self.file, self.place = ident, name, file, place
        self.is_artificial = is_artificial
        self.leaving = collections.defaultdict(list)
        self.entering = collections.defaultdict(list)
        self.lines = {}  # of each block, the last line that is in it

    def add_arcs(self, words):
        source = words[0]
        arcs = [Arc(source, target, flags) for target, flags in zip(words[1::2], words[2::2])]
        # A call may end in an exception: a false arc to the exit. Further arcs are those to handlers.
        is_call = source != ENTRY and any(arc.flags & FAKE for arc in arcs)
        for arc in arcs:
            arc.throws = is_call and not arc.flags & (FAKE | FALLS_THROUGH)
            self.leaving[arc.source].append(arc)
            self.entering[arc.target].append(arc)

    def arcs(self):
        return [arc for source in sorted(self.leaving) for arc in self.leaving[source]]

    def set_counts(self, counts):
        """Takes the counts of the arcs that the compiler counts, and reckons the others from them."""
        counts = iter(counts)
        unknown = []
        for arc in self.arcs():
            arc.count = None if arc.flags & ON_TREE else next(counts, 0)
            if arc.count is None:
                unknown.append(arc)
        # As often as a block is entered it is left; the unknown arcs have no circle.
        while unknown:
            left = [arc for arc in unknown if not self.reckon(arc)]
            if len(left) == len(unknown):
                raise ValueError(f"the counts of {self.name} do not tell all")
            unknown = left

    def reckon(self, arc):
        for block, beside, across in ((arc.source, self.leaving, self.entering),
                                      (arc.target, self.entering, self.leaving)):
            others = [other.count for other in beside[block] if other is not arc]
            counts = [other.count for other in across[block]]
            if block not in (ENTRY, EXIT) and None not in others and None not in counts:
                arc.count = sum(counts) - sum(others)
                return True
        return False

    def branches(self):
        """{block: its arcs}, for each block that the program leaves in more than one way.

        Left out are throws, and what is done only for an exception on its way to somebody else."""
        normal, waiting = {ENTRY}, [ENTRY]
        while waiting:
            for arc in self.leaving[waiting.pop()]:
                if not arc.throws and not arc.flags & FAKE and arc.target not in normal:
                    normal.add(arc.target)
                    waiting.append(arc.target)
        handling, waiting = normal | {EXIT}, list(normal | {EXIT})
        while waiting:
            for arc in self.entering[waiting.pop()]:
                if not arc.throws and not arc.flags & FAKE and arc.source not in handling:
                    handling.add(arc.source)
                    waiting.append(arc.source)
        found = {}
        for block in sorted(handling):
            arcs = [arc for arc in self.leaving[block]
                    if not arc.throws and not arc.flags & FAKE and arc.target in handling]
            if len(arcs) > 1:
                found[block] = arcs
        return found

    def times_run(self, block):
        arcs = self.leaving[block] if block != EXIT else self.entering[block]
        return sum(arc.count for arc in arcs)


class Words:
    """The content of a file or of a record, taken piece by piece."""

    def __init__(self, data, at=0):
        self.data, self.at = data, at

    def word(self):
        self.at += 4
        return struct.unpack_from("<I", self.data, self.at - 4)[0]

    def text(self):
        length = self.word()
        self.at += length
        return self.data[self.at - length:self.at].rstrip(b"\0").decode()

    def is_at_end(self):
        return self.at + 4 > len(self.data)


def records(words):
    """(tag, length, content) of each record; a negative length tells of so many zeros, without them."""
    while not words.is_at_end():
        tag = words.word()
        if not tag:
            return
        length, = struct.unpack("<i", struct.pack("<I", words.word()))
        begin = words.at
        words.at += max(length, 0)
        yield tag, length, words.data[begin:words.at]


def opened(path, magic):
    data = path.read_bytes()
    if data[:4] != magic or data[4:8] != VERSION:
        raise ValueError(f"{path}: not a file of GCC 12")
    return Words(data, 8)


def read_function(content):
    words = Words(content)
    ident, _, _ = words.word(), words.word(), words.word()
    name, is_artificial, file = words.text(), words.word(), words.text()
    return Function(ident, name, file, (words.word(), words.word()), bool(is_artificial))


def read_lines(function, content):
    words = Words(content)
    block = words.word()
    file = None
    while True:
        line = words.word()
        if line:
            known = function.lines.get(block, (file, 0))
            function.lines[block] = (file, max(line, known[1]) if known[0] == file else line)
            continue
        file = words.text()
        if not file:
            return


def read_notes(path, is_wanted):
    """The functions of a .gcno file whose source is_wanted, by the stamp and their number."""
    words = opened(path, b"oncg")
    stamp, _ = words.word(), words.word()
    words.text()
    words.word()
    functions, function = {}, None
    for tag, _, content in records(words):
        if tag == FUNCTION:
            function = read_function(content)
            function = function if is_wanted(function) else None
            if function:
                functions[function.ident] = function
        elif function and tag == ARCS:
            function.add_arcs(struct.unpack(f"<{len(content) // 4}I", content))
        elif function and tag == LINES:
            read_lines(function, content)
    return stamp, functions


def read_object(path, is_wanted):
    """The functions of an object with their counts: zeros where no process has run it."""
    stamp, functions = read_notes(path, is_wanted)
    counts = {}
    counted = path.with_suffix(".gcda")
    if counted.exists():
        words = opened(counted, b"adcg")
        if words.word() != stamp:
            raise ValueError(f"{counted}: not of the same compilation as {path.name}")
        words.word()
        ident = None
        for tag, length, content in records(words):
            if tag == FUNCTION:
                ident = Words(content).word() if length else None
            elif tag == COUNTS and length > 0:
                counts[ident] = struct.unpack(f"<{length // 8}q", content)
    for ident, function in functions.items():
        function.set_counts(counts.get(ident, ()))
    return functions.values()
