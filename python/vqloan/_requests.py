"""Request lines and answer lines: what goes to the component as text, and comes back."""

from __future__ import annotations

import dataclasses
from typing import List, Tuple

LINE_END = "\r\n"
# In front of an answer line that failed; the only kind that does not end in a TAB.
FAILED_LABEL = "Codice Bibl. "
NOT_VERIFIABLE = "Disponibilità non verificabile"
# What is told of a failure; the second is followed by the recorded failure's text.
GATEWAY_FAILED = "Errore nei parametri"
DATABASE_FAILED = "ERRORE: "


@dataclasses.dataclass(frozen=True)
class Copy:
    """A copy to ask about. Shelf mark and note only come back in the answer's description."""

    library: str
    shelf: str = ""
    inventory: str = ""
    note: str = ""

    def __post_init__(self) -> None:
        for name, value in dataclasses.asdict(self).items():
            if any(mark in value for mark in "\t\r\n"):
                raise ValueError(f"the {name} of a copy must not hold a TAB or the end of a line: {value!r}")

    @property
    def line(self) -> str:
        """The request line, without its end."""
        return "\t".join((self.library, self.shelf, self.inventory, self.note))


@dataclasses.dataclass(frozen=True)
class Answer:
    """What the back end says of one copy."""

    copy: Copy
    library: str
    """The library as the answer names it."""
    text: str
    """The availability, as a reader is shown it; for a copy that was not asked about, why not."""
    asked: bool
    """False for a copy of a library that the back end "7000" is not to be asked about."""
    fields: Tuple[str, ...]
    """The answer line at every TAB."""


class FailedLine(Exception):
    """An answer line that is none; the text is its message, which may be empty."""


def take_apart(copy: Copy, line: str, is_host: bool) -> Answer:
    """The answer in a line without its end. Raises FailedLine."""
    fields = line.split("\t")
    if len(fields) >= 3 and fields[0].startswith(FAILED_LABEL) and fields[-1]:
        raise FailedLine(_join(fields[2:], " "))
    if is_host:  # name, availability, message
        text = _join(fields[1:], ": ")
        if not text:
            raise FailedLine("")
        return Answer(copy, fields[0], text, fields[1] != NOT_VERIFIABLE, tuple(fields))
    # Description of the copy, library, the same description with a text after it, text, date.
    if len(fields) < 3:
        raise FailedLine("")
    text = _join([fields[2][len(fields[0]):], *fields[3:]], " ")
    # A record whose texts are not configured is an answer all the same; without a record there are 5 fields.
    if not text and len(fields) <= 5:
        raise FailedLine("")
    return Answer(copy, fields[1], text, True, tuple(fields))


def _join(fields: List[str], separator: str) -> str:
    # Texts of statuses come padded with blanks.
    return separator.join(field for field in (field.rstrip(" ") for field in fields) if field)
