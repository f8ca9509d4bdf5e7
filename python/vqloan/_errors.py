"""What can go wrong."""

from __future__ import annotations

import dataclasses
from typing import Optional

from ._requests import Copy


@dataclasses.dataclass(frozen=True)
class Record:
    """What the component has recorded of a failure."""

    number: int
    source: str
    description: str
    help_file: str = ""
    help_context: str = ""
    system_error: int = 0

    def __str__(self) -> str:
        system = f", system error {self.system_error}" if self.system_error else ""
        return f"{self.number} {self.description} ({self.source}{system})"


class Error(Exception):
    """Anything that this package raises for what is not the caller's mistake."""


class ComponentError(Error):
    """There is no component for the site, or the file is none."""


class Failure(Error):
    """The component could not do its work. `record` has the details, where it has recorded any."""

    def __init__(self, message: str, record: Optional[Record] = None) -> None:
        super().__init__(f"{message}: {record}" if record else message)
        self.record = record


class OpenFailed(Failure):
    """The back end does not open."""


class AskFailed(Failure):
    """A copy could not be asked about. `copy` is that one, `message` what a reader would be shown."""

    def __init__(self, copy: Copy, message: str, record: Optional[Record] = None) -> None:
        super().__init__(f"the copy {copy.inventory or '(no number)'} of library {copy.library} "
                         f"could not be asked about ({message or 'no answer'})", record)
        self.copy = copy
        self.message = message
