"""Operators whose results for blocks merge into that for the volume."""
import numpy


def _slices(function, block, arguments):
    """The extremes of each slice, as an array of two voxels per slice."""
    return numpy.stack([numpy.array(function(block[z:z + 1], **arguments), block.dtype).reshape(1, 2)
                        for z in range(len(block))])


def extremes(function, arrays, arguments):
    """The operator itself merges the extremes of blocks. NaN hides whole slices, so those are not divided."""
    import dask

    (volume,) = arrays
    if 0 in volume.shape:
        return function(numpy.zeros((0, 0, 0), volume.dtype), **arguments)
    if volume.dtype.kind == "f":
        volume = volume.rechunk({1: -1, 2: -1})
    parts = dask.compute(*[dask.delayed(_slices)(function, block, arguments) for block in volume.to_delayed().ravel()])
    return function(numpy.concatenate(parts), **arguments)


def _measured(function, blocks, origin, arguments):
    """The records of a block, in places of the volume."""
    records = function(*blocks, **arguments)
    records["roi"]["origin"] += numpy.array(origin, records["roi"]["origin"].dtype)
    for centre in ("geometricCenter", "centerOfGravity"):
        records[centre] += origin
    return records


def _merged(parts):
    """One record for each label; sums are those of the parts, so the last digits of means may differ."""
    records = numpy.concatenate(parts)
    labels, which = numpy.unique(records["label"], return_inverse=True)
    merged = numpy.zeros(len(labels), records.dtype)
    merged["label"] = labels

    def summed(values):
        total = numpy.zeros((len(labels), *values.shape[1:]), "float64")
        numpy.add.at(total, which, values)
        return total

    def least(values, unite):
        result = numpy.empty((len(labels), *values.shape[1:]), values.dtype)
        result[which] = values
        unite.at(result, which, values)
        return result

    sizes = records["size"].astype("float64")
    merged["size"] = size = summed(sizes)
    origin = least(records["roi"]["origin"], numpy.minimum)
    end = least(records["roi"]["origin"] + records["roi"]["dim"], numpy.maximum)
    merged["roi"]["origin"], merged["roi"]["dim"] = origin, end - origin
    merged["geometricCenter"] = summed(records["geometricCenter"] * sizes[:, None]) / size[:, None]
    merged["minimum"] = least(records["minimum"], numpy.minimum)
    merged["maximum"] = least(records["maximum"], numpy.maximum)
    merged["mean"] = mean = summed(records["mean"] * sizes) / size
    # Squares of distances within the parts, and of the parts' means from that of all.
    squares = summed(records["variance"] * (sizes - 1) + sizes * (records["mean"] - mean[which]) ** 2)
    merged["variance"] = numpy.where(size > 1, squares / numpy.maximum(size - 1, 1), 0)
    weights = numpy.where(records["centerOfGravityIsValid"], records["mean"] * sizes, 0)
    with numpy.errstate(invalid="ignore", divide="ignore"):
        total = summed(weights)
        valid = (merged["minimum"] >= 0) & (mean * size > 0)
        centres = numpy.where(records["centerOfGravityIsValid"][:, None], records["centerOfGravity"], 0)
        centre = summed(centres * weights[:, None]) / total[:, None]
    merged["centerOfGravity"] = numpy.where(valid[:, None], centre, numpy.nan)
    merged["centerOfGravityIsValid"] = valid
    _shape(merged)
    return merged


def _shape(records):
    """What follows from size and box."""
    extents = records["roi"]["dim"].astype("float64")
    _, middle, large = numpy.sort(extents, axis=1).T
    records["fillFactor"] = records["size"] / extents.prod(axis=1)
    records["aspectRatio"] = middle / large
    # The two extents whose ratio is next to 1; of equal ratios the later pair counts.
    nearest = numpy.zeros(len(records))
    for first, second in ((2, 1), (2, 0), (1, 0)):
        a, b = extents[:, first], extents[:, second]
        ratio = numpy.minimum(a, b) / numpy.maximum(a, b)
        is_nearer = ratio >= nearest
        nearest = numpy.where(is_nearer, ratio, nearest)
        records["diameter"] = numpy.where(is_nearer, 0.5 * (a + b), records["diameter"])


def features(function, arrays, arguments):
    """Records of blocks with the same label become one."""
    import dask

    labels, values = arrays
    if labels.shape != values.shape:
        raise ValueError(f"standard_features_calculation(): the volumes have the shapes {labels.shape} and "
                         f"{values.shape}")
    values = values.rechunk(labels.chunks)
    origins = [numpy.concatenate([[0], numpy.cumsum(sizes)[:-1]]) for sizes in labels.chunks]
    parts = []
    blocks = values.to_delayed()
    for index, block in numpy.ndenumerate(labels.to_delayed()):
        origin = [int(origins[axis][index[axis]]) for axis in range(3)]
        parts.append(dask.delayed(_measured)(function, [block, blocks[index]], origin, arguments))
    return _merged(dask.compute(*parts))


RULES = {"extreme_value_calculation": extremes, "standard_features_calculation": features}
