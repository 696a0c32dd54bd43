"""Arrays of Dask: the voxels are those of the undivided run."""
import json
import os
import pathlib
import subprocess
import sys

import numpy
import pytest
from numpy.lib import recfunctions
from conftest import random_volume

import tavi
from tavi import _core
from tavi._names import snake_case

array = pytest.importorskip("dask.array")

CHUNKS = [(7, 9, 11), (3, 4, 5), (1, 9, 11), (7, 2, 3), (2, 5, 1)]
SHAPE = (13, 14, 15)


def lazy(volume, chunks):
    return array.from_array(volume, chunks=chunks)


def halo_of(operator):
    return json.loads(_core.describe(operator))["documentation"]["Halo"]


@pytest.mark.parametrize("chunks", CHUNKS)
@pytest.mark.parametrize("mask, anchor", [
    (tavi.ball(3), "center"), (tavi.box((1, 4, 2)), (0, 3, 0)), (tavi.box((5, 1, 3)), (0, 0, 2)),
    (tavi.ball(9), "center"), (tavi.box((13, 1, 1)), (4, 0, 0)),
])
@pytest.mark.parametrize("function", [tavi.erosion, tavi.histogram_update_median, tavi.histogram_update_erosion])
def test_neighbourhoods(function, mask, anchor, chunks):
    volume = random_volume("uint16", SHAPE)
    result = function(lazy(volume, chunks), mask, anchor=anchor)
    assert isinstance(result, array.Array) and result.shape == SHAPE and result.dtype == "uint16"
    assert numpy.array_equal(result.compute(), function(volume, mask, anchor=anchor))


@pytest.mark.parametrize("chunks", CHUNKS)
def test_kernels_that_change_from_voxel_to_voxel(chunks):
    volume, which = random_volume("int16", SHAPE), random_volume("uint8", SHAPE, seed=2, high=2)
    kernels = [tavi.box(1), tavi.ball(5), tavi.box((3, 1, 1))]
    result = tavi.adaptive_median(lazy(volume, chunks), which, kernels)
    assert numpy.array_equal(result.compute(), tavi.adaptive_median(volume, which, kernels))


@pytest.mark.parametrize("chunks", CHUNKS)
def test_edges(chunks):
    volume = random_volume("float32", SHAPE)
    result = tavi.zero_crossing_edge_detector(lazy(volume, chunks), edge_value=255, background_value=3)
    expected = tavi.zero_crossing_edge_detector(volume, edge_value=255, background_value=3)
    assert result.dtype == expected.dtype == "uint8"
    assert numpy.array_equal(result.compute(), expected)


CALLS = {
    "AdjustLinear": dict(original_minimum_value=10, original_maximum_value=90, result_minimum_value=0,
                         result_maximum_value=200, dtype="uint8"),
    "AttenuationScaling": dict(minimum_attenuation_value=1, maximum_attenuation_value=90, minimum_output_grey_value=0,
                               maximum_output_grey_value=200, offset=0, factor=1),
    "BitPatternBinarization": dict(bit_pattern=4, background_value=0, foreground_value=1),
    "ConversionFromAttenuationCoefficient": dict(minimum_coefficient=-50, maximum_coefficient=50,
                                                 minimum_scaled_value=0, maximum_scaled_value=255),
    "ConversionToAttenuationCoefficient": dict(offset=1, factor=2, dtype="float32"),
    "FixNaN": dict(replacement_value=3),
    "Inversion": {},
    "Maximum": {},
    "Minimum": {},
    "RangeBinarization": dict(minimum_threshold=10, maximum_threshold=90, background_value=0, foreground_value=1),
    "Round": {},
    "Saturation": dict(lower_limit=10, upper_limit=90),
    "StaticCast": dict(dtype="float64"),
    "SwapByteOrder": {},
    "VoxelValueReplacement": dict(changing_value=5, new_value=7),
}


@pytest.mark.parametrize("operator", [name for name in _core.operators() if halo_of(name).startswith("none")])
def test_voxel_by_voxel(operator):
    floating = operator in ("FixNaN", "Round", "ConversionFromAttenuationCoefficient")
    volumes = [random_volume("float32" if floating else "uint16", SHAPE, seed=i, high=100) for i in range(2)]
    volumes = volumes[:2 if operator in ("Maximum", "Minimum") else 1]
    function = getattr(tavi, snake_case(operator))
    expected = function(*volumes, **CALLS[operator])
    result = function(*[lazy(volume, (3, 4, 5)) for volume in volumes], **CALLS[operator])
    if isinstance(expected, tuple):
        assert type(result) is type(expected)
        assert result[:-1] == expected[:-1]
        result, expected = result.volume, expected.volume
    assert result.dtype == expected.dtype
    assert numpy.array_equal(result.compute(), expected)


def test_a_lazy_and_a_loaded_volume_go_together():
    first, second = random_volume("uint8", SHAPE), random_volume("uint8", SHAPE, seed=2)
    for pair in ((lazy(first, (3, 4, 5)), second), (first, lazy(second, 4)), (lazy(first, (3, 4, 5)), lazy(second, 5))):
        assert numpy.array_equal(tavi.maximum(*pair).compute(), numpy.maximum(first, second))


