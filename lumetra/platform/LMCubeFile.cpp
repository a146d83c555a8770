#include "lumetra/platform/LMCubeFile.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>

namespace {

std::vector<std::string_view> wordsOf(std::string_view line)
{
    std::vector<std::string_view> words;
    size_t at = 0;
    while (at < line.size()) {
        while (at < line.size() && (line[at] == ' ' || line[at] == '\t'))
            ++at;
        const size_t start = at;
        while (at < line.size() && line[at] != ' ' && line[at] != '\t')
            ++at;
        if (at > start)
            words.push_back(line.substr(start, at - start));
    }
    return words;
}

bool numberOf(std::string_view word, float& number)
{
    const std::string text(word);
    char* end = nullptr;
    errno = 0;
    const double value = std::strtod(text.c_str(), &end);
    if (end != text.c_str() + text.size() || !std::isfinite(value) || std::fabs(value) > 3.0e38)
        return false;
    number = float(value);
    return true;
}

// A reading with one problem: "file:line: what".
class Refusal {
public:
    explicit Refusal(std::string fileName) : fileName_(std::move(fileName)) {}
    LMCubeFile::Reading at(size_t line, const std::string& what) const
    {
        return {std::nullopt, fileName_ + ":" + std::to_string(line) + ": " + what};
    }

private:
    std::string fileName_;
};

std::string quoted(std::string_view text)
{
    constexpr size_t longest = 40;
    std::string shown(text.substr(0, longest));
    for (char& c : shown)
        if (static_cast<unsigned char>(c) < 0x20 || static_cast<unsigned char>(c) >= 0x7f)
            c = '?';
    return "\"" + shown + (text.size() > longest ? "...\"" : "\"");
}

} // namespace

LMCubeFile::Reading LMCubeFile::read(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    if (!file)
        return {std::nullopt, "cannot read " + path + ": " + std::strerror(errno)};
    std::string text;
    char buffer[65536];
    while (file.read(buffer, sizeof buffer) || file.gcount() > 0) {
        text.append(buffer, size_t(file.gcount()));
        if (text.size() > largestFileBytes)
            return {std::nullopt,
                    path + " is larger than " + std::to_string(largestFileBytes >> 20) + " MiB; is it a .cube table?"};
    }
    if (file.bad())
        return {std::nullopt, "cannot read " + path + ": " + std::strerror(errno)};
    return parse(text, path);
}

