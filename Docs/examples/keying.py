"""Keys a picture and shows source, matte and result side by side, as keying.png.

Runs as it is (python3 keying.py), and as a notebook: editors that know "# %%" run it cell by cell. Needs numpy, the
package zchromakey, and zkhost for the scene.
"""

# %% A scene: a drawn one; yours comes from imageio, Pillow or OpenCV (whose arrays are order="BGR")
import pathlib
import struct
import subprocess
import zlib

import numpy as np
import zchromakey

WIDTH, HEIGHT = 480, 270
subprocess.run(
    f"zkhost sample -o scene.raw --size {WIDTH}x{HEIGHT} --frames 1 --format RGB24 --quiet".split(), check=True
)
scene = np.fromfile("scene.raw", np.uint8).reshape(HEIGHT, WIDTH, 3)[..., ::-1]  # the file has B, G, R

# %% Key it: the backdrop is found; what else there is to say, the guide lists in the order to try it
with zchromakey.Keyer(params={"shadows": 70}) as keyer:
    rgba = keyer.process(scene)
    print("keyed", keyer.save())

# %% Lay it over a checkered ground; straight alpha, so each colour counts by its share
alpha = rgba[..., 3]
share = alpha[..., None] / 255
y, x = np.mgrid[:HEIGHT, :WIDTH]
ground = np.where((x // 16 + y // 16) % 2, 200, 160)[..., None]
over = np.rint(rgba[..., :3] * share + ground * (1 - share)).astype(np.uint8)
print(f"{(alpha == 0).mean():.0%} backdrop, {(alpha == 255).mean():.0%} solid, the rest mixed")


# %% Show it: a picture file, and in a notebook the picture itself
class Picture:
    """An array as a PNG, which notebooks draw."""

    def __init__(self, rgb: np.ndarray) -> None:
        height, width, _ = rgb.shape
        rows = np.insert(rgb.reshape(height, -1), 0, 0, axis=1)  # each row begins with its filter: none
        header = struct.pack(">2I5B", width, height, 8, 2, 0, 0, 0)
        chunks = (b"IHDR", header), (b"IDAT", zlib.compress(rows.tobytes(), 9)), (b"IEND", b"")
        self.png = b"\x89PNG\r\n\x1a\n" + b"".join(
            struct.pack(">I", len(data)) + name + data + struct.pack(">I", zlib.crc32(name + data))
            for name, data in chunks
        )

    def _repr_png_(self) -> bytes:
        return self.png


picture = Picture(np.hstack([scene, np.repeat(alpha[..., None], 3, axis=2), over]))
pathlib.Path("keying.png").write_bytes(picture.png)
picture
