"""A rendering context: draws graphs of nodes into arrays and files."""

import os
import sys
import weakref

from . import _lumetra
from ._graph import as_node, output_format, read, source_node


class Context:
    """An off-screen OpenGL context that draws graphs.

    Without a size, each drawing takes the size of its graph's source (the
    picture at the end of the chain inputs, or what run() is given); with
    ``width`` and ``height``, sources of other sizes are resized to cover it
    and cut to it, as the tool's ``--size`` does. ``caching`` keeps every
    node's last drawing and redraws only what changed; ``fusion`` draws runs
    of per-pixel filters as one pass. Close it with ``close()`` or a ``with``
    block; it is closed when collected too. Drawing releases the GIL; one
    context draws for one thread at a time."""

    def __init__(self, width=None, height=None, *, caching=True, fusion=True):
        if (width is None) != (height is None):
            raise ValueError("give both width and height, or neither")
        self._fixed = None if width is None else (float(width), float(height))
        self._native = _lumetra.Context(self._fixed or (1.0, 1.0), bool(caching), bool(fusion))
        # Each node as built for the current size; an open input per size.
        self._built = weakref.WeakKeyDictionary()
        self._open = None

    def close(self):
        """Gives the GL context and everything drawn in it back. Idempotent."""
        self._built = weakref.WeakKeyDictionary()
        self._open = None
        self._native.close()

    @property
    def closed(self):
        return self._native.closed

    def __enter__(self):
        return self

    def __exit__(self, *exception):
        self.close()

    @property
    def size(self):
        """(width, height) in pixels of what the context draws."""
        width, height = self._native.size
        return int(width), int(height)

    @property
    def caching(self):
        return self._native.caching

    @caching.setter
    def caching(self, enabled):
        self._native.caching = bool(enabled)

    @property
    def fusion(self):
        return self._native.fusion

    @fusion.setter
    def fusion(self, enabled):
        self._native.fusion = bool(enabled)

    def info(self):
        """The renderer, vendor, GL and GLSL versions, EGL platform and largest texture side."""
        return self._native.info()

    # Drawing

    def run(self, node, source=None, *, dtype=None, channels=None):
        """Draws ``node`` with ``source`` (an array, a picture node or a file
        name) as its graph's open input, and returns the result as an array.

        ``dtype`` (uint8, uint16, float32) and ``channels`` (3, or 1 for the
        luma) default to the source's own; with no source the graph must have
        none open."""
        node = as_node(node) if node is not None else None
        # Once: an array becomes a source node here, not at each look at it.
        source = source_node(source) if source is not None else None
        dtype, channels = output_format(_with_source(node, source), dtype, channels)
        built, _ = self._prepare(node, source)
        return self._native.draw_array(built, dtype, channels)

    def draw(self, node, *, dtype=None, channels=None):
        """Draws a graph that has no open input (its sources are pictures) into an array."""
        return self.run(node, None, dtype=dtype, channels=channels)

    def write(self, node, path, source=None, *, format=None, quality=90, lossless=False, depth=None):
        """Draws ``node`` (with ``source`` as its open input) into a picture file.

        The format follows the name's extension unless ``format`` (png, jpeg,
        tiff, webp) says; ``depth`` 8 or 16 defaults to the source's own. What
        a picture file source carried (grey, profile, metadata) is kept."""
        source = source_node(source) if source is not None else None
        kind = _with_source(node, source).source()
        if depth is None:
            depth = 16 if kind.dtype in ("uint16", "float32") else 8
        drawn, picture_source = self._draw(node, source, depth)
        if picture_source is not None:
            drawn.take_traits(picture_source)
        drawn.write(os.fspath(path), format or "", quality, lossless, depth)

    def process_file(self, node, input_path, output_path, *, format=None, quality=90, lossless=False, depth=None,
                     background=(0, 0, 0)):
        """What the tool does for ``lumetra INPUT -o OUTPUT -- CHAIN``: reads the
        file, flattens transparent pixels onto ``background`` (with a line on
        standard error), draws ``node`` on it and writes the result with the
        input's depth, profile and metadata."""
        source = read(input_path)
        if not source.picture.opaque:
            source.picture = source.picture.flattened(*background)
            colour = "#%02x%02x%02x" % tuple(background)
            print(f"lumetra: {os.fspath(input_path)} has transparent pixels: flattened onto {colour} (--background)",
                  file=sys.stderr)
        self.write(node, output_path, source, format=format, quality=quality, lossless=lossless,
                   depth=depth or source.picture.bits)

    # Building

    def _draw(self, node, source, bits):
        """The node drawn, and the picture its source came from (for its traits)."""
        built, source_picture = self._prepare(node, source)
        return self._native.draw(built, bits), source_picture

    def _prepare(self, node, source):
        """The node built for its size with the source fed in, and the source's picture."""
        if node is None:
            raise ValueError("nothing to draw: give a node")
        open_source = source_node(source) if source is not None else None
        graph_source = node.source()
        if graph_source.is_open and open_source is None:
            raise ValueError("the graph has an open input: give run() a source (an array, picture or file name)")
        if open_source is not None and not _has_open_input(node):
            raise ValueError("the graph has no open input for a source; make it with chain() or filter(name)")
        primary = open_source if graph_source.is_open else graph_source
        size = self._fixed or (primary.size if primary.is_picture else None)
        if not size:
            raise ValueError("the graph's size is unknown: give its source a picture, or the Context a size")
        if self._native.size != size:
            self._native.size = size
            self._built = weakref.WeakKeyDictionary()
            self._open = None
        if open_source is not None:
            if self._open is None:
                self._open = self._native.open_input(size)
            uploaded = (self._native.upload_array(open_source.array) if open_source.array is not None
                        else self._native.upload(open_source.picture))
            uploaded = self._native.fitted(uploaded, size)
            self._native.feed(self._open, uploaded)
        return self._build(node, size), primary.picture

    def _build(self, node, size):
        built = self._built.get(node)
        if built is not None:
            return built
        if node.is_open:
            return self._open
        if node.is_picture:
            built = self._native.upload(node.picture)
        else:
            chain = None
            if node.chain_input is not None:
                chain = self._build(node.chain_input, size)
                if node.chain_input.is_picture:
                    # A picture that starts a chain is fitted to the context, as the tool's inputs are.
                    chain = self._native.fitted(chain, size)
            named = {placeholder: self._build(other, size) for placeholder, other in node.named_inputs.items()}
            built = self._native.build(node.name, list(node.parameters), chain, chain.size if chain else size,
                                       named, node.kernels)
        self._built[node] = built
        return built


def _has_open_input(node):
    if node.is_open:
        return True
    if node.is_picture:
        return False
    return any(_has_open_input(n) for n in [node.chain_input, *node.named_inputs.values()] if n is not None)


def _with_source(node, source):
    """The node whose source decides the output's kind: the given source where the graph is open."""
    if source is not None and node.source().is_open:
        return source_node(source)
    return node

