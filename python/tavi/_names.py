"""The one rule by which operators and keys get their names in Python.

Words are parted at capitals and joined with underscores: ``FixNaN`` is ``fix_nan``. A key loses its role, and a count
its ``NumberOf``: ``inputLowerLimit`` is ``lower_limit``, ``inputNumberOfThreads`` is ``threads``. The one volume that
is written is ``out``.
"""
import keyword
import re

_WORD = re.compile(r"NaN|\d+D(?![a-z])|[A-Z]+(?=[A-Z][a-z])|[A-Z]?[a-z]+(?:\d+(?![\dD]))?|[A-Z]+|\d+")
_ROLES = ("input", "output", "modify")


def snake_case(name):
    """
    >>> snake_case("HistogramUpdateErosion"), snake_case("KMeansHistogramSegmentation"), snake_case("RekLz4Reader")
    ('histogram_update_erosion', 'k_means_histogram_segmentation', 'rek_lz4_reader')
    """
    return "_".join(word.lower() for word in _WORD.findall(name))


def without_role(key):
    for role in _ROLES:
        if key.startswith(role):
            return key[len(role):]
    return key


def argument_name(key, takes):
    """
    >>> argument_name("inputNumberOfThreads", "count"), argument_name("inputMask", "mask")
    ('threads', 'mask')
    """
    name = without_role(key)
    if takes == "count" and name.startswith("NumberOf"):
        name = name[len("NumberOf"):]
    name = snake_case(name)
    return name + "_" if keyword.iskeyword(name) else name


def result_name(key):
    """
    >>> result_name("outputNumberOfLabels")
    'number_of_labels'
    """
    return snake_case(without_role(key))
