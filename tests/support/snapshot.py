# SPDX-License-Identifier: MIT
"""Lists a throw-away machine's disk: every file, folder and link with all its attributes.

    snapshot.py OUTPUT [FOLDER...]

The list has everything that differs from the real machine's volume, the machine's own volumes, and the
further FOLDERs, which are volumes too.
"""

import hashlib
import json
import os
import stat
import sys

CHANGES = "/run/machine/changes"
VOLUMES = ("/tmp", "/var/tmp", "/root")


def contents(path, info):
    if stat.S_ISLNK(info.st_mode):
        return os.readlink(path)
    if stat.S_ISREG(info.st_mode):
        with open(path, "rb") as file:
            return hashlib.sha256(file.read()).hexdigest()
    return ""


# What the kernel keeps on an overlay's own files. It writes some of it when a folder is looked up.
OF_THE_KERNEL = ("trusted.overlay.", "user.overlay.")


def attributes(path):
    names = [name for name in os.listxattr(path, follow_symlinks=False) if not name.startswith(OF_THE_KERNEL)]
    return {name: os.getxattr(path, name, follow_symlinks=False).hex() for name in sorted(names)}


def entry(path):
    info = os.lstat(path)
    return {
        "mode": oct(info.st_mode),
        "owner": info.st_uid,
        "group": info.st_gid,
        "time": info.st_mtime_ns,
        "contents": contents(path, info),
        "attributes": attributes(path),
    }


def tree(folder, shown_as):
    """A folder and all entries below it, by the path at which they are seen. Items shared with the real machine
    are on other volumes and are left out."""
    volume = os.lstat(folder).st_dev
    found = {shown_as or "/": entry(folder)}
    for name in sorted(os.listdir(folder)):
        path = os.path.join(folder, name)
        if os.lstat(path).st_dev != volume:
            continue
        if os.path.isdir(path) and not os.path.islink(path):
            found.update(tree(path, f"{shown_as}/{name}"))
        else:
            found[f"{shown_as}/{name}"] = entry(path)
    return found


def snapshot(folders):
    found = tree(CHANGES, "")
    for folder in (*VOLUMES, *folders):
        found.update(tree(folder, folder))
    return found


if __name__ == "__main__":
    # Names that are not valid text pass through as they are.
    with open(sys.argv[1], "w", encoding="utf-8", errors="surrogateescape") as output:
        json.dump(snapshot(sys.argv[2:]), output, indent=1, ensure_ascii=True)
