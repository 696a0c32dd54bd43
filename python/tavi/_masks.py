"""Structuring elements, as the command line draws them."""
import operator

from tavi import _core


def _drawn(shape, extents):
    try:
        extents = (operator.index(extents),) * 3
    except TypeError:
        extents = tuple(operator.index(extent) for extent in extents)
    if len(extents) != 3 or min(extents) < 1:
        raise ValueError(f"{shape}(): extents={extents!r}: expected one extent, or three (z, y, x), all above 0")
    return _core.mask(shape, "x".join(str(extent) for extent in reversed(extents)))


def box(extents):
    """A mask whose whole box belongs to the element: an array of uint8 that is 1 everywhere.

    ``extents`` is one number, or the shape (z, y, x).

    >>> import tavi
    >>> tavi.box((1, 2, 3)).shape
    (1, 2, 3)
    """
    return _drawn("box", extents)


def ball(extents):
    """A ball, or an ellipsoid, that fits into odd extents: an array of uint8 that is 1 inside.

    >>> import tavi
    >>> int(tavi.ball(3).sum())
    7
    """
    return _drawn("ball", extents)


def cross(extents):
    """The three axes through the middle of odd extents: an array of uint8 that is 1 on them.

    >>> import tavi
    >>> int(tavi.cross(5).sum())
    13
    """
    return _drawn("cross", extents)
