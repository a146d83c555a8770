"""Python values as the tool writes them, and keys as Python writes them."""

import keyword
import numbers
import os

import numpy


def tool_key(key):
    """``in_low`` is the tool's ``in-low``; ``with_`` is ``with``."""
    if key.endswith("_") and keyword.iskeyword(key[:-1]):
        key = key[:-1]
    return key.replace("_", "-")


def python_key(key):
    """The tool's ``in-low`` is ``in_low``; ``with`` is ``with_``."""
    key = key.replace("-", "_")
    return key + "_" if keyword.iskeyword(key) else key


def value_text(value):
    """A number, flag, choice, file name or list of numbers as the tool takes it."""
    if isinstance(value, (bool, numpy.bool_)):
        return "1" if value else "0"
    if isinstance(value, numbers.Integral):
        return str(int(value))
    if isinstance(value, numbers.Real):
        # repr is the shortest text that reads back as the same double.
        return repr(float(value))
    if isinstance(value, str):
        return value
    if isinstance(value, os.PathLike):
        return os.fspath(value)
    if isinstance(value, (list, tuple, numpy.ndarray)):
        return ",".join(value_text(item) for item in numpy.asarray(value).ravel().tolist())
    raise ValueError(f"{value!r} is no number, text, file name or list of numbers")
