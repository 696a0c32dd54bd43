"""Arrays in and out: what is copied, what is refused, and how long memory lives."""
import gc
import itertools
import tracemalloc
import weakref

import numpy
import pytest
from conftest import VOXEL_TYPES, random_volume
from hypothesis import given, settings, strategies

import tavi


def address(array):
    return array.__array_interface__["data"][0]


@pytest.mark.parametrize("dtype", VOXEL_TYPES)
def test_every_voxel_type_goes_through_unchanged(dtype):
    volume = random_volume(dtype)
    result = tavi.static_cast(volume)
    assert result.dtype == volume.dtype
    assert numpy.array_equal(result, volume)


VIEWS = {
    "whole": numpy.s_[:, :, :],
    "region": numpy.s_[1:5, 2:7, 3:9],
    "one slice": numpy.s_[3:4, :, :],
    "one column": numpy.s_[:, 4:5, 5:6],
    "one voxel": numpy.s_[2:3, 4:5, 6:7],
    "flipped": numpy.s_[::-1, ::-1, ::-1],
    "flipped region": numpy.s_[5:1:-1, 2:7, 9:3:-1],
}


@pytest.mark.parametrize("axes", list(itertools.permutations(range(3))))
@pytest.mark.parametrize("view", VIEWS.values(), ids=VIEWS.keys())
def test_views_of_a_dense_block_share_memory(view, axes):
    volume = random_volume("uint16")[view].transpose(axes)
    assert tavi.shares_memory(volume)
    assert numpy.array_equal(tavi.static_cast(volume), volume)
    first = tavi.saturation(volume, lower_limit=1000, upper_limit=40000)
    assert numpy.array_equal(first, numpy.clip(volume, 1000, 40000))


@pytest.mark.parametrize("view", [numpy.s_[::2], numpy.s_[:, ::2], numpy.s_[:, :, ::2], numpy.s_[:, ::-3, ::2]])
def test_other_steps_are_copied(view):
    volume = random_volume("int16")[view]
    if view != numpy.s_[::2]:
        assert not tavi.shares_memory(volume) or volume.strides[2] == 2
    assert numpy.array_equal(tavi.static_cast(volume), volume)


def test_shares_memory_tells_what_is_copied():
    volume = random_volume("uint8")
    assert tavi.shares_memory(volume)
    assert not tavi.shares_memory(volume[:, :, ::2])
    assert not tavi.shares_memory(numpy.broadcast_to(volume[:1], volume.shape))
    unaligned = numpy.frombuffer(b"x" + bytes(4 * 24), "uint8")[1:].view("uint32").reshape(2, 3, 4)
    assert not tavi.shares_memory(unaligned)
    assert numpy.array_equal(tavi.static_cast(unaligned), unaligned)


steps = strategies.sampled_from([-3, -2, -1, 1, 2, 3])
slices = strategies.builds(slice, strategies.integers(0, 3), strategies.integers(4, 12), steps.filter(lambda s: s > 0))


@settings(deadline=None, max_examples=200, database=None)
@given(strategies.tuples(slices, slices, slices), strategies.permutations(range(3)),
       strategies.tuples(*[strategies.booleans()] * 3))
def test_any_view_gives_the_voxels_of_its_copy(region, axes, flips):
    volume = random_volume("int16", (8, 9, 10))[region].transpose(axes)
    volume = volume[tuple(slice(None, None, -1 if flip else 1) for flip in flips)]
    assert numpy.array_equal(tavi.voxel_value_replacement(volume, changing_value=volume.flat[0], new_value=0),
                             numpy.where(volume == volume.flat[0], 0, volume))


def test_input_is_not_copied():
    volume = numpy.zeros((64, 256, 256), "uint8")[:, 10:200, ::-1]
    tavi.extreme_value_calculation(volume, threads=1)
    tracemalloc.start()
    tavi.extreme_value_calculation(volume, threads=1)
    peak = tracemalloc.get_traced_memory()[1]
    tracemalloc.stop()
    assert peak < 100_000


