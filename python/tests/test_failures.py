"""Failures as exceptions, and hostile arguments."""
import builtins
import copy
import pickle

import numpy
import pytest
from conftest import random_volume

import tavi

VOLUME = random_volume("uint16")


def test_every_class_is_an_error_of_the_library():
    for name in tavi._failures.__all__:
        cls = getattr(tavi, name)
        assert issubclass(cls, tavi.Error) and cls.__module__ == "tavi" and cls.__doc__
    assert issubclass(tavi.InvalidParameterObjectError, ValueError)
    assert issubclass(tavi.FileOpenError, OSError)
    assert issubclass(tavi.OutOfMemoryError, MemoryError)
    assert issubclass(tavi.NumericalOverflowError, builtins.OverflowError)


def test_the_text_is_the_librarys_and_the_hint_a_note():
    with pytest.raises(tavi.InvalidParameterObjectError) as caught:
        tavi.saturation(VOLUME, lower_limit=1, upper_limit=2, out=numpy.zeros(VOLUME.shape, "int8"))
    error = caught.value
    assert isinstance(error, ValueError)
    assert str(error) == ("NORV::TaviOperators::DLL::Saturation::IOperator::getOperatorTypeFromParameterObject: "
                          "Voxel types must be equal!")
    assert error.operator == "Saturation"
    assert error.hint and error.__notes__ == [error.hint]
    assert "inputVolume is uint16, outputVolume is int8" in error.hint


def test_failures_of_the_family_keep_where_they_came_from():
    with pytest.raises(tavi.InvalidArgError) as caught:
        tavi.affine_transform(VOLUME.astype("float32"), numpy.zeros((4, 4)), outer_value=0)
    assert caught.value.origin and caught.value.origin in str(caught.value)


def test_files_that_are_not_there():
    with pytest.raises(OSError) as caught:
        tavi.read("absent.rek")
    assert isinstance(caught.value, tavi.FileError)
    assert "No such file or directory" in caught.value.hint
    assert caught.value.filename == "absent.rek"


@pytest.mark.parametrize("call", [
    lambda: tavi.read("absent.rek"),
    lambda: tavi.maximum(VOLUME, VOLUME[:2]),
    lambda: tavi.affine_transform(VOLUME.astype("float32"), numpy.zeros((4, 4)), outer_value=0),
])
def test_failures_survive_pickling_and_copying(call):
    with pytest.raises(tavi.Error) as caught:
        call()
    error = caught.value
    for twin in (pickle.loads(pickle.dumps(error)), copy.copy(error), copy.deepcopy(error)):
        assert type(twin) is type(error) and str(twin) == str(error)
        assert (twin.hint, twin.operator, twin.origin) == (error.hint, error.operator, error.origin)
        assert getattr(twin, "__notes__", None) == getattr(error, "__notes__", None)
        if isinstance(error, OSError):
            assert (twin.errno, twin.filename) == (error.errno, error.filename)


@pytest.mark.parametrize("value, error, words", [
    (70000, ValueError, r"lower_limit=70000: expected a whole number from 0 to 65535 \(uint16\)"),
    (-1, ValueError, "from 0 to 65535"),
    (1.5, ValueError, "a whole number"),
    (float("nan"), ValueError, "a whole number"),
    (float("inf"), ValueError, "a whole number"),
    (10 ** 30, ValueError, "from 0 to 65535"),
    (1e300, ValueError, "from 0 to 65535"),
    (True, TypeError, "expected a number, not bool"),
    ("5", TypeError, "expected a number, not str"),
    (None, TypeError, None),
    (1j, TypeError, "not complex"),
    ([1], TypeError, "not list"),
    (numpy.array([1]), TypeError, "not ndarray"),
    (object(), TypeError, "not object"),
])
def test_grey_values_that_do_not_fit(value, error, words):
    if value is None:
        with pytest.raises((tavi.NULLPointerError, TypeError)):
            tavi.saturation(VOLUME, lower_limit=value, upper_limit=9)
        return
    with pytest.raises(error, match=words):
        tavi.saturation(VOLUME, lower_limit=value, upper_limit=9)


def test_floating_point_values_that_do_not_fit():
    volume = VOLUME.astype("float32")
    with pytest.raises(ValueError, match="float32 can hold"):
        tavi.saturation(volume, lower_limit=1e300, upper_limit=2)
    assert (tavi.saturation(volume, lower_limit=float("-inf"), upper_limit=float("inf")) == volume).all()


