import os
import subprocess

import numpy
import pytest

import lumetra


@pytest.fixture(scope="session")
def tool():
    """The lumetra tool of the same build, to compare with."""
    path = os.environ.get("LUMETRA_TOOL")
    if not path:
        pytest.skip("LUMETRA_TOOL names the tool of this build (ctest sets it)")
    return path


@pytest.fixture(scope="session")
def run_tool(tool):
    def run(*arguments, check=True):
        result = subprocess.run([tool, *map(str, arguments)], capture_output=True, text=True)
        if check and result.returncode != 0:
            raise AssertionError(f"lumetra {' '.join(map(str, arguments))}: {result.stderr}")
        return result
    return run


@pytest.fixture(scope="module")
def context():
    with lumetra.Context() as context:
        yield context


def picture(height=36, width=52, channels=3, dtype="uint8", seed=1):
    """Smooth gradients with noise: every level used, no two pixels alike."""
    generator = numpy.random.default_rng(seed)
    y, x = numpy.mgrid[0:height, 0:width]
    base = numpy.stack([x / width, y / height, (x + y) / (width + height)], axis=-1)[..., :channels]
    values = numpy.clip(base * 0.8 + generator.random((height, width, channels)) * 0.2, 0, 1)
    if dtype == "float32":
        return values.astype(numpy.float32)
    full = numpy.iinfo(dtype).max
    return numpy.round(values * full).astype(dtype)
