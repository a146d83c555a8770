"""Mistakes raise the documented exceptions, in the tool's words."""

import numpy
import pytest

import lumetra
from conftest import picture


@pytest.mark.parametrize("python,written", [
    (lambda: lumetra.filter("gaussian-blurr"), ["gaussian-blurr"]),
    (lambda: lumetra.filter("gaussian-blur", radius=2), ["gaussian-blur", "radius=2"]),
    (lambda: lumetra.filter("gaussian-blur", sigma=-1), ["gaussian-blur", "sigma=-1"]),
    (lambda: lumetra.filter("resize", kernel="cubic"), ["resize", "kernel=cubic"]),
    (lambda: lumetra.filter("levels", in_low="low"), ["levels", "in-low=low"]),
    (lambda: lumetra.filter("blend", mode="multiply"), ["blend", "mode=multiply"]),
])
def test_bad_filters_raise_the_tools_message(run_tool, tmp_path, python, written):
    lumetra.write_array(picture(), tmp_path / "in.png")
    result = run_tool(tmp_path / "in.png", "-o", tmp_path / "out.png", "--", *written, check=False)
    assert result.returncode == 2
    with pytest.raises(ValueError) as raised:
        python()
    assert ("lumetra: " + str(raised.value)).rstrip() == result.stderr.split("Usage:")[0].rstrip()


def test_kernel_that_does_not_compile_names_the_line(context):
    broken = lumetra.kernel("void main() {\n  lm_output = vec3(1.0);\n  lm_output = undefined_name;\n}")
    with pytest.raises(lumetra.KernelError) as raised:
        context.run(broken, picture())
    assert "kernel <kernel> does not compile" in str(raised.value)
    assert "0:3(" in str(raised.value) and "undefined_name" in str(raised.value)
    assert isinstance(raised.value, ValueError)


@pytest.mark.parametrize("array", [numpy.zeros((4, 4, 4), numpy.uint8), numpy.zeros((4, 4, 3), numpy.float64),
                                   numpy.zeros((0, 4, 3), numpy.uint8), numpy.zeros(5, numpy.uint8)])
def test_arrays_that_are_no_pictures(array):
    with pytest.raises(ValueError):
        lumetra.image(array)


def test_files_and_contexts(context, tmp_path):
    with pytest.raises(lumetra.PictureFileError):
        lumetra.read(tmp_path / "missing.png")
    (tmp_path / "text.png").write_text("not a picture")
    with pytest.raises(OSError):
        lumetra.read_array(tmp_path / "text.png")
    with pytest.raises(ValueError, match="must end in"):
        lumetra.write_array(picture(), tmp_path / "out.bmp")
    with pytest.raises(ValueError, match="open input"):
        context.draw(lumetra.chain("invert"))
    with pytest.raises(ValueError, match="no open input"):
        context.run(lumetra.filter("invert", picture()), picture())
    closed = lumetra.Context()
    closed.close()
    with pytest.raises(RuntimeError, match="closed"):
        closed.run(lumetra.chain("invert"), picture())
