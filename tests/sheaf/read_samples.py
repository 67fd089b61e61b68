"""Reads with h5py alone what round_trip_test.cpp wrote, and compares with the rule of sample_data.h.

    read_samples.py FILE FIELDS    FIELDS: how many fields the file must hold
"""
import sys

import h5py
import numpy as np

SHAPE = (5, 3, 2, 4)  # first index first, the fastest one
NUMBERS = {"float": "f4", "double": "f8", "long double": np.longdouble, "unsigned char": "u1",
           "unsigned short": "u2", "int": "i4", "unsigned int": "u4", "unsigned long long": "u8"}
COMPOUND = {"Heron::PhysicalSpace::point": ("f8", 3), "Heron::PhysicalSpace::vector": ("f8", 3),
            "Heron::PhysicalSpace::bivector": ("f8", 3), "Heron::FixedArray<double, 3>": ("f8", 3),
            "Quilt::SimplexCell<1, unsigned int, Quilt::IJ_CellNamingConvention>": ("u4", 2),
            "Quilt::SimplexCell<2, unsigned int, Quilt::IJ_CellNamingConvention>": ("u4", 3),
            "Heron::DomainVector<Heron::Vector<unsigned char, 3>, Heron::RGB, unsigned char>":
                ("u1", 3)}


def places(rank):
    """The number that the element at [l, k, j, i] stands for, at each place of an array of that rank."""
    shape = SHAPE[:rank]
    number = np.ones(shape[::-1], dtype="i8")
    step = 1
    for axis, place in enumerate(reversed(np.indices(shape[::-1]))):
        number += step * place
        step *= shape[axis]
    return number


def numbers(v, kind):
    kind = np.dtype(kind)
    return v.astype(kind) / kind.type(7) if kind.kind == "f" else v.astype(kind)


def check(field, rank):
    name = field.attrs["@type"].decode()
    v = places(rank)
    if name in NUMBERS:
        expected, data = numbers(v, NUMBERS[name]), field["f"]
    elif name in COMPOUND:
        kind, components = COMPOUND[name]
        expected = numbers(v, kind)[..., np.newaxis] + np.arange(components).astype(kind)
        data = field["f"]
    else:
        lists = [list(range(n, n + n % 4)) for n in v.ravel()]
        offsets = np.cumsum([0] + [len(entry) for entry in lists])
        assert np.array_equal(field["f/offsets"], offsets), (name, "offsets")
        assert np.array_equal(field["f/values"], sum(lists, [])), (name, "values")
        return
    assert data.shape == expected.shape, (name, data.shape, expected.shape)
    assert data.dtype == expected.dtype, (name, data.dtype, expected.dtype)
    assert np.array_equal(data[...], expected), name
    row = field["@fragments"][0]
    assert list(row["shape"][:rank]) == list(SHAPE[:rank]), (name, row["shape"])


with h5py.File(sys.argv[1], "r") as file:
    vertices = file["0.000000/G/Skeleton_3_0/Cartesian"]
    for link, group in vertices.items():
        check(group, int(link[-1]))
    assert len(vertices) == int(sys.argv[2]), len(vertices)
