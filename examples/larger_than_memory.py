#!/usr/bin/env python3
"""Erodes a volume that is four times as large as the memory it may use, from disk to disk, on a cluster of processes.

    examples/larger_than_memory.py [--mebibytes 4096] [--folder .]

Makes up a scan of that size as scan.npy, and writes eroded.npy beside it.
"""
import argparse
import logging
import os

import dask
import dask.array
import numpy
from distributed import Client, LocalCluster

import tavi


def make_scan(path, mebibytes):
    """A scan on disk, slab by slab."""
    depth = max(64, mebibytes * 2)
    scan = numpy.lib.format.open_memmap(path, "w+", "uint16", (depth, 512, 512))
    for begin in range(0, depth, 16):
        slab = numpy.random.default_rng(begin).integers(0, 65535, (min(16, depth - begin), 512, 512), "uint16")
        scan[begin:begin + 16] = slab
    scan.flush()
    return scan.shape


class Slabs:
    """A file of voxels, of which each process opens what it needs."""

    def __init__(self, path, mode):
        self.path, self.mode = path, mode
        file = numpy.load(path, mmap_mode="r")
        self.shape, self.dtype, self.ndim = file.shape, file.dtype, file.ndim

    def __getitem__(self, region):
        return numpy.array(numpy.load(self.path, mmap_mode="r")[region])

    def __setitem__(self, region, voxels):
        file = numpy.load(self.path, mmap_mode="r+")
        file[region] = voxels
        file.flush()


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--mebibytes", type=int, default=4096, help="size of the volume")
    parser.add_argument("--folder", default=".", help="where the files are")
    options = parser.parse_args()
    source, target = (os.path.join(os.path.abspath(options.folder), name) for name in ("scan.npy", "eroded.npy"))
    shape = make_scan(source, options.mebibytes)
    numpy.lib.format.open_memmap(target, "w+", "uint16", shape).flush()

    # The workers together may hold a quarter of the volume, but an interpreter with its libraries needs some itself.
    workers = 2
    memory = max(options.mebibytes // 4 // workers, 256)
    # Voxels that a worker reads are not Dask's own, which it would warn of again and again.
    dask.config.set({"logging.distributed": "error"})
    with LocalCluster(n_workers=workers, threads_per_worker=1, memory_limit=f"{memory}MiB", dashboard_address=None,
                      local_directory=options.folder, silence_logs=logging.ERROR) as cluster, Client(cluster):
        scan = dask.array.from_array(Slabs(source, "r"), chunks=(16, 512, 512), asarray=False)
        eroded = tavi.erosion(scan, tavi.ball(5), anchor="center")
        dask.array.store(eroded, Slabs(target, "r+"), lock=False)
        extremes = tavi.extreme_value_calculation(scan)
    print(f"{options.mebibytes} MiB with {memory} MiB for each of {workers} processes; grey values from "
          f"{extremes.minimum_value} to {extremes.maximum_value}")


if __name__ == "__main__":
    main()
