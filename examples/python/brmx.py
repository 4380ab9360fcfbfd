#!/usr/bin/env python3
"""Brimwarden for Python: how probably a message is spam, and why. Needs the library and nothing else.

    import brmx

    with brmx.Engine() as engine, engine.open(message) as session:
        print(session.scan().probability)
        print(session.explanation())

The library is the one that the environment variable BRMX_LIBRARY names by its path, or else the one that the system
finds: libbrmx.so on Linux, brmx.dll on Windows.

An engine can be started once in the life of a process. Sessions work side by side in threads, which run while the
library scans; a session serves one call at a time, and a second one raises SessionBusy. End all threads that scan
before the engine is closed. Times are in seconds. A status other than status_ok raises the exception of that status.
"""
from __future__ import annotations

import ctypes
import ctypes.util
import enum
import os
import sys
import weakref
from ctypes import POINTER, c_char_p, c_int32, c_uint8, c_uint16, c_uint32, c_void_p
from dataclasses import dataclass
from typing import List, NamedTuple, Type


class Status(enum.IntEnum):
    """Results of the library, by its names. The high 16 bits are the group."""

    status_ok = 0x00000000
    status_failed = 0x00000001
    status_out_of_memory = 0x00000002
    buffer_too_small = 0x00000003
    index_out_of_range = 0x00000004
    null_argument = 0x00000005
    file_not_loaded = 0x00000006
    engine_not_initialized = 0x00010001
    engine_already_initialized = 0x00010002
    engine_shut_down = 0x00010003
    build_mismatch = 0x00010005
    message_too_deep = 0x00020000
    unknown_session = 0x00020001
    session_busy = 0x00020002
    community_unavailable = 0x00030001
    community_discovery_pending = 0x00030002
    community_protocol_error = 0x00030003
    community_timed_out = 0x00030005
    community_invalid_credentials = 0x00030006
    not_implemented = 0x00040000


class Error(Exception):
    """Any failure that the library has told by a status."""

    def __init__(self, status: int):
        super().__init__(status.name if isinstance(status, Status) else f"unknown status 0x{status:08X}")
        self.status = status


class GeneralError(Error):
    """Failures that can happen anywhere."""


class LifecycleError(Error):
    """The engine is not in the state for it."""


class SessionError(Error):
    """Failures of one session."""


class CommunityError(Error):
    """Failures of the community; a scan does not raise them."""


class InterfaceError(Error):
    """A place in the interface behind which nothing stands."""


_GROUPS = (GeneralError, LifecycleError, SessionError, CommunityError, InterfaceError)
_FAILURES: dict[int, Type[Error]] = {}


def _failure(name: str, status: Status) -> Type[Error]:
    about = {"__doc__": f"Raised for {status.name}.", "__module__": __name__}
    _FAILURES[status] = type(name, (_GROUPS[status >> 16],), about)
    return _FAILURES[status]


Failed = _failure("Failed", Status.status_failed)
OutOfMemory = _failure("OutOfMemory", Status.status_out_of_memory)
BufferTooSmall = _failure("BufferTooSmall", Status.buffer_too_small)
IndexOutOfRange = _failure("IndexOutOfRange", Status.index_out_of_range)
NullArgument = _failure("NullArgument", Status.null_argument)
FileNotLoaded = _failure("FileNotLoaded", Status.file_not_loaded)
EngineNotInitialized = _failure("EngineNotInitialized", Status.engine_not_initialized)
EngineAlreadyInitialized = _failure("EngineAlreadyInitialized", Status.engine_already_initialized)
EngineShutDown = _failure("EngineShutDown", Status.engine_shut_down)
BuildMismatch = _failure("BuildMismatch", Status.build_mismatch)
MessageTooDeep = _failure("MessageTooDeep", Status.message_too_deep)
UnknownSession = _failure("UnknownSession", Status.unknown_session)
SessionBusy = _failure("SessionBusy", Status.session_busy)
CommunityUnavailable = _failure("CommunityUnavailable", Status.community_unavailable)
CommunityDiscoveryPending = _failure("CommunityDiscoveryPending", Status.community_discovery_pending)
CommunityProtocolError = _failure("CommunityProtocolError", Status.community_protocol_error)
CommunityTimedOut = _failure("CommunityTimedOut", Status.community_timed_out)
CommunityInvalidCredentials = _failure("CommunityInvalidCredentials", Status.community_invalid_credentials)
NotImplementedByLibrary = _failure("NotImplementedByLibrary", Status.not_implemented)

