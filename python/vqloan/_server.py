"""The class that programs use."""

from __future__ import annotations

import ctypes
import os
import threading
from types import TracebackType
from typing import Iterable, Iterator, Literal, Optional, Type, Union

from ._automation import CallFailed, Variant
from ._component import Component
from ._errors import AskFailed, Error, Failure, OpenFailed, Record
from ._requests import DATABASE_FAILED, GATEWAY_FAILED, LINE_END, Answer, Copy, FailedLine, take_apart

Kind = Literal["SQL2", "SQL", "7000"]

# The slots of _DispSvr, after the three of IUnknown and the four of IDispatch.
GET_BIB_POSSE, PUT_BIB_POSSE = 7, 8
OPEN_DATABASE, SHUT_DOWN = 11, 12
LAST_ERROR, VIS_NRE, TEST_COD_BIB = 15, 16, 17
LOAD_MESSA = 20

class Server:
    """One back end of a site, open until `close` or the end of a `with`.

    `site` is the directory of the settings files, `kind` the back end: "SQL2" (the library database), "SQL" (through a
    gateway) or "7000" (the legacy host). `component` is the component's file where it is neither in the site nor
    installed. Raises ComponentError when there is none, and OpenFailed.

    Every call is made on the thread that made the server; each thread may have servers of its own.
    """

    def __init__(
        self,
        site: Union[str, os.PathLike[str]],
        kind: Kind = "SQL2",
        *,
        component: Optional[Union[str, os.PathLike[str]]] = None,
    ) -> None:
        if kind not in ("SQL2", "SQL", "7000"):
            raise ValueError(f"the kind of a back end is SQL2, SQL or 7000, not {kind!r}")
        self.kind = kind
        self._thread = threading.get_ident()
        self._open = True
        self._component = Component(site, component)
        try:
            self._open_database(site)
        except BaseException:
            self.close()
            raise

    def __enter__(self) -> Server:
        return self

    def __exit__(self, kind: Optional[Type[BaseException]], error: Optional[BaseException],
                 trace: Optional[TracebackType]) -> None:
        self.close()

    def close(self) -> None:
        """Closes the back end; more than once does no harm."""
        if self._open:
            self._check_thread()
            try:
                self._call(SHUT_DOWN)
            finally:
                self._open = False
                self._component.object.release()

    def ask(self, copies: Iterable[Copy]) -> Iterator[Answer]:
        """The answers, in the order of the copies, each when it is there.

        A copy that cannot be asked about raises AskFailed in its turn. The iterator goes on behind it: `next` gives the
        answer for the copy after it.
        """
        return _Answers(self, iter(copies))

    def ask_one(self, copy: Copy) -> Answer:
        """The answer for one copy. Raises AskFailed."""
        # One by one: within a call the component moves the lines of its own library to the front and sorts those of
        # the host, and an answer does not always tell which line it belongs to.
        block = self.raw(copy.line + LINE_END)
        message = ""
        if block.endswith(LINE_END):
            try:
                return take_apart(copy, block[: -len(LINE_END)], self.kind == "7000")
            except FailedLine as failed:
                message = str(failed)
        recorded = not block or _is_recorded(self.kind, message)
        raise AskFailed(copy, message, self.last_record() if recorded else None)

    def raw(self, request: str) -> str:
        """The component's own answer to request lines, each ended by CR LF; empty when it has failed as a whole."""
        texts = self._component.automation
        handle, bid, answer = ctypes.c_void_p(), ctypes.c_void_p(), ctypes.c_void_p()
        lines = texts.new_text(request)
        try:
            self._call(VIS_NRE, ctypes.byref(handle), ctypes.byref(bid), lines, ctypes.byref(answer))
            return texts.take_text(answer)
        finally:
            for text in (handle, bid, lines):
                texts.free_text(text)

    def library_name(self, code: str) -> str:
        """For "7000": the name of a listed library, `**` in front when it is not asked about; empty: not listed."""
        texts = self._component.automation
        library, name = texts.new_text(code), ctypes.c_void_p()
        try:
            self._call(TEST_COD_BIB, ctypes.byref(library), ctypes.byref(name))
            return texts.take_text(name)
        finally:
            texts.free_text(library)

    def reload_messages(self) -> None:
        """Reads the message texts of the settings again. Raises Failure."""
        try:
            self._component_call(LOAD_MESSA)
        except CallFailed as failed:
            # A failure of the runtime's numbers is 0x800A0000 and the number.
            number = failed.result & 0xFFFF if failed.result & 0xFFFF0000 == 0x800A0000 else failed.result
            raise Failure("the messages cannot be read", Record(number, "Load_Messa", failed.text)) from None

    @property
    def own_library(self) -> str:
        """The library whose lines come first in `raw`; "00" once "7000" is open."""
        value = ctypes.c_void_p()
        self._call(GET_BIB_POSSE, ctypes.byref(value))
        return self._component.automation.take_text(value)

    @own_library.setter
    def own_library(self, library: str) -> None:
        value = self._component.automation.new_text(library)
        try:
            self._call(PUT_BIB_POSSE, value)
        finally:
            self._component.automation.free_text(value)

    def last_record(self) -> Record:
        """What was recorded last on this thread, by whichever server; number 0 before any failure."""
        values = [Variant() for _ in range(6)]
        self._call(LAST_ERROR, *(ctypes.byref(value) for value in values))
        number, source, description, help_file, help_context, system = map(
            self._component.automation.take_variant, values)
        return Record(int(number or 0), source or "", description or "", help_file or "", str(help_context or ""),
                      int(system or 0))

    def _open_database(self, site: Union[str, os.PathLike[str]]) -> None:
        what, failed = self._component.automation.text_variant(self.kind), ctypes.c_int16()
        try:
            self._call(OPEN_DATABASE, ctypes.byref(what), ctypes.byref(failed))
        finally:
            self._component.automation.take_variant(what)
        if failed.value:
            raise OpenFailed(f"the back end {self.kind} of {os.fspath(site)} does not open", self.last_record())

    def _call(self, slot: int, *arguments: object) -> None:
        try:
            self._component_call(slot, *arguments)
        except CallFailed as failed:
            raise Failure(f"the component failed with {failed}") from None

    def _component_call(self, slot: int, *arguments: object) -> None:
        if not self._open:
            raise Error("the server is closed")
        self._check_thread()
        self._component.object.call(slot, *arguments)

    def _check_thread(self) -> None:
        if threading.get_ident() != self._thread:
            raise Error("a server is used on the thread that made it")


def _is_recorded(kind: str, message: str) -> bool:
    """Whether the failure of a line has been recorded. Else its message is the back end's own, and the record that of
    an earlier failure."""
    if kind == "SQL2":
        return message.startswith(DATABASE_FAILED)
    if kind == "SQL":
        return message == GATEWAY_FAILED
    return not message


class _Answers(Iterator[Answer]):
    # Not a generator: that would end with the first exception.

    def __init__(self, server: Server, copies: Iterator[Copy]) -> None:
        self._server = server
        self._copies = copies

    def __next__(self) -> Answer:
        return self._server.ask_one(next(self._copies))
