#!/usr/bin/env python3
"""A client in Python: asks about one copy.

    ask.py SITE KIND LIBRARY INVENTORY      SITE is the directory of the settings, KIND is SQL2, SQL or 7000

It needs the package `vqloan` (pip install ./python), and the component in the site or installed.
"""
import sys

try:
    import vqloan
except ImportError as missing:
    sys.exit(f"ask.py: {missing} (pip install ./python)")


def main():
    if len(sys.argv) != 5 or sys.argv[2] not in ("SQL2", "SQL", "7000"):
        sys.exit(__doc__)
    site, kind, library, inventory = sys.argv[1:]
    try:
        with vqloan.Server(site, kind) as server:
            for answer in server.ask([vqloan.Copy(library, inventory=inventory)]):
                print(answer.library, answer.text, sep="\t", flush=True)
    except (vqloan.Error, ValueError, OSError) as error:  # the last two: what cannot be asked, and written
        sys.exit(f"ask.py: {error}")


if __name__ == "__main__":
    main()