_TEXT = POINTER(c_uint16)  # 16-bit units on every target
_NUMBER = POINTER(c_uint32)
_PROTOTYPES = {
    "BRMX_Engine_Initialize": (),
    "BRMX_Engine_Shutdown": (),
    "BRMX_Engine_GetVersion": (_TEXT, _NUMBER, _TEXT, _NUMBER),
    "BRMX_Engine_VerifyCompatibility": (_TEXT, c_uint32),
    "BRMX_Engine_GetHeapInformation": (_NUMBER,) * 4,
    "BRMX_Engine_GetSessionInformation": (_NUMBER,) * 2,
    "BRMX_Engine_GetState": (POINTER(_TEXT), _NUMBER),
    "BRMX_Engine_SetState": (_TEXT, c_uint32),
    "BRMX_Session_CreateFromMemory": (c_char_p, c_uint32, _NUMBER),
    "BRMX_Session_CreateFromFile": (_TEXT, c_uint32, _NUMBER),
    "BRMX_Session_Destroy": (c_uint32,),
    "BRMX_Session_GetLastTrace": (c_uint32, c_uint32, _NUMBER, _TEXT, _NUMBER),
    "BRMX_Spam_GetProbability": (c_uint32, c_uint32, POINTER(c_int32)),
    "BRMX_Language_SetConfigurationPath": (c_void_p,),
    "BRMX_Language_GetSupportedLanguages": (c_uint32, _NUMBER),
    "BRMX_Language_GetLanguageRelevance": (c_uint32, c_uint32, _NUMBER, _NUMBER),
    "BRMX_Spam_SetCommunityServerGroup": (_TEXT, c_uint32, c_uint32),
    "BRMX_Spam_SetCommunityCredentials": (c_uint32, c_uint32, c_uint32, _TEXT, c_uint32),
    "BRMX_Spam_GetCommunityHealth": (c_uint8, _NUMBER, _NUMBER, _NUMBER),
    "BRMX_Spam_CommunityReport2": (c_uint32, c_uint32, c_uint8),
    "BRMX_Spam_CommunityRevoke2": (c_uint32, c_uint32, c_uint8),
    "BRMX_Spam_GetCommunityStatistics2": (c_uint32,) + (_NUMBER,) * 7,
}


def _library_name() -> str:
    given = os.environ.get("BRMX_LIBRARY")
    if given:
        return os.path.abspath(given)  # which Windows wants before it looks for a library's own libraries beside it
    return ctypes.util.find_library("brmx") or ("brmx.dll" if sys.platform == "win32" else "libbrmx.so")


def _load() -> ctypes.CDLL:
    library = ctypes.CDLL(_library_name())
    for name, arguments in _PROTOTYPES.items():
        function = getattr(library, name)
        function.argtypes = arguments
        function.restype = c_uint32
    return library


_library = _load()


def _check(status: int) -> None:
    if status == Status.status_ok:
        return
    raise _FAILURES[status](Status(status)) if status in _FAILURES else Error(status)


def _number(value: int) -> int:
    """The interface counts in 32 bits, and ctypes would cut what is larger."""
    if not 0 <= value <= 0xFFFFFFFF:
        raise OverflowError(f"{value} does not fit into 32 bits")
    return value


def _milliseconds(seconds: float) -> int:
    return int(min(max(seconds, 0) * 1000, 0xFFFFFFFF))


_UTF_16 = f"utf-16-{sys.byteorder[0]}e"


