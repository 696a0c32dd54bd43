"""Every operator as a function, and against NumPy, SciPy and scikit-image where those have the same operation."""
import inspect
import itertools

import numpy
import pytest
from conftest import VOXEL_TYPES, random_volume

import tavi
from tavi import _core
from tavi._names import snake_case

ndimage = pytest.importorskip("scipy.ndimage")
measure = pytest.importorskip("skimage.measure")

INTEGERS = VOXEL_TYPES[:6]
UNSIGNED = ("uint8", "uint16", "uint32")


def test_there_is_a_function_for_each_operator():
    assert [snake_case(name) for name in sorted(_core.operators(), key=snake_case)] == tavi.OPERATORS
    assert len(set(tavi.OPERATORS)) == len(_core.operators())
    for name in tavi.OPERATORS:
        assert callable(getattr(tavi, name))


@pytest.mark.parametrize("name", tavi.OPERATORS)
def test_signatures_show_defaults_and_documentation_names_every_argument(name):
    function = getattr(tavi, name)
    signature = inspect.signature(function)
    assert "progress" in signature.parameters
    kinds = [parameter.kind for parameter in signature.parameters.values()]
    assert kinds == sorted(kinds)
    for argument in signature.parameters:
        assert f"\n    {argument} : " in function.__doc__ or f"\n{argument} : " in inspect.getdoc(function)
    for part in ("Parameters", "Voxel types:", "Failures:", "Memory:", "Examples", ">>> "):
        assert part in function.__doc__, part


@pytest.mark.parametrize("dtype", VOXEL_TYPES)
def test_saturation(dtype):
    volume = random_volume(dtype)
    low, high = numpy.sort(volume.flat[:2])
    result = tavi.saturation(volume, lower_limit=low, upper_limit=high)
    assert result.dtype == dtype
    assert numpy.array_equal(result, numpy.clip(volume, low, high))


@pytest.mark.parametrize("dtype", VOXEL_TYPES)
def test_maximum_minimum_and_extremes(dtype):
    first, second = random_volume(dtype), random_volume(dtype, seed=2)
    assert numpy.array_equal(tavi.maximum(first, second), numpy.maximum(first, second))
    assert numpy.array_equal(tavi.minimum(first, second), numpy.minimum(first, second))
    extremes = tavi.extreme_value_calculation(first)
    assert extremes == (first.min(), first.max())
    assert extremes.minimum_value == first.min()


@pytest.mark.parametrize("dtype", INTEGERS)
def test_inversion_and_byte_order(dtype):
    volume = random_volume(dtype)
    assert numpy.array_equal(tavi.inversion(volume), ~volume)
    assert numpy.array_equal(tavi.swap_byte_order(volume), volume.byteswap())


@pytest.mark.parametrize("dtype", ["float32", "float64"])
def test_nan_and_rounding(dtype):
    volume = random_volume(dtype)
    volume[2, 3, 4] = numpy.nan
    fixed = tavi.fix_nan(volume, replacement_value=-1)
    assert numpy.array_equal(fixed, numpy.nan_to_num(volume, nan=-1))
    assert numpy.array_equal(tavi.round(fixed), numpy.floor(fixed + fixed.dtype.type(0.5)))


@pytest.mark.parametrize("target", VOXEL_TYPES)
def test_conversion(target):
    volume = random_volume("uint8", high=100)
    result = tavi.static_cast(volume, dtype=target)
    assert result.dtype == target
    assert numpy.array_equal(result, volume.astype(target))
    assert tavi.static_cast(volume, dtype=numpy.dtype(target)).dtype == target


def test_binarization():
    volume = random_volume("int16")
    result = tavi.range_binarization(volume, minimum_threshold=-500, maximum_threshold=900, background_value=2,
                                     foreground_value=9)
    assert result.dtype == "uint8"
    assert numpy.array_equal(result, numpy.where((volume >= -500) & (volume <= 900), 9, 2))
    wide = tavi.range_binarization(volume, minimum_threshold=-500, maximum_threshold=900, background_value=2,
                                   foreground_value=70000, dtype="uint32")
    assert wide.dtype == "uint32" and wide.max() == 70000


