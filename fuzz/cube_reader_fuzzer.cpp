// The .cube reader on arbitrary bytes. A table it accepts must hold what
// its rules promise (the entries its size needs, finite numbers, a domain
// that is not empty) and read back the same when written out again; a
// refusal must name the file and a line within the input.

#include "lumetra/platform/LMCubeFile.h"

#include <array>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>
#include <utility>

namespace {

void check(bool condition, const char* what)
{
    if (!condition) {
        std::fprintf(stderr, "cube_reader: %s\n", what);
        std::abort();
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const LMCubeFile::Reading reading = LMCubeFile::parse(text, "f.cube");
    if (!reading.table) {
        check(reading.problem.rfind("f.cube:", 0) == 0, "a refusal that does not name the file");
        const long line = std::strtol(reading.problem.c_str() + 7, nullptr, 10);
        long lines = 1;
        for (char c : text)
            lines += c == '\n';
        check(line >= 0 && line <= lines, "a refusal naming a line past the end");
        return 0;
    }
    const LMCubeFile::Table& table = *reading.table;
    check(table.dimensions == 1 || table.dimensions == 3, "a table neither 1D nor 3D");
    const size_t count = table.dimensions == 1 ? size_t(table.size) : size_t(table.size) * table.size * table.size;
    check(table.entries.size() == count * 3, "a table with the wrong number of entries");
    for (size_t c = 0; c < 3; ++c)
        check(table.domainMax[c] > table.domainMin[c], "an empty domain");
    for (float value : table.entries)
        check(std::isfinite(value), "an entry that is not finite");

    std::string written = (table.dimensions == 1 ? "LUT_1D_SIZE " : "LUT_3D_SIZE ") + std::to_string(table.size);
    char number[64];
    const std::pair<const char*, const std::array<float, 3>*> bounds[] = {{"DOMAIN_MIN", &table.domainMin},
                                                                          {"DOMAIN_MAX", &table.domainMax}};
    for (const auto& [keyword, bound] : bounds) {
        written += std::string("\n") + keyword;
        for (float value : *bound) {
            std::snprintf(number, sizeof number, " %.9g", double(value));
            written += number;
        }
    }
    for (size_t i = 0; i < table.entries.size(); ++i) {
        std::snprintf(number, sizeof number, "%s%.9g", i % 3 ? " " : "\n", double(table.entries[i]));
        written += number;
    }
    const LMCubeFile::Reading again = LMCubeFile::parse(written, "again.cube");
    check(again.table && again.table->entries == table.entries && again.table->domainMin == table.domainMin &&
              again.table->domainMax == table.domainMax,
          "a table that does not read back the same");
    return 0;
}
