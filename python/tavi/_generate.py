"""Makes the functions of the operators, and their types for editors, from the key tables. Runs while the package is
built; nothing of it is needed afterwards."""
import json
import os
import re
import tempfile
import textwrap

from tavi import _core, _failures

_WIDTH = 110
_VOLUMES = ("volume", "label volume", "mask volume", "matrix", "list of volumes")
_ARRAYS = ("volume", "label volume", "mask volume")
_TYPES = {
    "volume": "Volume",
    "label volume": "Volume",
    "mask volume": "Mask",
    "matrix": "Matrix",
    "list of volumes": "Sequence[Mask]",
    "grey value": "float",
    "count": "int",
    "number": "float",
    "text": "str",
    "flag": "bool",
    "file name": "Path",
    "dimension": "Extents",
    "position": "Place",
    "region": "Tuple[slice, slice, slice]",
    "object": "Any",
}
# Kinds of failures that are no classes of the library's own.
_ORDINARY_WORDS = ("Failure", "File", "InvalidArgument", "InvalidParameterObject", "OutOfMemory", "Overflow", "Runtime")
_RESULT_TYPES = {"grey value": "float", "count": "int", "number": "float", "text": "str", "flag": "bool",
                 "dimension": "Tuple[float, float, float]", "position": "Tuple[float, float, float]"}


class _Argument:
    def __init__(self, name, key, default, required, positional, annotation):
        self.name, self.key, self.default = name, key, default
        self.required, self.positional, self.annotation = required, positional, annotation

    def signature(self, annotated=False):
        text = self.name
        if annotated:
            text += ": " + self.annotation
        if not self.required:
            text += (" = " if annotated else "=") + repr(self.default)
        return text


def _default(key):
    value = key["default"]
    if key["takes"] in ("dimension", "position") and isinstance(value, list):
        return tuple(reversed(value))
    return tuple(value) if isinstance(value, list) else value


