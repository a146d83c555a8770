"""Arrays in and out at each depth equal the tool's files for the same chain."""

import numpy
import pytest

import lumetra
from conftest import picture

# The same chain written for the tool and for Python.
TOOL_CHAIN = ["--", "gamma", "gamma=1.8", "--", "saturation", "amount=1.4", "--", "gaussian-blur", "sigma=1.5",
              "--", "levels", "in-low=0.05", "in-high=0.9"]
GRAPH = (lumetra.chain("gamma", gamma=1.8).then("saturation", amount=1.4).then("gaussian-blur", sigma=1.5)
         .then("levels", in_low=0.05, in_high=0.9))


@pytest.mark.parametrize("dtype,channels", [("uint8", 3), ("uint16", 3), ("float32", 3), ("uint8", 1),
                                            ("uint16", 1)])
def test_chain_equals_the_tool(context, run_tool, tmp_path, dtype, channels):
    source = picture(channels=channels, dtype=dtype)
    lumetra.write_array(source, tmp_path / "in.png")
    run_tool(tmp_path / "in.png", "-o", tmp_path / "out.png", *TOOL_CHAIN)
    expected = lumetra.read_array(tmp_path / "out.png", dtype=dtype, channels=channels)

    result = context.run(GRAPH, source)
    assert result.dtype == numpy.dtype(dtype) and result.shape == source.shape[:2] + (channels,)
    numpy.testing.assert_array_equal(result, expected)


def test_float_samples_are_the_sixteen_bit_ones(context):
    source = picture(dtype="float32")
    result = context.run(lumetra.chain("invert"), source)
    held = numpy.round(source * 65535) / 65535
    numpy.testing.assert_allclose(result, 1 - held, atol=1.01 / 65535)
    # Outside [0, 1] and NaN are clamped as the targets clamp.
    odd = numpy.array([[[-1, 2, numpy.nan]]], dtype=numpy.float32)
    numpy.testing.assert_array_equal(context.run(lumetra.chain("invert"), odd), [[[1, 0, 1]]])


def test_grey_out_is_the_luma(context):
    source = picture(dtype="uint16")
    grey = context.run(lumetra.chain("sepia", amount=1), source, channels=1)
    colour = context.run(lumetra.chain("sepia", amount=1), source).astype(float)
    luma = numpy.round(colour @ [0.2126, 0.7152, 0.0722]).astype(numpy.uint16)
    numpy.testing.assert_array_equal(grey[..., 0], luma)


def test_graph_with_named_inputs_equals_the_tool(context, run_tool, tmp_path):
    base, overlay = picture(seed=2), picture(seed=3)[::-1].copy()
    lumetra.write_array(base, tmp_path / "base.png")
    lumetra.write_array(overlay, tmp_path / "overlay.png")
    run_tool(tmp_path / "base.png", "-o", tmp_path / "out.png", "--", "blend", "mode=multiply",
             f"with={tmp_path / 'overlay.png'}", "opacity=0.7", "--", "hue-rotate", "degrees=40")
    expected = lumetra.read_array(tmp_path / "out.png")

    graph = lumetra.filter("blend", lumetra.image(base), mode="multiply", with_=overlay, opacity=0.7)
    graph = graph.then("hue-rotate", degrees=40)
    numpy.testing.assert_array_equal(context.draw(graph), expected)
    # A file name serves as the picture too.
    by_file = lumetra.filter("blend", tmp_path / "base.png", mode="multiply", with_=str(tmp_path / "overlay.png"),
                             opacity=0.7).then("hue-rotate", degrees=40)
    numpy.testing.assert_array_equal(context.draw(by_file), expected)


def test_sizes_follow_the_chain_and_the_context(run_tool, tmp_path):
    source = picture(height=60, width=80)
    lumetra.write_array(source, tmp_path / "in.png")
    run_tool(tmp_path / "in.png", "-o", tmp_path / "fixed.png", "--size", "40x40", "--", "invert")
    with lumetra.Context(40, 40) as fixed:
        numpy.testing.assert_array_equal(fixed.run(lumetra.chain("invert"), source),
                                         lumetra.read_array(tmp_path / "fixed.png"))
    with lumetra.Context() as context:
        graph = lumetra.chain("crop", x=10, y=5, width=30, height=20).then("rot", angle=90).then("invert")
        numpy.testing.assert_array_equal(context.run(graph, source), 255 - numpy.rot90(source[5:25, 10:40], -1))
        # Another size rebuilds for it.
        assert context.run(lumetra.chain("invert"), picture(height=10, width=12)).shape == (10, 12, 3)


def test_kernel_with_inputs_and_controls(context):
    source, other = picture(dtype="uint16"), picture(dtype="uint16", seed=5)
    mix = lumetra.kernel(
        "void main() { lm_output = mix(texture(lm_input, lm_location).rgb, texture(lm_other, lm_location).rgb,"
        " lm_amount); }", inputs=("input", "other"), controls=("amount",), other=other, amount=0.25)
    result = context.run(mix, source).astype(float)
    expected = source * 0.75 + other.astype(float) * 0.25
    assert numpy.abs(result - expected).max() <= 1


def test_files_keep_what_they_carried(context, tmp_path):
    deep = picture(dtype="uint16", channels=1)
    lumetra.write_array(deep, tmp_path / "grey16.png")
    node = lumetra.read(tmp_path / "grey16.png")
    assert (node.picture.bits, node.picture.grey) == (16, True)
    context.write(lumetra.filter("invert", node), tmp_path / "out.tif")
    back = lumetra.read(tmp_path / "out.tif")
    assert (back.picture.bits, back.picture.grey) == (16, True)
    numpy.testing.assert_array_equal(back.to_array(), 65535 - deep)


def test_caching_redraws_what_changed(context):
    graph = lumetra.chain("posterize", levels=4)
    first, second = picture(seed=7), picture(seed=8)
    before = lumetra._lumetra.draws_completed()
    assert not numpy.array_equal(context.run(graph, first), context.run(graph, second))
    numpy.testing.assert_array_equal(context.run(graph, first), context.run(lumetra.chain("posterize", levels=4),
                                                                            first))
    assert lumetra._lumetra.draws_completed() == before + 4


def test_every_filter_by_its_name(context):
    """Each filter of the registry, its picture keys given, draws with its defaults."""
    source = picture(dtype="uint16")
    for name in lumetra.filter_names():
        description = lumetra._filters.description(name)
        values = {}
        for parameter in description["parameters"]:
            if parameter["role"] == "input":
                values[parameter["key"] + ("_" if parameter["key"] == "with" else "")] = picture(seed=4)
            elif parameter["required"]:
                break
        else:
            result = context.run(lumetra.filter(name, **values), source)
            assert result.dtype == numpy.uint16 and result.ndim == 3, name
