// Two rules of the source tree that a compiler does not check.
//
// Layers. The library's folders include one way only:
//
//   platform < context < graph < nodes < {filters, interop, view, diagnostics}
//
// A folder includes its own headers and those of folders below it; the four
// top folders do not include one another. The umbrella headers at the root
// include anything; LumetraVersion includes nothing of the library. Programs
// built on the library as a host would be (tools/, examples/, bench/, python/) include
// only installed headers, never the engine's own.
//
// Thread rules. Every class or struct defined at namespace scope in an
// installed header ends the comment above it with a line that starts
// "Threads:", saying which thread may call it and what it locks.
//
//   source_rules layers|threads SOURCE_DIR [ENGINE_HEADER...]
//
// prints every place that breaks the rule and exits 1 if there is one.

#include <filesystem>
#include <fstream>
#include <iostream>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace fs = std::filesystem;

namespace {

const std::map<std::string, int> layerOfFolder = {
    {"platform", 0}, {"context", 1}, {"graph", 2}, {"nodes", 3},
    {"filters", 4},  {"interop", 4}, {"view", 4},  {"diagnostics", 4},
};
constexpr int umbrellaLayer = 5;

// The folder of a path under lumetra/ ("graph" for "graph/LMFilter.h"),
// empty for the files at lumetra/'s root.
std::string folderOf(const std::string& pathInLibrary)
{
    const auto slash = pathInLibrary.find('/');
    return slash == std::string::npos ? std::string() : pathInLibrary.substr(0, slash);
}

int layerOfFile(const std::string& pathInLibrary)
{
    const std::string folder = folderOf(pathInLibrary);
    if (folder.empty())
        return pathInLibrary.rfind("LumetraVersion", 0) == 0 ? -1 : umbrellaLayer;
    const auto layer = layerOfFolder.find(folder);
    return layer == layerOfFolder.end() ? -2 : layer->second;
}

// The library headers a file includes, as paths under lumetra/. (Plain
// string work: GCC 12 warns inside std::regex in the sanitizer builds.)
std::vector<std::string> libraryIncludes(const fs::path& file)
{
    std::vector<std::string> found;
    std::ifstream in(file);
    for (std::string line; std::getline(in, line);) {
        const auto hash = line.find_first_not_of(" \t");
        if (hash == std::string::npos || line.compare(hash, 8, "#include") != 0)
            continue;
        const auto open = line.find_first_of("<\"", hash + 8);
        if (open == std::string::npos || line.compare(open + 1, 8, "lumetra/") != 0)
            continue;
        const auto close = line.find_first_of(">\"", open + 9);
        if (close != std::string::npos)
            found.push_back(line.substr(open + 9, close - open - 9));
    }
    return found;
}

bool isSource(const fs::path& path)
{
    return path.extension() == ".h" || path.extension() == ".cpp";
}

std::string whatMayBeIncluded(int layer)
{
    if (layer < 0)
        return "nothing of the library";
    std::string allowed = "its own folder";
    for (const auto& [folder, other] : layerOfFolder) {
        if (other < layer)
            allowed += ", " + folder;
    }
    return allowed;
}

// The classes of a header defined without a "Threads:" line in the comment
// directly above them. Namespace-scope definitions start at the line's first
// column; nested classes are indented and belong to their outer class's rule.
std::vector<std::string> classesWithoutThreadRule(const fs::path& header)
{
    std::vector<std::string> lines;
    std::ifstream in(header);
    for (std::string line; std::getline(in, line);)
        lines.push_back(line);
    std::vector<std::string> missing;
    for (size_t i = 0; i < lines.size(); ++i) {
        const std::string& line = lines[i];
        const size_t keyword = line.rfind("class ", 0) == 0 ? 6 : line.rfind("struct ", 0) == 0 ? 7 : 0;
        if (keyword == 0 || line.find(';') != std::string::npos)
            continue;
        const std::string name = line.substr(keyword, line.find_first_of(" :{", keyword) - keyword);
        size_t above = i;
        while (above > 0 &&
               (lines[above - 1].rfind("template", 0) == 0 || lines[above - 1].rfind("// clang-format", 0) == 0))
            --above;
        bool stated = false;
        for (; above > 0 && lines[above - 1].rfind("//", 0) == 0; --above)
            stated = stated || lines[above - 1].find("Threads:") != std::string::npos;
        if (!stated)
            missing.push_back(name);
    }
    return missing;
}

int checkThreadRules(const fs::path& root, const std::set<std::string>& internal)
{
    int faults = 0;
    int classes = 0;
    for (const auto& entry : fs::recursive_directory_iterator(root / "lumetra")) {
        if (!entry.is_regular_file() || entry.path().extension() != ".h")
            continue;
        const std::string path = fs::relative(entry.path(), root / "lumetra").generic_string();
        if (internal.count(path))
            continue;
        for (const std::string& name : classesWithoutThreadRule(entry.path())) {
            std::cout << "lumetra/" << path << ": " << name << " states no thread rule (a \"Threads:\" line)\n";
            ++faults;
        }
        ++classes;
    }
    std::cout << classes << " headers checked, " << faults << " classes without a thread rule\n";
    return faults == 0 ? 0 : 1;
}

int checkLayers(const fs::path& root, const std::set<std::string>& internal)
{
    int faults = 0;
    int checked = 0;
    auto fault = [&](const std::string& file, const std::string& included, const std::string& why) {
        std::cout << file << " includes lumetra/" << included << ": " << why << "\n";
        ++faults;
    };

    for (const auto& entry : fs::recursive_directory_iterator(root / "lumetra")) {
        if (!entry.is_regular_file() || !isSource(entry.path()))
            continue;
        const std::string path = fs::relative(entry.path(), root / "lumetra").generic_string();
        const int layer = layerOfFile(path);
        ++checked;
        if (layer == -2) {
            std::cout << "lumetra/" << path << " is in a folder without a layer; add it to the map\n";
            ++faults;
            continue;
        }
        for (const std::string& included : libraryIncludes(entry.path())) {
            const bool sameFolder = folderOf(included) == folderOf(path) && !folderOf(path).empty();
            if (layer == umbrellaLayer || sameFolder)
                continue;
            const int other = layerOfFile(included);
            if (layer < 0 ? other != layer : other >= layer)
                fault("lumetra/" + path, included,
                      "lumetra/" + folderOf(path) + " may include " + whatMayBeIncluded(layer));
        }
    }

    for (const char* host : {"tools", "examples", "bench", "python"}) {
        if (!fs::exists(root / host))
            continue;
        for (const auto& entry : fs::recursive_directory_iterator(root / host)) {
            if (!entry.is_regular_file() || !isSource(entry.path()))
                continue;
            ++checked;
            for (const std::string& included : libraryIncludes(entry.path())) {
                if (internal.count(included))
                    fault(fs::relative(entry.path(), root).generic_string(), included,
                          "an engine header, not installed; a host program uses the installed tiers");
            }
        }
    }

    std::cout << checked << " files checked, " << faults << " includes against the layers\n";
    return faults == 0 ? 0 : 1;
}

} // namespace

int main(int argc, char** argv)
{
    const std::string rule = argc > 1 ? argv[1] : "";
    if (argc < 3 || (rule != "layers" && rule != "threads")) {
        std::cerr << "usage: source_rules layers|threads SOURCE_DIR [ENGINE_HEADER...]\n";
        return 2;
    }
    const std::set<std::string> internal(argv + 3, argv + argc);
    return rule == "layers" ? checkLayers(argv[2], internal) : checkThreadRules(argv[2], internal);
}
