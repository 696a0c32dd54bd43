#!/usr/bin/env python3
"""Measures what a call from Python costs above one from C++: a parameter object, its values, a frame and a run."""
import inspect
import timeit

import numpy

import tavi
from tavi import _operators

REPETITIONS = 5000


def main():
    volume = numpy.ones((2, 2, 2), "uint16")
    out = numpy.empty_like(volume)

    def call():
        tavi.saturation(volume, lower_limit=1, upper_limit=9, threads=1, out=out)

    # In the order of the function's arguments.
    given = dict(lower_limit=1, upper_limit=9, threads=1, out=out)
    values = [given.get(name) for name in list(inspect.signature(tavi.saturation).parameters)[1:]]
    pairs = []
    for _ in range(15):
        here = timeit.timeit(call, number=REPETITIONS) / REPETITIONS
        there = _operators._saturation.host_seconds(REPETITIONS, volume, *values)
        pairs.append((here, there))
    here, there = (min(times) for times in zip(*pairs))
    print(f"Python {here * 1e6:.2f} us, C++ {there * 1e6:.2f} us, difference {(here - there) * 1e6:.2f} us a call")


if __name__ == "__main__":
    main()
