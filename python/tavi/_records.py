"""Records of measured objects."""


def to_pandas(records):
    """A structured array, such as the records of ``standard_features_calculation``, as a table of pandas.

    An entry with several numbers becomes a column for each: ``geometricCenter.z``, ``roi.origin.x``.

    >>> import numpy, tavi
    >>> labels = numpy.zeros((4, 6, 8), "uint8")
    >>> labels[1:3, 2:4, 3:5] = 1
    >>> records = tavi.standard_features_calculation(labels, labels, minimum_label=1, maximum_label=1)
    >>> int(tavi.to_pandas(records)["size"][0])
    8
    """
    try:
        import pandas
    except ImportError as error:
        raise ImportError("tavi.to_pandas() needs pandas, which is not there: install python3-pandas") from error

    if getattr(records, "dtype", None) is None or records.dtype.names is None:
        raise TypeError("to_pandas(): expected a structured array, as standard_features_calculation returns it")
    columns = {}

    def add(name, values):
        if values.dtype.names is not None:
            for field in values.dtype.names:
                add(f"{name}.{field}" if name else field, values[field])
        elif values.ndim == 2:
            for index, axis in enumerate("zyx"):
                columns[f"{name}.{axis}"] = values[:, index]
        else:
            columns[name] = values

    add("", records)
    return pandas.DataFrame(columns)
