#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// A colour table in the .cube text format, 1D or 3D, read and checked.
//
// The rules: one statement a line; blank lines and lines starting with '#'
// are skipped, spaces and tabs separate words, a line may end in "\r".
// Before the first entry come the keywords: TITLE "text",
// LUT_1D_SIZE n (2 to 65536) or LUT_3D_SIZE n (2 to 65), never both,
// DOMAIN_MIN r g b and DOMAIN_MAX r g b (default 0 0 0 and 1 1 1, each max
// above its min), and LUT_1D_INPUT_RANGE / LUT_3D_INPUT_RANGE min max (the
// same domain for all three channels), each at most once. Then exactly
// n (1D) or n³ (3D) entries of three finite numbers, red varying fastest.
// Anything else is refused with one message naming the file and the line:
// "look.cube:12: ...".
//
// Threads: plain values and functions of their arguments.
class LMCubeFile {
public:
    static constexpr int largestLineSize = 65536;
    static constexpr int largestCubeSize = 65;
    // Files above this many bytes are refused unread (the largest tables
    // take about 10 MB of text).
    static constexpr size_t largestFileBytes = 64u << 20;

    struct Table {
        std::string title;
        // 1 or 3.
        int dimensions = 3;
        int size = 0;
        std::array<float, 3> domainMin{0, 0, 0};
        std::array<float, 3> domainMax{1, 1, 1};
        // Red, green, blue for each entry: size of them (1D) or size³ (3D).
        std::vector<float> entries;
    };
    // The table, or the reason (with file and line) that there is none.
    struct Reading {
        std::optional<Table> table;
        std::string problem;
    };

    // The file at `path`; its problems name it as written.
    static Reading read(const std::string& path);
    // The text of a file, its problems naming `fileName`.
    static Reading parse(std::string_view text, const std::string& fileName);
};
