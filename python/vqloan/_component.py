"""Where a site's component is, and objects of it."""

from __future__ import annotations

import ctypes
import os
import pathlib
import shutil
from typing import Iterator, Optional, Union

from ._automation import RELEASE, Automation, CallFailed, Object, guid
from ._errors import ComponentError

FILE = "VQLoan.so"
CLSID_DISPSVR = guid("8799B813-FC05-11D2-B120-00A024677534")
IID_DISPSVR = guid("DD3E654C-AC19-4576-890A-A9B9D090DFAA")
IID_SITE = guid("AFF99011-40BB-445A-9065-75FE53F44886")
IID_CLASS_FACTORY = guid("00000001-0000-0000-C000-000000000046")
CREATE_INSTANCE = 3
PUT_DIRECTORY = 3


def find(site: pathlib.Path) -> pathlib.Path:
    """The site's own component, else the one that is installed. Raises ComponentError."""
    for file in (site / FILE, *_installed()):
        if os.path.exists(file):
            return file
    raise ComponentError(f"there is no {FILE} in {site}, and none is installed; make one with `vqloan site {site}`, "
                         "or name its file as `component`")


def _installed() -> Iterator[pathlib.Path]:
    program = shutil.which("vqloan")
    prefixes = [pathlib.Path("/usr/local"), pathlib.Path("/usr")]
    if program:
        directory = pathlib.Path(program).resolve().parent
        yield directory / FILE  # as in a build
        prefixes.insert(0, directory.parent)
    for prefix in prefixes:
        for pattern in ("lib/vqloan", "lib64/vqloan", "lib/*/vqloan"):
            yield from (place / FILE for place in sorted(prefix.glob(pattern)))


class Component:
    """A loaded component file, which stays loaded, and one object of it for one site."""

    def __init__(self, site: Union[str, os.PathLike[str]], file: Optional[Union[str, os.PathLike[str]]]) -> None:
        if os.name != "posix":
            raise ComponentError("this package is for systems without automation of their own; on Windows use the "
                                 "class VQLoan.DispSvr")
        directory = pathlib.Path(os.path.abspath(site))
        if not os.path.isdir(directory):
            raise ComponentError(f"there is no directory {directory}")
        self.file = pathlib.Path(os.path.abspath(file)) if file is not None else find(directory)
        try:
            library = ctypes.CDLL(str(self.file))
            self.automation = Automation(library)
            class_object = library.DllGetClassObject
        except (OSError, AttributeError) as error:
            raise ComponentError(f"{self.file} cannot be loaded as a component: {error}") from None
        self.object = self._create(class_object)
        try:
            self._tell_directory(directory)
        except BaseException:
            self.object.release()
            raise

    def _create(self, class_object: ctypes._NamedFuncPointer) -> Object:
        pointer = ctypes.c_void_p()
        result = class_object(ctypes.byref(CLSID_DISPSVR), ctypes.byref(IID_CLASS_FACTORY), ctypes.byref(pointer))
        if result < 0:
            raise ComponentError(f"{self.file} gives no objects: {CallFailed(result, '')}")
        factory, made = Object(self.automation, pointer), ctypes.c_void_p()
        try:
            factory.call(CREATE_INSTANCE, None, ctypes.byref(IID_DISPSVR), ctypes.byref(made))
        except CallFailed as failure:
            raise ComponentError(f"{self.file} gives no objects: {failure}") from None
        finally:
            factory.release()
        return Object(self.automation, made)

    def _tell_directory(self, directory: pathlib.Path) -> None:
        # Always, where it can be told: two links to one file are one loaded file, but two sites.
        settings = self.object.query(IID_SITE)
        if settings is None:
            if self.file.parent.resolve() != directory.resolve():
                raise ComponentError(f"{self.file} is too old to serve another directory than its own; make one for "
                                     f"the site with `vqloan site {directory}`")
            return
        path = self.automation.new_text(str(directory))
        try:
            settings.call(PUT_DIRECTORY, path)
        except CallFailed as failure:
            raise ComponentError(f"{self.file} does not take the directory {directory}: {failure}") from None
        finally:
            self.automation.free_text(path)
            settings.release()
