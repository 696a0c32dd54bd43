"""Operators on three-dimensional voxel volumes, on arrays of NumPy.

Volumes are arrays [z, y, x] of int8, uint8, int16, uint16, int32, uint32, float32 or float64. Regions, flipped and
swapped axes are taken without a copy. Each operator is a function; ``tavi.OPERATORS`` lists them, and ``help`` tells
what one does:

>>> import numpy, tavi
>>> scan = numpy.arange(5 * 6 * 7, dtype="uint16").reshape(5, 6, 7)
>>> eroded = tavi.erosion(scan, mask=tavi.ball(3), anchor="center")
>>> eroded.shape, int(eroded[2, 2, 2])
((5, 6, 7), 58)
>>> tavi.extreme_value_calculation(scan[1:3])
ExtremeValueCalculationResult(minimum_value=42, maximum_value=125)

Places, extents and matrices are in the order of the axes of an array, (z, y, x). A failure of the library is a
``tavi.Error``, and also the class that Python has for it.
"""
from tavi import _failures
from tavi._core import shares_memory
from tavi._failures import *  # noqa: F401,F403
from tavi._files import info, read, write
from tavi._masks import ball, box, cross
from tavi._operators import *  # noqa: F401,F403
from tavi._operators import OPERATORS
from tavi._records import to_pandas
from tavi._show import show
from tavi._version import __version__

__all__ = [
    "OPERATORS", "ball", "box", "cross", "info", "read", "shares_memory", "show", "to_pandas", "write",
    *OPERATORS, *_failures.__all__,
]
