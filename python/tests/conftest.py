"""What the tests share."""
import os

import numpy
import pytest

SHARED = os.environ.get("TAVI_TEST_DATA", "")
VOXEL_TYPES = ("int8", "uint8", "int16", "uint16", "int32", "uint32", "float32", "float64")


def random_volume(dtype, shape=(7, 9, 11), seed=1, low=None, high=None):
    """Voxels over the whole range of the type, or between low and high."""
    random = numpy.random.default_rng(seed)
    if numpy.dtype(dtype).kind == "f":
        return (random.random(shape) * 200 - 100).astype(dtype)
    limits = numpy.iinfo(dtype)
    return random.integers(limits.min if low is None else low, limits.max if high is None else high, shape, dtype,
                           endpoint=True)


@pytest.fixture(autouse=True)
def work_in_empty_folder(tmp_path, monkeypatch):
    monkeypatch.chdir(tmp_path)
