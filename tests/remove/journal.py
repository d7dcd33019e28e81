# SPDX-License-Identifier: MIT
"""Takes the place of the system journal for one run: writes each entry's fields, one per line, and then an empty line.

    journal.py OUTPUT
"""

import os
import socket
import struct
import sys

PLACE = "/run/systemd/journal/socket"


def fields(data):
    """Reads the journal's format: NAME=value, or, if the value has several lines, NAME, the length and the value."""
    while data:
        line, _, rest = data.partition(b"\n")
        if b"=" in line:
            yield line
            data = rest
        else:
            (length,) = struct.unpack("<Q", rest[:8])
            yield line + b"=" + rest[8 : 8 + length].replace(b"\n", b"\\n")
            data = rest[8 + length + 1 :]


os.makedirs(os.path.dirname(PLACE), exist_ok=True)
listener = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
listener.bind(PLACE)
os.chmod(PLACE, 0o666)
with open(sys.argv[1], "wb", buffering=0) as output:
    while True:
        output.write(b"".join(field + b"\n" for field in fields(listener.recv(65536))) + b"\n")
