"""Nodes of a graph: filters, pictures and the graph's open input.

Nodes are values: made once, never changed, shared by as many graphs and
contexts as like. A context builds each node once per size and keeps it, so
drawing the same graph again redraws only what changed."""

import itertools
import os

import numpy

from . import _lumetra
from ._filters import input_keys
from ._values import tool_key, value_text

_placeholders = itertools.count(1)

_DTYPES = {"uint8", "uint16", "float32"}


class Node:
    """A node of a graph. Make one with filter(), chain(), kernel(), image() or read()."""

    __slots__ = ("name", "parameters", "chain_input", "named_inputs", "kernels", "picture", "array", "dtype",
                 "channels", "__weakref__")

    def __init__(self, name, parameters=(), chain_input=None, named_inputs=None, kernels=None, picture=None,
                 dtype=None, channels=None, array=None):
        self.name = name
        self.parameters = tuple(parameters)
        self.chain_input = chain_input
        self.named_inputs = dict(named_inputs or {})
        self.kernels = dict(kernels or {})
        self.picture = picture
        # Rows uploaded as they are, without a picture: only a run's source.
        self.array = array
        self.dtype = dtype
        self.channels = channels

    @property
    def is_picture(self):
        return self.picture is not None or self.array is not None

    @property
    def is_open(self):
        return self.name is None and not self.is_picture

    @property
    def size(self):
        """A picture node's (width, height)."""
        if self.array is not None:
            return float(self.array.shape[1]), float(self.array.shape[0])
        return float(self.picture.width), float(self.picture.height)

    def then(self, name, **values):
        """This node followed by the filter ``name``: ``chain("invert").then("gamma", gamma=2.2)``."""
        return filter(name, self, **values)

    def then_kernel(self, source, **arguments):
        """This node followed by a kernel of your own (see kernel())."""
        return kernel(source, self, **arguments)

    def source(self):
        """The node at the end of the chain inputs: a picture, or the open input."""
        node = self
        while node.chain_input is not None:
            node = node.chain_input
        return node

    def to_array(self, dtype=None, channels=None):
        """A picture node's pixels as an array (no GL is needed)."""
        if self.picture is None:
            raise ValueError("only a picture node has pixels of its own; draw a filter in a Context")
        dtype, channels = output_format(self, dtype, channels)
        return self.picture.to_array(dtype, channels)

    def write(self, path, *, format=None, quality=90, lossless=False, depth=None):
        """Writes a picture node to a file (see lumetra.write_array)."""
        if self.picture is None:
            raise ValueError("only a picture node has pixels of its own; use Context.write for a filter")
        self.picture.write(os.fspath(path), format or "", quality, lossless, depth or 0)

    def __repr__(self):
        if self.is_picture:
            return f"<lumetra picture {self.picture.width}x{self.picture.height}>"
        if self.is_open:
            return "<lumetra open input>"
        values = " ".join(f"{key}={value}" for key, value in self.parameters)
        before = "" if self.chain_input is None else f"{self.chain_input!r} -> "
        return f"{before}<lumetra {self.name}{' ' + values if values else ''}>"


_OPEN = Node(None)


def as_node(value):
    """A node for what a filter may take as a picture: a node, an array, a file name, or None (the open input)."""
    if value is None:
        return _OPEN
    if isinstance(value, Node):
        return value
    if isinstance(value, numpy.ndarray):
        return image(value)
    if isinstance(value, (str, os.PathLike)):
        return read(value)
    raise ValueError(f"{type(value).__name__} is no picture: give a node, an array or a file name")


def source_node(value):
    """What a run takes as its source: colour arrays of uint8 or uint16 go up
    as they are, with no copy into a picture; anything else as as_node()."""
    if (isinstance(value, numpy.ndarray) and value.ndim == 3 and value.shape[2] == 3
            and value.dtype in (numpy.uint8, numpy.uint16) and value.shape[0] > 0 and value.shape[1] > 0):
        return Node(None, array=numpy.ascontiguousarray(value), dtype=value.dtype.name, channels=3)
    return as_node(value)


def output_format(node, dtype, channels):
    """The array a drawing of ``node`` gives by default: its source's kind."""
    source = node.source()
    dtype = dtype if dtype is not None else (source.dtype or "uint8")
    dtype = numpy.dtype(dtype).name
    if dtype not in _DTYPES:
        raise ValueError(f"dtype must be uint8, uint16 or float32, not {dtype}")
    channels = channels if channels is not None else (source.channels or 3)
    return dtype, channels


def _split_values(name, values, picture_keys):
    """Key=value texts for the tool, and the nodes that picture keys name."""
    parameters, named = [], {}
    for key, value in values.items():
        key = tool_key(key)
        if key in picture_keys and not isinstance(value, (str, os.PathLike)):
            placeholder = f"<{key} {next(_placeholders)}>"
            named[placeholder] = as_node(value)
            parameters.append((key, placeholder))
        else:
            parameters.append((key, value_text(value)))
    return parameters, named


def filter(name, input=None, /, **values):
    """The filter ``name`` (as the tool names it) on ``input`` with its keys as keyword arguments.

    ``input`` is a node, an array, a file name, or None for the graph's open
    input (what Context.run is given). Picture keys (``with_`` of blend and
    max2) take the same. ``lumetra.help(name)`` lists the keys."""
    if not isinstance(name, str):
        raise ValueError("a filter is named by a string, such as \"invert\"")
    parameters, named = _split_values(name, values, input_keys(name))
    _lumetra.check(name, parameters)
    return Node(name, parameters, as_node(input), named)


def chain(name, /, **values):
    """The first filter of a chain on the graph's open input; continue it with .then()."""
    return filter(name, None, **values)


def kernel(source, input=None, /, *, inputs=("input",), controls=(), name="kernel", **values):
    """A filter from a GLSL kernel of your own.

    The kernel defines main() and writes ``vec3 lm_output``; it reads each of
    ``inputs`` as ``sampler2DRect lm_NAME`` at ``vec2 lm_location`` and each of
    ``controls`` as ``float lm_NAME``. The first input takes ``input`` (the
    chain's picture); each other one is given by its name as a keyword, as
    each control is (default 0). ``name`` names the kernel in messages."""
    if not isinstance(source, str):
        raise ValueError("a kernel is GLSL source text")
    inputs, controls = list(inputs), list(controls)
    picture_keys = set(inputs[1:])
    parameters, named = _split_values("kernel", values, picture_keys)
    placeholder = f"<{name}>"
    parameters = [("file", placeholder), ("inputs", ",".join(inputs)), ("controls", ",".join(controls))] + parameters
    _lumetra.check("kernel", parameters)
    return Node("kernel", parameters, as_node(input) if inputs else None, named, {placeholder: source})


def image(array):
    """A picture node holding a copy of the array (height x width x 3 or x 1; uint8, uint16 or float32)."""
    array = numpy.asarray(array)
    picture = _lumetra.Picture.from_array(array)
    channels = 1 if array.ndim == 2 or array.shape[2] == 1 else 3
    return Node(None, picture=picture, dtype=array.dtype.name, channels=channels)


def read(path):
    """A picture node from a PNG, JPEG, TIFF or WebP file, with its profile and metadata."""
    picture = _lumetra.Picture.read(os.fspath(path))
    return Node(None, picture=picture, dtype="uint16" if picture.bits == 16 else "uint8",
                channels=1 if picture.grey else 3)
