"""How long a mesh of 10^6 vertices takes to cross between Python and the library.

Run by hand, like the programs beside it, with the package of a release build:

    PYTHONPATH=build/release/python /usr/bin/python3 bench/python_crossing.py [--side 1000]

The mesh is a grid of side x side vertices (10^6 by default) and 2 (side - 1)^2
triangles. Each line times one crossing, the median of --repeat runs:

- copyFrom, Python source into a Python store: the source's arrays become the
  library's vectors (one copy), the library shifts them to the store's origin and
  hands them to the store's set_eg_data as arrays that own the vectors (no copy);
- get_eg_data of a C++ source (an OffsetDataSource over the Python source, which
  moves the mesh by the difference of origins) into arrays;
- as a yardstick, NumPy copying the same five arrays (x, y, z, triangles and the
  40-byte triangle records) once: the least a crossing that copies can cost;
- reindex_mesh and remove_unused_vertices on the arrays: the crossing plus the C++
  work, which the library's own benchmark (bench/mesh_tools_bench) times alone.
"""

import argparse
import statistics
import time

import numpy as np

import gravok


def grid_mesh(side):
    """A side x side grid of vertices, two triangles per cell."""
    ys, xs = np.divmod(np.arange(side * side, dtype=np.float64), side)
    x = 2_000_000.0 + xs
    y = 500_000.0 + ys
    z = np.sin(xs / 50.0) + np.cos(ys / 70.0)
    cell = (np.arange(side - 1)[None, :] + side * np.arange(side - 1)[:, None]).ravel()
    cell = cell.astype(np.uint64)
    lower = np.stack([cell, cell + 1, cell + side], axis=1)
    upper = np.stack([cell + 1, cell + side + 1, cell + side], axis=1)
    return x, y, z, np.concatenate([lower, upper]).astype(np.uint64)


class ArraySource(gravok.DataSource):
    def __init__(self, mesh):
        super().__init__()
        self.mesh = mesh

    def get_eg_data(self):
        x, y, z, triangles = self.mesh
        return x, y, z, triangles, np.zeros((len(triangles), 40), dtype=np.uint8)


class ArrayStore(gravok.DataStore):
    def __init__(self):
        super().__init__()
        self.mesh = None

    def get_xorig(self):
        return 1000.0

    def set_eg_data(self, x, y, z, triangles, triangle_info):
        self.mesh = (x, y, z, triangles, triangle_info)


def median_ms(call, repeat):
    times = []
    for _ in range(repeat):
        start = time.process_time()
        call()
        times.append((time.process_time() - start) * 1000.0)
    return statistics.median(times)


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--side", type=int, default=1000)
    parser.add_argument("--repeat", type=int, default=5)
    args = parser.parse_args()

    mesh = grid_mesh(args.side)
    x, y, z, triangles = mesh
    source = ArraySource(mesh)
    store = ArrayStore()
    offset = gravok.OffsetDataSource(source, -1000.0, 0.0, 0.0)

    def copy():
        store.copyFrom(source)
        assert len(store.mesh[0]) == len(x)

    info = np.zeros((len(triangles), 40), dtype=np.uint8)
    rows = [
        ("yardstick: NumPy copies of the five arrays", lambda: [a.copy() for a in (x, y, z, triangles, info)]),
        ("copyFrom, Python source into Python store", copy),
        ("get_eg_data of an OffsetDataSource", offset.get_eg_data),
        ("reindex_mesh, tolerance 0", lambda: gravok.reindex_mesh(x, y, z, triangles, 0.0)),
        ("remove_unused_vertices", lambda: gravok.remove_unused_vertices(x, y, z, triangles)),
    ]
    print(f"{len(x)} vertices, {len(triangles)} triangles, CPU time, median of {args.repeat} runs")
    for name, call in rows:
        print(f"{name:45s} {median_ms(call, args.repeat):9.1f} ms")


if __name__ == "__main__":
    main()
