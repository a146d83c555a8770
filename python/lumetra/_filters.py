"""The filters the module knows, described by their own declarations."""

from . import _lumetra
from ._values import python_key

_descriptions = {entry["name"]: entry for entry in _lumetra.filters()}


def filter_names():
    """The built-in filters' names, by group, as the tool lists them."""
    return list(_descriptions)


def description(name):
    """The filter's declaration as a dict, or None for an unknown name."""
    return _descriptions.get(name)


def input_keys(name):
    """The tool's keys of the filter's picture inputs beyond the chain's own."""
    entry = _descriptions.get(name)
    return {p["key"] for p in entry["parameters"] if p["role"] == "input"} if entry else set()


def help(name=None):
    """One filter's keys, defaults and ranges, or the list of filters."""
    if name is None:
        return _lumetra.filter_list_text()
    entry = _descriptions.get(name)
    if entry is None:
        raise ValueError(f'unknown filter "{name}"')
    return entry["help"]


def _make_function(name):
    def function(input=None, /, **values):
        from ._graph import filter as make_filter
        return make_filter(name, input, **values)

    entry = _descriptions[name]
    function.__name__ = python_key(name)
    function.__qualname__ = function.__name__
    keys = "\n".join(
        f"    {python_key(p['key'])}: {p['help']}"
        + (" (required)" if p["required"] else f" (default {p['default']})") + f"; {p['type']}"
        for p in entry["parameters"])
    function.__doc__ = (f"{entry['summary']}\n\nThe node of filter \"{name}\" on ``input`` (a node, an array, "
                        "a file name, or None for the graph's open input).\n\nKeys:\n"
                        + (keys or "    (none)") + "\n\nAs the tool has it:\n\n" + entry["help"])
    return function


class _Filters:
    """Every built-in filter as a function: ``lumetra.filters.gaussian_blur(sigma=3)``."""

    def __init__(self):
        for name in _descriptions:
            setattr(self, python_key(name), _make_function(name))

    def __dir__(self):
        return [python_key(name) for name in _descriptions]


filters = _Filters()
