import array
import struct

x, y, z = 6, 5, 4
voxels = array.array("H", range(x * y * z))  # uint16, x fastest
header = bytearray(2048)
struct.pack_into("<hhHhHHHH", header, 0, x, y, 16, z, 2048, 2, 6, 0)
struct.pack_into("<iii", header, 568, x, y, z)
struct.pack_into("<I4xQ", header, 1008, 0x01020304, 0x0102030405060708)
with open("array.rek", "wb") as file:
    file.write(header)
    file.write(voxels.tobytes())
