"""A stub in Python: prints ten readings and ends the worker.

    py kit_stub.py [PATH-OF-zorvanehost.exe [WORDS, one a line]]

64-bit Python for Windows, nothing else. include/zorvane/client.h says what everything means; the
names here are the same. Without a path the DLL takes the host beside itself.
"""
import ctypes
import os
import sys
from ctypes import c_char, c_char_p, c_int64, c_uint32, c_uint64, c_void_p

WANTED = 10
NO_LIMIT = 0xFFFFFFFF
EVENT_GPU, EVENT_CPU, EVENT_END = 4, 5, 18


class ZorvaneNumber(ctypes.Structure):
    _fields_ = [("valid", c_uint32), ("reserved", c_uint32), ("value", c_int64)]


class ZorvaneText(ctypes.Structure):
    _fields_ = [("valid", c_uint32), ("length", c_uint32), ("text", c_char * 120)]


class ZorvaneMessage(ctypes.Structure):
    _fields_ = [("length", c_uint32), ("text", c_char * 1020)]


class ZorvaneError(ctypes.Structure):
    _fields_ = [("size", c_uint32), ("result", c_uint32), ("code", c_uint32),
                ("reserved", c_uint32), ("call", ZorvaneText), ("text", ZorvaneMessage)]


class ZorvaneOptions(ctypes.Structure):
    _fields_ = [("size", c_uint32), ("flags", c_uint32), ("host", c_char_p),
                ("library", c_char_p), ("entry", c_char_p), ("words", c_char_p),
                ("variables", c_char_p), ("callback", c_void_p), ("context", c_void_p)] + [
        (name, c_uint32) for name in (
            "hostLength", "libraryLength", "entryLength", "wordsLength", "variablesLength",
            "queueLength", "staleAfterMs", "restartAfterMs", "afterAskingMs", "afterWindowMs",
            "maxAgeSeconds", "reserved")]


class ZorvaneExit(ctypes.Structure):
    _fields_ = [(name, c_uint32) for name in (
        "processId", "code", "kind", "greeted", "asked", "forced")] + [
        ("livedMs", c_int64), ("restartInMs", ZorvaneNumber)]


class ZorvaneGpu(ctypes.Structure):
    _fields_ = [("index", c_uint32), ("count", c_uint32), ("busId", ZorvaneText),
                ("name", ZorvaneText)] + [(name, ZorvaneNumber) for name in (
        "pciDomain", "pciBus", "pciDevice", "pciDeviceId", "gpuUtilizationPercent",
        "memoryUtilizationPercent", "temperatureCelsius", "fanSpeedPercent")] + [
        ("clocksMHz", ZorvaneNumber * 4), ("serial", ZorvaneText), ("vbiosVersion", ZorvaneText),
        ("driverVersion", ZorvaneText), ("totalMemoryKiB", ZorvaneNumber),
        ("maxClocksMHz", ZorvaneNumber * 4)]


class ZorvaneEvent(ctypes.Structure):
    _fields_ = [("size", c_uint32), ("type", c_uint32), ("timeMs", c_int64),
                ("dropped", c_uint64), ("workerId", c_uint32), ("fault", c_uint32),
                ("leftOut", c_uint32), ("stopStep", c_uint32), ("endReason", c_uint32),
                ("code", c_uint32), ("sinceMs", c_int64),
                ("cpuTemperatureCelsius", ZorvaneNumber), ("exit", ZorvaneExit),
                ("entry", ZorvaneText), ("call", ZorvaneText), ("what", ZorvaneText),
                ("id", ZorvaneText), ("brief", ZorvaneText), ("text", ZorvaneMessage),
                ("remedy", ZorvaneMessage), ("gpu", ZorvaneGpu)]


def load():
    """The DLL, which in the package lies one folder above this file."""
    above = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
    library = ctypes.CDLL(os.environ.get("ZORVANE_CLIENT",
                                         os.path.join(above, "zorvaneclient.dll")))
    library.zorvane_open.argtypes = [ctypes.POINTER(ZorvaneOptions), ctypes.POINTER(c_uint64),
                                     ctypes.POINTER(ZorvaneError)]
    library.zorvane_next_event.argtypes = [c_uint64, ctypes.POINTER(ZorvaneEvent), c_uint32]
    for name in ("zorvane_start", "zorvane_stop", "zorvane_close"):
        getattr(library, name).argtypes = [c_uint64]
    library.zorvane_event_name.restype = c_char_p
    return library


def shown(name, number, unit):
    """A value that could not be read is not valid; it is never shown as 0."""
    return f"  {name}{number.value} {unit}" if number.valid else ""


def gpu_line(gpu):
    return (gpu.busId.text.decode() + "  " + gpu.name.text.decode() +
            shown("GPU ", gpu.gpuUtilizationPercent, "%") + shown("", gpu.temperatureCelsius, "C") +
            shown("fan ", gpu.fanSpeedPercent, "%"))


def run(library, session):
    """Runs one worker to its end; the number of readings."""
    event = ZorvaneEvent(size=ctypes.sizeof(ZorvaneEvent))
    readings = 0
    library.zorvane_start(session)
    while library.zorvane_next_event(session, event, NO_LIMIT) == 0 and event.type != EVENT_END:
        is_reading = event.type in (EVENT_GPU, EVENT_CPU)
        if is_reading and readings == WANTED:
            continue  # it came before the worker was stopped
        if event.type == EVENT_GPU:
            print(gpu_line(event.gpu), flush=True)
        elif event.type == EVENT_CPU:
            print(f"CPU  {event.cpuTemperatureCelsius.value} C", flush=True)
        else:
            name = library.zorvane_event_name(event.type).decode()
            print(name, event.text.text.decode(), event.remedy.text.decode(), sep="  ",
                  file=sys.stderr)
        readings += is_reading
        if is_reading and readings == WANTED:
            library.zorvane_stop(session)
    return readings


def main():
    library = load()
    words = [word.encode() for word in sys.argv[1:]] + [None, None]
    options = ZorvaneOptions(size=ctypes.sizeof(ZorvaneOptions), host=words[0], words=words[1],
                             entry=b"kit_stub in Python")
    session = c_uint64()
    error = ZorvaneError(size=ctypes.sizeof(ZorvaneError))
    if library.zorvane_open(options, session, error) != 0:
        sys.exit(f"{error.call.text.decode()}: {error.text.text.decode()}")
    readings = run(library, session)
    library.zorvane_close(session)
    sys.exit(0 if readings else 1)


if __name__ == "__main__":
    main()
