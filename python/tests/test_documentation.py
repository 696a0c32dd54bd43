"""Examples run, and the types agree with the functions."""
import ast
import doctest
import inspect
import json
import os
import pathlib
import shutil
import subprocess
import sys

import numpy
import pytest

import tavi
from tavi import _core, _names


def run(test):
    runner = doctest.DocTestRunner(optionflags=doctest.NORMALIZE_WHITESPACE)
    output = []
    runner.run(test, out=output.append)
    assert runner.failures == 0, "".join(output)
    return runner.tries


def test_names_follow_one_rule():
    names = {"HistogramUpdateErosion": "histogram_update_erosion", "FixNaN": "fix_nan", "Volume2DPrim": "volume_2d_prim",
             "KMeansHistogramSegmentation": "k_means_histogram_segmentation", "RekLz4Reader": "rek_lz4_reader",
             "HMaximumTransform": "h_maximum_transform", "VoxelSize_mm": "voxel_size_mm", "": ""}
    assert {name: _names.snake_case(name) for name in names} == names
    table = json.loads(_core.describe("Erosion"))
    assert table["pythonName"] == "erosion"
    assert [key["pythonName"] for key in table["keys"]] == ["volume", "volume", "mask", "anchor", "threads"]


@pytest.mark.parametrize("name", tavi.OPERATORS)
def test_the_example_of_each_operator(name):
    tests = doctest.DocTestFinder().find(getattr(tavi, name), name, globs={})
    assert sum(run(test) for test in tests) >= 2


@pytest.mark.parametrize("thing", [tavi, tavi.box, tavi.ball, tavi.cross, tavi.read, tavi.write, tavi.info],
                         ids=lambda thing: thing.__name__)
def test_other_examples(thing):
    assert sum(run(test) for test in doctest.DocTestFinder().find(thing)
               if thing is not tavi or test.name == "tavi") >= 1


def test_examples_of_the_page():
    page = pathlib.Path(os.environ["TAVI_SOURCE_DIR"]) / "docs" / "python.md"
    test = doctest.DocTestParser().get_doctest(page.read_text("utf-8").replace("```", "\n"), {}, "python.md", "", 0)
    assert run(test) > 10


def test_the_example_of_the_readme(tmp_path, monkeypatch):
    page = (pathlib.Path(os.environ["TAVI_SOURCE_DIR"]) / "README.md").read_text("utf-8")
    example = page.split("```python\n")[1].split("```")[0]
    monkeypatch.chdir(tmp_path)
    tavi.write("scan.rek", numpy.arange(220 * 12 * 16, dtype="uint16").reshape(220, 12, 16))
    exec(compile(example, "README.md", "exec"), {})
    assert tavi.read("eroded.rek").shape == (180, 12, 16)


def test_types_name_the_same_arguments():
    stub = ast.parse(pathlib.Path(tavi.__file__).with_suffix(".pyi").read_text("utf-8"))
    functions = {node.name: node for node in stub.body if isinstance(node, ast.FunctionDef)}
    assert set(tavi.OPERATORS) <= set(functions)
    for name in [*tavi.OPERATORS, "read", "write", "info", "show", "box", "ball", "cross", "to_pandas"]:
        arguments = functions[name].args
        named = [each.arg for each in [*arguments.args, *arguments.kwonlyargs]]
        kinds = (inspect.Parameter.VAR_KEYWORD,)
        assert named == [each.name for each in inspect.signature(getattr(tavi, name)).parameters.values()
                         if each.kind not in kinds]


def test_types_are_accepted_by_the_checker():
    if shutil.which("mypy") is None:
        pytest.skip("mypy is not installed")
    environment = {**os.environ, "MYPYPATH": os.path.dirname(os.path.dirname(tavi.__file__))}
    pathlib.Path("uses.py").write_text("""
import numpy as np
import tavi
volume = np.zeros((4, 5, 6), "uint16")
clamped = tavi.saturation(volume, lower_limit=100, upper_limit=4000)
labels = tavi.cityblock_connected_components_analysis(clamped, background_value=0)
count: int = labels.number_of_labels
tavi.write("labels.rek", labels.volume)
try:
    tavi.read("scan.rek")
except tavi.FileOpenError as error:
    print(error.hint)
""")
    checked = subprocess.run(["mypy", "--strict", "--cache-dir", ".mypy", "uses.py"], capture_output=True, text=True,
                             env=environment, check=False)
    assert checked.returncode == 0, checked.stdout + checked.stderr
    pathlib.Path("wrong.py").write_text("import tavi\ntavi.ball(3, 5)\ntavi.saturation(1, 2)\n")
    checked = subprocess.run(["mypy", "--cache-dir", ".mypy", "wrong.py"], capture_output=True, text=True,
                             env=environment, check=False)
    assert checked.returncode == 1 and "wrong.py:2" in checked.stdout


def test_help_shows_the_signature():
    shown = subprocess.run([sys.executable, "-c", "import tavi; help(tavi.erosion)"], capture_output=True, text=True,
                           check=True).stdout
    assert "erosion(volume, mask, *, anchor=(0, 0, 0), threads=0, out=None, progress=None)" in shown


def test_slices_are_drawn():
    pytest.importorskip("matplotlib").use("Agg")
    import numpy

    volume = numpy.random.default_rng(1).random((5, 6, 7)).astype("float32")
    figure = tavi.show(volume, (volume > 0.5).astype("uint16"))
    assert [axes.get_title() for axes in figure.axes] == ["z = 2", "y = 3", "x = 3"]
    with pytest.raises(ValueError, match="labels has the shape"):
        tavi.show(volume, volume[:2])
    with pytest.raises(ValueError):
        tavi.show(volume[0])
