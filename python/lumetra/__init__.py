"""Lumetra: GPU image processing on OpenGL, from NumPy arrays and picture files.

A graph is made of nodes: filters by their names (the ones the ``lumetra``
tool knows), pictures from arrays or files, and kernels of your own in GLSL.
A context draws it::

    import lumetra
    grade = lumetra.chain("resize", width=800).then("saturation", amount=1.2)
    with lumetra.Context() as context:
        small = context.run(grade, photo)          # photo: height x width x 3 uint8

Keys are written in snake_case (``in_low`` for the tool's ``in-low``; a
trailing underscore for Python's own words: ``with_``). A bad filter name,
key or value raises ValueError with the tool's words; a kernel that does not
compile raises KernelError (a ValueError) with the compiler's lines; a
picture file that cannot be read or written raises PictureFileError (an
OSError).
"""

from ._lumetra import KernelError, PictureFileError, version as __version__
from ._graph import Node, chain, filter, image, kernel, read
from ._context import Context
from ._filters import filter_names, filters, help

__all__ = [
    "Context", "KernelError", "Node", "PictureFileError", "chain", "filter", "filter_names",
    "filters", "help", "image", "kernel", "read", "read_array", "write_array",
]


def read_array(path, dtype=None, channels=None):
    """The picture file at ``path`` as an array (no GL is needed).

    ``dtype`` defaults to uint16 for files of more than 8 bits a sample and
    to uint8 otherwise; ``channels`` to 1 for grey files and 3 otherwise."""
    return read(path).to_array(dtype, channels)


def write_array(array, path, *, format=None, quality=90, lossless=False, depth=None):
    """Writes the array to a picture file (PNG, JPEG, TIFF or WebP, by the
    name's extension unless ``format`` says). ``depth`` is 8 or 16 bits a
    sample; by default 16 for uint16 and float32 arrays where the format holds
    it."""
    image(array).write(path, format=format, quality=quality, lossless=lossless, depth=depth)
