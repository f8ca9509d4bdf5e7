"""Whether copies can be had from the libraries of a network, asked of the component VQLoan.

    import vqloan

    with vqloan.Server("/srv/vqloan", kind="SQL2") as server:
        for answer in server.ask([vqloan.Copy("01", inventory="KA000002")]):
            print(answer.library, answer.text)

Everything that can go wrong is a `vqloan.Error`, whose text is a sentence for a person; a failure that the component
has recorded is a `vqloan.Failure`, with the record.
"""

from ._errors import AskFailed, ComponentError, Error, Failure, OpenFailed, Record
from ._requests import Answer, Copy
from ._server import Kind, Server

__all__ = ["Answer", "AskFailed", "ComponentError", "Copy", "Error", "Failure", "Kind", "OpenFailed", "Record", "Server"]
