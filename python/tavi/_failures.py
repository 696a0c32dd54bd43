"""Failures of the library. Each class is named as its C++ class, and is also the class that Python users expect."""


class Error(Exception):
    """A failure of the library; its text is the library's. The command line's hint stands below it as a note.

    Attributes: ``operator``, ``hint``, ``origin`` (the function that failed), ``source`` and ``line`` (its place in the
    library's sources) and ``information`` (further lines), empty where the failure does not have them.
    """

    operator = ""
    hint = ""
    origin = ""
    source = ""
    line = 0
    information = ()

    def __str__(self):
        return str(self.args[0]) if self.args else ""

    def __reduce__(self):
        system = (self.errno, self.filename) if isinstance(self, OSError) else None
        return _restore, (type(self), self.args, self.__dict__, system)


class InvalidParameterObjectError(Error, ValueError):
    """The arguments do not allow a run."""


class InvalidArgumentError(Error, ValueError):
    """An argument that the operator does not take."""


class InvalidArgError(InvalidArgumentError):
    """A value that is not valid."""


class NULLPointerError(InvalidArgumentError):
    """A value that is missing."""


class InvalidDataError(Error, ValueError):
    """Voxels or contents of a file that do not meet the operator's conditions."""


class InvalidStateError(Error, RuntimeError):
    """A call at the wrong time."""


class OutOfRangeError(Error, ValueError):
    """A value outside of its range."""


class IndexOutOfRangeError(Error, IndexError):
    """An index, or a label, past the end."""


class BadCastError(Error, TypeError):
    """A value of another type."""


class NumericalOverflowError(Error, OverflowError):
    """A number that does not fit its type."""


class NotSupportedError(Error, NotImplementedError):
    """Something that the library does not do."""


class OutOfMemoryError(Error, MemoryError):
    """Memory ran out."""


class RuntimeFailure(Error, RuntimeError):
    """A failure that has no class of its own."""


class FileError(Error, OSError):
    """A failure with a file; ``errno`` and ``filename`` are set where the system gave a reason."""


class FileOpenError(FileError):
    """A file that cannot be opened."""


class FileCreateError(FileError):
    """A file that cannot be created."""


class FileReadError(FileError):
    """A file that cannot be read to its end."""


class FileWriteError(FileError):
    """A file that cannot be written to its end."""


class BadFileError(FileError, ValueError):
    """A file of another kind, or a damaged one."""


_CLASSES = {
    "InvalidParameterObject": InvalidParameterObjectError,
    "InvalidArgument": InvalidArgumentError,
    "InvalidArg": InvalidArgError,
    "NULLPointer": NULLPointerError,
    "InvalidData": InvalidDataError,
    "InvalidState": InvalidStateError,
    "OutOfRange": OutOfRangeError,
    "IndexOutOfRange": IndexOutOfRangeError,
    "BadCast": BadCastError,
    "Overflow": NumericalOverflowError,
    "NumericalOverflow": NumericalOverflowError,
    "NotSupported": NotSupportedError,
    "OutOfMemory": OutOfMemoryError,
    "Runtime": RuntimeFailure,
    "Failure": Error,
    "File": FileError,
    "FileOpen": FileOpenError,
    "FileCreate": FileCreateError,
    "FileRead": FileReadError,
    "FileWrite": FileWriteError,
    "BadFile": BadFileError,
}


def _restore(cls, args, attributes, system):
    error = cls(*args)
    error.__dict__.update(attributes)
    if system is not None:
        error.errno, error.filename = system
    return error


def make(kind, text, hint, operator, origin, source, line, information, file, system_error):
    """The failure of a run; called by the extension module."""
    error = _CLASSES.get(kind, Error)(text)
    error.operator = operator
    error.hint = hint
    error.origin = origin
    error.source = source
    error.line = line
    error.information = tuple(information)
    if isinstance(error, OSError):
        error.errno = system_error or None
        error.filename = file or None
    if hint and hasattr(error, "add_note"):
        error.add_note(hint)
    return error


__all__ = [cls.__name__ for cls in dict.fromkeys([Error, *_CLASSES.values()])]

# They are known by the name under which users catch them.
for _name in __all__:
    globals()[_name].__module__ = "tavi"
