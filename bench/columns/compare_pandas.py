"""One round of what users do without recast: pandas.read_csv with its C engine, stored with h5py.

    compare_pandas.py FILE OUT.h5     prints the seconds that it took, and those of processor time

FILE holds lines `x y z intensity r g b`. Needs the Debian packages python3-pandas and python3-h5py.
"""

import sys
import time

import h5py
import numpy as np
import pandas as pd

source, output = sys.argv[1:]
names = ["x", "y", "z", "intensity", "r", "g", "b"]

start, cpu_start = time.perf_counter(), time.process_time()
table = pd.read_csv(source, sep=" ", header=None, names=names, engine="c")
with h5py.File(output, "w") as file:
    file["Positions"] = table[["x", "y", "z"]].to_numpy()
    file["Intensity"] = table["intensity"].to_numpy().astype(np.float32)
    file["Colour"] = table[["r", "g", "b"]].to_numpy().astype(np.uint8)
print(f"{time.perf_counter() - start:.3f} {time.process_time() - cpu_start:.3f}")
