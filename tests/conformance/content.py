"""The content of a `.q8` file as h5py sees it: for comparing files that may be laid out otherwise."""

import hashlib
import os
import pickle
import tempfile
from dataclasses import dataclass

import h5py
import numpy


@dataclass
class Content:
    data: dict       # the digest of each fragment's data, by its path
    structure: dict  # attributes of the format, and the fragments' rows, by path


def _digest(item):
    """Of a dataset, or of a group with all below it, the format's attributes included."""
    digest = hashlib.sha256()

    def add(name, there):
        digest.update(name.encode())
        for attribute in sorted(there.attrs):
            value = numpy.asarray(there.attrs[attribute])
            digest.update(f"{attribute} {value.dtype} {value.shape}".encode() + value.tobytes())
        if isinstance(there, h5py.Dataset):
            digest.update(f"{there.dtype} {there.shape}".encode() + there[...].tobytes())

    add("", item)
    if isinstance(item, h5py.Group):
        for name in sorted(item):
            add(name, item[name])
    return digest.hexdigest()


def _read_field(path, field, into):
    table = field["@fragments"][...]
    # Where a packed fragment lies is free, and so is the table's order.
    columns = [name for name in table.dtype.names if name != "offset"]
    into.structure[path] = sorted(repr([row[name] for name in columns]) for row in table)
    for name in field:
        if name not in ("@fragments", "@packed", "@attributes"):
            into.data[f"{path}/{name}"] = _digest(field[name])
    if "@packed" in field:
        packed = field["@packed"]
        for row in table[table["kind"] == 2]:
            first = int(row["offset"]) if "offset" in columns or "offset" in table.dtype.names else 0
            count = int(numpy.prod(numpy.atleast_1d(row["shape"])[:row["rank"]]))
            piece = packed[first:first + count]
            into.data[f"{path}#{row['number']}"] = hashlib.sha256(piece.tobytes()).hexdigest()


def _walk(path, group, into):
    into.structure[path + "@"] = sorted(
        (name, repr(value)) for name, value in group.attrs.items() if name.startswith("@"))
    if "@fragments" in group:
        _read_field(path, group, into)
        return
    for name in group:
        there = group[name]  # raises for a link that leads nowhere
        if isinstance(there, h5py.Group):
            _walk(f"{path}/{name}", there, into)


def _read_here(path):
    into = Content({}, {})
    with h5py.File(path, "r", locking=False) as file:
        _walk("", file, into)
    return into


def read(path):
    """\\return the content, or a text that says why it can't be read. Reads in a process of its own,
    since damage can crash HDF5."""
    receive, send = os.pipe()
    child = os.fork()
    if child == 0:
        os.close(receive)
        try:
            result = _read_here(path)
        except Exception as error:  # whatever h5py makes of damage
            result = f"{type(error).__name__}: {error}"
        with os.fdopen(send, "wb") as stream:
            pickle.dump(result, stream)
        os._exit(0)
    os.close(send)
    with os.fdopen(receive, "rb") as stream:
        pickled = stream.read()
    os.waitpid(child, 0)
    return pickle.loads(pickled) if pickled else "the reader crashes"


def read_bytes(content):
    """As `read`, of a file's bytes; external fields are not found."""
    with tempfile.NamedTemporaryFile(suffix=".q8") as file:
        file.write(content)
        file.flush()
        return read(file.name)


def difference(found, expected):
    """\\return the first difference in words; empty if there is none."""
    for what in ("data", "structure"):
        have, want = getattr(found, what), getattr(expected, what)
        for name in sorted(want.keys() | have.keys()):
            if name not in have:
                return f"{name} is missing"
            if name not in want:
                return f"{name} is there without reason"
            if have[name] != want[name]:
                return f"{name} has other {'values' if what == 'data' else 'properties'}"
    return ""