@pytest.mark.parametrize("dtype", ["uint8", "int32", "float32"])
@pytest.mark.parametrize("chunks", CHUNKS)
def test_extremes(dtype, chunks):
    volume = random_volume(dtype, SHAPE)
    assert tavi.extreme_value_calculation(lazy(volume, chunks)) == tavi.extreme_value_calculation(volume)


def test_extremes_hide_the_slices_that_the_operator_hides():
    volume = random_volume("float32", SHAPE)
    volume[3, 0, 0] = volume[5, 5, 5] = numpy.nan
    assert tavi.extreme_value_calculation(lazy(volume, (4, 5, 6))) == tavi.extreme_value_calculation(volume)
    volume[0, 0, 0] = numpy.nan
    assert numpy.isnan(tavi.extreme_value_calculation(lazy(volume, (4, 5, 6)))).all()


@pytest.mark.parametrize("chunks", CHUNKS)
@pytest.mark.parametrize("low", [0, -50])
def test_features(chunks, low):
    labels = random_volume("uint8", SHAPE, high=30)
    labels[labels > 25] = 0
    values = random_volume("int16", SHAPE, seed=2, low=low, high=200)
    values[labels == 7] = 0
    arguments = dict(minimum_label=1, maximum_label=200)
    expected = tavi.standard_features_calculation(labels, values, **arguments)
    result = tavi.standard_features_calculation(lazy(labels, chunks), lazy(values, (5, 5, 5)), **arguments)
    assert result.dtype == expected.dtype and len(result) == len(expected) == 25
    table = recfunctions.structured_to_unstructured
    assert numpy.allclose(table(result), table(expected), rtol=1e-9, atol=1e-9, equal_nan=True)
    for exact in ("label", "size", "minimum", "maximum", "centerOfGravityIsValid", "diameter", "aspectRatio"):
        assert numpy.array_equal(result[exact], expected[exact])


@pytest.mark.parametrize("operator", [name for name in _core.operators() if halo_of(name).startswith("whole")
                                      and not name.endswith(("Reader", "Writer"))
                                      and name not in ("SobelKernelCreation", "ExtremeValueCalculation",
                                                       "StandardFeaturesCalculation")])
def test_operators_that_need_the_whole_volume_say_so(operator):
    import inspect

    function = getattr(tavi, snake_case(operator))
    required = [parameter for parameter in inspect.signature(function).parameters.values()
                if parameter.default is parameter.empty]
    volume = lazy(random_volume("uint8", SHAPE), (4, 5, 6))
    values = {each.name: volume if each.kind == each.POSITIONAL_OR_KEYWORD else 1 for each in required}
    with pytest.raises(tavi.NotSupportedError, match="needs the whole volume"):
        function(**values)


@pytest.mark.parametrize("volume, arguments, error, words", [
    (lazy(random_volume("uint8", SHAPE), 4), dict(out=numpy.zeros(SHAPE, "uint8")), TypeError, "out"),
    (lazy(random_volume("uint8", SHAPE), 4), dict(progress=True), TypeError, "progress"),
    (lazy(random_volume("uint8", SHAPE), 4), dict(lower_limit=300), ValueError, "from 0 to 255"),
    (lazy(random_volume("uint8", SHAPE), 4)[0], {}, ValueError, "three axes"),
    (lazy(random_volume("uint8", SHAPE), 4).astype("int64"), {}, TypeError, "no voxel type"),
])
def test_failures_come_before_the_work(volume, arguments, error, words):
    with pytest.raises(error, match=words):
        tavi.saturation(volume, **{"lower_limit": 1, "upper_limit": 2, **arguments})


def test_masks_longer_than_the_volume_fail_as_for_loaded_ones():
    volume = random_volume("uint8", (3, 4, 5))
    with pytest.raises(tavi.InvalidArgError):
        tavi.erosion(volume, tavi.box(7))
    with pytest.raises(tavi.InvalidArgError):
        tavi.erosion(lazy(volume, 2), tavi.box(7))


def test_nothing_runs_before_it_is_asked_for():
    def fail(block):
        raise AssertionError("loaded")

    meta = numpy.zeros((0, 0, 0), "uint8")
    volume = lazy(random_volume("uint8", SHAPE), 4).map_blocks(fail, dtype="uint8", meta=meta)
    result = tavi.erosion(volume, tavi.ball(3), anchor="center")
    with pytest.raises(AssertionError, match="loaded"):
        result.compute()


def test_from_disk_to_disk_on_a_cluster_of_processes():
    pytest.importorskip("distributed")
    example = pathlib.Path(os.environ["TAVI_SOURCE_DIR"]) / "examples" / "larger_than_memory.py"
    run = subprocess.run([sys.executable, str(example), "--mebibytes", "16", "--folder", "."], capture_output=True,
                         text=True, timeout=300, check=False)
    assert run.returncode == 0, run.stdout + run.stderr
    scan, eroded = numpy.load("scan.npy", mmap_mode="r"), numpy.load("eroded.npy", mmap_mode="r")
    assert numpy.array_equal(eroded, tavi.erosion(numpy.array(scan), tavi.ball(5), anchor="center"))