@pytest.mark.parametrize("dtype", VOXEL_TYPES)
@pytest.mark.parametrize("mask", [tavi.ball(3), tavi.box((1, 3, 5)), tavi.cross(3), tavi.ball(3) != 0])
def test_erosion(dtype, mask):
    volume = random_volume(dtype, (8, 9, 10))
    result = tavi.erosion(volume, mask=mask, anchor="center", threads=2)
    expected = ndimage.grey_erosion(volume, footprint=mask != 0)
    inside = tuple(slice(extent // 2, full - extent // 2) for extent, full in zip(mask.shape, volume.shape))
    assert numpy.array_equal(result[inside], expected[inside])
    border = numpy.ones(volume.shape, bool)
    border[inside] = False
    assert numpy.array_equal(result[border], volume[border])
    if dtype in ("int8", "uint8", "int16", "uint16"):
        assert numpy.array_equal(tavi.histogram_update_erosion(volume, mask, anchor="center"), result)


def test_anchors_are_in_the_order_of_the_axes():
    volume = random_volume("uint8", (6, 8, 10))
    mask = tavi.box((1, 1, 3))
    result = tavi.erosion(volume, mask, anchor=(0, 0, 2))
    expected = numpy.minimum(numpy.minimum(volume[:, :, :-2], volume[:, :, 1:-1]), volume[:, :, 2:])
    assert numpy.array_equal(result[:, :, 2:], expected)


@pytest.mark.parametrize("dtype", ["uint8", "uint16"])
def test_median(dtype):
    volume = random_volume(dtype, (8, 9, 10), high=250)
    mask = tavi.ball(3)
    result = tavi.histogram_update_median(volume, mask, anchor="center")
    expected = ndimage.median_filter(volume, footprint=mask != 0)
    assert numpy.array_equal(result[1:-1, 1:-1, 1:-1], expected[1:-1, 1:-1, 1:-1])


def test_adaptive_median_takes_a_list_of_kernels():
    volume = random_volume("uint8", (8, 9, 10))
    which = (random_volume("uint8", (8, 9, 10), seed=3, high=1))
    result = tavi.adaptive_median(volume, which, [tavi.box(1), tavi.ball(3)])
    assert numpy.array_equal(result[which == 0], volume[which == 0])
    with pytest.raises(TypeError, match="list of arrays"):
        tavi.adaptive_median(volume, which, tavi.box(1))


@pytest.mark.parametrize("name, connectivity", [("cityblock", 1), ("chessboard", 3)])
def test_connected_components(name, connectivity):
    volume = (random_volume("uint8", (12, 13, 14), low=0, high=3) == 0).astype("uint8")
    function = getattr(tavi, name + "_connected_components_analysis")
    labels, count = function(volume, background_value=0, dtype="uint16")
    expected, number = measure.label(volume, background=0, connectivity=connectivity, return_num=True)
    assert count == number + 1
    # The same objects, whatever their numbers.
    pairs = set(zip(labels.ravel().tolist(), expected.ravel().tolist()))
    assert len(pairs) == count


@pytest.mark.parametrize("name, metric", [("cityblock", "taxicab"), ("chessboard", "chessboard")])
def test_distances(name, metric):
    volume = (random_volume("uint8", (9, 10, 11), low=0, high=60) == 0).astype("uint8")
    distances = getattr(tavi, name + "_distance_transform")(volume, object_value=1)
    assert numpy.array_equal(distances, ndimage.distance_transform_cdt(volume == 0, metric))


@pytest.mark.parametrize("dtype", ["uint8", "int32", "float32"])
def test_downsampling_and_binning(dtype):
    volume = random_volume(dtype, (6, 8, 9), low=0, high=100)
    assert numpy.array_equal(tavi.discrete_downsampling(volume, downsampling_factor=(2, 1, 3)), volume[::2, :, ::3])
    means = volume.reshape(3, 2, 8, 1, 3, 3).astype(float).mean((1, 3, 5))
    assert numpy.allclose(tavi.binning(volume, down_sampling_factor=(2, 1, 3)), means, atol=1)


@pytest.mark.parametrize("dtype", ["uint8", "float64"])
def test_affine_transform_moves_along_the_axes_of_the_array(dtype):
    volume = random_volume(dtype, (6, 8, 10))
    matrix = numpy.eye(4)
    matrix[:3, 3] = (1, 2, 3)
    result = tavi.affine_transform(volume, matrix, outer_value=5, linear_interpolation=False)
    expected = numpy.full_like(volume, 5)
    expected[1:, 2:, 3:] = volume[:-1, :-2, :-3]
    assert numpy.array_equal(result, expected)


def test_affine_transform_agrees_with_scipy():
    volume = random_volume("float32", (9, 10, 11))
    angle = 0.3
    matrix = numpy.eye(4)
    matrix[1:3, 1:3] = [[numpy.cos(angle), -numpy.sin(angle)], [numpy.sin(angle), numpy.cos(angle)]]
    matrix[:3, 3] = (0.25, 1.5, -0.5)
    result = tavi.affine_transform(volume, matrix, outer_value=0, linear_interpolation=False)
    inverse = numpy.linalg.inv(matrix)
    expected = ndimage.affine_transform(volume, inverse[:3, :3], inverse[:3, 3], order=0)
    # Where the position lies between voxels; beyond the outer ones the two differ by their rules.
    places = numpy.moveaxis(numpy.indices(volume.shape), 0, -1) @ inverse[:3, :3].T + inverse[:3, 3]
    inside = ((places > 0) & (places < numpy.array(volume.shape) - 1)).all(-1)
    assert inside.sum() > 200
    assert numpy.array_equal(result[inside], expected[inside])


def test_mean_projection():
    volume = random_volume("float32", (6, 8, 10))
    result = tavi.mean_projection(volume, default_value=0, out=(1, 8, 10))
    assert numpy.allclose(result[0], volume.mean(0), atol=1e-3)
    selected = volume > 0
    masked = tavi.mean_projection(volume, default_value=-5, mask_volume=selected, out=(1, 8, 10))
    expected = numpy.where(selected.any(0), volume.sum(0, where=selected) / numpy.maximum(selected.sum(0), 1), -5)
    assert numpy.allclose(masked[0], expected, atol=1e-3)


def test_principal_components_agree_with_the_covariance():
    volume = numpy.zeros((9, 14, 20), "uint8")
    volume[2:7, 3:11, 2:18] = 1
    result = tavi.principal_components_analysis(volume, value=1, enable_affine_transform=True)
    places = numpy.argwhere(volume)
    assert numpy.allclose(sorted(result.eigen_values), sorted(numpy.linalg.eigvalsh(numpy.cov(places.T, bias=True))),
                          rtol=0.01)
    assert numpy.allclose(result.translation_matrix[:3, 3], -places.mean(0))
    assert result.rotation_matrix.shape == (4, 4)
    assert len(result.dimension) == 3
    plain = tavi.principal_components_analysis(volume, value=1)
    assert plain.affine_transform_matrix is None


@pytest.mark.parametrize("dtype", UNSIGNED)
def test_features_agree_with_scikit_image(dtype):
    labels = measure.label(random_volume("uint8", (12, 13, 14), low=0, high=3) == 0).astype(dtype if dtype != "uint8"
                                                                                         else "uint16")
    values = random_volume("float32", labels.shape)
    values -= values.min()
    records = tavi.standard_features_calculation(labels, values, minimum_label=1, maximum_label=int(labels.max()))
    expected = measure.regionprops(labels.astype(int), values)
    assert len(records) == len(expected)
    for record, region in zip(records, expected):
        assert record["label"] == region.label
        assert record["size"] == region.area
        assert tuple(record["roi"]["origin"]) == region.bbox[:3]
        assert tuple(record["roi"]["origin"] + record["roi"]["dim"]) == region.bbox[3:]
        assert numpy.allclose(record["geometricCenter"], region.centroid)
        assert numpy.allclose(record["centerOfGravity"], region.weighted_centroid, rtol=1e-4)
        assert numpy.isclose(record["mean"], region.mean_intensity, rtol=1e-4)
        assert record["maximum"] == region.max_intensity


def test_records_of_no_object_have_columns():
    labels = numpy.zeros((3, 4, 5), "uint8")
    records = tavi.standard_features_calculation(labels, labels, minimum_label=1, maximum_label=5)
    assert records.shape == (0,)
    assert records.dtype["geometricCenter"].shape == (3,)


def test_records_as_a_table():
    pytest.importorskip("pandas")
    labels = numpy.zeros((4, 6, 8), "uint8")
    labels[1:3, 2:4, 3:5] = 1
    table = tavi.to_pandas(tavi.standard_features_calculation(labels, labels, minimum_label=1, maximum_label=1))
    assert table["geometricCenter.z"][0] == 1.5 and table["roi.origin.x"][0] == 3
    with pytest.raises(TypeError):
        tavi.to_pandas(labels)


def test_sobel_kernels():
    kernels = tavi.sobel_kernel_creation()
    assert [kernel.shape for kernel in kernels] == [(1, 3, 3)] * 2 + [(3, 3, 3)] * 3
    assert kernels.volume_3d_prim.dtype == "float32"
    assert abs(kernels.volume_2d_prim).sum() == 8
    assert tavi.sobel_kernel_creation(dtype="int16").volume_2d_sec.dtype == "int16"


def test_gradients_with_kernels_agree_with_scipy():
    kernel = tavi.sobel_kernel_creation(dtype="float64").volume_2d_prim[0]
    image = random_volume("float64", (1, 9, 11))[0]
    assert numpy.allclose(abs(ndimage.correlate(image, kernel)), abs(ndimage.sobel(image, axis=1)))


@pytest.mark.parametrize("dtype", UNSIGNED)
def test_h_maxima_and_watershed(dtype):
    morphology = pytest.importorskip("skimage.morphology")
    volume = random_volume(dtype, (7, 8, 9), low=0, high=20)
    result = tavi.h_maximum_transform(volume, height=3)
    lowered = numpy.maximum(volume.astype(int) - 3, 0).astype(dtype)
    expected = morphology.reconstruction(lowered, volume, footprint=numpy.ones((3, 3, 3)))
    assert result.dtype == dtype
    assert (result <= volume).all()
    if numpy.array_equal(result, expected):
        return
    expected = morphology.reconstruction(lowered, volume, footprint=ndimage.generate_binary_structure(3, 1))
    assert numpy.array_equal(result, expected)


def test_thinning_keeps_topology():
    volume = numpy.zeros((9, 11, 13), "uint8")
    volume[2:7, 3:8, 2:11] = 1
    thin = tavi.thinning(volume, binary_false=0, binary_true=1)
    assert 0 < thin.sum() < volume.sum() and (thin <= volume).all()
    assert measure.euler_number(thin, connectivity=3) == measure.euler_number(volume, connectivity=3)


def test_removal_of_objects():
    labels = numpy.zeros((4, 6, 8), "uint8")
    labels[0, 0, 0] = 1
    labels[2, 1:4, 1:5] = 2
    values = numpy.where(labels > 0, 100, 7).astype("uint16")
    result = tavi.small_objects_remover(values, labels, threshold=2, background_label_enabled=True, background_label=0,
                                        substitution_value=7)
    assert result.number_of_removed_objects == 1
    assert result.volume[0, 0, 0] == 7 and result.volume[2, 2, 2] == 100


@pytest.mark.parametrize("threads", [0, 1, 2, 7])
def test_threads_do_not_change_results(threads):
    volume = random_volume("uint16", (17, 18, 19))
    assert numpy.array_equal(tavi.erosion(volume, tavi.ball(5), anchor="center", threads=threads),
                             tavi.erosion(volume, tavi.ball(5), anchor="center", threads=1))


def test_values_may_be_those_of_numpy():
    volume = random_volume("uint16")
    expected = numpy.clip(volume, 100, 4000)
    for low, high in itertools.product((100, 100.0, numpy.uint8(100), numpy.float32(100), numpy.array(100)),
                                       (4000, numpy.int64(4000))):
        assert numpy.array_equal(tavi.saturation(volume, lower_limit=low, upper_limit=high), expected)