class Function:
    """One operator as a function."""

    def __init__(self, operator):
        self.table = json.loads(_core.describe(operator))
        self.operator = operator
        self.name = self.table["pythonName"]
        self.keys = self.table["keys"]
        self.inputs = [key for key in self.keys if key["role"] != "output"]
        self.results = [key for key in self.keys if key["role"] != "input"]
        self.outputs = [key for key in self.keys if key["role"] == "output" and key["takes"] in _ARRAYS]
        self.instances = self.table["voxelTypes"]
        self.arguments = self._arguments()
        self.result_type = operator + "Result" if len(self.results) > 1 else None

    def _arguments(self):
        arguments = []
        for key in self.inputs:
            name = key["pythonName"]
            positional = key["required"] and (key["takes"] in _VOLUMES or key["takes"] == "file name")
            annotation = _TYPES[key["takes"]]
            if not key["required"] and _default(key) is None:
                annotation = f"Optional[{annotation}]"
            arguments.append(_Argument(name, key, _default(key), key["required"], positional, annotation))
        # File names before volumes, then what else is required, then the rest.
        arguments.sort(key=lambda a: (not a.positional, a.positional and a.key["takes"] != "file name", not a.required))
        for key in self.outputs:
            name = "out" if len(self.outputs) == 1 else "out_" + key["pythonName"]
            arguments.append(_Argument(name, key, None, False, False, "Optional[Union[Volume, Tuple[int, int, int]]]"))
        if self.outputs and self.dtype_default is not False:
            annotation = "Optional[DType]" if self.dtype_default is None else "DType"
            arguments.append(_Argument("dtype", None, self.dtype_default, False, False, annotation))
        arguments.append(_Argument("progress", None, None, False, False, "Progress"))
        return arguments

    @property
    def dtype_default(self):
        """False where the result has the voxel type of the input in any case."""
        if not any(key["takes"] in _VOLUMES for key in self.inputs):
            reads_file = any(key["takes"] == "file name" for key in self.inputs)
            return False if reads_file else "float32"
        return False if all(types[0] == types[-1] for types in self.instances) else None

    # Texts

    def in_python(self, text):
        """A text of the library with the names that Python has for keys and failures."""
        names = {argument.key["key"]: argument.name for argument in self.arguments if argument.key}
        for key in self.results:
            names.setdefault(key["key"], key["pythonName"])
        text = re.sub(r"\b(?:input|output|modify)[A-Z]\w*", lambda match: names.get(match.group(), match.group()), text)
        text = text.replace("InvalidParameterObjectException", "InvalidParameterObjectError")
        text = re.sub(r"`?std::overflow_error`?", "NumericalOverflowError", text)
        text = re.sub(r"`?std::bad_alloc`?", "OutOfMemoryError", text)
        text = re.sub(r"`?std::out_of_range`?", "OutOfRangeError", text)
        text = re.sub(r"`?std::(?:invalid_argument)`?", "InvalidArgumentError", text)
        text = re.sub(r"`?std::(?:runtime_error)`?", "RuntimeFailure", text)
        kinds = "|".join(kind for kind in _failures._CLASSES if kind not in _ORDINARY_WORDS)
        return re.sub(rf"\b({kinds})\b", r"\1Error", text)

    def about(self, key):
        """Meaning, range, unit and what an absent value means."""
        text = key["meaning"]
        limits = " ".join(part for part in (key["range"], key["unit"]) if part)
        if key["like"]:
            like = self.in_python(key["like"])
            limits += (", " if limits else "") + ("of the voxel type of " if key["takes"] == "grey value"
                                                  else "float64 for a float64 volume under ") + like
        if limits:
            text += f" ({limits})"
        if key["absent"]:
            text += f"; absent or 0: {key['absent']}"
        if key["takes"] in ("dimension", "position"):
            text += "; (z, y, x)" + (", or \"center\" for the middle of the mask"
                                     if key["takes"] == "position" and self.has_mask else "")
        return self.in_python(text)

    @property
    def has_mask(self):
        return any(key["takes"] == "mask volume" for key in self.inputs)

    @property
    def leaves_voxels(self):
        return any(key["takes"] in ("mask volume", "list of volumes") for key in self.inputs)

    def about_special(self, argument):
        if argument.name == "dtype":
            if argument.default:
                return "voxel type of the results"
            return ("voxel type of the result; None: as the library makes it, or of the first type that the operator "
                    "gives for this input")
        if argument.name == "progress":
            return "True for a bar, or a function that gets the share of work done, at most ten times a second"
        text = self.about(argument.key) + "; an array to fill, or the shape of the result"
        if self.leaves_voxels:
            text += "; voxels where an element does not fit keep what it holds, those of the input if it is None"
        return text

    def documentation(self, example):
        def wrapped(text, indent=""):
            return textwrap.fill(text, _WIDTH - 4, initial_indent=indent, subsequent_indent=indent)

        lines = [self.table["summary"], ""]
        if self.table["description"]:
            lines += [wrapped(self.in_python(self.table["description"])), ""]
        lines += ["Parameters", "----------"]
        for argument in self.arguments:
            is_key = argument.key and argument.key["role"] != "output"
            kind = argument.key["takes"] if is_key else "array or shape" if argument.key else argument.name
            kind = {"dtype": "voxel type", "progress": "bool or function"}.get(kind, kind)
            lines.append(f"{argument.name} : {kind}" + ("" if argument.required else f", default {argument.default!r}"))
            lines.append(wrapped(self.about(argument.key) if is_key else self.about_special(argument), "    "))
        if self.results:
            lines += ["", "Returns", "-------"]
            for key in self.results:
                lines.append(f"{key['pythonName']} : {'array' if key['takes'] in _ARRAYS else key['takes']}")
                lines.append(wrapped(self.about(key), "    "))
        types = _core.voxel_types(self.operator) if self.instances else "any"
        lines += ["", "Notes", "-----", wrapped("Voxel types: " + types), ""]
        for name, text in self.table["documentation"].items():
            lines += [wrapped(f"{name}: {self.in_python(text)}"), ""]
        if example:
            lines += ["Examples", "--------", *example]
        return "\n".join(lines).rstrip()

    # Sources

    def signature(self, annotated=False):
        parts, is_open = [], False
        for argument in self.arguments:
            if not argument.positional and not is_open:
                parts.append("*")
                is_open = True
            parts.append(argument.signature(annotated))
        return ", ".join(parts)

    @property
    def lazy(self):
        """The volumes that may be arrays of Dask."""
        return [a.name for a in self.arguments if a.positional and a.key["takes"] in _ARRAYS]

    def source(self, example):
        names = [argument.name for argument in self.arguments if argument.name != "progress"]
        keys = [(a.name, a.key["key"] if a.key else "") for a in self.arguments]
        text = ""
        if self.result_type:
            fields = [key["pythonName"] for key in self.results]
            text += f'{self.result_type} = _namedtuple("{self.result_type}", {fields!r})\n'
        text += f"_{self.name} = _Operator({self.operator!r}, {self.name!r}, {keys!r}, {self.result_type})\n\n\n"
        text += f"def {self.name}({self.signature()}):\n"
        text += textwrap.indent(f'"""{_escaped(self.documentation(example))}\n"""', "    ", lambda line: True) + "\n"
        text = re.sub(r" +\n", "\n", text)
        if self.lazy:
            unusual = " or ".join(f"type({name}) is not _ndarray" for name in self.lazy)
            unusual = f"({unusual})" if len(self.lazy) > 1 else unusual
            text += f"    if {unusual} and _is_lazy({', '.join(self.lazy)}):\n"
            text += f"        return _lazy({self.name!r}, locals())\n"
        names.append(f"progress is not None and _progress(progress, {self.name!r})")
        text += f"    return _{self.name}({', '.join(names)})\n"
        return text + f"\n\n_{self.name}.bind({self.name}.__kwdefaults__)\n"

    def stub(self):
        text = ""
        if self.result_type:
            text += f"class {self.result_type}(NamedTuple):\n"
            for key in self.results:
                text += f"    {key['pythonName']}: {self.result_annotation(key)}\n"
            text += "\n"
        returned = self.result_type or (self.result_annotation(self.results[0]) if self.results else "None")
        text += f"def {self.name}({self.signature(annotated=True)}) -> {returned}:\n"
        return text + textwrap.indent(f'"""{_escaped(self.table["summary"])}"""', "    ") + "\n    ...\n"

    @staticmethod
    def result_annotation(key):
        return "Volume" if key["takes"] in _ARRAYS else _RESULT_TYPES.get(key["takes"], "Any")