LMCubeFile::Reading LMCubeFile::parse(std::string_view text, const std::string& fileName)
{
    const Refusal refuse(fileName);
    Table table;
    table.dimensions = 0;
    bool sawTitle = false, sawMin = false, sawMax = false;
    size_t wanted = 0, lineNumber = 0, lastLine = 0;

    for (size_t start = 0; start < text.size();) {
        size_t end = text.find('\n', start);
        if (end == std::string_view::npos)
            end = text.size();
        std::string_view line = text.substr(start, end - start);
        start = end + 1;
        ++lineNumber;
        if (!line.empty() && line.back() == '\r')
            line.remove_suffix(1);
        const std::vector<std::string_view> words = wordsOf(line);
        if (words.empty() || words[0][0] == '#')
            continue;
        lastLine = lineNumber;
        const std::string_view keyword = words[0];

        const bool isEntry =
            keyword[0] == '-' || keyword[0] == '+' || keyword[0] == '.' || (keyword[0] >= '0' && keyword[0] <= '9');
        if (isEntry) {
            if (table.dimensions == 0)
                return refuse.at(lineNumber, "an entry before LUT_1D_SIZE or LUT_3D_SIZE");
            if (words.size() != 3)
                return refuse.at(lineNumber, "an entry is three numbers, not " + std::to_string(words.size()));
            if (table.entries.size() / 3 == wanted)
                return refuse.at(lineNumber, "more than the " + std::to_string(wanted) + " entries of a size " +
                                                 std::to_string(table.size) + " table");
            for (std::string_view word : words) {
                float number = 0;
                if (!numberOf(word, number))
                    return refuse.at(lineNumber, quoted(word) + " is not a number");
                table.entries.push_back(number);
            }
            continue;
        }

        if (!table.entries.empty())
            return refuse.at(lineNumber, quoted(keyword) + " after the first entry");
        if (keyword == "TITLE") {
            const size_t open = line.find('"');
            const size_t close = line.rfind('"');
            if (sawTitle || open == std::string_view::npos || close == open)
                return refuse.at(lineNumber, sawTitle ? "a second TITLE" : "TITLE needs a \"quoted\" text");
            table.title = std::string(line.substr(open + 1, close - open - 1));
            sawTitle = true;
        } else if (keyword == "LUT_1D_SIZE" || keyword == "LUT_3D_SIZE") {
            const int dimensions = keyword == "LUT_1D_SIZE" ? 1 : 3;
            const int largest = dimensions == 1 ? largestLineSize : largestCubeSize;
            if (table.dimensions != 0)
                return refuse.at(lineNumber, "a second size: a table is 1D or 3D, once");
            float size = 0;
            if (words.size() != 2 || !numberOf(words[1], size))
                return refuse.at(lineNumber, std::string(keyword) + " needs one whole number");
            if (size != std::floor(size) || size < 2 || size > float(largest))
                return refuse.at(lineNumber, std::string(keyword) + " " + std::string(words[1]) +
                                                 " is out of range: 2 to " + std::to_string(largest));
            table.dimensions = dimensions;
            table.size = int(size);
            wanted = dimensions == 1 ? size_t(table.size) : size_t(table.size) * table.size * table.size;
            table.entries.reserve(wanted * 3);
        } else if (keyword == "DOMAIN_MIN" || keyword == "DOMAIN_MAX") {
            bool& saw = keyword == "DOMAIN_MIN" ? sawMin : sawMax;
            std::array<float, 3>& bound = keyword == "DOMAIN_MIN" ? table.domainMin : table.domainMax;
            if (saw)
                return refuse.at(lineNumber, "a second " + std::string(keyword));
            if (words.size() != 4)
                return refuse.at(lineNumber, std::string(keyword) + " needs three numbers");
            for (size_t c = 0; c < 3; ++c)
                if (!numberOf(words[c + 1], bound[c]))
                    return refuse.at(lineNumber, quoted(words[c + 1]) + " is not a number");
            saw = true;
        } else if (keyword == "LUT_1D_INPUT_RANGE" || keyword == "LUT_3D_INPUT_RANGE") {
            if (sawMin || sawMax)
                return refuse.at(lineNumber, "a second domain");
            float low = 0, high = 0;
            if (words.size() != 3)
                return refuse.at(lineNumber, std::string(keyword) + " needs two numbers");
            if (!numberOf(words[1], low) || !numberOf(words[2], high))
                return refuse.at(lineNumber, std::string(keyword) + " needs two numbers");
            table.domainMin = {low, low, low};
            table.domainMax = {high, high, high};
            sawMin = sawMax = true;
        } else {
            return refuse.at(lineNumber, "unknown line " + quoted(line));
        }
    }

    if (table.dimensions == 0)
        return refuse.at(std::max<size_t>(lineNumber, 1), "no LUT_1D_SIZE or LUT_3D_SIZE");
    for (size_t c = 0; c < 3; ++c)
        if (!(table.domainMax[c] > table.domainMin[c]))
            return refuse.at(lastLine, "the domain is empty: DOMAIN_MAX must be above DOMAIN_MIN");
    if (table.entries.size() / 3 != wanted)
        return refuse.at(lastLine, std::to_string(table.entries.size() / 3) + " entries where a size " +
                                       std::to_string(table.size) + " table needs " + std::to_string(wanted));
    return {std::move(table), ""};
}
