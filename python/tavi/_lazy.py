"""Operators on arrays of Dask, block by block.

The description of an operator names the halo: what a voxel of the result depends on beyond the voxel at its place. It
is none, as many voxels, the extents of the masks under some keys, or the whole volume. A run on blocks with that halo
gives the voxels of the undivided run.
"""
import json
import re

import numpy

from tavi import _core, _merging
from tavi._failures import NotSupportedError

_halos = {}


def is_lazy(*arrays):
    """Whether one of them is an array of Dask; it is not loaded to find out."""
    return any(hasattr(array, "__dask_graph__") for array in arrays)


def _halo_of(name):
    """The halo of an operator: None for none, a number of voxels, the arguments that hold masks, or "whole"."""
    if not _halos:
        for operator in _core.operators():
            table = json.loads(_core.describe(operator))
            names = {key["key"]: key["pythonName"] for key in table["keys"]}
            text = table["documentation"].get("Halo", "whole volume").split(".")[0]
            keys = [names[key] for key in re.findall(r"\binput\w+", text)]
            voxels = re.match(r"(\d+) voxel", text)
            _halos[table["pythonName"]] = (None if text.startswith("none") else int(voxels[1]) if voxels else
                                            keys if keys else "whole")
    return _halos[name]


def _function(name):
    from tavi import _operators

    return getattr(_operators, name)


def _run(*arrays, operator, arguments):
    """One block; on a thread of Dask, or in a process of its own."""
    result = _function(operator)(*arrays, **arguments)
    return result if isinstance(result, numpy.ndarray) else next(r for r in result if isinstance(r, numpy.ndarray))


def _run_under_masks(*arrays, operator, arguments, extents):
    # Where the mask does not fit into the block with its halo, it does not fit into the volume at any voxel of it.
    if any(have < need for have, need in zip(arrays[0].shape, extents)):
        return numpy.array(arrays[0])
    return _run(*arrays, operator=operator, arguments=arguments)


def _sample(name, arrays, arguments):
    """The result for one voxel: its voxel type, and the failures that do not depend on voxels."""
    voxels = [numpy.zeros((1, 1, 1), array.dtype) for array in arrays]
    return _function(name)(*voxels, **arguments)


def _extents_under(halo, arguments):
    """Extents of the masks, and how far they reach below and above their voxel, along z, y, x."""
    below, above, extents = [0] * 3, [0] * 3, [1] * 3
    for argument in halo:
        value = arguments[argument]
        for mask in value if isinstance(value, (list, tuple)) else [value]:
            mask = numpy.asarray(mask)
            if mask.ndim != 3:
                raise ValueError(f"{argument}: an array of {mask.ndim} axes; a mask has three, [z, y, x]")
            anchor = arguments.get("anchor", "center") if not isinstance(value, (list, tuple)) else "center"
            if isinstance(anchor, str):
                anchor = [extent // 2 for extent in mask.shape]
            for axis in range(3):
                extents[axis] = max(extents[axis], mask.shape[axis])
                below[axis] = max(below[axis], int(anchor[axis]))
                above[axis] = max(above[axis], mask.shape[axis] - 1 - int(anchor[axis]))
    return extents, below, above


def _coarse(array, least):
    """The same array in blocks of at least these extents, where it has as many voxels."""
    chunks = []
    for sizes, need in zip(array.chunks, least):
        merged = []
        for size in sizes:
            if merged and (merged[-1] < need or size < need):
                merged[-1] += size
            else:
                merged.append(size)
        if len(merged) > 1 and merged[-1] < need:
            merged[-2:] = [merged[-2] + merged[-1]]
        chunks.append(tuple(merged))
    return array.rechunk(tuple(chunks))


def _in_blocks(name, function, arrays, depth, dtype, options):
    import dask.array

    first = arrays[0]
    if any(array.shape != first.shape for array in arrays):
        raise ValueError(f"{name}(): the volumes have the shapes " +
                         " and ".join(str(array.shape) for array in arrays))
    below, above = depth
    first = _coarse(first, [max(low, high) + 1 for low, high in zip(below, above)])
    arrays = [first] + [array.rechunk(first.chunks) for array in arrays[1:]]
    meta = numpy.empty((0, 0, 0), dtype)
    if not any(below) and not any(above):
        return dask.array.map_blocks(function, *arrays, dtype=dtype, meta=meta, **options)
    overlap = {axis: (below[axis], above[axis]) for axis in range(3)}
    return dask.array.map_overlap(function, *arrays, depth=[overlap] * len(arrays), boundary="none", trim=True,
                                  align_arrays=False, allow_rechunk=False, dtype=dtype, meta=meta, **options)


def apply(name, arguments):
    """Runs an operator on arrays of Dask; ``arguments`` are those of its function."""
    import dask.array

    for unusable in ("out", "progress"):
        if arguments.get(unusable) is not None:
            raise TypeError(f"{name}(): {unusable} is of no use with arrays of Dask")
    for argument in [each for each in arguments if each == "out" or each.startswith("out_")]:
        del arguments[argument]
    del arguments["progress"]
    # Blocks run side by side already.
    if arguments.get("threads") == 0:
        arguments["threads"] = 1
    halo = _halo_of(name)
    is_mask = set(halo) if isinstance(halo, list) else set()
    volumes = [argument for argument, value in arguments.items()
               if argument not in is_mask and (is_lazy(value) or getattr(value, "ndim", 0) == 3)]
    arrays = [dask.array.asarray(arguments.pop(argument)) for argument in volumes]
    if any(array.ndim != 3 for array in arrays):
        raise ValueError(f"{name}(): a volume has three axes, [z, y, x]")
    if any(numpy.isnan(extent) for array in arrays for extent in array.shape):
        raise ValueError(f"{name}(): the extents of the volume are not known; call compute_chunk_sizes() first")
    for argument in is_mask:
        value = arguments[argument]
        arguments[argument] = value.compute() if is_lazy(value) else value
    if name in _merging.RULES:
        return _merging.RULES[name](_function(name), arrays, arguments)
    if halo == "whole":
        raise NotSupportedError(f"{name}() needs the whole volume, so it cannot run block by block; load the array "
                                "first, with .compute()")
    named = dict(operator=name, arguments=arguments)
    if isinstance(halo, list):
        extents, below, above = _extents_under(halo, arguments)
        if any(need > have for need, have in zip(extents, arrays[0].shape)):
            _sample(name, arrays, arguments)  # the library's failure
        named["extents"] = extents
        return _in_blocks(name, _run_under_masks, arrays, (below, above), arrays[0].dtype, named)
    sample = _sample(name, arrays, arguments)
    results = sample if isinstance(sample, tuple) else (sample,)
    dtype = next(result.dtype for result in results if isinstance(result, numpy.ndarray))
    reach = [halo or 0] * 3
    lazy = _in_blocks(name, _run, arrays, (reach, reach), dtype, named)
    if not isinstance(sample, tuple):
        return lazy
    # What is no volume follows from the arguments alone.
    return type(sample)(*[lazy if isinstance(result, numpy.ndarray) else result for result in sample])