def _escaped(text):
    return text.replace("\\", "\\\\").replace('"""', "'''")


# Examples


def _example_value(argument):
    name, takes = argument.name, argument.key["takes"]
    if takes in ("dimension", "position"):
        return "2"
    if takes == "flag":
        return "True"
    for words, value in ((("minimum", "lower"), 1), (("maximum", "upper"), 6), (("edge", "foreground", "true"), 1),
                         (("background", "false", "outer", "offset", "default"), 0), (("labels",), 8)):
        if any(word in name for word in words):
            return str(value)
    return "2" if name in ("classes", "factor") else "1"


def _example_arrays(function):
    lines = []
    for index, argument in enumerate(a for a in function.arguments if a.required and a.key["takes"] in _ARRAYS):
        if argument.key["takes"] == "mask volume":
            continue
        types = function.instances[0] if function.instances else ["uint8"]
        # The last type belongs to the result where there is one.
        voxel_type = types[min(index, len(types) - 1)] if index else types[0]
        values = "% 2" if "binary" in function.table["summary"].lower() or "thin" in function.name else "% 7"
        voxels = f"(numpy.arange(4 * 6 * 8).reshape(4, 6, 8) {values})"
        lines.append(f">>> {argument.name} = {voxels}.astype({voxel_type!r})")
    return lines


def _example_call(function, file):
    values = []
    for argument in function.arguments:
        if not argument.required:
            continue
        takes = argument.key["takes"]
        if takes == "mask volume":
            value = "tavi.box(3)"
        elif takes == "list of volumes":
            value = "[tavi.box(3)] * 7"
        elif takes == "matrix":
            value = "numpy.eye(4)"
        elif takes == "file name":
            value = repr(file)
        elif takes in _ARRAYS:
            value = argument.name
        else:
            value = _example_value(argument)
        values.append(value if argument.positional else f"{argument.name}={value}")
    for argument in function.arguments:
        if argument.name == "maximum_distance":
            values.append("maximum_distance=3")
    return f"tavi.{function.name}({', '.join(values)})"


def _example(function, functions, namespace):
    """Lines of a session; the results are those of the package that is being built."""
    endings = {"RekGz": "rek.gz", "RekLz4": "rek.lz4", "TiffVolume": "tif"}
    kind = re.sub("(Reader|Writer)$", "", function.operator)
    file = "scan." + endings.get(kind, kind.lower())
    lines = [">>> import numpy, tavi"]
    if function.operator.endswith("Writer") or function.operator.endswith("Reader"):
        writer = functions[kind + "Writer"]
        voxel_type = writer.instances[0][0]
        shape = (4, 6, 8) if kind.startswith(("Rek", "Vti", "Tiff")) else (1, 6, 8)
        lines.append(f">>> volume = numpy.ones({shape}, {voxel_type!r})")
        lines.append(">>> " + _example_call(writer, file))
        if function is writer:
            return lines
    else:
        lines += _example_arrays(function)
    call = _example_call(function, file)
    if function.result_type:
        lines.append(">>> result = " + call)
        shown = [f"result.{key['pythonName']}" + (".shape" if key["takes"] in _ARRAYS else "")
                 for key in function.results if key["takes"] in _ARRAYS + ("count",)][:2]
        if not shown:
            shown = [f"result.{function.results[0]['pythonName']}"]
        expression = ", ".join(shown)
    else:
        is_array = bool(function.results) and function.results[0]["takes"] in _ARRAYS + ("object",)
        expression = call + (".shape" if is_array else "")
    for line in lines:
        exec(line[4:], namespace)  # noqa: S102: the lines above
    return lines + [">>> " + expression, repr(eval(expression, namespace))]  # noqa: S307


