"""Volume files of all kinds, by the end of the name."""
import os

from tavi import _core, _operators
from tavi._names import snake_case


def _name_of(path):
    # Bytes keep whatever the file system holds; the library says which names it takes.
    return os.fsencode(os.fspath(path))


def _kind_of(path):
    """The reader of a file, found before it is opened."""
    return _core.reader_of(_name_of(path))


def read(path, *, progress=None):
    """The volume of a file, as an array [z, y, x] of the file's voxel type.

    The end of the name tells the kind: .rek, .rek.gz, .rek.lz4, .vti, .tif, .tiff, .png, .bmp or .xsc. What else a file
    holds, such as a header or the size of a voxel, comes from its reader: ``tavi.rek_reader(path)`` and so on.

    >>> import numpy, tavi
    >>> tavi.write("scan.rek", numpy.ones((4, 6, 8), "uint16"))
    >>> tavi.read("scan.rek").shape
    (4, 6, 8)
    """
    result = getattr(_operators, snake_case(_kind_of(path)))(_name_of(path), progress=progress)
    return result.volume if isinstance(result, tuple) else result


def write(path, volume, **options):
    """Writes an array [z, y, x] to a file whose kind the end of its name tells.

    The file is written beside its target and put in place when it is complete, so a failure or an interrupt leaves the
    old file. ``options`` are those of the writer: ``tavi.write("scan.tif", a, compression=5)``.

    >>> import numpy, tavi
    >>> tavi.write("scan.vti", numpy.zeros((2, 3, 4), "float32"))
    """
    function = getattr(_operators, snake_case(_core.writer_of(_name_of(path))))
    target = _core.TargetFile(_name_of(path))
    function(target.name(), volume, **options)
    target.complete()


def info(path):
    """What a file holds, as a dict: its kind, shape, dtype and bytes of voxels, and what its header says.

    Voxels are read only of files whose head does not tell their extents (.bmp, .xsc).

    >>> import numpy, tavi
    >>> tavi.write("scan.rek", numpy.ones((4, 6, 8), "uint16"))
    >>> tavi.info("scan.rek")["shape"]
    (4, 6, 8)
    """
    import numpy

    reader = _kind_of(path)
    head = _core.read_head(reader, _name_of(path))
    facts = {"file": os.fsdecode(_name_of(path)), "reader": snake_case(reader)}
    voxel_type = head.pop("outputVoxelType", "").replace("NORV::", "")
    shape = head.pop("outputDimension", None) or head.pop("outputDim", None)
    if voxel_type and shape:
        dtype = numpy.dtype(voxel_type)
    else:
        result = getattr(_operators, snake_case(reader))(_name_of(path))
        volume = result.volume if isinstance(result, tuple) else result
        shape, dtype = volume.shape, volume.dtype
        if isinstance(result, tuple):
            head = {name: value for name, value in result._asdict().items() if name != "volume"}
    facts.update(shape=tuple(shape), dtype=dtype, bytes=int(numpy.prod(shape, dtype=object)) * dtype.itemsize)
    facts.update((snake_case(name.removeprefix("output")), value) for name, value in head.items())
    return facts
