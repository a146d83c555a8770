"""The examples give the tool's files: one context, and Dask's two workers."""

import os
import pathlib
import shutil
import subprocess
import sys

import numpy
import pytest

import lumetra
from conftest import picture

EXAMPLES = pathlib.Path(__file__).resolve().parents[2] / "examples" / "python"
sys.path.insert(0, str(EXAMPLES))
import grade_folder  # noqa: E402

TURNED_PHOTO = pathlib.Path(__file__).resolve().parents[2] / "tests" / "tools" / "turned_p3.jpg"


@pytest.fixture(scope="module")
def photos(tmp_path_factory):
    """A real photo with a profile and an orientation, and pictures of 8 and 16 bits, grey and colour."""
    folder = tmp_path_factory.mktemp("photos")
    shutil.copy(TURNED_PHOTO, folder / "turned.jpg")
    lumetra.write_array(picture(60, 90, seed=11), folder / "colour.png")
    lumetra.write_array(picture(50, 40, channels=1, dtype="uint16", seed=12), folder / "grey16.png")
    lumetra.write_array(picture(64, 48, dtype="uint16", seed=13), folder / "deep.tif")
    lumetra.write_array(picture(30, 70, seed=14), folder / "small.webp", lossless=True)
    return folder


@pytest.fixture(scope="module")
def tool_outputs(photos, tmp_path_factory, tool):
    folder = tmp_path_factory.mktemp("by-tool")
    inputs = [str(path) for path in grade_folder.photos_in(photos)]
    subprocess.run([tool, *inputs, "-O", str(folder), *grade_folder.tool_arguments(width=40)], check=True)
    return folder


def same_files(folder, expected):
    names = sorted(path.name for path in expected.iterdir())
    assert sorted(path.name for path in folder.iterdir()) == names and len(names) == 5
    for name in names:
        assert (folder / name).read_bytes() == (expected / name).read_bytes(), name


def test_grading_a_folder_gives_the_tools_files(photos, tool_outputs, tmp_path):
    assert grade_folder.main([str(photos), str(tmp_path), "--width", "40"]) == 0
    same_files(tmp_path, tool_outputs)


def test_dask_on_two_local_workers_gives_the_tools_files(photos, tool_outputs, tmp_path):
    environment = dict(os.environ, PYTHONPATH=os.pathsep.join(filter(None, [str(EXAMPLES),
                                                                              os.environ.get("PYTHONPATH")])))
    result = subprocess.run([sys.executable, str(EXAMPLES / "grade_with_dask.py"), str(photos), str(tmp_path),
                             "--width", "40", "--workers", "2"], capture_output=True, text=True, env=environment,
                            timeout=300)
    assert result.returncode == 0, result.stderr[-3000:]
    assert "5 of 5 photos graded" in result.stdout
    same_files(tmp_path, tool_outputs)