def test_out_is_filled_in_place():
    volume = random_volume("uint16")
    target = numpy.zeros_like(volume)
    result = tavi.saturation(volume, lower_limit=100, upper_limit=4000, out=target)
    assert result is target
    assert numpy.array_equal(target, numpy.clip(volume, 100, 4000))


def test_out_may_be_the_input():
    volume = random_volume("uint16")
    expected = numpy.clip(volume, 100, 4000)
    assert tavi.saturation(volume, lower_limit=100, upper_limit=4000, out=volume) is volume
    assert numpy.array_equal(volume, expected)


@pytest.mark.parametrize("shift", [1, 3])
def test_out_may_overlap_the_input(shift):
    block = random_volume("uint8", (12, 9, 11))
    expected = tavi.erosion(block[:-shift].copy(), tavi.box(3), anchor="center", out=block[shift:].copy())
    assert numpy.array_equal(tavi.erosion(block[:-shift], tavi.box(3), anchor="center", out=block[shift:]), expected)


@pytest.mark.parametrize("view", [numpy.s_[::-1, :, ::-1], numpy.s_[2:6, 1:8, 3:9], numpy.s_[::2, ::2, ::2]])
def test_out_may_be_a_view_and_nothing_beside_it_changes(view):
    block = numpy.full((8, 9, 10), 7, "uint16")
    outside = numpy.ones(block.shape, bool)
    outside[view] = False
    volume = random_volume("uint16", block[view].shape)
    target = block[view]
    assert tavi.saturation(volume, lower_limit=100, upper_limit=4000, out=target) is target
    assert numpy.array_equal(block[view], numpy.clip(volume, 100, 4000))
    assert (block[outside] == 7).all()


def test_out_of_another_shape_is_refused_and_nothing_beside_it_changes():
    # The result has just the extents of the block that the target is a region of.
    block = numpy.full((8, 9, 10), 7, "uint16")
    volume = random_volume("uint16", block.shape)
    with pytest.raises(ValueError, match=r"out has the shape \(4, 9, 10\), the result has \(8, 9, 10\)"):
        tavi.saturation(volume, lower_limit=100, upper_limit=4000, out=block[:4])
    with pytest.raises(ValueError, match="out has the shape"):
        tavi.saturation(volume, lower_limit=100, upper_limit=4000, out=block[:, 1:3, 2:4])
    assert (block == 7).all()


def test_out_may_be_a_shape():
    volume = random_volume("float32", (6, 8, 10))
    assert tavi.subpixel_exact_binning(volume, out=(3, 4, 5)).shape == (3, 4, 5)


def test_a_result_outlives_its_volume():
    results = [tavi.saturation(random_volume("uint16", seed=i), lower_limit=i, upper_limit=4000) for i in range(20)]
    gc.collect()
    for i, result in enumerate(results):
        assert numpy.array_equal(result, numpy.clip(random_volume("uint16", seed=i), i, 4000))


def test_a_view_of_a_result_outlives_the_result():
    result = tavi.static_cast(random_volume("uint8"))
    part = result[2:4, ::-1]
    expected = part.copy()
    base = weakref.ref(result)
    del result
    gc.collect()
    tavi.static_cast(numpy.zeros((7, 9, 11), "uint8"))
    assert numpy.array_equal(part, expected)
    del part
    gc.collect()
    assert base() is None


def test_inputs_are_released_after_the_call():
    class Block(numpy.ndarray):
        pass

    volume = numpy.zeros((3, 4, 5), "uint8").view(Block)
    gone = weakref.ref(volume)
    result = tavi.saturation(volume, lower_limit=1, upper_limit=2)
    del volume
    gc.collect()
    assert gone() is None
    assert (result == 1).all()


def test_results_are_writable_and_their_own():
    volume = random_volume("uint8")
    first, second = tavi.static_cast(volume), tavi.static_cast(volume)
    assert address(first) != address(second)
    first[:] = 0
    assert numpy.array_equal(second, volume)


