#!/usr/bin/env python3
"""Grades every photo of a folder: the same look for all, written beside
their names in another folder, with each photo's depth, profile and metadata.

    python3 grade_folder.py PHOTOS/ GRADED/ [--width 1600]

The look is a chain of the library's filters, written once (GRADE) and
turned into a graph by lumetra.chain(). One context draws every photo: its
programs are compiled once, for the first."""

import argparse
import pathlib
import sys

import lumetra

PICTURE_SUFFIXES = {".png", ".jpg", ".jpeg", ".tif", ".tiff", ".webp"}

# A warm, slightly lifted look: tone curve, saturation, a touch of warmth and sharpening.
GRADE = [
    ("curves", {"points": (0, 0.03, 0.25, 0.22, 0.75, 0.8, 1, 1)}),
    ("saturation", {"amount": 1.15}),
    ("color-matrix", {"matrix": (1.04, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0.94, 0)}),
    ("unsharp", {"sigma": 1.2, "amount": 0.5}),
]


def grade(width=0):
    """The graph of the look, resized first to ``width`` when it is not 0."""
    steps = ([("resize", {"width": width})] if width else []) + GRADE
    graph = None
    for name, values in steps:
        graph = lumetra.chain(name, **values) if graph is None else graph.then(name, **values)
    return graph


def tool_arguments(width=0):
    """The same look as the lumetra tool writes it, after its '--'."""
    steps = ([("resize", {"width": width})] if width else []) + GRADE
    arguments = []
    for name, values in steps:
        arguments += ["--", name] + [f"{key}={_text(value)}" for key, value in values.items()]
    return arguments


def _text(value):
    return ",".join(map(str, value)) if isinstance(value, tuple) else str(value)


def photos_in(folder):
    return sorted(path for path in pathlib.Path(folder).iterdir() if path.suffix.lower() in PICTURE_SUFFIXES)


def grade_files(context, graph, photos, output_folder):
    """Each photo graded into the output folder under its own name; the failures as (photo, reason)."""
    failures = []
    for photo in photos:
        try:
            context.process_file(graph, photo, pathlib.Path(output_folder) / photo.name)
        except (OSError, ValueError, RuntimeError) as error:
            failures.append((photo, str(error)))
    return failures


def main(arguments=None):
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("photos", help="the folder of photos")
    parser.add_argument("output", help="the folder for the graded photos (made when missing)")
    parser.add_argument("--width", type=int, default=0, help="resize to this width first (0: keep the size)")
    options = parser.parse_args(arguments)
    pathlib.Path(options.output).mkdir(parents=True, exist_ok=True)
    photos = photos_in(options.photos)
    with lumetra.Context() as context:
        failures = grade_files(context, grade(options.width), photos, options.output)
    return report(len(photos), failures, options.output)


def report(count, failures, output_folder):
    """Prints what failed and how many were graded; the exit status."""
    for photo, reason in failures:
        print(f"{photo}: {reason}", file=sys.stderr)
    print(f"{count - len(failures)} of {count} photos graded into {output_folder}")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