_HEADER = '''"""The operators of the library as functions. Generated from its key tables while the package is built."""
from collections import namedtuple as _namedtuple

from numpy import ndarray as _ndarray

from tavi._core import Operator as _Operator
from tavi._lazy import apply as _lazy
from tavi._lazy import is_lazy as _is_lazy
from tavi._progress import progress_of as _progress

'''

_STUB_HEADER = '''"""Operators on three-dimensional voxel volumes. Generated from the key tables."""
import os
from typing import Any, Callable, Dict, List, NamedTuple, Optional, Sequence, Tuple, Union

import numpy as np
from numpy.typing import ArrayLike

Volume = np.ndarray[Any, Any]
Mask = np.ndarray[Any, Any]
Matrix = ArrayLike
Path = Union[str, bytes, "os.PathLike[str]"]
DType = Any
Extents = Union[int, Sequence[int], Sequence[float]]
Place = Union[str, float, Sequence[int], Sequence[float]]
Progress = Union[None, bool, Callable[[float], object]]

__version__: str
OPERATORS: List[str]

def read(path: Path, *, progress: Progress = None) -> Volume: ...
def write(path: Path, volume: Volume, **options: Any) -> None: ...
def info(path: Path) -> Dict[str, Any]: ...
def show(volume: Volume, labels: Optional[Volume] = None) -> Any: ...
def shares_memory(array: Volume) -> bool: ...
def box(extents: Extents) -> Mask: ...
def ball(extents: Extents) -> Mask: ...
def cross(extents: Extents) -> Mask: ...
def to_pandas(records: Any) -> Any: ...

'''


def _failure_stubs():
    text = ""
    for cls in dict.fromkeys([_failures.Error, *_failures._CLASSES.values()]):
        bases = ", ".join(base.__name__ for base in cls.__bases__)
        text += f"class {cls.__name__}({bases}):\n"
        if cls is _failures.Error:
            text += ("    operator: str\n    hint: str\n    origin: str\n    source: str\n    line: int\n"
                     "    information: Tuple[str, ...]\n")
        else:
            text += "    ...\n"
        text += "\n"
    return text


def _namespace(functions):
    """A package that has the functions without their examples, to run these."""
    import importlib
    import types

    module = types.ModuleType("tavi._operators")
    exec(_HEADER + "\n\n".join(function.source([]) for function in functions.values()), module.__dict__)  # noqa: S102
    package = importlib.import_module("tavi")
    for name, value in module.__dict__.items():
        if not name.startswith("_"):
            setattr(package, name, value)
    masks = importlib.import_module("tavi._masks")
    package.box = masks.box
    return {}


def files():
    """The texts of the generated files by name."""
    functions = {name: Function(name) for name in _core.operators()}
    namespace = _namespace(functions)
    here = os.getcwd()
    with tempfile.TemporaryDirectory() as folder:
        os.chdir(folder)
        try:
            examples = {name: _example(function, functions, namespace) for name, function in functions.items()}
        finally:
            os.chdir(here)
    sources = [function.source(examples[name]) for name, function in functions.items()]
    listed = sorted(function.name for function in functions.values())
    types = sorted(function.result_type for function in functions.values() if function.result_type)
    names = "OPERATORS = [\n" + "".join(f"    {name!r},\n" for name in listed) + "]\n"
    exported = "__all__ = [\n    'OPERATORS',\n" + "".join(f"    {name!r},\n" for name in listed + types) + "]\n"
    stubs = [function.stub() for function in functions.values()]
    return {
        "_operators.py": _HEADER + exported + names + "\n\n" + "\n\n".join(sources),
        "__init__.pyi": _STUB_HEADER + _failure_stubs() + "\n".join(stubs),
    }
