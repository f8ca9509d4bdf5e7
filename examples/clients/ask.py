#!/usr/bin/env python3
"""A client in Python: asks about one copy by loading a site's component.

    ask.py COMPONENT KIND LIBRARY INVENTORY      COMPONENT is the path of VQLoan.so, KIND is SQL2, SQL or 7000

Needs nothing but the standard library: an object is a pointer to a table of functions, in the published order.
"""
import ctypes
import pathlib
import sys

# _DispSvr: the slots used, counted from 0 (three of IUnknown, four of IDispatch, then its own).
RELEASE, CREATE_INSTANCE = 2, 3
OPEN_DATABASE, SHUT_DOWN, LAST_ERROR, VIS_NRE = 11, 12, 15, 16


def guid(text):
    """The 16 bytes of a GUID."""
    a, b, c, d, e = text.split("-")
    little = int(a, 16).to_bytes(4, "little") + int(b, 16).to_bytes(2, "little") + int(c, 16).to_bytes(2, "little")
    return ctypes.create_string_buffer(little + bytes.fromhex(d + e), 16)


CLSID_DISPSVR = guid("8799B813-FC05-11D2-B120-00A024677534")
IID_DISPSVR = guid("DD3E654C-AC19-4576-890A-A9B9D090DFAA")
IID_CLASS_FACTORY = guid("00000001-0000-0000-C000-000000000046")


class Variant(ctypes.Structure):
    _fields_ = [("type", ctypes.c_uint16), ("reserved", ctypes.c_uint16 * 3), ("value", ctypes.c_uint64 * 2)]


VT_I4, VT_BSTR = 3, 8


class Texts:
    """The text functions of libautomation.so, which the component brings with it."""

    def __init__(self, library):
        self.library = library
        self.library.SysAllocStringLen.restype = ctypes.c_void_p
        self.library.SysAllocStringLen.argtypes = [ctypes.c_void_p, ctypes.c_uint]
        self.library.SysStringLen.argtypes = [ctypes.c_void_p]
        self.library.SysFreeString.argtypes = [ctypes.c_void_p]

    def make(self, value):
        """A BSTR; its taker frees it."""
        units = value.encode("utf-16-le")
        return self.library.SysAllocStringLen(units, len(units) // 2)

    def take(self, bstr):
        """The text of a BSTR, which is freed."""
        value = ctypes.string_at(bstr, 2 * self.library.SysStringLen(bstr)).decode("utf-16-le") if bstr else ""
        self.library.SysFreeString(bstr)
        return value


def call(this, slot, *arguments):
    """Calls the function in a slot of an object's table; raises OSError for a failure."""
    table = ctypes.cast(this, ctypes.POINTER(ctypes.POINTER(ctypes.c_void_p))).contents
    status = ctypes.CFUNCTYPE(ctypes.c_int32)(table[slot])(this, *arguments)
    if status < 0 and slot != RELEASE:
        raise OSError(f"slot {slot} failed with 0x{status & 0xFFFFFFFF:08X}")


class DispSvr:
    def __init__(self, component):
        self.component = ctypes.CDLL(str(component))
        self.texts = Texts(self.component)
        factory, self.this = ctypes.c_void_p(), ctypes.c_void_p()
        status = self.component.DllGetClassObject(CLSID_DISPSVR, IID_CLASS_FACTORY, ctypes.byref(factory))
        if status < 0:
            raise OSError(f"DllGetClassObject failed with 0x{status & 0xFFFFFFFF:08X}")
        call(factory, CREATE_INSTANCE, None, IID_DISPSVR, ctypes.byref(self.this))
        call(factory, RELEASE)

    def open(self, kind):
        what = Variant(type=VT_BSTR)
        what.value[0] = self.texts.make(kind)
        failed = ctypes.c_int16()
        call(self.this, OPEN_DATABASE, ctypes.byref(what), ctypes.byref(failed))
        self.texts.take(what.value[0])
        if failed.value:
            raise OSError("%d %s" % self.last_error())

    def last_error(self):
        number, description = Variant(), Variant()
        call(self.this, LAST_ERROR, ctypes.byref(number), None, ctypes.byref(description), None, None, None)
        text = self.texts.take(description.value[0]) if description.type == VT_BSTR else ""
        return ctypes.c_int32(number.value[0] & 0xFFFFFFFF).value if number.type == VT_I4 else 0, text

    def ask(self, lines):
        request = ctypes.c_void_p(self.texts.make("".join(line + "\r\n" for line in lines)))
        handle, bid, answer = ctypes.c_void_p(), ctypes.c_void_p(), ctypes.c_void_p()
        call(self.this, VIS_NRE, ctypes.byref(handle), ctypes.byref(bid), request, ctypes.byref(answer))
        self.texts.take(request.value)
        return self.texts.take(answer.value).split("\r\n")[:-1]

    def close(self):
        call(self.this, SHUT_DOWN)
        call(self.this, RELEASE)


def main():
    if len(sys.argv) != 5:
        sys.exit(__doc__)
    component, kind, library, inventory = sys.argv[1:]
    server = DispSvr(pathlib.Path(component).absolute())
    try:
        server.open(kind)
        for line in server.ask([f"{library}\t\t{inventory}\t"]):
            print(line)
    except OSError as error:
        sys.exit(f"ask.py: {error}")
    finally:
        server.close()


if __name__ == "__main__":
    main()
