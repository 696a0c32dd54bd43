"""Pictures of volumes: a slice in grey, labels in colours."""
import struct

import numpy as np
from PIL import Image

TYPES = {7: "<i1", 8: "<u1", 15: "<i2", 16: "<u2", 31: "<i4", 32: "<u4", 24: "<f4", 53: "<f8"}
SIDE = 320  # of the longer edge of a picture, about


def read_rek(path):
    """The voxels as an array [z, y, x]."""
    content = path.read_bytes()
    header = content[:2048]
    short_x, short_y, code, short_z = struct.unpack("<hhHh", header[:8])
    x, y, z = struct.unpack("<iii", header[568:580])
    if not (x and y and z):
        x, y, z = short_x, short_y, short_z
    return np.frombuffer(content[2048:], dtype=TYPES[code]).reshape(z, y, x)


def colours(labels):
    """0 is black; neighbouring labels differ in colour."""
    hue = (labels.astype(np.float64) * 0.61803398875) % 1.0
    channels = [np.clip(np.abs((hue * 6 + shift) % 6 - 3) - 1, 0, 1) for shift in (0, 4, 2)]
    picture = (np.stack(channels, axis=-1) * 190 + 55).astype(np.uint8)
    picture[labels == 0] = 0
    return picture


def greys(values, window):
    values = values.astype(np.float64)
    finite = values[np.isfinite(values)]
    low, high = window or (finite.min() if finite.size else 0, finite.max() if finite.size else 1)
    scaled = np.clip((np.nan_to_num(values, nan=low, posinf=high, neginf=low) - low) / max(high - low, 1e-12), 0, 1)
    picture = np.repeat((scaled * 255).astype(np.uint8)[..., None], 3, axis=-1)
    picture[np.isnan(values)] = (200, 30, 30)
    return picture


def draw(volume, target, window=None, labels=False, project=False):
    """The middle slice across z, or the maximum over z, as a picture whose voxels stay squares."""
    plane = volume.max(axis=0) if project else volume[volume.shape[0] // 2]
    picture = colours(plane) if labels else greys(plane, window)
    factor = max(1, round(SIDE / max(picture.shape[:2])))
    picture = picture.repeat(factor, axis=0).repeat(factor, axis=1)
    Image.fromarray(picture).save(target)