def _units(text: str, errors: str = "strict") -> ctypes.Array:
    encoded = text.encode(_UTF_16, errors)
    return (c_uint16 * (len(encoded) // 2)).from_buffer_copy(encoded)


def _text(units, length: int) -> str:
    """Half a character becomes U+FFFD."""
    return ctypes.string_at(units, 2 * length).decode(_UTF_16, "replace")


def _printable(text: str) -> str:
    return "".join(c if c.isprintable() else " " for c in text)


class Version(NamedTuple):
    """The version, as in "3.7.0.3", and the words that tell this build from others."""

    version: str
    build: str


class SessionCounts(NamedTuple):
    """Sessions that are open, and those that were ever made."""

    open: int
    made: int


@dataclass(frozen=True)
class CommunityHealth:
    """Servers that answer, those that do not, and the best time of the best one."""

    reachable: int
    unreachable: int
    latency_ms: int


@dataclass(frozen=True)
class CommunityStatistics:
    """What the last scan, report or revoke of a session has cost."""

    bytes_sent: int
    bytes_received: int
    datagrams_sent: int
    datagrams_received: int
    connections_made: int
    connections_failed: int
    latency_ms: int


@dataclass(frozen=True)
class ScanResult:
    """probability is 0 to 100; community is status_ok, or why its part is missing."""

    probability: int
    community: Status


@dataclass(frozen=True)
class TraceLine:
    """A line of an explanation; indent is 0 for a heading or an empty line, and grows below a heading."""

    indent: int
    text: str


@dataclass(frozen=True)
class LanguageShare:
    """How many letters of a message speak for a language."""

    lcid: int
    relevance: int


def version() -> Version:
    """The version of the library, in every state of the engine."""
    room = 64
    while True:
        buffers, lengths = [(c_uint16 * room)(), (c_uint16 * room)()], [c_uint32(room), c_uint32(room)]
        status = _library.BRMX_Engine_GetVersion(buffers[0], lengths[0], buffers[1], lengths[1])
        if status == Status.buffer_too_small:
            room = max(length.value for length in lengths)
            continue
        _check(status)
        return Version(*(_text(buffer, length.value) for buffer, length in zip(buffers, lengths)))


def _all(read) -> list:
    """What read gives for the indexes from 0 on; read returns a status and a result."""
    found: list = []
    while True:
        status, result = read(len(found))
        if status == Status.index_out_of_range:
            return found
        _check(status)
        found.append(result)


def supported_languages() -> List[int]:
    """The LCIDs of the languages that can be told, ascending; in every state of the engine."""

    def read(index):
        lcid = c_uint32()
        status = _library.BRMX_Language_GetSupportedLanguages(index, lcid)
        return status, lcid.value

    return _all(read)


class Session:
    """One message. Made by an engine; a context manager that ends it."""

    def __init__(self, handle: int):
        self.handle = handle
        # A session that is forgotten must not stay for ever, either.
        self._end = weakref.finalize(self, _library.BRMX_Session_Destroy, handle)

    def close(self) -> None:
        """Ends the session; again is no harm."""
        if self._end.alive:
            _check(_library.BRMX_Session_Destroy(self.handle))
            self._end.detach()

    def __enter__(self) -> Session:
        return self

    def __exit__(self, *_) -> None:
        self.close()

    def scan(self, timeout: float = 5) -> ScanResult:
        """Scans the message. With a community this blocks for its answer; a failure of the community is in the result.
        A timeout of 0 is a trap, see brmx.h."""
        probability = c_int32()
        status = _library.BRMX_Spam_GetProbability(self.handle, _milliseconds(timeout), probability)
        if status >> 16 != Status.community_unavailable >> 16:
            _check(status)
        return ScanResult(probability.value, Status(status))

    def trace(self) -> List[TraceLine]:
        """The explanation of the last scan, report, revoke or question about languages."""
        buffer = (c_uint16 * 256)()

        def read(line):
            nonlocal buffer
            while True:
                indent, length = c_uint32(), c_uint32(len(buffer))
                status = _library.BRMX_Session_GetLastTrace(self.handle, line, indent, buffer, length)
                if status != Status.buffer_too_small:
                    text = _text(buffer, length.value) if status == Status.status_ok else ""
                    return status, TraceLine(indent.value, text)
                buffer = (c_uint16 * length.value)()

        return _all(read)

    def explanation(self) -> str:
        """The same as one text. It quotes what a spammer wrote: control characters are blanks."""
        lines = ("    " * line.indent + line.text if line.text else "" for line in self.trace())
        return "\n".join(map(_printable, lines))

    def languages(self) -> List[LanguageShare]:
        """The languages of the message, ascending by LCID. The first question replaces the trace."""

        def read(index):
            lcid, relevance = c_uint32(), c_uint32()
            status = _library.BRMX_Language_GetLanguageRelevance(self.handle, index, lcid, relevance)
            return status, LanguageShare(lcid.value, relevance.value)

        return _all(read)

    def set_credentials(self, mode: int, identity: int, secret: str) -> None:
        """Says who asks the community, for all later calls on this session."""
        units = _units(secret)
        asking = (self.handle, _number(mode), _number(identity), units, len(units))
        _check(_library.BRMX_Spam_SetCommunityCredentials(*asking))

    def report(self, timeout: float = 5, flag: bool = False) -> None:
        """Sends the whole message to the community as spam."""
        _check(_library.BRMX_Spam_CommunityReport2(self.handle, _milliseconds(timeout), flag))

    def revoke(self, timeout: float = 5, flag: bool = False) -> None:
        """Takes a report back; sends the whole message as well."""
        _check(_library.BRMX_Spam_CommunityRevoke2(self.handle, _milliseconds(timeout), flag))

    def statistics(self) -> CommunityStatistics:
        """What the last scan, report or revoke has cost."""
        numbers = [c_uint32() for _ in range(7)]
        _check(_library.BRMX_Spam_GetCommunityStatistics2(self.handle, *numbers))
        return CommunityStatistics(*(number.value for number in numbers))


class Engine:
    """The running engine; a context manager that shuts it down for good."""

    def __init__(self):
        _check(_library.BRMX_Engine_Initialize())
        self._running = True

    def close(self) -> None:
        """Shuts the engine down; again is no harm. First end all threads that scan, and close the sessions."""
        if self._running:
            self._running = False
            _check(_library.BRMX_Engine_Shutdown())

    def __enter__(self) -> Engine:
        return self

    def __exit__(self, *_) -> None:
        self.close()

    def open(self, message) -> Session:
        """Opens a session on a message: any object with bytes."""
        data = message if isinstance(message, bytes) else bytes(memoryview(message))
        handle = c_uint32()
        _check(_library.BRMX_Session_CreateFromMemory(data, _number(len(data)), handle))
        return Session(handle.value)

    def open_file(self, path) -> Session:
        """Opens a session on a file: any name on Windows, one in UTF-8 elsewhere (UnicodeEncodeError for others)."""
        halves = "surrogatepass" if sys.platform == "win32" else "strict"  # where a name can have half a character
        units, handle = _units(os.fsdecode(path), halves), c_uint32()
        _check(_library.BRMX_Session_CreateFromFile(units, len(units), handle))
        return Session(handle.value)

    def join_community(self, group: str, rediscovery: float = 3600) -> None:
        """Makes the servers behind a host name the community; they are looked up again at that interval, with 0 only
        after requests that failed. Blocks until the name has been looked up."""
        units = _units(group)
        seconds = int(min(max(rediscovery, 0), 0xFFFFFFFF))
        _check(_library.BRMX_Spam_SetCommunityServerGroup(units, len(units), seconds))

    def health(self, rediscover: bool = False) -> CommunityHealth:
        """Counts the servers. Blocks until they have been probed once, up to three seconds a server."""
        numbers = [c_uint32() for _ in range(3)]
        _check(_library.BRMX_Spam_GetCommunityHealth(rediscover, *numbers))
        return CommunityHealth(*(number.value for number in numbers))

    def sessions(self) -> SessionCounts:
        """Counts the sessions."""
        numbers = [c_uint32() for _ in range(2)]
        _check(_library.BRMX_Engine_GetSessionInformation(*numbers))
        return SessionCounts(*(number.value for number in numbers))

    def state(self) -> str:
        """What has to be kept for the next run: the present state alone, without the records of earlier calls that the
        library puts before it."""
        text, before, length = _TEXT(), c_uint32(), c_uint32()
        _check(_library.BRMX_Engine_GetState(text, before))  # the recipe of brmx.h, at BRMX_Engine_GetLastState
        _check(_library.BRMX_Engine_GetState(text, length))
        return _text(ctypes.addressof(text.contents) + 2 * before.value, length.value - before.value)

    def restore(self, state: str) -> None:
        """Takes up what state() gave in an earlier run; this joins its community as well."""
        units = _units(state)
        _check(_library.BRMX_Engine_SetState(units, len(units)))


def main() -> int:
    """brmx.py FILE...: prints probability, name and explanation of messages."""
    failures = 0
    if sys.stdout:
        sys.stdout.reconfigure(errors="replace")  # not every encoding has what a spammer writes
    with Engine() as engine:
        for name in sys.argv[1:]:
            try:
                with engine.open_file(name) as session:
                    print(f"{session.scan().probability:3} {_printable(name)}\n{session.explanation()}\n")
            except (Error, UnicodeEncodeError) as failure:
                failures += 1
                print(f"brmx.py: {_printable(name)}: {failure}", file=sys.stderr)
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
