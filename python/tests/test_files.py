"""Files of all kinds."""
import os
import pathlib

import numpy
import pytest
from conftest import random_volume

import tavi

DATA = pathlib.Path(os.environ.get("TAVI_TEST_DATA") or "/nonexistent")
KINDS = {"rek": "uint16", "rek.gz": "float32", "rek.lz4": "int32", "vti": "float64", "tif": "uint8", "tiff": "uint32"}
IMAGES = {"png": "uint16", "bmp": "uint8", "xsc": "uint16"}


@pytest.mark.parametrize("kind, dtype", [*KINDS.items(), *IMAGES.items()])
def test_what_is_written_is_read(kind, dtype):
    volume = random_volume(dtype, (1 if kind in IMAGES else 5, 6, 7))
    for path in (f"a.{kind}", pathlib.Path(f"b.{kind}"), f"c.{kind.upper()}", f"d.{kind}".encode()):
        assert tavi.write(path, volume) is None
        back = tavi.read(path)
        assert back.dtype == dtype and numpy.array_equal(back, volume)
        info = tavi.info(path)
        assert info["shape"] == volume.shape and info["dtype"] == dtype and info["bytes"] == volume.nbytes


def test_views_are_written_as_they_are_seen():
    volume = random_volume("uint16", (8, 9, 10))[1:7, ::-1, 2:9].transpose(2, 0, 1)
    tavi.write("view.rek", volume)
    assert numpy.array_equal(tavi.read("view.rek"), volume)


@pytest.mark.parametrize("kind, dtype", [*KINDS.items(), *IMAGES.items()])
def test_files_are_read_into_arrays_that_are_given(kind, dtype):
    volume = random_volume(dtype, (1 if kind in IMAGES else 5, 6, 7))
    tavi.write(f"a.{kind}", volume)
    reader = getattr(tavi, tavi.info(f"a.{kind}")["reader"])
    target = numpy.zeros_like(volume)
    result = reader(f"a.{kind}", out=target)
    assert (result.volume if isinstance(result, tuple) else result) is target
    assert numpy.array_equal(target, volume)
    with pytest.raises(ValueError, match="out has the shape"):
        reader(f"a.{kind}", out=numpy.zeros((1, 2, 3), dtype))
    with pytest.raises((TypeError, tavi.Error)):
        reader(f"a.{kind}", out=numpy.zeros_like(volume, "int8"))


def test_headers_go_from_file_to_file():
    tavi.write("a.rek", random_volume("uint16"))
    result = tavi.rek_reader("a.rek")
    assert isinstance(result.header, bytes) and len(result.header) == 2048
    tavi.write("b.rek", result.volume, header=result.header)
    assert pathlib.Path("a.rek").read_bytes() == pathlib.Path("b.rek").read_bytes()
    with pytest.raises(ValueError, match="2048 bytes"):
        tavi.write("b.rek", result.volume, header=b"short")
    assert pathlib.Path("a.rek").read_bytes() == pathlib.Path("b.rek").read_bytes()


def test_texts_and_palettes_go_from_file_to_file():
    image = random_volume("uint8", (1, 6, 7))
    tavi.png_writer("a.png", image, information_map={"Title": "a scan"}, pixels_per_meter_prim=1000)
    result = tavi.png_reader("a.png")
    assert result.information_map["Title"] == "a scan" and result.pixels_per_meter_prim == 1000
    palette = [(i, 255 - i, 7) for i in range(256)]
    tavi.bmp_writer("a.bmp", image, color_table=palette)
    read = tavi.bmp_reader("a.bmp").color_table
    assert read["red"].tolist() == [colour[0] for colour in palette]
    tavi.bmp_writer("b.bmp", image, color_table=read)
    assert pathlib.Path("a.bmp").read_bytes() == pathlib.Path("b.bmp").read_bytes()


def test_sizes_of_voxels_go_from_file_to_file():
    volume = random_volume("uint16")
    tavi.write("a.tif", volume, voxel_size_mm=(3, 2, 1), description="a part")
    result = tavi.tiff_volume_reader("a.tif")
    assert result.voxel_size_mm == (3, 2, 1) and result.description == "a part"
    tavi.write("a.vti", volume, spacing=(3, 2, 1), origin=(30, 20, 10))
    result = tavi.vti_reader("a.vti")
    assert result.spacing == (3, 2, 1) and result.origin == (30, 20, 10)
    text = pathlib.Path("a.vti").read_bytes()[:600]
    assert b'Spacing="1 2 3"' in text


def test_a_failure_leaves_the_old_file():
    tavi.write("a.tif", random_volume("uint16"))
    before = pathlib.Path("a.tif").read_bytes()
    for wrong in (random_volume("float32"), random_volume("uint8")[0], None):
        with pytest.raises((tavi.Error, TypeError, ValueError)):
            tavi.write("a.tif", wrong)
    assert pathlib.Path("a.tif").read_bytes() == before
    assert os.listdir() == ["a.tif"]


def test_names_that_tell_no_kind():
    for call in (tavi.read, tavi.info, lambda path: tavi.write(path, random_volume("uint8"))):
        with pytest.raises(ValueError, match="does not end like a volume file: .rek.gz"):
            call("scan.jpeg")
        with pytest.raises(TypeError):
            call(None)
        with pytest.raises(TypeError):
            call(5)


def test_folders_that_are_not_there():
    with pytest.raises(OSError):
        tavi.write("absent/scan.rek", random_volume("uint8"))


def test_damaged_files():
    for kind in {*KINDS, *IMAGES} - {"xsc"}:  # any bytes are an .xsc
        pathlib.Path(f"a.{kind}").write_bytes(b"no such thing " * 3)
        with pytest.raises(tavi.Error) as caught:
            tavi.read(f"a.{kind}")
        assert str(caught.value)


@pytest.mark.skipif(not (DATA / "engine.rek").exists(), reason="TAVI_TEST_DATA names no folder with real volumes")
def test_real_volumes():
    ndimage = pytest.importorskip("scipy.ndimage")
    engine = tavi.read(DATA / "engine.rek")
    assert tavi.info(DATA / "engine.rek")["shape"] == engine.shape
    part = engine[20:60, 30:120, 40:140]
    assert tavi.shares_memory(part)
    eroded = tavi.erosion(part, tavi.ball(5), anchor="center")
    expected = ndimage.grey_erosion(part, footprint=tavi.ball(5) != 0)
    assert numpy.array_equal(eroded[2:-2, 2:-2, 2:-2], expected[2:-2, 2:-2, 2:-2])
    median = tavi.histogram_update_median(part, tavi.ball(3), anchor="center")
    expected = ndimage.median_filter(part, footprint=tavi.ball(3) != 0)
    assert numpy.array_equal(median[1:-1, 1:-1, 1:-1], expected[1:-1, 1:-1, 1:-1])
    limit = int(part.mean())
    foreground = tavi.range_binarization(part, minimum_threshold=limit, maximum_threshold=int(part.max()),
                                         background_value=0, foreground_value=1, dtype="uint8")
    labels, count = tavi.chessboard_connected_components_analysis(foreground, background_value=0, dtype="uint32")
    assert count - 1 == ndimage.label(part >= limit, numpy.ones((3, 3, 3)))[1]
    records = tavi.standard_features_calculation(labels, part, minimum_label=1, maximum_label=count - 1)
    assert numpy.array_equal(records["size"], numpy.bincount(labels.ravel())[1:])
    assert numpy.allclose(records["mean"], ndimage.mean(part, labels, records["label"]))
