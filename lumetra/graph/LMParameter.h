#pragma once

#include "lumetra/graph/LMValue.h"

#include <limits>
#include <string>
#include <vector>

// One parameter of a filter as its class declares it (see
// LMFilterDeclaration): the key it is stored under, what the filter does with
// it, its default, its range and its help. Everything else about the
// parameter (the hook lists, the accessors' defaults and clamping, the
// diagnostics of unknown keys, the tool's parsing and help) reads this.
//
// Threads: a plain value, made once per class and only read afterwards.
struct LMParameter {
    // What the filter does with the value.
    enum class Role {
        Input, // an image the kernel samples: sampler2DRect lm_NAME
        Control, // a scalar the kernel reads: float lm_NAME
        Uniform, // a list of numbers the kernel reads as a vector or matrix
        Setting, // read by the filter's own code, never by a kernel directly
    };
    // How the value is written and checked.
    enum class Type {
        Image, // a drawable (the tool: a picture file)
        Number, // a finite number within [minimum, maximum]
        Integer, // a whole number within [minimum, maximum]
        Flag, // 0 or 1
        Choice, // one of `choices`, as a string
        Vector2,
        Vector3,
        Vector4,
        Matrix3, // nine numbers, column by column
        Point, // x,y: a position in the image (the tool writes it from the top-left corner)
        Numbers, // a list of numbers, of `listLength` when that is not 0
        File, // a path, as a string, that the filter reads
    };

    std::string name;
    Role role = Role::Setting;
    Type type = Type::Number;
    // Nothing: the parameter has no default; the tool requires it.
    LMValue defaultValue;
    double minimum = -std::numeric_limits<double>::infinity();
    double maximum = std::numeric_limits<double>::infinity();
    std::vector<std::string> choices;
    // Numbers: how many; 0 for any number of them.
    size_t listLength = 0;
    std::string unit;
    std::string help;
    // The key the tool writes, when it differs from the name (a picture
    // input written with=, a centre point written center=).
    std::string toolKey;
    // The default the tool uses instead, when it differs: a library filter
    // keeps its documented behaviour by default while the tool turns on
    // what a user of the tool expects (none: the same default).
    LMValue toolDefaultValue;
    // Shown to the library only: the tool neither accepts nor lists it (a
    // matrix the filter computes from friendlier settings).
    bool libraryOnly = false;

    const std::string& keyInTool() const { return toolKey.empty() ? name : toolKey; }
    bool isRequired() const { return defaultValue.isNone(); }
    bool isNumeric() const { return type == Type::Number || type == Type::Integer || type == Type::Flag; }
    // "number", "whole number", "0 or 1", "one of a|b", "x,y", ... for help and messages.
    std::string typeDescription() const;
    // The default as the tool writes it; "" when there is none.
    std::string defaultText() const;
    // The tool's default, as the tool writes it.
    std::string defaultTextInTool() const;
    // A number as help and messages write it: "%g".
    static std::string numberText(double value);
    // Why a number does not fit this parameter ("must be at least 1"), or "" when it fits.
    std::string problemWithNumber(double value) const;
};
