"""Objects and texts of the component, called from Python.

An object is a pointer to a table of functions, in the published order; a text is UTF-16 memory that belongs to
`libautomation.so`, which the component brings with it. Nothing in here knows of libraries and copies.
"""

from __future__ import annotations

import ctypes
from typing import Any, Optional

VT_I4, VT_BSTR = 3, 8
E_NOINTERFACE = -0x7FFFBFFE
RELEASE = 2


class CallFailed(Exception):
    """A call came back with a failure; `text` is what the component says of it, and may be empty."""

    def __init__(self, result: int, text: str) -> None:
        super().__init__(f"0x{result & 0xFFFFFFFF:08X}" + (f" {text}" if text else ""))
        self.result = result
        self.text = text


class Guid(ctypes.Structure):
    _fields_ = [("a", ctypes.c_uint32), ("b", ctypes.c_uint16), ("c", ctypes.c_uint16), ("d", ctypes.c_uint8 * 8)]


def guid(text: str) -> Guid:
    a, b, c, d, e = text.split("-")
    return Guid(int(a, 16), int(b, 16), int(c, 16), (ctypes.c_uint8 * 8)(*bytes.fromhex(d + e)))


class Variant(ctypes.Structure):
    """A value of any type; all of it is 0 for the empty one."""

    _fields_ = [("type", ctypes.c_uint16), ("reserved", ctypes.c_uint16 * 3), ("value", ctypes.c_uint64 * 2)]


class Automation:
    """The functions for texts, variants and error information that a component file uses."""

    def __init__(self, component: ctypes.CDLL) -> None:
        # Looked up by way of the component, so that both sides use the same library.
        self._allocate = self._function(component, "SysAllocStringLen", ctypes.c_void_p, ctypes.c_char_p, ctypes.c_uint)
        self._length = self._function(component, "SysStringLen", ctypes.c_uint, ctypes.c_void_p)
        self._free = self._function(component, "SysFreeString", None, ctypes.c_void_p)
        self._clear = self._function(component, "VariantClear", ctypes.c_int32, ctypes.c_void_p)
        self._error = self._function(component, "GetErrorInfo", ctypes.c_int32, ctypes.c_uint32, ctypes.c_void_p)

    @staticmethod
    def _function(component: ctypes.CDLL, name: str, result: Any, *arguments: Any) -> Any:
        function = component[name]
        function.restype, function.argtypes = result, arguments
        return function

    def new_text(self, value: str) -> ctypes.c_void_p:
        """Belongs to the caller, who gives it to `take_text` or `free_text`."""
        units = value.encode("utf-16-le", "surrogatepass")
        made = self._allocate(units, len(units) // 2)
        if not made:
            raise MemoryError
        return ctypes.c_void_p(made)

    def take_text(self, text: ctypes.c_void_p) -> str:
        """The text, whose memory is given back."""
        value = self._read(text.value)
        self.free_text(text)
        return value

    def free_text(self, text: ctypes.c_void_p) -> None:
        self._free(text)

    def _read(self, text: Optional[int]) -> str:
        return ctypes.string_at(text, 2 * self._length(text)).decode("utf-16-le", "replace") if text else ""

    def text_variant(self, value: str) -> Variant:
        made = Variant(type=VT_BSTR)
        made.value[0] = self.new_text(value).value or 0
        return made

    def take_variant(self, variant: Variant) -> Any:
        """A text or a number; None for anything else. The variant is empty afterwards."""
        value: Any = None
        if variant.type == VT_BSTR:
            value = self._read(variant.value[0])
        elif variant.type == VT_I4:
            value = ctypes.c_int32(variant.value[0] & 0xFFFFFFFF).value
        self._clear(ctypes.byref(variant))
        return value

    def error_text(self) -> str:
        """The description of the thread's error information, which is taken from it."""
        info = ctypes.c_void_p()
        if self._error(0, ctypes.byref(info)) != 0:
            return ""
        text = ctypes.c_void_p()
        get_description = 5
        holder = Object(self, info)
        try:
            holder.call(get_description, ctypes.byref(text))
            return self.take_text(text)
        finally:
            holder.release()


class Object:
    """One reference to an object, given back by `release`."""

    def __init__(self, automation: Automation, this: ctypes.c_void_p) -> None:
        self._automation = automation
        self._this = this

    def call(self, slot: int, *arguments: Any) -> None:
        """Calls the function in a slot of the object's table. Raises CallFailed."""
        result = self._call(slot, *arguments)
        if result < 0:
            raise CallFailed(result, self._automation.error_text())

    def query(self, interface: Guid) -> Optional[Object]:
        """The object under another interface; None where it has none of that kind."""
        found = ctypes.c_void_p()
        query_interface = 0
        result = self._call(query_interface, ctypes.byref(interface), ctypes.byref(found))
        if result == E_NOINTERFACE:
            return None
        if result < 0:
            raise CallFailed(result, "")
        return Object(self._automation, found)

    def release(self) -> None:
        """The object must not be called afterwards."""
        if self._this:
            self._call(RELEASE)  # gives a count, not a result
            self._this = ctypes.c_void_p()

    def _call(self, slot: int, *arguments: Any) -> int:
        table = ctypes.cast(self._this, ctypes.POINTER(ctypes.POINTER(ctypes.c_void_p))).contents
        function = ctypes.CFUNCTYPE(ctypes.c_int32)(table[slot] or 0)
        return int(function(self._this, *arguments))