def test_the_empty_volume():
    empty = numpy.zeros((0, 0, 0), "uint16")
    assert tavi.saturation(empty, lower_limit=1, upper_limit=2).shape == (0, 0, 0)


@pytest.mark.parametrize("array, error, words", [
    (numpy.zeros((3, 4), "uint8"), ValueError, "numpy.newaxis"),
    (numpy.zeros((3, 4, 5, 6), "uint8"), ValueError, "4 axes"),
    (numpy.zeros((0, 4, 5), "uint8"), ValueError, "all above 0, or all 0"),
    (numpy.zeros((3, 4, 5), "int64"), TypeError, r"astype\('int32'\)"),
    (numpy.zeros((3, 4, 5), bool), TypeError, r"view\('uint8'\)"),
    (numpy.zeros((3, 4, 5), "float16"), TypeError, "float32"),
    (numpy.zeros((3, 4, 5), complex), TypeError, "real part"),
    (numpy.zeros((3, 4, 5), object), TypeError, "volumes hold numbers"),
    (numpy.zeros((3, 4, 5), ">u2"), TypeError, "newbyteorder"),
    (numpy.zeros((3, 4, 5), [("a", "u1")]), TypeError, "volumes hold numbers"),
    (numpy.ma.zeros((3, 4, 5), "uint8"), TypeError, "filled"),
    ([[[1, 2], [3, 4]]], TypeError, "numpy.asarray"),
    (None, TypeError, "volume is missing"),
    (5, TypeError, "not int"),
    ("scan.rek", TypeError, "not str"),
])
def test_other_arrays_are_refused_with_advice(array, error, words):
    with pytest.raises(error, match=words):
        tavi.saturation(array, lower_limit=1, upper_limit=2)


def test_read_only_targets_are_refused():
    volume = random_volume("uint8")
    target = numpy.zeros_like(volume)
    target.setflags(write=False)
    with pytest.raises(ValueError, match="read-only"):
        tavi.saturation(volume, lower_limit=1, upper_limit=2, out=target)


def test_read_only_inputs_are_taken():
    volume = random_volume("uint8")
    volume.setflags(write=False)
    assert tavi.shares_memory(volume)
    assert numpy.array_equal(tavi.static_cast(volume), volume)


def test_arrays_over_files_are_taken(tmp_path):
    block = numpy.memmap(tmp_path / "block", "uint16", "w+", shape=(4, 5, 6))
    block[:] = random_volume("uint16", block.shape)
    assert tavi.shares_memory(block)
    assert numpy.array_equal(tavi.saturation(block, lower_limit=9, upper_limit=999), numpy.clip(block, 9, 999))


def test_steps_that_no_block_can_have_are_copied():
    windows = numpy.lib.stride_tricks.as_strided(numpy.arange(40, dtype="uint16"), (3, 4, 5), (2, 4, 2))
    assert not tavi.shares_memory(windows)
    assert numpy.array_equal(tavi.static_cast(windows), windows)


def test_huge_shapes_without_memory_are_no_crash():
    huge = numpy.lib.stride_tricks.as_strided(numpy.zeros(1, "uint8"), (1 << 20, 1 << 20, 1 << 20), (0, 0, 0))
    with pytest.raises(MemoryError):
        tavi.extreme_value_calculation(huge)
    with pytest.raises((MemoryError, ValueError, OverflowError)):
        tavi.affine_transform(numpy.zeros((2, 2, 2), "float32"), numpy.eye(4), outer_value=0,
                              out=(1 << 40, 1 << 40, 1 << 40))
    with pytest.raises((MemoryError, ValueError, OverflowError)):
        tavi.affine_transform(numpy.zeros((2, 2, 2), "float32"), numpy.eye(4), outer_value=0,
                              out=(1 << 20, 1 << 20, 1 << 10))