HOSTILE = [None, True, -1, 2 ** 64, 1.5, float("nan"), "", "x\0y", b"\xff", (), (1, 2), (1, 2, 3, 4), (-1, -1, -1),
           ("a", "b", "c"), [], {}, object(), numpy.zeros(0), numpy.zeros((2, 2, 2), object), numpy.zeros((2, 2)),
           numpy.zeros((0, 0, 0), "uint8"), numpy.zeros((1, 1, 1), "float64"), type, lambda: 0, 1j, Ellipsis]


@pytest.mark.parametrize("name", tavi.OPERATORS)
def test_hostile_values_for_each_argument_raise_and_nothing_else(name, capfd):
    import inspect

    function = getattr(tavi, name)
    parameters = inspect.signature(function).parameters
    small = numpy.ones((3, 4, 5), "uint8")
    usual = {"filename": "out.rek", "mask": tavi.box(1), "matrix_volume": numpy.eye(4), "kernel_volume": [tavi.box(1)],
             "downsampling_factor": 1, "down_sampling_factor": 1, "classes": 2, "labels": 2}
    good = {}
    for argument, parameter in parameters.items():
        if parameter.default is parameter.empty:
            good[argument] = usual.get(argument, small if parameter.kind == parameter.POSITIONAL_OR_KEYWORD else 1)
    for argument in parameters:
        for value in HOSTILE:
            if argument == "filename" and isinstance(value, (str, bytes)) and value and name.endswith("writer"):
                continue
            try:
                function(**{**good, argument: value})
            except (TypeError, ValueError, tavi.Error):
                pass


@pytest.mark.parametrize("arguments", [
    {"out": None, "threads": -1}, {"threads": 2 ** 31}, {"threads": 2 ** 70}, {"threads": 1.5}, {"threads": "2"},
])
def test_thread_counts_that_are_none(arguments):
    with pytest.raises((ValueError, TypeError), match="threads"):
        tavi.saturation(VOLUME, lower_limit=1, upper_limit=2, **arguments)


def test_missing_and_unknown_arguments():
    with pytest.raises(TypeError, match="lower_limit"):
        tavi.saturation(VOLUME, upper_limit=2)
    with pytest.raises(TypeError, match="limit"):
        tavi.saturation(VOLUME, lower_limit=1, upper_limit=2, limit=3)


def test_anchors_that_are_none():
    mask = tavi.box(3)
    for anchor in ("middle", (1, 2), (1, 2, 3, 4), (1.5, 0, 0), (-1, 0, 0), "x"):
        with pytest.raises((TypeError, ValueError), match="anchor"):
            tavi.erosion(VOLUME, mask, anchor=anchor)
    with pytest.raises(tavi.InvalidArgError):
        tavi.erosion(VOLUME, mask, anchor=(100, 100, 100))
    with pytest.raises((tavi.Error, ValueError, TypeError)):
        tavi.erosion(VOLUME, tavi.box(3) * 0)
    with pytest.raises(TypeError, match="uint8 or bool"):
        tavi.erosion(VOLUME, tavi.box(3).astype("uint16"))


def test_voxel_types_that_are_none():
    with pytest.raises(TypeError, match="int64 is no voxel type"):
        tavi.static_cast(VOLUME, dtype="int64")
    with pytest.raises(TypeError):
        tavi.static_cast(VOLUME, dtype="no type")
    with pytest.raises(TypeError, match="leave dtype away"):
        tavi.static_cast(VOLUME, dtype="int8", out=numpy.zeros_like(VOLUME))
    with pytest.raises(tavi.Error):
        tavi.saturation(VOLUME, lower_limit=1, upper_limit=2, out=numpy.zeros(VOLUME.shape, "int8"))


def test_masks_that_are_none():
    for extents in (0, -1, (1, 2), "3x3x3", None, 2.5, (1, 2, "3")):
        with pytest.raises((TypeError, ValueError)):
            tavi.ball(extents)
    with pytest.raises(ValueError, match="odd"):
        tavi.ball(4)


def test_a_failure_leaves_the_caller_usable():
    for _ in range(100):
        with pytest.raises(tavi.Error):
            tavi.maximum(VOLUME, VOLUME[:2])
    assert (tavi.maximum(VOLUME, VOLUME) == VOLUME).all()
