"""Pictures of volumes in notebooks."""


def show(volume, labels=None):
    """Draws the three middle slices of a volume, across z, y and x, with labels in colours above them.

    ``labels`` is a volume of whole numbers of the same shape; 0 is left out. Needs matplotlib; returns its figure.
    """
    try:
        import matplotlib.pyplot as pyplot
    except ImportError as error:
        raise ImportError("tavi.show() needs matplotlib, which is not there: install python3-matplotlib") from error
    import numpy

    for name, array in (("volume", volume), ("labels", labels)):
        if array is not None and (not isinstance(array, numpy.ndarray) or array.ndim != 3 or array.size == 0):
            raise ValueError(f"show(): {name}: expected an array [z, y, x] with voxels")
    if labels is not None and labels.shape != volume.shape:
        raise ValueError(f"show(): labels has the shape {labels.shape}, volume {volume.shape}")
    figure, axes = pyplot.subplots(1, 3, figsize=(12, 4), constrained_layout=True)
    # A sample tells the window of grey values.
    low, high = numpy.nanpercentile(volume.ravel()[:: max(1, volume.size // 100000)], (0.5, 99.5))
    for axis, (axes_of_slice, across, names) in enumerate(zip(axes, "zyx", (("x", "y"), ("x", "z"), ("y", "z")))):
        index = volume.shape[axis] // 2
        axes_of_slice.imshow(volume.take(index, axis), cmap="gray", vmin=low, vmax=high, interpolation="nearest")
        if labels is not None:
            slice_of_labels = labels.take(index, axis)
            # Successive labels take hues that are far apart: multiples of the golden ratio.
            hues = numpy.ma.masked_where(slice_of_labels == 0, (slice_of_labels * 0.6180339887) % 1.0)
            axes_of_slice.imshow(hues, cmap="hsv", vmin=0, vmax=1, alpha=0.5, interpolation="nearest")
        axes_of_slice.set_title(f"{across} = {index}")
        axes_of_slice.set_xlabel(names[0])
        axes_of_slice.set_ylabel(names[1])
    return figure
